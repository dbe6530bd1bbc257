#include "render/znRTMultilayerFragment.h"
#include "support/lanes.h"
#include "support/virtualSlot.h"

#include <limits>

namespace {

const float notANumber = std::numeric_limits<float>::quiet_NaN();
const znFloatType<2> all = expandLanes(15);
const znFloatType<2> none = expandLanes(0);

znRTFragment fragment(float r, float g, float b, float a)
{
    znRTFragment result;
    result.colour = znRTColorPacket(znRTColor(r, g, b, a));
    result.coverage = znFloatType<2>(1.0f);
    return result;
}

void expectColor(const znRTFragment& f, float r, float g, float b, float a, float tolerance)
{
    EXPECT_LANES_NEAR(f.colour.r, r, r, r, r, tolerance);
    EXPECT_LANES_NEAR(f.colour.g, g, g, g, g, tolerance);
    EXPECT_LANES_NEAR(f.colour.b, b, b, b, b, tolerance);
    EXPECT_LANES_NEAR(f.colour.a, a, a, a, a, tolerance);
}

} // namespace

// Red of a quarter in front, green of a half, blue opaque: .25, then .75 * .5, then the rest.
TEST(Fragment, ComposesFrontToBack)
{
    znRTFragment f = fragment(5.0f, 5.0f, 5.0f, 5.0f);
    f.clear();
    f.invertAlpha();
    f.blendFragment(fragment(1.0f, 0.0f, 0.0f, 0.25f), all);
    f.blendFragment(fragment(0.0f, 1.0f, 0.0f, 0.5f), all);
    f.blendFragment(fragment(0.0f, 0.0f, 1.0f, 1.0f), all);
    expectColor(f, 0.25f, 0.375f, 0.375f, 0.0f, 1e-6f);
    f.blendFragment(fragment(9.0f, 9.0f, 9.0f, 1.0f), all);
    f.invertAlpha();
    expectColor(f, 0.25f, 0.375f, 0.375f, 1.0f, 1e-6f);
}

TEST(Fragment, TakesNothingAfterAPlainClear)
{
    znRTFragment f = fragment(5.0f, 5.0f, 5.0f, 5.0f);
    f.clear();
    f.blendFragment(fragment(1.0f, 1.0f, 1.0f, 1.0f), all);
    expectColor(f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f);
}

TEST(Fragment, LetsThroughPowersOfTheTransmittance)
{
    const float a = 0.1f;
    znRTFragment f;
    f.clear();
    f.invertAlpha();
    for (int n = 1; n <= 64; ++n) {
        f.blendFragment(fragment(1.0f, 1.0f, 1.0f, a), all);
        const float left = std::pow(1.0f - a, float(n));
        expectColor(f, 1.0f - left, 1.0f - left, 1.0f - left, left, 2e-6f);
    }
}

TEST(Fragment, BlendsWithAnAlphaOfItsOwn)
{
    znRTFragment f = fragment(0.0f, 0.0f, 0.0f, 1.0f);
    f.blendFragment(fragment(1.0f, 2.0f, 4.0f, 1.0f), all, znFloatType<2>(0.25f));
    expectColor(f, 0.25f, 0.5f, 1.0f, 0.75f, 1e-6f);
    f.blendFragment(fragment(0.0f, 0.0f, 0.0f, 0.0f), all, znFloatType<2>(2.0f));
    EXPECT_LANES_EQ(f.colour.a, 0.0f, 0.0f, 0.0f, 0.0f);
}

TEST(Fragment, KeepsLanesOutsideTheMaskWhateverTheOtherHoldsThere)
{
    znRTFragment f = fragment(0.1f, 0.2f, 0.3f, 0.4f);
    znRTFragment other = fragment(notANumber, 1.0f, 1.0f, notANumber);
    f.blendFragment(other, none);
    f.blendFragment(other, none, znFloatType<2>(0.5f));
    expectColor(f, 0.1f, 0.2f, 0.3f, 0.4f, 0.0f);

    other = fragment(1.0f, 1.0f, 1.0f, 0.5f);
    f.blendFragment(other, expandLanes(2));
    EXPECT_LANES_NEAR(f.colour.r, 0.1f, 0.3f, 0.1f, 0.1f, 1e-6f);
    EXPECT_LANES_NEAR(f.colour.a, 0.4f, 0.2f, 0.4f, 0.4f, 1e-6f);
}

TEST(Fragment, StoresTheGivenAlphaWithAColour)
{
    znRTFragment f = fragment(0.1f, 0.2f, 0.3f, 0.4f);
    f.updateFragmentColor(znRTColorPacket(znRTColor(1.0f, 2.0f, 3.0f, 0.25f)), znFloatType<2>(0.5f),
                          expandLanes(9));
    EXPECT_LANES_EQ(f.colour.g, 2.0f, 0.2f, 0.2f, 2.0f);
    EXPECT_LANES_EQ(f.colour.a, 0.5f, 0.4f, 0.4f, 0.5f);

    znRTColorPacket target(znFloatType<2>(7.0f));
    znRTFragment::updateColor(f.colour, znFloatType<2>(0.75f), target, expandLanes(1));
    EXPECT_LANES_EQ(target.r, 1.0f, 7.0f, 7.0f, 7.0f);
    EXPECT_LANES_EQ(target.a, 0.75f, 7.0f, 7.0f, 7.0f);
}

TEST(Fragment, TakesAnotherOverByMask)
{
    znRTFragment f = fragment(0.1f, 0.2f, 0.3f, 0.4f);
    znRTFragment other = fragment(1.0f, 1.0f, 1.0f, 1.0f);
    other.coverage = znFloatType<2>(0.5f);
    f.updateFragment(other, expandLanes(6));
    EXPECT_LANES_EQ(f.colour.b, 0.3f, 1.0f, 1.0f, 0.3f);
    EXPECT_LANES_EQ(f.coverage, 1.0f, 0.5f, 0.5f, 1.0f);
}

TEST(Fragment, TurnsInvalidValuesIntoZero)
{
    for (bool byMask : {false, true}) {
        znRTFragment f = fragment(-1.0f, 2.0f, notANumber, notANumber);
        f.colour.g.set(2, notANumber);
        byMask ? f.maskInvalidRGBA() : f.filterNaN();
        EXPECT_LANES_EQ(f.colour.r, 0.0f, 0.0f, 0.0f, 0.0f);
        EXPECT_LANES_EQ(f.colour.g, 2.0f, 2.0f, 0.0f, 2.0f);
        EXPECT_LANES_EQ(f.colour.a, 0.0f, 0.0f, 0.0f, 0.0f);
    }
}

TEST(Fragment, ClampsBetweenZeroAndTheLimit)
{
    znRTFragment f = fragment(-1.0f, 0.5f, 3.0f, 4.0f);
    f.clampRGB(znFloatType<2>(2.0f));
    expectColor(f, 0.0f, 0.5f, 2.0f, 4.0f, 0.0f);
    f.clampRGBA(znFloatType<2>(1.0f));
    expectColor(f, 0.0f, 0.5f, 1.0f, 1.0f, 0.0f);
}

TEST(Fragment, KeepsTheOrderOfItsOperations)
{
    using F = znRTFragment;
    using M = znRTMultilayerFragment;
    using Lanes = const znFloatType<2>&;
    const std::ptrdiff_t slots[] = {
        virtualSlot(&F::clear),
        virtualSlot(&F::invertAlpha),
        virtualSlot(&F::reserved),
        virtualSlot(static_cast<void (F::*)(const F&, Lanes, Lanes)>(&F::blendFragment)),
        virtualSlot(static_cast<void (F::*)(const F&, Lanes)>(&F::blendFragment)),
        virtualSlot(&F::updateDiffuseColor),
        virtualSlot(&F::updateBackgroundColor),
        virtualSlot(&F::updateVectorPasses),
        virtualSlot(&F::updateFragmentColor),
        virtualSlot(&F::updateToColor),
        virtualSlot(&F::updateD),
        virtualSlot(&F::updateG),
        virtualSlot(&F::updateS),
        virtualSlot(&F::updateDG),
        virtualSlot(&F::updateDS),
        virtualSlot(&F::updateDGS),
        virtualSlot(&F::updateDGT),
        virtualSlot(&F::updateDGST),
        virtualSlot(&F::updateDST),
        virtualSlot(&F::updateGlass),
        virtualSlot(&F::updateFrostedGlass),
        virtualSlot(&F::maskInvalidRGBA),
        virtualSlot(static_cast<void (M::*)(const M&, Lanes, Lanes)>(&M::blendFragment)),
        virtualSlot(static_cast<void (M::*)(const M&, Lanes)>(&M::blendFragment)),
        virtualSlot(&M::setDiffuseAlpha),
        virtualSlot(&M::setAlpha),
        virtualSlot(&M::mixColorWithLayer)};
    for (std::ptrdiff_t i = 0; i < std::ssize(slots); ++i)
        EXPECT_EQ(slots[i], i);
}
