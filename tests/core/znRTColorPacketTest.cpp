#include "core/znRTColorPacket.h"

#include "support/lanes.h"

#include <limits>

namespace {

const float notANumber = std::numeric_limits<float>::quiet_NaN();
const znFloatType<2> lanes02 = expandLanes(5);

znRTColorPacket ramp()
{
    return {znFloatType<2>(0.1f, 0.2f, 0.3f, 0.4f), znFloatType<2>(1.0f, 2.0f, 3.0f, 4.0f),
            znFloatType<2>(-1.0f, -2.0f, 5.0f, 6.0f), znFloatType<2>(0.5f, 0.25f, 1.0f, 0.0f)};
}

} // namespace

TEST(Color, IsZeroBelowAMillionthWhateverItsAlpha)
{
    EXPECT_TRUE(znRTColor(9e-7f, -9e-7f, 0.0f, 1.0f).isZero());
    EXPECT_FALSE(znRTColor(0.0f, 1.1e-6f, 0.0f, 0.0f).isZero());
    EXPECT_FALSE(znRTColor(0.0f, 0.0f, -1.1e-6f, 0.0f).isZero());
}

TEST(Color, LeavesAlphaOutOfItsLengths)
{
    const znRTColor color(2.0f, 3.0f, 6.0f, 100.0f);
    EXPECT_FLOAT_EQ(color.getSquareLength(), 49.0f);
    EXPECT_FLOAT_EQ(color.getLength(), 7.0f);
    EXPECT_FLOAT_EQ(color.getMax(), 6.0f);
    EXPECT_FLOAT_EQ(color.dot(znRTColor(1.0f, 1.0f, 1.0f, 5.0f)), 11.0f);
    EXPECT_EQ(znRTColor::getIlluminationSpectrum(1.0f, 2.0f, 3.0f),
              znRTColor(1.0f, 2.0f, 3.0f, 1.0f));
}

TEST(ColorPacket, GivesChannelsAndLanes)
{
    znRTColorPacket color = ramp();
    EXPECT_LANES_NEAR(color[1], 1.0f, 2.0f, 3.0f, 4.0f, 0.0f);
    EXPECT_LANES_NEAR(color[3], 0.5f, 0.25f, 1.0f, 0.0f, 0.0f);
    EXPECT_EQ(color.getComponent(2), znRTColor(0.3f, 3.0f, 5.0f, 1.0f));
    color.setComponent(1, znRTColor(7.0f, 8.0f, 9.0f, 10.0f));
    EXPECT_LANES_NEAR(color.b, -1.0f, 9.0f, 5.0f, 6.0f, 0.0f);
}

// The reciprocal of a division is 0 for 0.
TEST(ColorPacket, GivesZeroForDivisionsByZero)
{
    znRTColorPacket color = ramp();
    color /= znRTColorPacket(znFloatType<2>(0.0f, 2.0f, 0.0f, 4.0f));
    EXPECT_LANES_NEAR(color.g, 0.0f, 1.0f, 0.0f, 1.0f, 1e-6f);
    color = ramp() / znFloatType<2>(0.0f);
    EXPECT_LANES_NEAR(color.r, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f);
}

TEST(ColorPacket, ZeroesLanesOutsideAMaskOnAllChannels)
{
    znRTColorPacket color = ramp();
    color.filterActive(lanes02);
    EXPECT_LANES_NEAR(color.g, 1.0f, 0.0f, 3.0f, 0.0f, 0.0f);
    EXPECT_LANES_NEAR(color.a, 0.5f, 0.0f, 1.0f, 0.0f, 0.0f);
}

TEST(ColorPacket, ClearsColourInsideAMaskAndKeepsAlpha)
{
    znRTColorPacket color = ramp();
    color.maskedClear(lanes02);
    EXPECT_LANES_NEAR(color.r, 0.0f, 0.2f, 0.0f, 0.4f, 0.0f);
    EXPECT_LANES_NEAR(color.g, 0.0f, 2.0f, 0.0f, 4.0f, 0.0f);
    EXPECT_LANES_NEAR(color.b, 0.0f, -2.0f, 0.0f, 6.0f, 0.0f);
    EXPECT_LANES_NEAR(color.a, 0.5f, 0.25f, 1.0f, 0.0f, 0.0f);
}

TEST(ColorPacket, ClampsTheChannelsThatTheNameSays)
{
    znRTColorPacket color = ramp();
    color.clampRGB(0.0f, 2.5f);
    EXPECT_LANES_NEAR(color.g, 1.0f, 2.0f, 2.5f, 2.5f, 0.0f);
    EXPECT_LANES_NEAR(color.b, 0.0f, 0.0f, 2.5f, 2.5f, 0.0f);
    EXPECT_LANES_NEAR(color.a, 0.5f, 0.25f, 1.0f, 0.0f, 0.0f);
    color = ramp();
    color.clampRGBA(0.3f, 0.6f);
    EXPECT_LANES_NEAR(color.a, 0.5f, 0.3f, 0.6f, 0.3f, 0.0f);
    color = ramp();
    color.clampRGB(0.25f);
    EXPECT_LANES_NEAR(color.r, 0.1f, 0.2f, 0.25f, 0.25f, 0.0f);
    EXPECT_LANES_NEAR(color.b, -1.0f, -2.0f, 0.25f, 0.25f, 0.0f);
    color.clampRGBMin(0.0f);
    EXPECT_LANES_NEAR(color.b, 0.0f, 0.0f, 0.25f, 0.25f, 0.0f);
    EXPECT_LANES_NEAR(ramp().getMax(), 1.0f, 2.0f, 5.0f, 6.0f, 0.0f);
}

TEST(ColorPacket, KeepsNaNVisibleThroughClamps)
{
    znRTColorPacket color = ramp();
    color.r.set(1, notANumber);
    color.a.set(3, notANumber);
    color.clampRGBA(0.0f, 1.0f);
    EXPECT_EQ(moveMask(color.hasNaN()), 1 << 1 | 1 << 3);
}

TEST(ColorPacket, SeesNaNInAnyChannel)
{
    for (int channel = 0; channel < 4; ++channel) {
        znRTColorPacket color = ramp();
        color[channel].set(2, notANumber);
        EXPECT_EQ(moveMask(color.hasNaN()), 4) << "channel " << channel;
    }
    EXPECT_EQ(moveMask(ramp().hasNaN()), 0);
}

// w = alpha * own alpha; colour + other * w; what is left is max(0, 1 - alpha) * own alpha.
TEST(ColorPacket, BlendsBehindItselfByTheTransmittanceThatIsLeft)
{
    znRTColorPacket color(znRTColor(0.0f, 0.5f, 1.0f, 0.5f));
    const znRTColorPacket other(znRTColor(1.0f, 1.0f, 1.0f, 0.25f));
    color.alphaBlend(other, znFloatType<2>(0.0f, 0.5f, 1.0f, 1.5f));
    EXPECT_LANES_NEAR(color.r, 0.0f, 0.25f, 0.5f, 0.75f, 1e-6f);
    EXPECT_LANES_NEAR(color.g, 0.5f, 0.75f, 1.0f, 1.25f, 1e-6f);
    EXPECT_LANES_NEAR(color.a, 0.5f, 0.25f, 0.0f, 0.0f, 1e-6f);
}

TEST(ColorPacket, BlendsPremultipliedColoursWithoutTheirAlphaInTheWeight)
{
    znRTColorPacket color(znRTColor(0.0f, 0.5f, 1.0f, 0.5f));
    const znRTColorPacket other(znRTColor(1.0f, 1.0f, 1.0f, 0.25f));
    color.alphaBlendPremul(other, znFloatType<2>(0.0f, 0.5f, 1.0f, 1.5f));
    EXPECT_LANES_NEAR(color.r, 0.5f, 0.5f, 0.5f, 0.5f, 1e-6f);
    EXPECT_LANES_NEAR(color.a, 0.5f, 0.25f, 0.0f, 0.0f, 1e-6f);
}

TEST(ColorPacket, UpdatesOnlyTheLanesOfAMask)
{
    const znRTColorPacket other(znRTColor(9.0f, 8.0f, 7.0f, 6.0f));
    znRTColorPacket color = ramp();
    color.maskedUpdate(other, lanes02);
    EXPECT_LANES_NEAR(color.r, 9.0f, 0.2f, 9.0f, 0.4f, 0.0f);
    EXPECT_LANES_NEAR(color.a, 6.0f, 0.25f, 6.0f, 0.0f, 0.0f);

    color = ramp();
    color.maskedUpdate(other, znFloatType<2>(0.75f), lanes02);
    EXPECT_LANES_NEAR(color.g, 8.0f, 2.0f, 8.0f, 4.0f, 0.0f);
    EXPECT_LANES_NEAR(color.a, 0.75f, 0.25f, 0.75f, 0.0f, 0.0f);

    color = ramp();
    color.maskedUpdateNoAlpha(znFloatType<2>(3.0f), lanes02);
    EXPECT_LANES_NEAR(color.b, 3.0f, -2.0f, 3.0f, 6.0f, 0.0f);
    EXPECT_LANES_NEAR(color.a, 0.5f, 0.25f, 1.0f, 0.0f, 0.0f);

    color = ramp();
    color.maskedMultiplyNoAlpha(znFloatType<2>(2.0f), lanes02);
    EXPECT_LANES_NEAR(color.g, 2.0f, 2.0f, 6.0f, 4.0f, 0.0f);
    EXPECT_LANES_NEAR(color.a, 0.5f, 0.25f, 1.0f, 0.0f, 0.0f);
}

TEST(ColorPacket, MixesAllChannels)
{
    const znRTColorPacket other(znRTColor(1.0f, 1.0f, 1.0f, 1.0f));
    znRTColorPacket color = ramp();
    color.mixColor(other, znFloatType<2>(0.5f));
    EXPECT_LANES_NEAR(color.g, 1.0f, 1.5f, 2.0f, 2.5f, 1e-6f);
    EXPECT_LANES_NEAR(color.a, 0.75f, 0.625f, 1.0f, 0.5f, 1e-6f);

    color.mixColor(ramp(), other, znFloatType<2>(0.0f, 1.0f, 0.5f, 0.0f));
    EXPECT_LANES_NEAR(color.b, -1.0f, 1.0f, 3.0f, 6.0f, 1e-6f);

    color = ramp();
    color.mixColor(znFloatType<2>(0.0f), znFloatType<2>(1.0f));
    EXPECT_LANES_NEAR(color.a, 0.0f, 0.0f, 0.0f, 0.0f, 1e-6f);
}

TEST(ColorPacket, RaisesColourToAPowerAndLeavesAlpha)
{
    znRTColorPacket color = ramp();
    color.pow(znFloatType<2>(2.0f));
    EXPECT_LANES_NEAR(color.g, 1.0f, 4.0f, 9.0f, 16.0f, 2e-5f);
    EXPECT_LANES_NEAR(color.b, 0.0f, 0.0f, 25.0f, 36.0f, 1e-4f);
    EXPECT_LANES_NEAR(color.a, 0.5f, 0.25f, 1.0f, 0.0f, 0.0f);
}
