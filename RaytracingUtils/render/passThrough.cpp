// Rays that go straight on behind transparent surfaces.

#include "camera/znRTCamera.h"
#include "core/rayTypes.h"
#include "core/surfaceOffset.h"
#include "core/znRTShadingState.h"
#include "gi/randomDecisions.h"
#include "material/znRTMaterial.h"
#include "render/znRTMultilayerFragment.h"
#include "render/znRTRenderUtils.h"

namespace {

/// Surfaces that a ray passes at most.
constexpr int surfaceLimit = 1023;
/// Share of the light below which nothing is looked for behind.
constexpr float leastTransmittance = 0.0005f;
/// Ray interval without a camera.
constexpr float farWithoutCamera = 1e6f;

/// Moves the rays behind their hits, off the surface against the normal, which faces the viewer.
void moveBehind(znRTRayDifferentialPacket& ray, const znRTVector3fPacket& position,
                const znRTVector3fPacket& normal, const znFloatType<2>& t,
                const znFloatType<2>& lanes)
{
    const znFloatType<2> offset = surfaceOffset(position, t);
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

/// Lanes of rays that see the background. Rays that gather light do not: surroundings that give
/// light are sampled where the light falls.
znFloatType<2> seesBackground(const znRTRayPacket& ray)
{
    constexpr u32 gathering = rayType::diffuseScatter | rayType::glossyReflection;
    return asFloat((ray.type & znIntType<2>(int(gathering))) == znIntType<2>(0));
}

/// Light of the background in lanes without a surface; it has no opacity of its own.
void addLight(znRTColorPacket& color, const znRTColorPacket& light)
{
    color = {color.r + light.r, color.g + light.g, color.b + light.b, color.a};
}

znRTColorPacket remainingBackground(const znRTFragment& composed, const znFloatType<2>& missed)
{
    return (znRTRenderUtils::s_backgroundColor * composed.colour.a) & missed;
}

void addBackground(znRTFragment& composed, const znFloatType<2>& missed)
{
    addLight(composed.colour, remainingBackground(composed, missed));
}

void addBackground(znRTMultilayerFragment& composed, const znFloatType<2>& missed)
{
    const znRTColorPacket light = remainingBackground(composed, missed);
    addLight(composed.colour, light);
    addLight(composed.layers[ZN_PASS_BEAUTY], light);
    addLight(composed.layers[ZN_PASS_BACKGROUND_COLOR], light);
}

/// Shades the hits of a block, material by material.
/// @return lanes that a surface was shaded in
template <class Fragment>
znFloatType<2> shadeHits(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                         Fragment& layer, const znRTShadingState& state)
{
    znRTRenderUtils::getShadingData(ray, block, false);
    const znFloatType<2> live =
        (block.coverage > znFloatType<2>(0.0f)) & expandLanes(int(block.hit.hitMask));
    layer.clear();
    if (!anyLane(live))
        return live;
    block.computeShadingData(ray);
    layer.updateVectorPasses(ray, block, block.coverage, live);
    for (u32 i = 0; i < block.materialCount; ++i) {
        // A lane's numbers do not depend on what the other lanes have hit.
        znRTShadingState materialState = state;
        block.materials[i]->shade(ray, block, layer, block.materialLanes[i] & live, materialState);
    }
    return live;
}

/// Follows the rays until nothing of the light is left, or nothing more is hit.
/// @param composed  out
template <class Fragment>
void composeBehind(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& block,
                   const znFloatType<2>& weight, const znFloatType<2>& lanes,
                   znRTShadingState& state, Fragment& composed)
{
    znRTRayDifferentialPacket child = ray;
    child.type = behindSurface(ray.type);
    child.weight *= weight;
    moveBehind(child, block.position(), block.geometricNormal(), block.hit.t, lanes);

    const znRTCamera* camera = znRTRenderUtils::getCamera();
    const znFloatType<2> far(camera ? camera->farClip : farWithoutCamera);
    composed.clear();
    composed.invertAlpha();

    znFloatType<2> active = lanes;
    for (int i = 0; i < surfaceLimit && anyLane(active); ++i) {
        znRTDataBlockPacket behind(far);
        znRTRenderUtils::getIntersection(child, znFloatType<2>(0.0f), far, behind.hit,
                                         moveMask(active));
        const znFloatType<2> hasHit = expandLanes(int(behind.hit.hitMask));
        addBackground(composed, andNot(hasHit, active) & seesBackground(child));
        active &= hasHit;
        if (!anyLane(active))
            break;

        Fragment layer;
        const znRTShadingState layerState(state, 0, state.counterB + (i + 1) * decisionsPerDepth,
                                          state.counterC, state.counterD + i + 1);
        composed.blendFragment(layer, shadeHits(child, behind, layer, layerState) & active);
        active &= composed.colour.a > znFloatType<2>(leastTransmittance);
        moveBehind(child, behind.position(), behind.geometricNormal(), behind.hit.t, active);
    }
    composed.invertAlpha();
}

} // namespace

znRTColorPacket znRTFragment::getPassThroughColor(const znRTRayDifferentialPacket& ray,
                                                  const znRTDataBlockPacket& block,
                                                  const znFloatType<2>& weight,
                                                  const znFloatType<2>& lanes,
                                                  znRTShadingState& state)
{
    znRTFragment composed;
    composeBehind(ray, block, weight, lanes, state, composed);
    return composed.colour & lanes;
}

void znRTMultilayerFragment::computePassThroughColor(const znRTRayDifferentialPacket& ray,
                                                     const znRTDataBlockPacket& block,
                                                     const znFloatType<2>& weight,
                                                     const znFloatType<2>& lanes,
                                                     znRTShadingState& state,
                                                     znRTMultilayerFragment& composed)
{
    composeBehind(ray, block, weight, lanes, state, composed);
    composed.colour &= lanes;
    for (znRTColorPacket& layer : composed.layers)
        layer &= lanes;
}
