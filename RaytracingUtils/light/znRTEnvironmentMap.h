#pragma once

// Radiance of an environment image by place: latitude-longitude, u = atan2(x, y) / (2 pi) in turns,
// v = acos(z) / pi, row 0 at the zenith. Lookup and tables for sampling read through here, so that
// what is drawn is what is seen.

#include "core/znRTColorPacket.h"
#include "core/znRTVector2fPacket.h"
#include "host/znMatrix4x4.h"

class znRTSampler2D;

class znRTEnvironmentMap
{
public:
    /// @param newSampler  float RGBA; not owned, null for none
    /// @return false, and an empty map, for another format
    bool setSampler(const znRTSampler2D* newSampler);
    /// @param correction  applied to the texels first, results clamped below at 0; null for none
    /// @param newScale    factor on the result
    void setColor(const znMatrix4x4* correction, float newScale);

    bool isValid() const { return sampler != nullptr; }
    int getWidth() const;
    int getHeight() const;

    /// Bilinear; u repeats and v is clamped. Alpha 1; 0 in lanes off the mask.
    znRTColorPacket lookup(const znRTVector2fPacket& uv, const znFloatType<2>& mask) const;
    /// Luminance at one place, without the factor.
    float luminance(float u, float v) const;
    /// A colour of the image as the lookup would show it.
    znRTColor getCorrected(const znRTColor& color) const;
    /// The same for colours of lanes; 0 in lanes off the mask.
    znRTColorPacket getCorrected(const znRTColorPacket& color, const znFloatType<2>& mask) const;

private:
    znRTColor correct(const znRTColor& color) const;
    znRTColor at(float u, float v) const; ///< without the factor

    const znRTSampler2D* sampler = nullptr;
    float scale = 1.0f;
    bool isCorrected = false;
    znMatrix4x4 matrix;
};
