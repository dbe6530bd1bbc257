#include "material/openSky.h"

#include "core/rayTypes.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "geometry/znRTGeometryNode.h"
#include "light/znRTInfiniteAreaLight.h"
#include "material/spawnedRays.h"
#include "render/znRTRenderUtils.h"

#include <limits>

namespace {

constexpr float unlimited = std::numeric_limits<float>::max();

/// Bits of lanes whose nearest surface is not the same for both kinds of rays.
struct Doubts
{
    int hidden = 0; ///< the rays that look for surfaces do not see it
    int open = 0;   ///< shadow rays may pass it
};

Doubts doubtsOf(const znRTHitInfoPacket& found, const znIntType<2>& types,
                const znIntType<2>& shadowTypes)
{
    Doubts doubts;
    doubts.open = int(found.hitFlags & found.hitMask);
    for (int lane = 0; lane < 4; ++lane) {
        if (!(found.hitMask >> lane & 1))
            continue;
        const znRTGeometryNode* const node =
            znRTRenderUtils::getSceneNode(u32(found.geometry[lane]));
        const u32 flags = node ? node->getActiveVisibilityFlags() : ~0u;
        if (!(flags & u32(types[lane])))
            doubts.hidden |= 1 << lane;
        if (!(flags & u32(shadowTypes[lane])))
            doubts.open |= 1 << lane;
    }
    return doubts;
}

} // namespace

znRTColorPacket meetSurfaces(const znRTLitHit& hit, const znRTInfiniteAreaLight& sky,
                             znRTRayDifferentialPacket& rays, const znFloatType<2>& mask,
                             znRTDataBlockPacket& block)
{
    const znFloatType<2> none(0.0f), end(unlimited), one(1.0f);
    const int lanes = moveMask(mask);
    const znIntType<2> types = rays.type;
    const znIntType<2> shadowTypes = spawnedTypes(types, rayType::environmentShadow, 0);
    rays.type = types | shadowTypes;
    znRTRenderUtils::getIntersection(rays, none, end, block.hit, lanes);
    rays.type = types;

    const znFloatType<2> met = mask & expandLanes(int(block.hit.hitMask));
    znRTColorPacket share(select(met, one - sky.getShadowIntensity(), one) & mask);
    if (anyLane(met)) {
        const Doubts doubts = doubtsOf(block.hit, types, shadowTypes);
        if (doubts.open) {
            const znFloatType<2> open = expandLanes(doubts.open);
            share.maskedUpdate(
                znRTLight::getEnvironmentShadowFactor(hit.ray, rays.origin, rays.direction, none,
                                                      open, sky.getShadowIntensity(), hit.state,
                                                      int(rayType::environmentShadow)),
                open);
        }
        if (doubts.hidden) {
            block.hit.reset(end);
            znRTRenderUtils::getIntersection(rays, none, end, block.hit, lanes);
        }
    }
    share.a = none;
    return share;
}

znRTColorPacket radianceWithPdf(const znRTInfiniteAreaLight& sky,
                                const znRTVector3fPacket& position,
                                const znRTVector3fPacket& direction, const znFloatType<2>& mask,
                                znFloatType<2>& pdf)
{
    pdf = 0.0f;
    if (!sky.isDrawnFrom())
        return sky.getIntensity(position, direction, znRTVector2fPacket(0.0f, 0.0f), mask);
    return sky.getIntensity(position, direction, mask, pdf);
}
