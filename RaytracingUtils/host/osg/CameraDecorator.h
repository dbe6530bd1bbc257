#pragma once

// Cameras around a camera: a part of a larger image, or the image moved by a part of a pixel.
// Decorators stack; what they do not change comes from the camera below.

#include "host/osg/UberCamera.h"

namespace osg {

class CameraDecorator : public Camera
{
    ZN_ABSTRACT_CONTAINER(CameraDecorator, Camera)
    ZN_SLOT(FCPtr<Camera>, decoratee, Decoratee)

    TransformationMatrix<double> getToWorld() const override;
    TransformationMatrix<double> getViewing(u32 width, u32 height) const override;
    TransformationMatrix<double> getProjection(u32 width, u32 height) const override;
};

/// One sample of a still frame: the image is sampled away from the pixel centres.
class OffsetCameraDecorator : public CameraDecorator
{
    ZN_CONTAINER(OffsetCameraDecorator, CameraDecorator)
    ZN_FIELD(float, offsetX, OffsetX, 0.0f, "half pixel", -1.0f, 1.0f)
    ZN_FIELD(float, offsetY, OffsetY, 0.0f, "half pixel", -1.0f, 1.0f)
    ZN_FIELD(u32, fullWidth, FullWidth, 0, "pixel", 0, 1048576) ///< 0: that of the view
    ZN_FIELD(u32, fullHeight, FullHeight, 0, "pixel", 0, 1048576)

    /// The projection moved, so that pixel centres look at the sample's place.
    TransformationMatrix<double> getProjection(u32 width, u32 height) const override;
};

/// An image that is moved by a part of a pixel and otherwise like any other: no sample of a still
/// frame.
class MovedCameraDecorator : public CameraDecorator
{
    ZN_CONTAINER(MovedCameraDecorator, CameraDecorator)
    ZN_FIELD(float, offsetX, OffsetX, 0.0f, "half pixel", -1.0f, 1.0f)
    ZN_FIELD(float, offsetY, OffsetY, 0.0f, "half pixel", -1.0f, 1.0f)

    TransformationMatrix<double> getProjection(u32 width, u32 height) const override;
};

/// A rectangle of a larger image. The projection is that of the whole image, cut down.
class TileCameraDecorator : public CameraDecorator
{
    ZN_CONTAINER(TileCameraDecorator, CameraDecorator)
    ZN_FIELD(float, left, Left, 0.0f, "", 0.0f, 1.0f)
    ZN_FIELD(float, right, Right, 1.0f, "", 0.0f, 1.0f)
    ZN_FIELD(float, bottom, Bottom, 0.0f, "", 0.0f, 1.0f)
    ZN_FIELD(float, top, Top, 1.0f, "", 0.0f, 1.0f)
    ZN_FIELD(u32, fullWidth, FullWidth, 0, "pixel", 0, 1048576) ///< 0: from the view and the bounds
    ZN_FIELD(u32, fullHeight, FullHeight, 0, "pixel", 0, 1048576)

    TransformationMatrix<double> getProjection(u32 width, u32 height) const override;
};

/// The camera below all decorators; null when it is no UberCamera.
UberCameraPtr getUndecorated(const FCHandle& camera);

} // namespace osg
