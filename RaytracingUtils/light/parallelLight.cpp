#include "light/parallelLight.h"

#include "brdf/lobeMath.h"
#include "brdf/lobeSampling.h"
#include "render/znRTRenderUtils.h"

namespace parallelLight {

const znRTBoundingSphere& getTarget()
{
    const znRTBoundingSphere& targets = znRTRenderUtils::getSceneBoundingSphere();
    return targets.radius > 0.0f ? targets : znRTRenderUtils::getFullBoundingSphere();
}

float getPower(float intensity)
{
    const float radius = getTarget().radius;
    return lobeMath::pi * radius * radius * intensity;
}

void samplePosition(const znRTVector3fPacket& direction, const znRTVector3fPacket& tangent,
                    const znRTVector3fPacket& bitangent, const znRTVector2fPacket& u,
                    const znFloatType<2>& mask, znRTVector3fPacket& position, znFloatType<2>& pdf)
{
    const znRTBoundingSphere& target = getTarget();
    const float radius = target.radius;
    const znRTVector2fPacket disk = lobeSampling::concentricDisk(u);
    position = znRTVector3fPacket(target.center) +
               (tangent * disk.x + bitangent * disk.y - direction) * znFloatType<2>(radius);
    const float area = lobeMath::pi * radius * radius;
    pdf = znFloatType<2>(area > 0.0f ? 1.0f / area : 0.0f) & mask;
}

} // namespace parallelLight
