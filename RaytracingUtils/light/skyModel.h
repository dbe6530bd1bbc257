#pragma once

// Sky of a clear day. A. J. Preetham, P. Shirley, B. Smits, "A Practical Analytic Model for
// Daylight", SIGGRAPH 1999, appendix A.2: luminance and chromaticity of skylight by the formula of
// R. Perez, R. Seals, J. Michalsky, "All-weather model for sky luminance distribution", 1993.
// World has z up.

#include "core/znRTColor.h"
#include "host/znRTVector.h"

class SkyModel
{
public:
    /// @param turbidity     haze, 2 clear to 10 hazy
    /// @param sunDirection  unit; a sun near or below the horizon lights the sky as one a degree
    ///                      above it
    SkyModel(float turbidity, const znRTVector3f& sunDirection);

    /// Radiance from a direction above the horizon in linear Rec. 709, kcd/m^2; channels outside
    /// the gamut are 0. Below the horizon: as at the horizon.
    znRTColor getRadiance(const znRTVector3f& direction) const;

    /// Share of the sky's light on the ground that is left when the sun is below the horizon, 1
    /// above it. P. K. Seidelmann (ed.), "Explanatory Supplement to the Astronomical Almanac",
    /// 1992, 9.4: illuminance by the sun's altitude, over that at 0 degrees.
    /// @param sunHeight  sine of the altitude
    static float getTwilightShare(float sunHeight);

private:
    /// One quantity: its value at the zenith, and five coefficients of its distribution.
    struct Channel
    {
        double coefficients[5];
        double zenith = 0.0;
        double distribution(double cosTheta, double gamma) const;
    };

    znRTVector3f sun;
    double sunTheta;
    Channel luminance, x, y;
};
