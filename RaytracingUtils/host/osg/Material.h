#pragma once

// Base of all materials. Geometry cores and material groups refer to them; one material may be
// shared by any number of them.

#include "host/osg/AttachmentContainer.h"

namespace osg {

class Material : public AttachmentContainer
{
    ZN_ABSTRACT_CONTAINER(Material, AttachmentContainer)
};

} // namespace osg
