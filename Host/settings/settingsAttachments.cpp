#include "host/osg/RaytracingSettingsAttachment.h"
#include "host/osg/SurfaceAnalysisAttachment.h"

namespace osg {

ZN_CONTAINER_BODY(RaytracingSettingsAttachment)
ZN_CONTAINER_BODY(SurfaceAnalysisAttachment)

} // namespace osg
