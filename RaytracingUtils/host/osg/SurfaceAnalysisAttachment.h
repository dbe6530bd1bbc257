#pragma once

// Parameters of the surface analysis image, on the root of a scene.

#include "host/osg/AttachmentContainer.h"

namespace osg {

class SurfaceAnalysisAttachment : public Attachment
{
    ZN_CONTAINER(SurfaceAnalysisAttachment, Attachment)
    ZN_ATTACHMENT_ACCESS(SurfaceAnalysisAttachment)
    ZN_ENUM(mode, Mode, 0, "off", "linear", "sphere", "plane")
    ZN_FIELD(Vec3f, baseColor, BaseColor, Vec3f(0.1f, 0.1f, 0.1f), "", 0.0f, 1.0f)
    ZN_FIELD(Vec3f, glossyColor, GlossyColor, Vec3f(0.5f, 0.5f, 0.5f), "", 0.0f, 1.0f)
    ZN_FIELD(Vec3f, stripeColor, StripeColor, Vec3f(1, 1, 1), "", 0.0f, 1.0f)
    ZN_FIELD(Vec3f, linearLightDirection, LinearLightDirection, Vec3f(0, 0, 1), "", -1.0f, 1.0f)
    ZN_FIELD(Vec3f, lightSphereAxis, LightSphereAxis, Vec3f(0, 0, 1), "", -1.0f, 1.0f)
    ZN_FIELD(Vec3f, lightSphereAxisUTangent, LightSphereAxisUTangent, Vec3f(1, 0, 0), "", -1.0f,
             1.0f)
    ZN_FIELD(Vec3f, lightPlaneOrigin, LightPlaneOrigin, Vec3f(0, 0, 1), "u", -1e9f, 1e9f)
    ZN_FIELD(Vec3f, lightPlaneAxisU, LightPlaneAxisU, Vec3f(1, 0, 0), "u", -1e9f, 1e9f)
    ZN_FIELD(Vec3f, lightPlaneAxisV, LightPlaneAxisV, Vec3f(0, 1, 0), "u", -1e9f, 1e9f)
    ZN_FIELD(float, stripeCount, StripeCount, 10.0f, "", 0.1f, 1000.0f)
    ZN_FIELD(float, stripeWidth, StripeWidth, 0.5f, "", 0.0f, 1.0f) ///< share of a period
    ZN_FLAG(isophotes, Isophotes, false)
};

using SurfaceAnalysisAttachmentPtr = FCPtr<AttachmentContainerPtr, SurfaceAnalysisAttachment>;

} // namespace osg
