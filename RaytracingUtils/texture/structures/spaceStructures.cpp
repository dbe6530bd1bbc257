#include "texture/structures/spaceStructures.h"

#include "texture/procedural/cellularNoise.h"
#include "texture/procedural/noiseOctaves.h"
#include "texture/procedural/simplexNoise.h"

#include <algorithm>
#include <cmath>

const znRTTypeId znRTSimplex3DStructure::id("znRTSimplex3DStructure");
const znRTTypeId znRTSparkle3DStructure::id("znRTSparkle3DStructure");
const znRTTypeId znRTCellularSparkle3DStructure::id("znRTCellularSparkle3DStructure");

namespace {

/// Tilts below it are not seen.
constexpr float leastTilt = 0.0025f;

} // namespace

znRTSimplex3DStructure::znRTSimplex3DStructure(float newHeight, float newScale, float newOctaves)
    : znRTSpatialStructure(id, bendsNormals), height(newHeight), scale(newScale),
      octaves(newOctaves),
      finest(std::pow(noiseLacunarity, std::max(0.0f, std::ceil(newOctaves) - 1.0f)))
{
}

znRTVector3fPacket znRTSimplex3DStructure::tiltAt(const Place& place,
                                                  const znFloatType<2>& mask) const
{
    const znNoiseOctaves seen(octaves, place.getFootprint() * (scale * finest));
    const znFloatType<2> lanes = mask & (seen.left > znFloatType<2>(0.0f));
    if (height == 0.0f || !anyLane(lanes))
        return {0.0f, 0.0f, 0.0f};
    const auto noise = [](const znRTVector3fPacket& p) { return simplexNoise(p); };
    const znNoise3D relief = addOctaves(noise, place.position * znFloatType<2>(scale), seen);
    return relief.slope * znFloatType<2>(-height * scale) & lanes;
}

znRTVector3fPacket znRTSparkle3DStructure::tiltAt(const Place& place,
                                                  const znFloatType<2>& mask) const
{
    const znFloatType<2> f = place.getFootprint() * scale;
    const znFloatType<2> r = reciprocalSquareRoot(maximum(f * f, 1.0f));
    const znFloatType<2> tilt = r * amount;
    const znFloatType<2> lanes = mask & (absolute(tilt) > znFloatType<2>(leastTilt));
    if (!anyLane(lanes))
        return {0.0f, 0.0f, 0.0f};
    return vectorAt(place.position * znFloatType<2>(scale)) * tilt & lanes;
}

znRTVector3fPacket znRTSparkle3DStructure::vectorAt(const znRTVector3fPacket& p) const
{
    return unitVector(hashCell(cellOf(p)));
}

znRTVector3fPacket znRTCellularSparkle3DStructure::vectorAt(const znRTVector3fPacket& p) const
{
    return unitVector(nearestCell(p).id);
}
