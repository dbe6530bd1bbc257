#pragma once

// How a camera's image becomes a picture: vignette or blending map, tone mapping, grading, display
// profile, and the layout of stereo pictures.

#include "host/osg/Image.h"

namespace osg {

class TonemappingSettings : public AttachmentContainer
{
    ZN_CONTAINER(TonemappingSettings, AttachmentContainer)
    ZN_ENUM(blendMode, BlendMode, 0, "none", "vignette", "blendingMap")
    ZN_FIELD(float, blendAmount, BlendAmount, 1.0f, "", 0.0f, 1.0f)
    ZN_FIELD(float, vignetteRadius, VignetteRadius, 0.9f, "image width", 0.0f, 1.0f)
    ZN_FIELD(float, vignetteRoundness, VignetteRoundness, 1.0f, "", 0.0f, 1.0f)
    ZN_FIELD(float, vignetteFeather, VignetteFeather, 0.3f, "image width", 0.0f, 1.0f)
    ZN_SLOT(ImagePtr, leftEyeBlendingMap, LeftEyeBlendingMap)
    ZN_SLOT(ImagePtr, rightEyeBlendingMap, RightEyeBlendingMap)
    ZN_STORED_FIELD(float, stereoEyeSeparation, StereoEyeSeparation, 63.0f, "mm", 0.0f, 1e6f)
    ZN_ENUM(stereoLayout, StereoLayout, 1, "topAndBottom", "sideBySide", "leftOnly", "rightOnly")
    ZN_FIELD(float, stereoPolarMergeAngle, StereoPolarMergeAngle, 60.0f, "degrees", 0.0f, 90.0f)

    ZN_FLAG(useTonemapping, UseTonemapping, true)
    ZN_ENUM(tonemapperType, TonemapperType, 0, "linear", "linearClamp", "reinhard", "filmic",
            "aces", "logarithmic", "photographic", "neutral")
    ZN_FIELD(float, exposure, Exposure, 0.0f, "stops", -50.0f, 50.0f)
    ZN_FIELD(float, whitepoint, Whitepoint, 1.0f, "", 1e-6f, 1e6f)
    ZN_FIELD(float, burn, Burn, 0.5f, "", 0.0f, 1.0f)
    ZN_FIELD(float, contrast, Contrast, 1.0f, "", 0.0f, 10.0f)
    ZN_FIELD(float, saturation, Saturation, 1.0f, "", 0.0f, 10.0f)
    ZN_FIELD(float, whiteBalanceTemperature, WhiteBalanceTemperature, 6500.0f, "K", 1000.0f,
             40000.0f)
    ZN_FIELD(float, whiteBalanceTint, WhiteBalanceTint, 0.0f, "", -1.0f, 1.0f)
    ZN_FLAG(useColorCorrection, UseColorCorrection, false)
    ZN_FIELD(Vec4f, lift, Lift, Vec4f(0, 0, 0, 0), "", -10.0f, 10.0f)
    ZN_FIELD(Vec4f, gamma, Gamma, Vec4f(1, 1, 1, 1), "", 0.01f, 100.0f)
    ZN_FIELD(Vec4f, gain, Gain, Vec4f(1, 1, 1, 1), "", 0.0f, 100.0f)
    /// Upper three rows count: colour out = M (r, g, b, 1).
    ZN_FIELD(Matrix, colorMatrix, ColorMatrix, Matrix(), "",
             -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity())
    ZN_ENUM(colorProfile, ColorProfile, 1, "linear", "sRGB", "gamma", "table")
    ZN_FIELD(float, displayGamma, DisplayGamma, 2.2f, "", 0.1f, 10.0f)
    ZN_FLAG(correctBackplate, CorrectBackplate, false)
    ZN_FLAG(correctFrontplate, CorrectFrontplate, false)
    ZN_FLAG(tonemapFloatImages, TonemapFloatImages, false)

    /// Distance of the eyes in scene units.
    float getStereoEyeSeparation() const;
};

} // namespace osg

using osg::TonemappingSettings;
