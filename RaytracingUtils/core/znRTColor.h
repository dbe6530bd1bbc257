#pragma once

// One colour: red, green, blue, alpha in one register. Linear sRGB primaries.

#include "host/znAligned.h"

#include <algorithm>
#include <cmath>
#include <xmmintrin.h>

struct alignas(16) znRTColor : znAlignedBase16
{
    float r = 0.0f, g = 0.0f, b = 0.0f, a = 0.0f;

    znRTColor() = default;
    znRTColor(float red, float green, float blue, float alpha = 1.0f)
        : r(red), g(green), b(blue), a(alpha)
    {
    }
    explicit znRTColor(__m128 value) { _mm_store_ps(&r, value); }
    bool operator==(const znRTColor& o) const
    {
        return r == o.r && g == o.g && b == o.b && a == o.a;
    }

    __m128 load() const { return _mm_load_ps(&r); }
    float operator[](int channel) const { return (&r)[channel]; }
    float& operator[](int channel) { return (&r)[channel]; }

    /// Black as far as an image can show; alpha is not asked.
    bool isZero() const
    {
        return std::fabs(r) < 1e-6f && std::fabs(g) < 1e-6f && std::fabs(b) < 1e-6f;
    }
    float getMax() const { return std::max(r, std::max(g, b)); }
    float dot(const znRTColor& o) const { return r * o.r + g * o.g + b * o.b; }
    float getSquareLength() const { return dot(*this); }
    float getLength() const { return std::sqrt(getSquareLength()); }

    /// Light of a colour, the RGB form of znRTSpectrum's.
    static znRTColor getIlluminationSpectrum(float red, float green, float blue)
    {
        return {red, green, blue, 1.0f};
    }

    znRTColor& operator+=(const znRTColor& o)
    {
        return *this = znRTColor(_mm_add_ps(load(), o.load()));
    }
    znRTColor& operator-=(const znRTColor& o)
    {
        return *this = znRTColor(_mm_sub_ps(load(), o.load()));
    }
    znRTColor& operator*=(const znRTColor& o)
    {
        return *this = znRTColor(_mm_mul_ps(load(), o.load()));
    }
    znRTColor& operator*=(float s) { return *this = znRTColor(_mm_mul_ps(load(), _mm_set1_ps(s))); }
};

inline znRTColor operator+(znRTColor x, const znRTColor& y)
{
    return x += y;
}
inline znRTColor operator-(znRTColor x, const znRTColor& y)
{
    return x -= y;
}
inline znRTColor operator*(znRTColor x, const znRTColor& y)
{
    return x *= y;
}
inline znRTColor operator*(znRTColor x, float s)
{
    return x *= s;
}
