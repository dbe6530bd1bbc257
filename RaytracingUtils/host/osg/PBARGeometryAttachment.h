#pragma once

// Roles of nodes when pictures are projected onto real objects. On the projector's node.

#include "host/osg/Node.h"

namespace osg {

class PBARGeometryAttachment : public Attachment
{
    ZN_CONTAINER(PBARGeometryAttachment, Attachment)
    ZN_ATTACHMENT_ACCESS(PBARGeometryAttachment)
    ZN_LINK_LIST(Node, receiverNodes, ReceiverNodes) ///< real surfaces, lit by the image
    ZN_LINK_LIST(Node, virtualNodes, VirtualNodes)   ///< shown in the image
    ZN_LINK_LIST(Node, shadowNodes, ShadowNodes)     ///< only cast shadows
};

} // namespace osg

using osg::PBARGeometryAttachment;
