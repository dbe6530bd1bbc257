// Colours of lights.

#include "core/znRTSpectralData.h"
#include "host/osg/Spectrum.h"
#include "light/usableColor.h"
#include "light/znRTLight.h"

#include <algorithm>

znRTColor znRTLight::calculateLightSpectrum(const osg::Spectrum* spectrum, float intensity, float r,
                                            float g, float b)
{
    if (!spectrum || !spectrum->isUsable())
        return usableColor(intensity * r, intensity * g, intensity * b);
    const znRTColor light =
        znRTSpectralData::Instance().getEmittedColor(znRTSpectrum(*spectrum, 1.0f));
    // Saturated spectra lie outside of sRGB: negative light is none.
    return usableColor(intensity * std::max(light.r, 0.0f), intensity * std::max(light.g, 0.0f),
                       intensity * std::max(light.b, 0.0f));
}
