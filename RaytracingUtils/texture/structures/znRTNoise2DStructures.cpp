#include "texture/structures/znRTNoise2DStructures.h"

#include "core/shadingRequirements.h"
#include "texture/tangentSpace.h"

const znRTTypeId znRTNoise2DStructure::id("znRTNoise2DStructure");
const znRTTypeId znRTNoise2DHeightStructure::id("znRTNoise2DHeightStructure");

namespace {

/// Where the second noise is read: far from the first, and off its lattice.
const znRTVector2fPacket apart(37.31f, 91.73f);

/// Differences of heights are taken over this share of a cell, or over the pixel if that is wider.
constexpr float leastStep = 1.0f / 512.0f;

} // namespace

znRTONB znRTNoise2DStructure::getFrameAt(const znRTDifferentialGeometry& dg,
                                         const znFloatType<2>& mask) const
{
    return frameAlongTangent(dg, mask);
}

u32 znRTNoise2DStructure::getRequirements() const
{
    return shadingRequirement::surfaceDefault;
}

znNoiseOctaves znRTNoise2DStructure::octavesOf(const znRTDifferentialGeometry& dg) const
{
    const znFloatType<2> x = maximum(absolute(dg.dUVdx.x), absolute(dg.dUVdx.y));
    const znFloatType<2> y = maximum(absolute(dg.dUVdy.x), absolute(dg.dUVdy.y));
    return {maxOctaves, (x + y) * (0.5f * scale)};
}

znRTVector3fPacket znRTNoise2DStructure::getNormalAt(const znRTDifferentialGeometry& dg,
                                                     const znFloatType<2>& mask) const
{
    const znNoiseOctaves octaves = octavesOf(dg);
    const znFloatType<2> seen = mask & (octaves.left > znFloatType<2>(0.0f));
    if (amount == 0.0f || !anyLane(seen))
        return dg.shadingNormal;
    const znFloatType<2> x = texture.getNoise(dg.uv, octaves).value;
    const znFloatType<2> y =
        texture.getNoise(dg.uv + apart * znFloatType<2>(1.0f / scale), octaves).value;
    return select(seen, tangentToWorld({x * amount, y * amount, 1.0f}, dg), dg.shadingNormal);
}

znRTVector3fPacket znRTNoise2DHeightStructure::getNormalAt(const znRTDifferentialGeometry& dg,
                                                           const znFloatType<2>& mask) const
{
    const znNoiseOctaves octaves = octavesOf(dg);
    const znFloatType<2> seen = mask & (octaves.left > znFloatType<2>(0.0f));
    if (amount == 0.0f || !anyLane(seen))
        return dg.shadingNormal;

    const znFloatType<2> zero(0.0f);
    const znFloatType<2> widest = maximum(maximum(absolute(dg.dUVdx.x), absolute(dg.dUVdx.y)),
                                          maximum(absolute(dg.dUVdy.x), absolute(dg.dUVdy.y)));
    const znFloatType<2> step = maximum(widest, leastStep / scale);
    const auto heightAt = [&](const znFloatType<2>& du, const znFloatType<2>& dv) {
        return texture.getNoise(dg.uv + znRTVector2fPacket(du, dv), octaves).value;
    };
    const znFloatType<2> here = heightAt(zero, zero);
    const znFloatType<2> perStep = znFloatType<2>(amount) / step;
    return select(seen,
                  tiltByHeights({(heightAt(step, zero) - here) * perStep,
                                 (heightAt(zero, step) - here) * perStep},
                                dg, true),
                  dg.shadingNormal);
}
