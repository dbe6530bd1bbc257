#include "host/osg/UTextureSettings.h"

namespace osg {

ZN_CONTAINER_BODY(UTextureSettings)

} // namespace osg
