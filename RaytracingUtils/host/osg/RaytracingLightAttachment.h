#pragma once

// How one light takes part in ray tracing. On a light's node or core, or on emissive geometry.

#include "host/osg/AttachmentContainer.h"

namespace osg {

class RaytracingLightAttachment : public Attachment
{
    ZN_CONTAINER(RaytracingLightAttachment, Attachment)
    ZN_ATTACHMENT_ACCESS(RaytracingLightAttachment)
    ZN_FIELD(float, shadowIntensity, ShadowIntensity, 1.0f, "", 0.0f, 1.0f)
    ZN_FIELD(float, groundShadowIntensity, GroundShadowIntensity, 1.0f, "", 0.0f, 1.0f)
    /// Weight in the choice of lights; 0 leaves the light out of it.
    ZN_FIELD(float, importanceMultiplier, ImportanceMultiplier, 1.0f, "", 0.0f, 1e6f)
    ZN_FLAG(castShadowOnShadowMaterial, CastShadowOnShadowMaterial, true)
    ZN_FLAG(illuminateShadowMaterial, IlluminateShadowMaterial, false)
    ZN_FLAG(directWithPhotons, DirectWithPhotons, false)
    ZN_FLAG(emitCausticPhotons, EmitCausticPhotons, true)
    ZN_FLAG(primaryVisibility, PrimaryVisibility, true)
    ZN_FLAG(visibleInReflections, VisibleInReflections, true)
    ZN_FLAG(visibleInRefractions, VisibleInRefractions, true)
};

} // namespace osg
