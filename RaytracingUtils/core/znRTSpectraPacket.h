#pragma once

// Four spectra, one per lane, in the bands of znRTSpectrum, with an alpha beside them. The
// interface is that of znRTColorPacket: where that says red, green and blue this means all bands.

#include "core/znRTColorPacket.h"
#include "core/znRTSpectrum.h"

struct znRTSpectraPacket
{
    static constexpr int bandCount = znRTSpectrum::bandCount;

    znFloatType<2> bands[bandCount];
    znFloatType<2> a;

    znRTSpectraPacket() = default;
    /// The same value in all bands and alpha.
    explicit znRTSpectraPacket(znFloatType<2> value) : znRTSpectraPacket(value, value) {}
    znRTSpectraPacket(znFloatType<2> value, znFloatType<2> alpha);
    /// The same spectrum in all lanes.
    explicit znRTSpectraPacket(const znRTSpectrum& spectrum, znFloatType<2> alpha = 1.0f);

    /// Spectra of surface colours, and of lights' colours, lane by lane as znRTSpectrum's scalar
    /// forms; alpha is taken over.
    static znRTSpectraPacket RGB2ReflSpec(const znRTColorPacket& color);
    static znRTSpectraPacket RGB2IlluSpec(const znRTColorPacket& color);
    static znRTSpectrum RGB2ReflSpec(float r, float g, float b);
    static znRTSpectrum RGB2IlluSpec(float r, float g, float b);
    /// Light of a colour; alpha is 1.
    static znRTSpectraPacket getIlluminationSpectrum(znFloatType<2> r, znFloatType<2> g,
                                                     znFloatType<2> b);

    znFloatType<2>& operator[](int band) { return bands[band]; }
    const znFloatType<2>& operator[](int band) const { return bands[band]; }
    znRTSpectrum getComponent(int lane) const;
    void setComponent(int lane, const znRTSpectrum& spectrum, float alpha);

    /// Luminous value per lane, see znRTSpectrum.
    znFloatType<2> getPhotometricValue() const;

    znRTSpectraPacket& operator+=(const znRTSpectraPacket& o);
    znRTSpectraPacket& operator-=(const znRTSpectraPacket& o);
    znRTSpectraPacket& operator*=(const znRTSpectraPacket& o);
    /// Division by 0 gives 0.
    znRTSpectraPacket& operator/=(const znRTSpectraPacket& o);
    znRTSpectraPacket& operator+=(znFloatType<2> value);
    znRTSpectraPacket& operator-=(znFloatType<2> value);
    znRTSpectraPacket& operator*=(znFloatType<2> value);
    znRTSpectraPacket& operator/=(znFloatType<2> value);
    znRTSpectraPacket& operator&=(znFloatType<2> mask);
    void filterActive(znFloatType<2> mask) { *this &= mask; }
    void maskedClear(znFloatType<2> mask);

    void clampRGB(znFloatType<2> high);
    void clampRGB(znFloatType<2> low, znFloatType<2> high);
    void clampRGBMin(znFloatType<2> low);
    void clampRGBA(znFloatType<2> high);
    void clampRGBA(znFloatType<2> low, znFloatType<2> high);

    znFloatType<2> getMax() const;
    znFloatType<2> hasNaN() const;
    void pow(znFloatType<2> exponent);

    void alphaBlend(const znRTSpectraPacket& other, znFloatType<2> alpha);
    void alphaBlendPremul(const znRTSpectraPacket& other, znFloatType<2> alpha);

    void maskedUpdate(const znRTSpectraPacket& other, znFloatType<2> mask);
    void maskedUpdate(const znRTSpectraPacket& other, znFloatType<2> alpha, znFloatType<2> mask);
    void maskedUpdateNoAlpha(znFloatType<2> value, znFloatType<2> mask);
    void maskedUpdateNoAlpha(const znRTSpectraPacket& other, znFloatType<2> mask);
    void maskedMultiplyNoAlpha(znFloatType<2> value, znFloatType<2> mask);
    void maskedMultiplyNoAlpha(const znRTSpectraPacket& other, znFloatType<2> mask);

    void mixColor(const znRTSpectraPacket& other, znFloatType<2> t) { mixColor(*this, other, t); }
    void mixColor(znFloatType<2> value, znFloatType<2> t);
    /// Becomes from + (to - from) t.
    void mixColor(const znRTSpectraPacket& from, const znRTSpectraPacket& to, znFloatType<2> t);
};

inline znRTSpectraPacket operator+(znRTSpectraPacket x, const znRTSpectraPacket& y)
{
    return x += y;
}
inline znRTSpectraPacket operator-(znRTSpectraPacket x, const znRTSpectraPacket& y)
{
    return x -= y;
}
inline znRTSpectraPacket operator*(znRTSpectraPacket x, const znRTSpectraPacket& y)
{
    return x *= y;
}
inline znRTSpectraPacket operator/(znRTSpectraPacket x, const znRTSpectraPacket& y)
{
    return x /= y;
}
inline znRTSpectraPacket operator+(znRTSpectraPacket x, znFloatType<2> value)
{
    return x += value;
}
inline znRTSpectraPacket operator-(znRTSpectraPacket x, znFloatType<2> value)
{
    return x -= value;
}
inline znRTSpectraPacket operator*(znRTSpectraPacket x, znFloatType<2> value)
{
    return x *= value;
}
inline znRTSpectraPacket operator*(znFloatType<2> value, znRTSpectraPacket x)
{
    return x *= value;
}
inline znRTSpectraPacket operator/(znRTSpectraPacket x, znFloatType<2> value)
{
    return x /= value;
}
inline znRTSpectraPacket operator&(znRTSpectraPacket x, znFloatType<2> mask)
{
    return x &= mask;
}
