#include "texture/znRTSurfaceStructure.h"

#include "core/znRTDataBlockPacket.h"

znRTSurfaceStructure::~znRTSurfaceStructure() = default;

znRTONB znRTSurfaceStructure::getFrame(const znRTRayDifferentialPacket&,
                                       const znRTDataBlockPacket& data,
                                       const znFloatType<2>& mask) const
{
    return getFrameAt(data.dg, mask);
}

znRTONB znRTSurfaceStructure::getFrameAt(const znRTDifferentialGeometry&,
                                         const znFloatType<2>&) const
{
    return {{1.0f, 0.0f, 0.0f}, {0.0f, -1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}};
}

znRTVector3fPacket znRTSurfaceStructure::getNormal(const znRTRayDifferentialPacket&,
                                                   const znRTDataBlockPacket& data,
                                                   const znFloatType<2>& mask) const
{
    return getNormalAt(data.dg, mask);
}
