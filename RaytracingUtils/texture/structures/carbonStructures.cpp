#include "texture/structures/carbonStructures.h"

#include "core/shadingRequirements.h"
#include "texture/tangentSpace.h"

const znRTTypeId znRTCarbon2DStructure::id("znRTCarbon2DStructure");
const znRTTypeId znRTCarbon3DStructure::id("znRTCarbon3DStructure");

namespace {

using F = znFloatType<2>;

/// What is left of slopes where a pixel covers strands.
/// @param footprint  in strands
F fadeOf(const F& footprint)
{
    return reciprocalSquareRoot(maximum(footprint * footprint, 1.0f));
}

} // namespace

znRTCarbon2DStructure::znRTCarbon2DStructure(std::unique_ptr<const znRTCarbonTexture> newTexture,
                                             const znRTVector2f& tiles, float newHeight)
    : znRTSurfaceStructure(id, givesDirections | (newHeight != 0.0f ? unsigned(bendsNormals) : 0)),
      texture(std::move(newTexture)), repeat(tiles), height(newHeight)
{
}

u32 znRTCarbon2DStructure::getRequirements() const
{
    return shadingRequirement::surfaceDefault;
}

znCarbonStrand znRTCarbon2DStructure::strandAt(const znRTDifferentialGeometry& dg,
                                               const znFloatType<2>& mask) const
{
    return texture->evaluateStrand({dg.uv.x * repeat.x, dg.uv.y * repeat.y}, mask);
}

znRTVector3fPacket znRTCarbon2DStructure::getNormalAt(const znRTDifferentialGeometry& dg,
                                                      const znFloatType<2>& mask) const
{
    if (height == 0.0f)
        return dg.shadingNormal;
    const znCarbonStrand strand = strandAt(dg, mask);
    const auto strands = [&](const znRTVector2fPacket& step) {
        return maximum(absolute(step.x) * std::abs(repeat.x),
                       absolute(step.y) * std::abs(repeat.y)) *
               float(texture->getStrandCount());
    };
    const F scale = fadeOf(maximum(strands(dg.dUVdx), strands(dg.dUVdy))) * -height;
    return select(mask, tangentToWorld({strand.slope.x * scale, strand.slope.y * scale, 1.0f}, dg),
                  dg.shadingNormal);
}

znRTONB znRTCarbon2DStructure::getFrameAt(const znRTDifferentialGeometry& dg,
                                          const znFloatType<2>& mask) const
{
    const znCarbonStrand strand = strandAt(dg, mask);
    znRTONB onb;
    onb.set(dg.shadingNormal, dg.dPdu * strand.cosRotation + dg.dPdv * strand.sinRotation, mask);
    return onb;
}

znRTCarbon3DStructure::znRTCarbon3DStructure(std::unique_ptr<const znRTCarbonTexture> newTexture,
                                             float tiles, float newHeight)
    : znRTSpatialStructure(id, givesDirections | (newHeight != 0.0f ? unsigned(bendsNormals) : 0)),
      texture(std::move(newTexture)), repeat(tiles), height(newHeight)
{
}

/// Along x, y and z the image's u and v are (z, y), (x, z) and (x, y), as of triplanar textures.
znRTCarbon3DStructure::Plane znRTCarbon3DStructure::planeOf(const Place& place)
{
    const F one(1.0f);
    const znRTVector3fPacket& p = place.position;
    const F x = absolute(place.normal.x), y = absolute(place.normal.y),
            z = absolute(place.normal.z);
    const F isX = (x > y) & (x > z), isY = andNot(isX, y > z);
    const F isZ = andNot(isX | isY, F::allLanes());
    Plane plane;
    plane.u = {andNot(isX, one), F(0.0f), isX & one};
    plane.v = {F(0.0f), andNot(isY, one), isY & one};
    plane.uv = {select(isX, p.z, p.x), select(isX | isZ, p.y, p.z)};
    return plane;
}

znRTVector3fPacket znRTCarbon3DStructure::tiltAt(const Place& place,
                                                 const znFloatType<2>& mask) const
{
    const Plane plane = planeOf(place);
    const znCarbonStrand strand = texture->evaluateStrand(plane.uv * F(repeat), mask);
    const F scale =
        fadeOf(place.getFootprint() * (repeat * float(texture->getStrandCount()))) * -height;
    return plane.u * (strand.slope.x * scale) + plane.v * (strand.slope.y * scale);
}

znRTVector3fPacket znRTCarbon3DStructure::directionAt(const Place& place,
                                                      const znFloatType<2>& mask) const
{
    const Plane plane = planeOf(place);
    const znCarbonStrand strand = texture->evaluateStrand(plane.uv * F(repeat), mask);
    return plane.u * strand.cosRotation + plane.v * strand.sinRotation;
}
