#include "brdf/znRTLobeParameters.h"

#include "support/lanes.h"

namespace {

const znFloatType<2> everyLaneMask = znFloatType<2>::allLanes();

znRTLobeParameters emptyBlock()
{
    znRTLobeParameters block{};
    block.clear();
    return block;
}

} // namespace

// log2(e) / 16 at powers of two, linear between: 3 lies half way from 2 to 4.
TEST(EnvironmentLevel, CountsTheOctavesOfAnExponent)
{
    const znFloatType<2> e(1.0f, 65536.0f, 3.0f, 0.0f);
    EXPECT_LANES_EQ(lobeMath::environmentLevel(e), 0.0f, 1.0f, 1.5f / 16.0f, 0.0f);
    for (int lane = 0; lane < 4; ++lane)
        EXPECT_EQ(lobeMath::environmentLevel(e[lane]), lobeMath::environmentLevel(e)[lane]);
    for (float x = 1.0f; x < 1e5f; x *= 1.37f)
        EXPECT_NEAR(lobeMath::environmentLevel(x), std::log2(x) / 16.0f, 0.0055f) << x;
}

// (e + 1) / (2 pi), (e + 2) / (2 pi), and the geometric means of both axes.
TEST(LobeParameters, DeriveTheNormsFromExponents)
{
    znRTLobeParameters block = emptyBlock();
    block.setExponents({1.0f, 20.0f, 0.0f, 2e5f}, {1.0f, 200.0f, 3.0f, -1.0f}, everyLaneMask);
    constexpr float tau = 6.2831855f;
    EXPECT_LANES_EQ(block.exponent, 1, 20, 0, 1e5f);
    EXPECT_LANES_EQ(block.exponentV, 1, 200, 3, 0);
    EXPECT_LANES_NEAR(block.invExponentPlusOne, 0.5f, 1.0f / 21.0f, 1.0f, 1e-5f, 1e-7f);
    EXPECT_LANES_NEAR(block.pdfNorm, 2 / tau, 21 / tau, 1 / tau, 100001 / tau, 2e-3f);
    EXPECT_LANES_NEAR(block.evalNorm, 3 / tau, 22 / tau, 2 / tau, 100002 / tau, 2e-3f);
    EXPECT_LANES_NEAR(block.pdfNorm2, 2 / tau, std::sqrt(21.0f * 201.0f) / tau, 2 / tau,
                      std::sqrt(100001.0f) / tau, 1e-4f);
    EXPECT_LANES_NEAR(block.evalNorm2, 3 / tau, std::sqrt(22.0f * 202.0f) / tau,
                      std::sqrt(10.0f) / tau, std::sqrt(200004.0f) / tau, 1e-4f);
    EXPECT_LANES_NEAR(block.level, 0.0f, lobeMath::environmentLevel(std::sqrt(4000.0f)), 0.0f, 0.0f,
                      1e-6f);
}

TEST(LobeParameters, HoldSlopesInsideTheirRange)
{
    znRTLobeParameters block = emptyBlock();
    block.setSlopes({0.25f, 0.0f, 2.0f, 0.04f}, {0.25f, 0.5f, 1.0f, 0.16f}, everyLaneMask);
    EXPECT_LANES_EQ(block.alphaX, 0.25f, 1e-4f, 1.0f, 0.04f);
    EXPECT_LANES_EQ(block.alphaY, 0.25f, 0.5f, 1.0f, 0.16f);
    EXPECT_LANES_EQ(block.cosRotation, 1, 1, 1, 1);
    EXPECT_LANES_EQ(block.sinRotation, 0, 0, 0, 0);
    // The mean of both roots.
    EXPECT_LANES_NEAR(block.diffuseRoughness, 0.5f, 0.5f * (0.01f + std::sqrt(0.5f)), 1.0f, 0.3f,
                      1e-6f);
}

// Sine and cosine of the negated angle; the pair is unit though the fast functions are not.
TEST(LobeParameters, TurnTheAxesByUnitPairs)
{
    znRTLobeParameters block = emptyBlock();
    block.setRotation({0.0f, 0.5f, 1.5707963f, -2.0f}, everyLaneMask);
    EXPECT_LANES_NEAR(block.sinRotation, 0.0f, std::sin(-0.5f), -1.0f, std::sin(2.0f), 3e-4f);
    EXPECT_LANES_NEAR(block.cosRotation, 1.0f, std::cos(0.5f), 0.0f, std::cos(2.0f), 3e-4f);
    EXPECT_LANES_NEAR(square(block.sinRotation) + square(block.cosRotation), 1, 1, 1, 1, 1e-6f);
}

TEST(LobeParameters, LeaveLanesOutsideTheMaskAlone)
{
    znRTLobeParameters block = emptyBlock();
    block.setExponents(10.0f, expandLanes(0b0001));
    block.setExponents(20.0f, expandLanes(0b0100));
    block.setReflectance({0.9f, 0.6f, 0.3f, 1.0f}, expandLanes(0b0010));
    block.setSlopes(0.5f, 0.25f, expandLanes(0b1000));
    EXPECT_EQ(moveMask(block.mask), 0b0101);
    EXPECT_EQ(moveMask(block.slopeMask), 0b1000);
    EXPECT_LANES_EQ(block.alphaY, 0, 0, 0, 0.25f);
    EXPECT_EQ(moveMask(block.reflectanceMask), 0b0010);
    EXPECT_LANES_EQ(block.exponent, 10, 0, 20, 0);
    EXPECT_LANES_NEAR(block.reflectance, 0, 0.6f, 0, 0, 1e-6f);
    EXPECT_LANES_EQ(block.f0.b, 0, 0.3f, 0, 0);
    block.clear();
    EXPECT_EQ(moveMask(block.mask | block.slopeMask | block.reflectanceMask | block.entryMask), 0);
}
