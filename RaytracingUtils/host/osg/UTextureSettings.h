#pragma once

// A texture slot: an image, how its values are read and how it lies on the surface.

#include "host/osg/Image.h"

namespace osg {

class UTextureSettings : public AttachmentContainer
{
    ZN_CONTAINER(UTextureSettings, AttachmentContainer)
    ZN_FLAG(isActive, IsActive, false)
    ZN_SLOT(ImagePtr, image, Image)
    /// Exponent that makes the values linear: 2.2 means the sRGB curve, 1 is for data.
    ZN_FIELD(float, gamma, Gamma, 2.2f, "", 0.1f, 10.0f)
    ZN_FLAG(invert, Invert, false)
    ZN_FIELD(Vec2f, repeat, Repeat, Vec2f(1, 1), "", -1e6f, 1e6f)
    ZN_FIELD(Vec2f, offset, Offset, Vec2f(0, 0), "", -1e6f, 1e6f)
    ZN_FIELD(float, rotation, Rotation, 0.0f, "degrees", -360000.0f, 360000.0f)
    ZN_ENUM(wrapS, WrapS, 0, "repeat", "mirroredRepeat", "decal", "clamp")
    ZN_ENUM(wrapT, WrapT, 0, "repeat", "mirroredRepeat", "decal", "clamp")
    ZN_FIELD(float, maxAnisotropy, MaxAnisotropy, 8.0f, "", 1.0f, 64.0f)
    ZN_FLAG(mipmaps, Mipmaps, true)
    ZN_FIELD(Vec4f, borderColor, BorderColor, Vec4f(0, 0, 0, 0), "", 0.0f, 1e6f)

    ZN_ENUM(mappingType, MappingType, 0, "uv", "projection", "triplanar")
    ZN_FIELD(int, uvSet, UvSet, 0, "", 0, 7)
    ZN_FLAG(useInfiniteTiling, UseInfiniteTiling, false)
    ZN_FLAG(useOwnUV, UseOwnUV, false)
    ZN_ENUM(projectionSpace, ProjectionSpace, 0, "object", "world")
    ZN_FLAG(cylindrical, Cylindrical, false) ///< projection; else planar
    /// Surfaces that face away from the projection's z axis show the border.
    ZN_FLAG(oneSided, OneSided, false)
    /// A plane projects no further than 0.5 along its z axis.
    ZN_FLAG(limitDepth, LimitDepth, false)
    /// World or object space to texture space of a projection.
    ZN_FIELD(Matrix, projection, Projection, osg::Matrix(), "",
             -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity())
};

using UTextureSettingsPtr = FCPtr<AttachmentContainerPtr, UTextureSettings>;

} // namespace osg
