#include "camera/znRTFishEyeLens.h"

const znRTTypeId znRTFishEyeLens::s_typeId("znRTFishEyeLens");

unsigned znRTFishEyeLens::trace_eye_rays(unsigned, unsigned, unsigned, unsigned,
                                         znRTRayPacketBundle& rays, znRTHitInfoPacketBundle& hits,
                                         znFloatType<2>*, znFloatType<2>*, int*, int, int, float,
                                         const unsigned char*) const
{
    rays.count = 0;
    rays.coherent = 0;
    hits.count = 0;
    return 0;
}
