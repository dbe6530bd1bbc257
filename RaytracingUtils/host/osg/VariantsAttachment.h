#pragma once

// On a switch material that shows the variants of a product: what its choices are called.

#include "host/osg/AttachmentContainer.h"

namespace osg {

class VariantsAttachment : public Attachment
{
    ZN_CONTAINER(VariantsAttachment, Attachment)
    ZN_ATTACHMENT_ACCESS(VariantsAttachment)
    /// One per line, of the choices from 0 on; a choice behind them stands for no variant.
    ZN_SLOT(std::string, names, Names)
};

} // namespace osg
