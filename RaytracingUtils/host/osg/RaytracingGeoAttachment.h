#pragma once

// How one object takes part in ray tracing, whatever its material says. On a node or on its core;
// the node's comes first.

#include "host/osg/AttachmentContainer.h"

namespace osg {

class RaytracingGeoAttachment : public Attachment
{
    ZN_CONTAINER(RaytracingGeoAttachment, Attachment)
    ZN_ATTACHMENT_ACCESS(RaytracingGeoAttachment)
    ZN_FLAG(primaryVisibility, PrimaryVisibility, true)
    ZN_FLAG(visibleInReflections, VisibleInReflections, true)
    ZN_FLAG(visibleInRefractions, VisibleInRefractions, true)
    ZN_FLAG(castShadows, CastShadows, true)
    ZN_FLAG(castShadowsOnShadowMaterial, CastShadowsOnShadowMaterial, true)
    ZN_FLAG(visibleInGlossyReflections, VisibleInGlossyReflections, true)
    ZN_FLAG(visibleInPhotons, VisibleInPhotons, true)
    ZN_FLAG(doubleSided, DoubleSided, true)
    ZN_SLOT(MaterialPtr, overrideMaterial, OverrideMaterial)
    /// Above 1e-8 edges are shaded round.
    ZN_FIELD(float, roundedEdgeRadius, RoundedEdgeRadius, 0.0f, "u", 0.0f, 1e6f)
    ZN_FIELD(Vec3f, ambientOcclusionColor, AmbientOcclusionColor, Vec3f(1, 1, 1), "", 0.0f, 1.0f)
    ZN_FLAG(photonTarget, PhotonTarget, false)
    ZN_FLAG(noClipping, NoClipping, false)
};

} // namespace osg
