#include "texture/znRTCleanSurface.h"

#include "texture/tangentSpace.h"

const znRTTypeId znRTCleanSurface::id("znRTCleanSurface");

znRTCleanSurface::znRTCleanSurface() : znRTSurfaceStructure(id, 0) {}

znRTONB znRTCleanSurface::getFrameAt(const znRTDifferentialGeometry& dg,
                                     const znFloatType<2>& mask) const
{
    return frameAlongTangent(dg, mask);
}

znRTVector3fPacket znRTCleanSurface::getNormalAt(const znRTDifferentialGeometry& dg,
                                                 const znFloatType<2>&) const
{
    return dg.shadingNormal;
}
