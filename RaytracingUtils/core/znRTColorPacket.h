#pragma once

// Four colours, one per lane. Operations with a single value work on all four channels unless they
// say otherwise. Clamps keep NaN visible to hasNaN.

#include "core/packetMath.h"
#include "core/znRTColor.h"

struct znRTColorPacket
{
    znFloatType<2> r, g, b, a;

    znRTColorPacket() = default;
    znRTColorPacket(znFloatType<2> red, znFloatType<2> green, znFloatType<2> blue,
                    znFloatType<2> alpha)
        : r(red), g(green), b(blue), a(alpha)
    {
    }
    /// The same value in all channels.
    explicit znRTColorPacket(znFloatType<2> value) : r(value), g(value), b(value), a(value) {}
    /// The same colour in all lanes.
    explicit znRTColorPacket(const znRTColor& color)
        : r(color.r), g(color.g), b(color.b), a(color.a)
    {
    }

    /// Light of a colour, the RGB form of znRTSpectraPacket's; alpha is 1.
    static znRTColorPacket getIlluminationSpectrum(znFloatType<2> red, znFloatType<2> green,
                                                   znFloatType<2> blue)
    {
        return {red, green, blue, 1.0f};
    }

    /// @param channel  0 to 3: red, green, blue, alpha
    znFloatType<2>& operator[](int channel) { return (&r)[channel]; }
    const znFloatType<2>& operator[](int channel) const { return (&r)[channel]; }

    znRTColor getComponent(int lane) const { return {r[lane], g[lane], b[lane], a[lane]}; }
    void setComponent(int lane, const znRTColor& color);

    znRTColorPacket& operator+=(const znRTColorPacket& o) { return *this = *this + o; }
    znRTColorPacket& operator-=(const znRTColorPacket& o) { return *this = *this - o; }
    znRTColorPacket& operator*=(const znRTColorPacket& o) { return *this = *this * o; }
    /// Division by 0 gives 0.
    znRTColorPacket& operator/=(const znRTColorPacket& o) { return *this = *this / o; }
    znRTColorPacket& operator+=(znFloatType<2> value) { return *this += znRTColorPacket(value); }
    znRTColorPacket& operator-=(znFloatType<2> value) { return *this -= znRTColorPacket(value); }
    znRTColorPacket& operator*=(znFloatType<2> value) { return *this *= znRTColorPacket(value); }
    znRTColorPacket& operator/=(znFloatType<2> value)
    {
        return *this *= znRTColorPacket(reciprocalOrZero(value));
    }
    /// Zeroes the lanes outside the mask, on all channels.
    znRTColorPacket& operator&=(znFloatType<2> mask) { return *this = *this & mask; }
    void filterActive(znFloatType<2> mask) { *this &= mask; }
    /// Clears red, green and blue in the lanes of the mask; alpha stays.
    void maskedClear(znFloatType<2> mask);

    void clampRGB(znFloatType<2> high);
    void clampRGB(znFloatType<2> low, znFloatType<2> high);
    void clampRGBMin(znFloatType<2> low);
    void clampRGBA(znFloatType<2> high);
    void clampRGBA(znFloatType<2> low, znFloatType<2> high);

    /// Largest of red, green and blue.
    znFloatType<2> getMax() const { return maximum(r, maximum(g, b)); }
    /// All ones in a lane with a NaN in any channel, alpha included.
    znFloatType<2> hasNaN() const { return isNaN(r) | isNaN(g) | isNaN(b) | isNaN(a); }
    /// Red, green and blue to a power, see pow in packetMath.h; alpha stays.
    void pow(znFloatType<2> exponent);

    /// Lays a colour behind what is there; the own alpha is the transmittance that is left.
    /// @param alpha  opacity of the other; above 1 nothing is left
    void alphaBlend(const znRTColorPacket& other, znFloatType<2> alpha);
    /// The same with a colour that its opacity has been multiplied into.
    void alphaBlendPremul(const znRTColorPacket& other, znFloatType<2> alpha);

    /// Takes the other over in the lanes of the mask, on all channels.
    void maskedUpdate(const znRTColorPacket& other, znFloatType<2> mask);
    /// The same with red, green and blue of the other and an alpha of its own.
    void maskedUpdate(const znRTColorPacket& other, znFloatType<2> alpha, znFloatType<2> mask);
    /// Red, green and blue take one value in the lanes of the mask.
    void maskedUpdateNoAlpha(znFloatType<2> value, znFloatType<2> mask);
    /// Red, green and blue of the other; alpha stays.
    void maskedUpdateNoAlpha(const znRTColorPacket& other, znFloatType<2> mask);
    void maskedMultiplyNoAlpha(znFloatType<2> value, znFloatType<2> mask);
    void maskedMultiplyNoAlpha(const znRTColorPacket& other, znFloatType<2> mask);

    /// Moves toward the other by the fraction t, on all channels.
    void mixColor(const znRTColorPacket& other, znFloatType<2> t) { mixColor(*this, other, t); }
    void mixColor(znFloatType<2> value, znFloatType<2> t)
    {
        mixColor(*this, znRTColorPacket(value), t);
    }
    /// Becomes from + (to - from) t.
    void mixColor(const znRTColorPacket& from, const znRTColorPacket& to, znFloatType<2> t)
    {
        *this = {(to.r - from.r) * t + from.r, (to.g - from.g) * t + from.g,
                 (to.b - from.b) * t + from.b, (to.a - from.a) * t + from.a};
    }

    friend znRTColorPacket operator+(const znRTColorPacket& x, const znRTColorPacket& y)
    {
        return {x.r + y.r, x.g + y.g, x.b + y.b, x.a + y.a};
    }
    friend znRTColorPacket operator-(const znRTColorPacket& x, const znRTColorPacket& y)
    {
        return {x.r - y.r, x.g - y.g, x.b - y.b, x.a - y.a};
    }
    friend znRTColorPacket operator*(const znRTColorPacket& x, const znRTColorPacket& y)
    {
        return {x.r * y.r, x.g * y.g, x.b * y.b, x.a * y.a};
    }
    friend znRTColorPacket operator/(const znRTColorPacket& x, const znRTColorPacket& y)
    {
        return x * znRTColorPacket(reciprocalOrZero(y.r), reciprocalOrZero(y.g),
                                   reciprocalOrZero(y.b), reciprocalOrZero(y.a));
    }
    friend znRTColorPacket operator&(const znRTColorPacket& x, znFloatType<2> mask)
    {
        return {x.r & mask, x.g & mask, x.b & mask, x.a & mask};
    }
};

inline znRTColorPacket operator+(znRTColorPacket x, znFloatType<2> value)
{
    return x += value;
}
inline znRTColorPacket operator-(znRTColorPacket x, znFloatType<2> value)
{
    return x -= value;
}
inline znRTColorPacket operator*(znRTColorPacket x, znFloatType<2> value)
{
    return x *= value;
}
inline znRTColorPacket operator*(znFloatType<2> value, znRTColorPacket x)
{
    return x *= value;
}
inline znRTColorPacket operator/(znRTColorPacket x, znFloatType<2> value)
{
    return x /= value;
}

inline znRTColorPacket select(znFloatType<2> mask, const znRTColorPacket& x,
                              const znRTColorPacket& y)
{
    return {select(mask, x.r, y.r), select(mask, x.g, y.g), select(mask, x.b, y.b),
            select(mask, x.a, y.a)};
}

/// Luminance of linear sRGB, as all shading weighs it.
inline znFloatType<2> luminance(const znRTColorPacket& color)
{
    return color.r * 0.2125f + color.g * 0.7154f + color.b * 0.0721f;
}

inline void znRTColorPacket::setComponent(int lane, const znRTColor& color)
{
    r.set(lane, color.r);
    g.set(lane, color.g);
    b.set(lane, color.b);
    a.set(lane, color.a);
}

inline void znRTColorPacket::maskedClear(znFloatType<2> mask)
{
    r = andNot(mask, r);
    g = andNot(mask, g);
    b = andNot(mask, b);
}

inline void znRTColorPacket::clampRGB(znFloatType<2> high)
{
    r = minimum(high, r);
    g = minimum(high, g);
    b = minimum(high, b);
}

inline void znRTColorPacket::clampRGB(znFloatType<2> low, znFloatType<2> high)
{
    clampRGB(high);
    clampRGBMin(low);
}

inline void znRTColorPacket::clampRGBMin(znFloatType<2> low)
{
    r = maximum(low, r);
    g = maximum(low, g);
    b = maximum(low, b);
}

inline void znRTColorPacket::clampRGBA(znFloatType<2> high)
{
    clampRGB(high);
    a = minimum(high, a);
}

inline void znRTColorPacket::clampRGBA(znFloatType<2> low, znFloatType<2> high)
{
    clampRGB(low, high);
    a = maximum(low, minimum(high, a));
}

inline void znRTColorPacket::pow(znFloatType<2> exponent)
{
    r = ::pow(r, exponent);
    g = ::pow(g, exponent);
    b = ::pow(b, exponent);
}

inline void znRTColorPacket::alphaBlend(const znRTColorPacket& other, znFloatType<2> alpha)
{
    const znFloatType<2> weight = alpha * a;
    *this = {r + other.r * weight, g + other.g * weight, b + other.b * weight,
             maximum(0.0f, znFloatType<2>(1.0f) - alpha) * a};
}

inline void znRTColorPacket::alphaBlendPremul(const znRTColorPacket& other, znFloatType<2> alpha)
{
    *this = {r + other.r * a, g + other.g * a, b + other.b * a,
             maximum(0.0f, znFloatType<2>(1.0f) - alpha) * a};
}

inline void znRTColorPacket::maskedUpdate(const znRTColorPacket& other, znFloatType<2> mask)
{
    *this = select(mask, other, *this);
}

inline void znRTColorPacket::maskedUpdate(const znRTColorPacket& other, znFloatType<2> alpha,
                                          znFloatType<2> mask)
{
    maskedUpdate(znRTColorPacket(other.r, other.g, other.b, alpha), mask);
}

inline void znRTColorPacket::maskedUpdateNoAlpha(znFloatType<2> value, znFloatType<2> mask)
{
    maskedUpdateNoAlpha(znRTColorPacket(value), mask);
}

inline void znRTColorPacket::maskedUpdateNoAlpha(const znRTColorPacket& other, znFloatType<2> mask)
{
    maskedUpdate(other, a, mask);
}

inline void znRTColorPacket::maskedMultiplyNoAlpha(znFloatType<2> value, znFloatType<2> mask)
{
    maskedUpdateNoAlpha(*this * value, mask);
}

inline void znRTColorPacket::maskedMultiplyNoAlpha(const znRTColorPacket& other,
                                                   znFloatType<2> mask)
{
    maskedUpdateNoAlpha(*this * other, mask);
}
