#include "core/znRTSpectraPacket.h"

#include "support/lanes.h"

#include <limits>
#include <random>

// Each operation equals that of a colour packet taken band by band: a colour's red channel is one
// band, its alpha the alpha.

namespace {

constexpr int bandCount = znRTSpectraPacket::bandCount;

struct Random
{
    std::mt19937 engine{11};
    std::uniform_real_distribution<float> uniform{-1.0f, 2.0f};

    float number() { return uniform(engine); }
    znFloatType<2> lanes() { return {number(), number(), number(), number()}; }
    znRTSpectraPacket spectra()
    {
        znRTSpectraPacket result(0.0f);
        for (int i = 0; i < bandCount; ++i)
            result[i] = lanes();
        result.a = lanes();
        return result;
    }
};

znRTColorPacket bandAsColor(const znRTSpectraPacket& spectra, int band)
{
    return {spectra[band], spectra[band], spectra[band], spectra.a};
}

void expectLanes(const znFloatType<2>& value, const znFloatType<2>& expected)
{
    EXPECT_LANES_NEAR(value, expected[0], expected[1], expected[2], expected[3], 1e-6f);
}

/// Applies one operation to spectra and to every band as a colour.
template <class Operation>
void expectBandwise(Operation operation)
{
    Random random;
    const znRTSpectraPacket x = random.spectra(), y = random.spectra();
    znRTSpectraPacket result = x;
    operation(result, y);
    for (int i = 0; i < bandCount; ++i) {
        SCOPED_TRACE(testing::Message() << "band " << i);
        znRTColorPacket color = bandAsColor(x, i);
        operation(color, bandAsColor(y, i));
        expectLanes(result[i], color.r);
        expectLanes(result.a, color.a);
    }
}

const znFloatType<2> factor(0.5f, 0.0f, 1.25f, -2.0f);
const znFloatType<2> mask = expandLanes(10);

} // namespace

TEST(SpectraPacket, CalculatesBandByBand)
{
    expectBandwise([](auto& x, const auto& y) { x += y; });
    expectBandwise([](auto& x, const auto& y) { x -= y; });
    expectBandwise([](auto& x, const auto& y) { x *= y; });
    expectBandwise([](auto& x, const auto& y) { x /= y; });
    expectBandwise([](auto& x, const auto&) { x += factor; });
    expectBandwise([](auto& x, const auto&) { x -= factor; });
    expectBandwise([](auto& x, const auto&) { x *= factor; });
    expectBandwise([](auto& x, const auto&) { x /= factor; });
    expectBandwise([](auto& x, const auto& y) { x = (x + y) * x - y / x; });
    expectBandwise([](auto& x, const auto&) { x = (x + factor) * factor - factor; });
    expectBandwise([](auto& x, const auto&) { x = x & mask; });
}

TEST(SpectraPacket, MasksBandByBand)
{
    expectBandwise([](auto& x, const auto&) { x &= mask; });
    expectBandwise([](auto& x, const auto&) { x.filterActive(mask); });
    expectBandwise([](auto& x, const auto&) { x.maskedClear(mask); });
    expectBandwise([](auto& x, const auto& y) { x.maskedUpdate(y, mask); });
    expectBandwise([](auto& x, const auto& y) { x.maskedUpdate(y, factor, mask); });
    expectBandwise([](auto& x, const auto&) { x.maskedUpdateNoAlpha(factor, mask); });
    expectBandwise([](auto& x, const auto& y) { x.maskedUpdateNoAlpha(y, mask); });
    expectBandwise([](auto& x, const auto&) { x.maskedMultiplyNoAlpha(factor, mask); });
    expectBandwise([](auto& x, const auto& y) { x.maskedMultiplyNoAlpha(y, mask); });
}

TEST(SpectraPacket, ClampsBlendsAndMixesBandByBand)
{
    expectBandwise([](auto& x, const auto&) { x.clampRGB(0.5f); });
    expectBandwise([](auto& x, const auto&) { x.clampRGB(0.0f, 0.5f); });
    expectBandwise([](auto& x, const auto&) { x.clampRGBMin(0.25f); });
    expectBandwise([](auto& x, const auto&) { x.clampRGBA(0.5f); });
    expectBandwise([](auto& x, const auto&) { x.clampRGBA(0.1f, 0.5f); });
    expectBandwise([](auto& x, const auto&) { x.pow(1.5f); });
    expectBandwise([](auto& x, const auto& y) { x.alphaBlend(y, factor); });
    expectBandwise([](auto& x, const auto& y) { x.alphaBlendPremul(y, factor); });
    expectBandwise([](auto& x, const auto& y) { x.mixColor(y, factor); });
    expectBandwise([](auto& x, const auto&) { x.mixColor(znFloatType<2>(0.75f), factor); });
    expectBandwise([](auto& x, const auto& y) { x.mixColor(y, y, factor); });
}

TEST(SpectraPacket, FindsTheLargestBandAndNaN)
{
    Random random;
    znRTSpectraPacket spectra = random.spectra();
    spectra[17].set(2, 50.0f);
    spectra.a.set(2, 99.0f);
    EXPECT_EQ(spectra.getMax()[2], 50.0f);
    EXPECT_EQ(moveMask(spectra.hasNaN()), 0);
    spectra[39].set(0, std::numeric_limits<float>::quiet_NaN());
    spectra.a.set(3, std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(moveMask(spectra.hasNaN()), 9);
}

TEST(SpectraPacket, ConvertsEachLaneAsTheScalarFormDoes)
{
    const znRTColorPacket colors({0.1f, 0.9f, 0.4f, 0.0f}, {0.5f, 0.2f, 0.4f, 0.0f},
                                 {0.3f, 0.6f, 0.4f, 0.0f}, {1.0f, 0.5f, 0.25f, 0.0f});
    const znRTSpectraPacket refl = znRTSpectraPacket::RGB2ReflSpec(colors);
    const znRTSpectraPacket illu = znRTSpectraPacket::RGB2IlluSpec(colors);
    for (int lane = 0; lane < 4; ++lane) {
        const znRTColor c = colors.getComponent(lane);
        EXPECT_EQ(refl.getComponent(lane).bands, znRTSpectrum::RGB2ReflSpec(c.r, c.g, c.b).bands);
        EXPECT_EQ(illu.getComponent(lane).bands, znRTSpectrum::RGB2IlluSpec(c.r, c.g, c.b).bands);
        EXPECT_EQ(refl.a[lane], c.a);
    }
    EXPECT_EQ(illu.getComponent(3).bands, znRTSpectrum().bands);
    EXPECT_LANES_NEAR(znRTSpectraPacket::getIlluminationSpectrum(1.0f, 1.0f, 1.0f).a, 1.0f, 1.0f,
                      1.0f, 1.0f, 0.0f);
}
