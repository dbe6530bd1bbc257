#include "material/spawnedRays.h"

#include "core/znRTDataBlockPacket.h"
#include "material/shadowOrigin.h"
#include "material/znRTMaterial.h"
#include "render/integrators/roundedEdges.h"
#include "render/znRTFragment.h"
#include "render/znRTRenderUtils.h"

#include <limits>

namespace {

constexpr float unlimited = std::numeric_limits<float>::max();

} // namespace

znIntType<2> spawnedTypes(const znIntType<2>& parent, u32 rayClass, u32 flags)
{
    using namespace rayType;
    const znIntType<2> right = parent & znIntType<2>(int(rightEye & ~passThrough));
    const znFloatType<2> isLeft = asFloat(right == znIntType<2>(0));
    const auto ofEye = [&](u32 half) { return asFloat(int((rayClass & half) | flags)); };
    return asInt(select(isLeft, ofEye(leftEye), ofEye(rightEye)));
}

znRTRayDifferentialPacket spawnRays(const znRTRayPacket& parent, const znRTDataBlockPacket& data,
                                    const znRTDifferentialGeometry& dg,
                                    const znRTVector3fPacket& direction,
                                    const znRTColorPacket& weight, u32 rayClass, u32 flags)
{
    znRTRayDifferentialPacket rays(shadowOrigin(data, dg, direction), direction, parent.pixelX,
                                   parent.pixelY, weight,
                                   spawnedTypes(parent.type, rayClass, flags), parent.alpha);
    rays.setMonochromatic(parent.getMonochromatic());
    return rays;
}

znRTColorPacket shadeAlong(const znRTRayDifferentialPacket& rays, const znFloatType<2>& mask,
                           const znRTShadingState& state, znFloatType<2>& missed,
                           znFloatType<2>* distance)
{
    const znFloatType<2> end(unlimited);
    znRTDataBlockPacket block(end);
    znRTRenderUtils::getIntersection(rays, znFloatType<2>(0.0f), end, block.hit, moveMask(mask));
    const znFloatType<2> hasHit = mask & expandLanes(int(block.hit.hitMask));
    missed = andNot(hasHit, mask);
    if (distance)
        *distance = block.hit.t;
    return anyLane(hasHit) ? shadeHits(rays, block, hasHit, state) : znRTColorPacket(0.0f);
}

znRTColorPacket shadeHits(const znRTRayDifferentialPacket& rays, znRTDataBlockPacket& block,
                          const znFloatType<2>& mask, const znRTShadingState& state)
{
    znRTFragment fragment;
    fragment.clear();
    znRTRenderUtils::getShadingData(rays, block, false);
    const znFloatType<2> live = mask & (block.coverage > znFloatType<2>(0.0f));
    if (!anyLane(live))
        return znRTColorPacket(0.0f);
    block.computeShadingData(rays);
    roundEdges(rays, block, live, state);
    for (u32 i = 0; i < block.materialCount; ++i) {
        const znFloatType<2> own = block.materialLanes[i] & live;
        if (!anyLane(own))
            continue;
        // A lane's numbers do not depend on what the other lanes have hit.
        znRTShadingState ownState = state;
        block.materials[i]->shade(rays, block, fragment, own, ownState);
    }
    return fragment.colour & live;
}
