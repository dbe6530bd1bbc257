#pragma once

// On the root of a scene: what stands around it. Whoever shows the scene puts the surface into the
// tree, since how far away it has to be depends on the view.

#include "host/osg/Material.h"

namespace osg {

class EnvironmentAttachment : public Attachment
{
    ZN_CONTAINER(EnvironmentAttachment, Attachment)
    ZN_ATTACHMENT_ACCESS(EnvironmentAttachment)
    /// An environment material, or null.
    ZN_SLOT(MaterialPtr, material, Material)
};

} // namespace osg
