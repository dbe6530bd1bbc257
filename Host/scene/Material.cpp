#include "host/osg/Material.h"

namespace osg {

ZN_ABSTRACT_CONTAINER_BODY(Material)

} // namespace osg
