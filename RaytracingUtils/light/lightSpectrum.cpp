// Colours of lights.

#include "core/znRTSpectralData.h"
#include "host/osg/Spectrum.h"
#include "light/znRTLight.h"

#include <algorithm>

znRTColor znRTLight::calculateLightSpectrum(const osg::Spectrum* spectrum, float intensity, float r,
                                            float g, float b)
{
    if (!spectrum || !spectrum->isUsable())
        return {intensity * r, intensity * g, intensity * b, 1.0f};
    const znRTColor light =
        znRTSpectralData::Instance().getEmittedColor(znRTSpectrum(*spectrum, 1.0f));
    // Saturated spectra lie outside of sRGB: negative light is none.
    return {intensity * std::max(light.r, 0.0f), intensity * std::max(light.g, 0.0f),
            intensity * std::max(light.b, 0.0f), 1.0f};
}
