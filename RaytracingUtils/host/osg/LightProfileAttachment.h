#pragma once

// A measured distribution of a light's intensity over directions.

#include "host/osg/Image.h"

namespace osg {

class LightProfileAttachment : public Attachment
{
    ZN_CONTAINER(LightProfileAttachment, Attachment)
    ZN_ATTACHMENT_ACCESS(LightProfileAttachment)
    ZN_FLAG(useLightProfile, UseLightProfile, false)
    /// One float per pixel, candela per candela of the light. u: azimuth over 360 degrees from the
    /// light's x axis; v: polar angle from 0 to 180 degrees from its -z axis.
    ZN_SLOT(ImagePtr, distributionMap, DistributionMap)
    /// As light profile files number the types; 3 wraps around the azimuth.
    ZN_FIELD(int, photometricType, PhotometricType, 3, "", 1, 3)
    ZN_FLAG(useProfileIntensity, UseProfileIntensity, false) ///< scale by the file's candela
};

} // namespace osg
