#pragma once

// Tables of the spectral mode: the CIE 1931 2-degree matching functions (CIE 15), the illuminants
// A, D65 (CIE 15) and E, and the basis spectra of the RGB-to-spectrum conversions (Smits 1999, see
// znRTSpectrum). All in the bands of znRTSpectrum.
//
// The matching functions are divided by the sum of Y, so that a spectrum of 1 has the photometric
// value 1. The bases are the smoothest curves (least squared difference of neighbouring bands, not
// below 0, reflectances not above 1) whose colour is exactly the basis colour in linear sRGB:
// reflectances lit by D65, light as it is. They are stored divided by the conversion's scale.

#include "core/znRTSpectrum.h"

class znRTSpectralData : public znAlignedBase16
{
public:
    enum Illuminant : u32 { illuminantD65 = 0, illuminantA = 1, illuminantE = 2 };

    /// The only object, built on first use.
    static znRTSpectralData& Instance();

    const znRTSpectrum& getX() const { return x; }
    const znRTSpectrum& getY() const { return y; }
    const znRTSpectrum& getZ() const { return z; }
    const znRTSpectrum& getA() const { return a; } ///< 100 at 560 nm, as the two below
    const znRTSpectrum& getD65() const { return d65; }
    const znRTSpectrum& getE() const { return e; }

    const znRTSpectrum& getReflWhite() const { return refl[0]; }
    const znRTSpectrum& getReflCyan() const { return refl[1]; }
    const znRTSpectrum& getReflMagenta() const { return refl[2]; }
    const znRTSpectrum& getReflYellow() const { return refl[3]; }
    const znRTSpectrum& getReflRed() const { return refl[4]; }
    const znRTSpectrum& getReflGreen() const { return refl[5]; }
    const znRTSpectrum& getReflBlue() const { return refl[6]; }
    const znRTSpectrum& getIlluWhite() const { return illu[0]; }
    const znRTSpectrum& getIlluCyan() const { return illu[1]; }
    const znRTSpectrum& getIlluMagenta() const { return illu[2]; }
    const znRTSpectrum& getIlluYellow() const { return illu[3]; }
    const znRTSpectrum& getIlluRed() const { return illu[4]; }
    const znRTSpectrum& getIlluGreen() const { return illu[5]; }
    const znRTSpectrum& getIlluBlue() const { return illu[6]; }
    /// Seven spectra in the order white, cyan, magenta, yellow, red, green, blue.
    const znRTSpectrum* getReflBases() const { return refl; }
    const znRTSpectrum* getIlluBases() const { return illu; }

    /// Light under which reflectances become RGB; takes effect with reinit(). Unknown numbers count
    /// as D65. Not while rendering.
    void setIlluminant(u32 number) { illuminant = number <= illuminantE ? number : 0; }
    u32 getIlluminant() const { return illuminant; }
    const znRTSpectrum& getIlluminantSpectrum() const;
    /// Rebuilds what derives from the illuminant.
    void reinit();

    /// Linear sRGB of a reflectance seen under the illuminant by an eye adapted to it: a
    /// reflectance of 1 gives (1, 1, 1) whatever the light (von Kries scaling of the channels).
    /// Alpha is 1.
    znRTColor getReflectedColor(const znRTSpectrum& reflectance) const;
    /// Linear sRGB of light as it is; alpha is 1. May be negative outside the gamut.
    znRTColor getEmittedColor(const znRTSpectrum& light) const;

private:
    znRTSpectralData();

    znRTSpectrum x, y, z;
    znRTSpectrum a, d65, e;
    znRTSpectrum refl[7], illu[7];
    znRTSpectrum reflectedWeights[3]; ///< of red, green, blue under the illuminant
    znRTSpectrum emittedWeights[3];
    u32 illuminant = illuminantD65;
};
