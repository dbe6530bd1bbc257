#include "core/znRTSpectraPacket.h"

#include "core/znRTSpectralData.h"

namespace {

constexpr int bandCount = znRTSpectraPacket::bandCount;

template <class Function>
void forBands(Function function)
{
    for (int i = 0; i < bandCount; ++i)
        function(i);
}

} // namespace

znRTSpectraPacket::znRTSpectraPacket(znFloatType<2> value, znFloatType<2> alpha) : a(alpha)
{
    forBands([&](int i) { bands[i] = value; });
}

znRTSpectraPacket::znRTSpectraPacket(const znRTSpectrum& spectrum, znFloatType<2> alpha) : a(alpha)
{
    forBands([&](int i) { bands[i] = znFloatType<2>(spectrum[i]); });
}

znRTSpectrum znRTSpectraPacket::RGB2ReflSpec(float r, float g, float b)
{
    return znRTSpectrum::RGB2ReflSpec(r, g, b);
}

znRTSpectrum znRTSpectraPacket::RGB2IlluSpec(float r, float g, float b)
{
    return znRTSpectrum::RGB2IlluSpec(r, g, b);
}

znRTSpectraPacket znRTSpectraPacket::RGB2ReflSpec(const znRTColorPacket& color)
{
    znRTSpectraPacket result;
    for (int lane = 0; lane < znFloatType<2>::laneCount; ++lane)
        result.setComponent(lane,
                            znRTSpectrum::RGB2ReflSpec(color.r[lane], color.g[lane], color.b[lane]),
                            color.a[lane]);
    return result;
}

znRTSpectraPacket znRTSpectraPacket::RGB2IlluSpec(const znRTColorPacket& color)
{
    znRTSpectraPacket result;
    for (int lane = 0; lane < znFloatType<2>::laneCount; ++lane)
        result.setComponent(lane,
                            znRTSpectrum::RGB2IlluSpec(color.r[lane], color.g[lane], color.b[lane]),
                            color.a[lane]);
    return result;
}

znRTSpectraPacket znRTSpectraPacket::getIlluminationSpectrum(znFloatType<2> r, znFloatType<2> g,
                                                             znFloatType<2> b)
{
    return RGB2IlluSpec(znRTColorPacket(r, g, b, 1.0f));
}

znRTSpectrum znRTSpectraPacket::getComponent(int lane) const
{
    znRTSpectrum result;
    forBands([&](int i) { result[i] = bands[i][lane]; });
    return result;
}

void znRTSpectraPacket::setComponent(int lane, const znRTSpectrum& spectrum, float alpha)
{
    forBands([&](int i) { bands[i].set(lane, spectrum[i]); });
    a.set(lane, alpha);
}

znFloatType<2> znRTSpectraPacket::getPhotometricValue() const
{
    const znRTSpectrum& weights = znRTSpectralData::Instance().getY();
    // Four sums side by side, so that an addition need not wait for the one before.
    znFloatType<2> sums[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    for (int i = 0; i < bandCount; i += 4)
        for (int k = 0; k < 4; ++k)
            sums[k] += bands[i + k] * weights[i + k];
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

znRTSpectraPacket& znRTSpectraPacket::operator+=(const znRTSpectraPacket& o)
{
    forBands([&](int i) { bands[i] += o.bands[i]; });
    a += o.a;
    return *this;
}

znRTSpectraPacket& znRTSpectraPacket::operator-=(const znRTSpectraPacket& o)
{
    forBands([&](int i) { bands[i] -= o.bands[i]; });
    a -= o.a;
    return *this;
}

znRTSpectraPacket& znRTSpectraPacket::operator*=(const znRTSpectraPacket& o)
{
    forBands([&](int i) { bands[i] *= o.bands[i]; });
    a *= o.a;
    return *this;
}

znRTSpectraPacket& znRTSpectraPacket::operator/=(const znRTSpectraPacket& o)
{
    forBands([&](int i) { bands[i] *= reciprocalOrZero(o.bands[i]); });
    a *= reciprocalOrZero(o.a);
    return *this;
}

znRTSpectraPacket& znRTSpectraPacket::operator+=(znFloatType<2> value)
{
    forBands([&](int i) { bands[i] += value; });
    a += value;
    return *this;
}

znRTSpectraPacket& znRTSpectraPacket::operator-=(znFloatType<2> value)
{
    forBands([&](int i) { bands[i] -= value; });
    a -= value;
    return *this;
}

znRTSpectraPacket& znRTSpectraPacket::operator*=(znFloatType<2> value)
{
    forBands([&](int i) { bands[i] *= value; });
    a *= value;
    return *this;
}

znRTSpectraPacket& znRTSpectraPacket::operator/=(znFloatType<2> value)
{
    return *this *= reciprocalOrZero(value);
}

znRTSpectraPacket& znRTSpectraPacket::operator&=(znFloatType<2> mask)
{
    forBands([&](int i) { bands[i] &= mask; });
    a &= mask;
    return *this;
}

void znRTSpectraPacket::maskedClear(znFloatType<2> mask)
{
    forBands([&](int i) { bands[i] = andNot(mask, bands[i]); });
}

void znRTSpectraPacket::clampRGB(znFloatType<2> high)
{
    forBands([&](int i) { bands[i] = minimum(high, bands[i]); });
}

void znRTSpectraPacket::clampRGB(znFloatType<2> low, znFloatType<2> high)
{
    clampRGB(high);
    clampRGBMin(low);
}

void znRTSpectraPacket::clampRGBMin(znFloatType<2> low)
{
    forBands([&](int i) { bands[i] = maximum(low, bands[i]); });
}

void znRTSpectraPacket::clampRGBA(znFloatType<2> high)
{
    clampRGB(high);
    a = minimum(high, a);
}

void znRTSpectraPacket::clampRGBA(znFloatType<2> low, znFloatType<2> high)
{
    clampRGB(low, high);
    a = maximum(low, minimum(high, a));
}

znFloatType<2> znRTSpectraPacket::getMax() const
{
    znFloatType<2> largest = bands[0];
    forBands([&](int i) { largest = maximum(bands[i], largest); });
    return largest;
}

znFloatType<2> znRTSpectraPacket::hasNaN() const
{
    znFloatType<2> found = isNaN(a);
    forBands([&](int i) { found |= isNaN(bands[i]); });
    return found;
}

void znRTSpectraPacket::pow(znFloatType<2> exponent)
{
    forBands([&](int i) { bands[i] = ::pow(bands[i], exponent); });
}

void znRTSpectraPacket::alphaBlend(const znRTSpectraPacket& other, znFloatType<2> alpha)
{
    const znFloatType<2> weight = alpha * a;
    forBands([&](int i) { bands[i] += other.bands[i] * weight; });
    a *= maximum(0.0f, znFloatType<2>(1.0f) - alpha);
}

void znRTSpectraPacket::alphaBlendPremul(const znRTSpectraPacket& other, znFloatType<2> alpha)
{
    forBands([&](int i) { bands[i] += other.bands[i] * a; });
    a *= maximum(0.0f, znFloatType<2>(1.0f) - alpha);
}

void znRTSpectraPacket::maskedUpdate(const znRTSpectraPacket& other, znFloatType<2> mask)
{
    maskedUpdate(other, other.a, mask);
}

void znRTSpectraPacket::maskedUpdate(const znRTSpectraPacket& other, znFloatType<2> alpha,
                                     znFloatType<2> mask)
{
    maskedUpdateNoAlpha(other, mask);
    a = select(mask, alpha, a);
}

void znRTSpectraPacket::maskedUpdateNoAlpha(znFloatType<2> value, znFloatType<2> mask)
{
    forBands([&](int i) { bands[i] = select(mask, value, bands[i]); });
}

void znRTSpectraPacket::maskedUpdateNoAlpha(const znRTSpectraPacket& other, znFloatType<2> mask)
{
    forBands([&](int i) { bands[i] = select(mask, other.bands[i], bands[i]); });
}

void znRTSpectraPacket::maskedMultiplyNoAlpha(znFloatType<2> value, znFloatType<2> mask)
{
    forBands([&](int i) { bands[i] = select(mask, bands[i] * value, bands[i]); });
}

void znRTSpectraPacket::maskedMultiplyNoAlpha(const znRTSpectraPacket& other, znFloatType<2> mask)
{
    forBands([&](int i) { bands[i] = select(mask, bands[i] * other.bands[i], bands[i]); });
}

void znRTSpectraPacket::mixColor(znFloatType<2> value, znFloatType<2> t)
{
    forBands([&](int i) { bands[i] = (value - bands[i]) * t + bands[i]; });
    a = (value - a) * t + a;
}

void znRTSpectraPacket::mixColor(const znRTSpectraPacket& from, const znRTSpectraPacket& to,
                                 znFloatType<2> t)
{
    for (int i = 0; i < bandCount; i += 2) {
        bands[i] = (to.bands[i] - from.bands[i]) * t + from.bands[i];
        bands[i + 1] = (to.bands[i + 1] - from.bands[i + 1]) * t + from.bands[i + 1];
    }
    a = (to.a - from.a) * t + from.a;
}
