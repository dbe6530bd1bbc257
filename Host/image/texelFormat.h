#pragma once

// Texels of the storage types of znRTTextureSampler, one at a time.

#include "host/znAligned.h"
#include "host/znRTVector.h"
#include "image/znRTGammaTables.h"

/// How a storage type lies in memory.
struct TexelFormat
{
    enum class Component { none, byte, word, half, single };

    Component component = Component::none;
    int channels = 0; ///< 1 L, 2 LA, 3 RGB, 4 RGBA
    bool blueFirst = false;

    /// component is none for a number that is no type
    static TexelFormat of(int pixelType);

    int getComponentSize() const;
    int getTexelSize() const { return channels * getComponentSize(); }
    bool hasAlpha() const { return channels == 2 || channels == 4; }
    bool isInteger() const { return component == Component::byte || component == Component::word; }

    /// Linear RGBA: grey in R, G, B; a missing alpha is 1; 0 for no type.
    znRTVector4f read(const u8* texel, const float* lut8, const float* lut16) const;
    /// The nearest stored value; grey is written from R.
    void write(u8* texel, const znRTVector4f& value, const float* lut8, const float* lut16) const;
};
