#pragma once

// A spectrum in 40 bands of 10 nm: band i is the mean over 380 + 10 i to 390 + 10 i nm and stands
// for the band's centre. One value per band, the same for all lanes.

#include "core/znFloatType.h"
#include "core/znRTColor.h"

#include "host/znAligned.h"

#include <array>

namespace osg {
class Spectrum;
}

class znRTSpectrum : public znAlignedBase16
{
public:
    static constexpr int bandCount = 40;
    static constexpr float firstWavelength = 380.0f; ///< nm, lower edge of band 0
    static constexpr float bandWidth = 10.0f;        ///< nm

    /// All bands 0.
    znRTSpectrum() { bands.fill(0.0f); }
    explicit znRTSpectrum(float value) { bands.fill(value); }
    /// @param values  bandCount values
    explicit znRTSpectrum(const float* values);
    /// @param source  bands beyond the samples it has stay 0
    /// @param scale   goes to scalar; the bands are taken as they are
    znRTSpectrum(const osg::Spectrum& source, float scale);

    float& operator[](int band) { return bands[band]; }
    float operator[](int band) const { return bands[band]; }

    znRTSpectrum& operator+=(const znRTSpectrum& other);
    znRTSpectrum& operator*=(const znRTSpectrum& other);
    znRTSpectrum& operator*=(float factor);

    /// Value at a fractional band position, per lane: linear between band centres, constant beyond
    /// the outer ones, 0 outside [0, 40) and for NaN.
    znFloatType<2> getSamplesAt2(const znFloatType<2>& position) const;
    float getSampleAt(float position) const;

    /// Sum of the bands weighted with the luminous efficiency; a spectrum of 1 everywhere gives 1.
    float getPhotometricValue() const;

    /// Spectrum of a surface colour, and of a light's colour. B. Smits, "An RGB-to-Spectrum
    /// Conversion for Reflectances", Journal of Graphics Tools 4(4), 1999. Converting back
    /// (znRTSpectralData) returns the colour for reflectances under daylight and for light as it
    /// is.
    static znRTSpectrum RGB2ReflSpec(float r, float g, float b);
    static znRTSpectrum RGB2IlluSpec(float r, float g, float b);

    static constexpr float reflectanceScale = 0.94f;
    static constexpr float illuminationScale = 0.86445f;

    alignas(16) std::array<float, bandCount> bands;
    /// A single value that travels with the spectrum (a factor of its source); nothing here
    /// applies it.
    float scalar = 0.0f;
};

inline znRTSpectrum operator+(znRTSpectrum a, const znRTSpectrum& b)
{
    return a += b;
}
inline znRTSpectrum operator*(znRTSpectrum a, const znRTSpectrum& b)
{
    return a *= b;
}
inline znRTSpectrum operator*(znRTSpectrum a, float factor)
{
    return a *= factor;
}
