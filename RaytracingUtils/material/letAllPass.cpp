#include "material/letAllPass.h"

#include "render/znRTFragment.h"

void letAllPass(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                znRTFragment& fragment, const znFloatType<2>& mask, znRTShadingState& state)
{
    znRTThroughput throughput;
    throughput.blend = znFloatType<2>::noLanes();
    throughput.surfaceAlpha = 0.0f;
    throughput.hitLanes = mask;
    fragment.updateToColor(ray, data, znRTColorPacket(0.0f), {1.0f, 1.0f, 1.0f, 0.0f}, state,
                           throughput, mask);
}

znRTColorPacket allPassed(const znFloatType<2>& mask)
{
    znRTColorPacket passed = znRTColorPacket(1.0f) & mask;
    passed.a = 1.0f;
    return passed;
}
