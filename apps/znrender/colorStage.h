#pragma once

// From the light of a frame to the values of a picture: exposure, view transform, display.
//
//   without a colour configuration   a tone curve of our own, then sRGB or an ICC profile
//   with one (--ocio, $OCIO)         its display and view
//
// Pictures of light (EXR, HDR, PFM) stay as they are. What the options name is looked up before the
// first ray, so that a wrong name costs no render.

#include "Options.h"

#include "driver/FrameDriver.h"
#include "host/osg/UberCamera.h"
#include "image/OcioView.h"

#include <optional>

class ColorStage
{
public:
    /// @throws UsageError for names that are not there, io::InputError for files that cannot be
    /// used
    explicit ColorStage(const Options& options);

    /// Tells a camera how it will be shown. What the scene says of tone mapping stays unless an
    /// option says otherwise.
    /// @param isLight  false for views that are an aid and no light: shown as they are
    void prepare(osg::UberCamera& camera, bool isLight) const;

    /// Display values of the last frame, with the profile that they are meant for.
    /// @param withAlpha  coverage as a fourth channel; colours are then not multiplied by it
    io::ImageData getPicture(FrameDriver& driver, const osg::UberCameraPtr& camera,
                             bool withAlpha) const;

private:
    int tonemapper =
        -1; ///< a znImagePostprocessor::Tonemapper; -1: as the scene says, else neutral
    std::optional<OcioView> configured;
    std::vector<u8> profile; ///< ICC
};
