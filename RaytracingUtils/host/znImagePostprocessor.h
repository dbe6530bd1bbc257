#pragma once

// All that turns linear scene colours into display values, as plain members of one record. The
// copy stage holds a copy, which nobody changes while it works. After a change of parameters
// update() derives the values that the per-pixel functions (znRTColorTransforms) read.

#include "host/znAligned.h"
#include "host/znRTVector.h"

#include <array>
#include <memory>
#include <vector>

#include <emmintrin.h>

namespace osg {
class Camera;
class Viewport;
} // namespace osg

/// 3 x 4 matrix on (r, g, b, 1) as four columns; the fourth component is not read or written.
struct alignas(16) znColorMatrix
{
    __m128 column[4];

    znColorMatrix();
    /// @param rows  three rows of four
    explicit znColorMatrix(const std::array<std::array<float, 4>, 3>& rows);
};

/// From linear Rec. 709 to the values of a display.
struct znColorProfile
{
    enum Kind {
        linear = 0,
        sRGB = 1,
        gamma = 2,
        table = 3 ///< 33^3 entries over the sRGB-encoded colour
    };
    static constexpr int tableSize = 33;

    Kind kind = sRGB;
    float inverseGamma = 1.0f / 2.2f;
    /// tableSize^3 RGBA values, red fastest; shared by copies of the profile.
    std::shared_ptr<const std::vector<float>> entries;

    void setGamma(float displayGamma); ///< above 0; anything else leaves the profile as it was
    /// Bakes an RGB output profile (relative colorimetric, black point compensation).
    /// @return false, with one log line and the profile unchanged, for data that is no such profile
    bool setICCProfile(const void* data, std::size_t size, const char* name);
};

class znImagePostprocessor : public znAlignedBase16
{
public:
    enum Tonemapper {
        tonemapLinear = 0,
        tonemapClamp = 1,
        tonemapReinhard = 2,     ///< extended: white point and burn
        tonemapFilmic = 3,       ///< J. Hable, "Filmic Tonemapping", GDC 2010
        tonemapACES = 4,         ///< K. Narkowicz, "ACES Filmic Tone Mapping Curve", 2016
        tonemapLogarithmic = 5,  ///< F. Drago et al., "Adaptive Logarithmic Mapping", 2003
        tonemapPhotographic = 6, ///< exposure of film, with contrast and saturation
        /// Khronos Group, "PBR Neutral Tone Mapper", 2024: colours of surfaces stay as they are
        tonemapNeutral = 7,
        tonemapperCount = 8
    };
    static constexpr u8 flagTonemapFloatImages = 1;

    znImagePostprocessor();

    // Parameters. Call update() after changing one of this block.

    bool useTonemapping = true; ///< false makes the tonemapper the identity
    int tonemapper = tonemapLinear;
    float exposure = 0.0f; ///< stops
    float whitepoint = 1.0f;
    float burn = 0.5f;
    float contrast = 1.0f;
    float saturation = 1.0f;
    float whiteBalanceTemperature = 6500.0f; ///< K: what is to look white
    float whiteBalanceTint = 0.0f;           ///< [-1, 1], green to magenta
    std::array<float, 4> liftValues{0.0f, 0.0f, 0.0f, 0.0f};
    std::array<float, 4> gammaValues{1.0f, 1.0f, 1.0f, 1.0f};
    std::array<float, 4> gainValues{1.0f, 1.0f, 1.0f, 1.0f};
    std::array<std::array<float, 4>, 3> matrixValues{
        {{1.0f, 0.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 1.0f, 0.0f}}};

    bool useColorCorrection = false; ///< flag of the correction step
    bool correctBackplate = false;   ///< backplates pass applySceneplateColorCorrection
    bool correctFrontplate = false;
    /// Of float images: (flags | 44) * 4 are their copy flags, so 0 or flagTonemapFloatImages.
    u8 flags = 0;

    znColorProfile profile;

    void update();

    // Derived by update()

    bool hasWhiteBalance = false;
    znColorMatrix whiteBalance;
    float exposureScale = 1.0f;
    float tonemapScale = 1.0f;  ///< of the chosen curve
    float tonemapFactor = 1.0f; ///< second constant of the chosen curve
    __m128 lift, gamma, gain;
    znColorMatrix matrix;

    /// Profile of cameras whose settings ask for a table; until one is set they get sRGB. Not while
    /// a frame is copied.
    static void setDisplayProfile(const znColorProfile& profile);

    /// What the settings of the viewport's camera say; defaults without any.
    static znImagePostprocessor getImagePostprocessor(const osg::Viewport* viewport);
    static znImagePostprocessor getImagePostprocessor(const osg::Camera* camera);
};
