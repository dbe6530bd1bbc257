// Rays that go straight on behind transparent surfaces.

#include "camera/znRTCamera.h"
#include "core/rayTypes.h"
#include "core/znRTShadingState.h"
#include "material/znRTMaterial.h"
#include "render/znRTFragment.h"
#include "render/znRTRenderUtils.h"

namespace {

/// Surfaces that a ray passes at most.
constexpr int surfaceLimit = 1023;
/// Share of the light below which nothing is looked for behind.
constexpr float leastTransmittance = 0.0005f;
/// Ray interval without a camera.
constexpr float farWithoutCamera = 1e6f;

/// Largest component by size.
znFloatType<2> largestCoordinate(const znRTVector3fPacket& p)
{
    return maximum(absolute(p.x), maximum(absolute(p.y), absolute(p.z)));
}

/// Moves the rays behind their hits. Origins leave the surface by a part of the coordinates'
/// rounding error, against the normal, which faces the viewer: so tMin can be 0.
void moveBehind(znRTRayDifferentialPacket& ray, const znRTVector3fPacket& position,
                const znRTVector3fPacket& normal, const znFloatType<2>& t,
                const znFloatType<2>& lanes)
{
    const znFloatType<2> offset = maximum(largestCoordinate(position), t) * 1e-6f;
    ray.origin.setMasked(position - normal * offset, lanes);
    if (!ray.hasDifferentials)
        return;
    ray.rxOrigin.setMasked(ray.rxOrigin + ray.rxDirection * t, lanes);
    ray.ryOrigin.setMasked(ray.ryOrigin + ray.ryDirection * t, lanes);
}

znIntType<2> behindSurface(const znIntType<2>& type)
{
    const auto behind = [&](int lane) { return int(rayType::behindSurface(u32(type[lane]))); };
    return {behind(0), behind(1), behind(2), behind(3)};
}

/// Shades the hits of a block, material by material.
/// @return lanes that a surface was shaded in
znFloatType<2> shadeHits(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                         znRTFragment& layer, znRTShadingState& state)
{
    znRTRenderUtils::getShadingData(ray, block, false);
    const znFloatType<2> live =
        (block.coverage > znFloatType<2>(0.0f)) & expandLanes(int(block.hit.hitMask));
    layer.clear();
    layer.coverage = block.coverage;
    if (!anyLane(live))
        return live;
    block.computeShadingData(ray);
    for (u32 i = 0; i < block.materialCount; ++i)
        block.materials[i]->shade(ray, block, layer, block.materialLanes[i] & live, state);
    return live;
}

} // namespace

znRTColorPacket znRTFragment::getPassThroughColor(const znRTRayDifferentialPacket& ray,
                                                  const znRTDataBlockPacket& block,
                                                  const znFloatType<2>& weight,
                                                  const znFloatType<2>& lanes,
                                                  znRTShadingState& state)
{
    znRTRayDifferentialPacket child = ray;
    child.type = behindSurface(ray.type);
    child.weight *= weight;
    moveBehind(child, block.position(), block.geometricNormal(), block.hit.t, lanes);

    const znRTCamera* camera = znRTRenderUtils::getCamera();
    const znFloatType<2> far(camera ? camera->farClip : farWithoutCamera);
    znRTFragment composed;
    composed.clear();
    composed.invertAlpha();

    znFloatType<2> active = lanes;
    for (int i = 0; i < surfaceLimit && anyLane(active); ++i) {
        znRTDataBlockPacket behind(far);
        znRTRenderUtils::getIntersection(child, znFloatType<2>(0.0f), far, behind.hit,
                                         moveMask(active));
        const znFloatType<2> hasHit = expandLanes(int(behind.hit.hitMask));
        const znFloatType<2> missed = andNot(hasHit, active);
        const znRTColorPacket& background = znRTRenderUtils::s_backgroundColor;
        for (int channel = 0; channel < 3; ++channel)
            composed.colour[channel] += (background[channel] * composed.colour.a) & missed;
        active &= hasHit;
        if (!anyLane(active))
            break;

        znRTFragment layer;
        znRTShadingState layerState(state, state.counterA, state.counterB);
        composed.blendFragment(layer, shadeHits(child, behind, layer, layerState) & active);
        active &= composed.colour.a > znFloatType<2>(leastTransmittance);
        moveBehind(child, behind.position(), behind.geometricNormal(), behind.hit.t, active);
    }
    composed.invertAlpha();
    return composed.colour & lanes;
}
