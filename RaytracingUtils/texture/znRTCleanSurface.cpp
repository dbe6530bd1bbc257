#include "texture/znRTCleanSurface.h"

const znRTTypeId znRTCleanSurface::id("znRTCleanSurface");

znRTCleanSurface::znRTCleanSurface() : znRTSurfaceStructure(id, false) {}

znRTONB znRTCleanSurface::getFrameAt(const znRTDifferentialGeometry& dg,
                                     const znFloatType<2>& mask) const
{
    znRTONB onb;
    const znFloatType<2> withTangent = mask & dg.tangentMask;
    if (anyLane(withTangent))
        onb.set(dg.shadingNormal, dg.tangent, withTangent);
    else
        onb.set(dg.shadingNormal);
    return onb;
}

znRTVector3fPacket znRTCleanSurface::getNormalAt(const znRTDifferentialGeometry& dg,
                                                 const znFloatType<2>&) const
{
    return dg.shadingNormal;
}
