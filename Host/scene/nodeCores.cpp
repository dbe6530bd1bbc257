#include "host/osg/nodeCores.h"

#include "host/osg/ClipPlane.h"
#include "host/osg/Material.h"
#include "host/osg/PBARGeometryAttachment.h"
#include "host/osg/RaytracingGeoAttachment.h"

namespace osg {

ZN_CONTAINER_BODY(Group)
ZN_CONTAINER_BODY(Transform)
ZN_CONTAINER_BODY(Switch)
ZN_CONTAINER_BODY(MaterialGroup)
ZN_ABSTRACT_CONTAINER_BODY(MaterialDrawable)
ZN_CONTAINER_BODY(ClipPlane)
ZN_CONTAINER_BODY(RaytracingGeoAttachment)
ZN_CONTAINER_BODY(PBARGeometryAttachment)

void Transform::changed(u64 mask)
{
    Inherited::changed(mask);
    if (mask & MatrixFieldMask)
        Node::invalidateToWorld();
}

} // namespace osg
