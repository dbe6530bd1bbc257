#pragma once

// The render settings of a scene, on its root. See raytracingSettingsTable.h for the meanings.

#include "host/osg/AttachmentContainer.h"
#include "host/raytracingSettingsTable.h"

namespace osg {

/// What a settings row looks like as a field: a flag has no range, a vector has one per component.
class RaytracingSettingsAttachment : public Attachment
{
    ZN_CONTAINER(RaytracingSettingsAttachment, Attachment)
    ZN_ATTACHMENT_ACCESS(RaytracingSettingsAttachment)
#define ZN_SETTING_FIELD(type, stem, field, standard, lowest, highest, meaning)                    \
    ZN_FIELD(type, field, stem, standard, "", lowest, highest)
#define ZN_SETTING_LENGTH(type, stem, field, standard, lowest, highest, meaning)                   \
    ZN_FIELD(type, field, stem, standard, "m", lowest, highest)
    ZN_RENDER_SETTINGS(ZN_SETTING_FIELD, ZN_SETTING_LENGTH)
#undef ZN_SETTING_FIELD
#undef ZN_SETTING_LENGTH
};

using RaytracingSettingsAttachmentPtr = FCPtr<AttachmentContainerPtr, RaytracingSettingsAttachment>;

} // namespace osg
