#pragma once

// The camera of the renderer: projection, image settings, pixel filter, stereo, fog.

#include "host/osg/Camera.h"
#include "host/osg/FogSettings.h"
#include "host/osg/TonemappingSettings.h"

namespace osg {

class UTextureSettings;

class UberCamera : public Camera
{
    ZN_CONTAINER(UberCamera, Camera)

    enum ProjectionMode : int {
        perspective,
        orthographic,
        spherical,
        cylindrical,
        verticalCross,
        horizontalCross,
        omniDirectionalStereo,
        projectionMatrix
    };
    enum FovAxis : int { vertical, horizontal, smaller };

    ZN_ENUM(projectionMode, ProjectionMode, 0, "perspective", "orthographic", "spherical",
            "cylindrical", "verticalCross", "horizontalCross", "omniDirectionalStereo", "matrix")
    ZN_FIELD(float, fov, Fov, 45.0f, "degrees", 0.001f, 179.0f) ///< whole angle along the axis
    ZN_ENUM(fovAxis, FovAxis, 0, "vertical", "horizontal", "smaller")
    ZN_FIELD(float, orthoHeight, OrthoHeight, 2.0f, "u", 1e-9f, 1e9f) ///< whole height of the view
    /// Moves the image by this share of its width and height; positive: the view goes right, up.
    ZN_FIELD(Vec2f, lensShift, LensShift, Vec2f(0, 0), "", -10.0f, 10.0f)
    /// Camera to clip space in the mode "matrix"; near and far are in it.
    ZN_FIELD(Matrix, projectionMatrixValue, ProjectionMatrix, osg::Matrix(), "",
             -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity())
    /// Ray deflection images; used where their texture settings are active.
    ZN_SLOT(FCPtr<UTextureSettings>, leftDistortionMap, LeftDistortionMap)
    ZN_SLOT(FCPtr<UTextureSettings>, rightDistortionMap, RightDistortionMap)
    ZN_SLOT(FCPtr<TonemappingSettings>, tonemappingSettings, TonemappingSettings)
    ZN_SLOT(FCPtr<FogSettings>, fogSettings, FogSettings)
    ZN_ENUM(filterType, FilterType, 1, "none", "box", "triangle", "gaussian", "mitchell", "lanczos",
            "blackmanHarris")
    ZN_FIELD(float, filterSizeX, FilterSizeX, 1.0f, "pixel", 0.01f, 32.0f)
    ZN_FIELD(float, filterSizeY, FilterSizeY, 1.0f, "pixel", 0.01f, 32.0f)
    ZN_FLAG(isLeftEye, IsLeftEye, true)
    ZN_FLAG(stereo, Stereo, false)
    ZN_STORED_FIELD(float, eyeSeparation, EyeSeparation, 63.0f, "mm", 0.0f, 1e6f)
    ZN_FIELD(float, zeroParallax, ZeroParallax, 1.0f, "u", 1e-6f, 1e9f)

    /// Distance of the eyes in scene units.
    float getEyeSeparation() const;

    TransformationMatrix<double> getProjection(u32 width, u32 height) const override;
};

using UberCameraPtr = FCPtr<AttachmentContainerPtr, UberCamera>;

} // namespace osg
