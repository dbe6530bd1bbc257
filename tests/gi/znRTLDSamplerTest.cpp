#include "gi/znRTLDSampler.h"

#include "gi/radicalInverse.h"
#include "support/lanes.h"
#include "support/virtualSlot.h"

#include <memory>
#include <random>
#include <set>
#include <vector>

namespace {

constexpr int noScramble[2] = {0, 0};

/// Digits of i in a base, mirrored behind the point, in double precision.
double mirrored(int i, int base)
{
    double result = 0.0;
    for (double weight = 1.0 / base; i > 0; i /= base, weight /= base)
        result += i % base * weight;
    return result;
}

std::vector<std::unique_ptr<znRTSampler>> allSamplers()
{
    std::vector<std::unique_ptr<znRTSampler>> all;
    all.emplace_back(new znRTVDCSampler(64, 64));
    all.emplace_back(new znRTVDCSSampler(64));
    all.emplace_back(new znRTVDCLSampler(64));
    all.emplace_back(new znRTSLSampler(64));
    return all;
}

/// Whether every one of n equal intervals of [0, 1) holds one of the values.
bool areStratified(const std::vector<float>& values)
{
    std::set<int> intervals;
    for (float value : values)
        intervals.insert(int(value * float(values.size())));
    return intervals.size() == values.size() && *intervals.rbegin() < int(values.size());
}

} // namespace

TEST(LowDiscrepancySampler, CountsFewerThanFourSamplesAsOne)
{
    for (u32 n : {0u, 1u, 3u}) {
        EXPECT_EQ(znRTSLSampler(n).getNumSamples(), 1u);
        EXPECT_EQ(znRTVDCSSampler(n).getNumSamples(), 1u);
        EXPECT_EQ(znRTVDCLSampler(n).getNumSamples(), 1u);
        EXPECT_EQ(znRTVDCSampler(n, 7).getNumSamples(), 1u);
    }
    EXPECT_EQ(znRTSLSampler(4).getNumSamples(), 4u);
    EXPECT_EQ(znRTVDCSampler(100, 7).getNumSamples(), 100u);
}

TEST(LowDiscrepancySampler, OffersItsPaddingToTheHost)
{
    EXPECT_EQ(znRTLDSampler::s_padValue, 56u);
    EXPECT_EQ(znRTLDSampler::s_padOffset, 0u);
}

TEST(LowDiscrepancySampler, GivesFourIndicesWhatItGivesEach)
{
    std::mt19937 random(11);
    for (const auto& sampler : allSamplers())
        for (int i = 0; i < 3000; ++i) {
            const znIntType<2> index(i, int(random() & 0x7fffffff), int(random() & 0xffffff), 0);
            const znIntType<2> scramble[2] = {znIntType<2>(int(random()), 0, -1, int(random())),
                                              znIntType<2>(int(random()), int(random()), 0, -1)};
            const znRTVector2fPacket packet = sampler->getSample(index, scramble);
            for (int lane = 0; lane < 4; ++lane) {
                const int ofLane[2] = {scramble[0][lane], scramble[1][lane]};
                const znRTVector2f alone = sampler->getSample(index[lane], ofLane);
                ASSERT_EQ(packet.x[lane], alone.x) << "index " << index[lane];
                ASSERT_EQ(packet.y[lane], alone.y) << "index " << index[lane];
            }
        }
}

TEST(VDCSampler, StepsThroughXAndScramblesOnlyY)
{
    const znRTVDCSampler smallest(3, 1);
    EXPECT_EQ(smallest.getSample(0, noScramble).x, 0.25f);

    const znRTVDCSampler sampler(10, 20);
    const int scramble[2] = {int(0xdeadbeefu), int(0x40000000u)};
    for (int i : {0, 1, 2, 3, 15, 100, 199}) {
        const znRTVector2f p = sampler.getSample(i, scramble);
        EXPECT_NEAR(p.x, (i + 0.5) / 201.0, 1e-7);
        EXPECT_EQ(p.y, fractionToFloat(LarcherPillichshammerRI(u32(i), 0x40000000u)));
    }
}

TEST(VDCSampler, StaysBelowOneForAllOfItsPoints)
{
    const znRTVDCSampler sampler(64, 64);
    EXPECT_LT(sampler.getSample(64 * 64, noScramble).x, 1.0f);
}

TEST(VDCSSampler, MirrorsDigitsInBasesTwoAndThree)
{
    const znRTVDCSSampler sampler(64);
    EXPECT_EQ(sampler.getSample(0, nullptr).x, 0.0f);
    EXPECT_EQ(sampler.getSample(0, nullptr).y, 0.0f);
    EXPECT_EQ(sampler.getSample(1, nullptr).x, 0.5f);
    EXPECT_EQ(sampler.getSample(1, nullptr).y, 0.33333334f);
    EXPECT_EQ(sampler.getSample(3, nullptr).x, 0.75f);
    EXPECT_NEAR(sampler.getSample(3, nullptr).y, 1.0 / 9.0, 2e-8);
    EXPECT_NEAR(sampler.getSample(9, nullptr).y, 1.0 / 27.0, 2e-8);
    EXPECT_NEAR(sampler.getSample(27, nullptr).y, 1.0 / 81.0, 2e-8);
    for (int i = 0; i < 100000; ++i) {
        const znRTVector2f p = sampler.getSample(i, nullptr);
        ASSERT_EQ(p.x, float(mirrored(i, 2))) << i;
        ASSERT_NEAR(p.y, mirrored(i, 3), 5e-7) << i;
    }
}

// From there on 1/3, rounded up, carries some quotients over the next whole number.
TEST(VDCSSampler, HasRightDigitsBelowThreeMillion)
{
    for (u32 i = 0; i < 3000000; ++i) {
        ASSERT_EQ(u32(float(i) * (1.0f / 3.0f)), i / 3);
        ASSERT_EQ(u32(float(i) * 0.5f), i / 2);
    }
}

TEST(ScrambledSampler, StartsAtItsScramble)
{
    const int scramble[2] = {int(0xc0000000u), int(0x10000000u)};
    for (const znRTVector2f& p :
         {znRTSLSampler(16).getSample(0, scramble), znRTVDCLSampler(16).getSample(0, scramble)}) {
        EXPECT_EQ(p.x, 0.75f);
        EXPECT_EQ(p.y, 0.0625f);
    }
}

TEST(ScrambledSampler, TakesEachCoordinateFromItsSequence)
{
    const int scramble[2] = {0x1234567, int(0x89abcdefu)};
    const znRTSLSampler sobol(64);
    const znRTVDCLSampler corput(64);
    for (int i : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 255, 1000}) {
        const float y = fractionToFloat(LarcherPillichshammerRI(u32(i), u32(scramble[1])));
        EXPECT_EQ(sobol.getSample(i, scramble).x,
                  fractionToFloat(SobolRI(u32(i), u32(scramble[0]))));
        EXPECT_EQ(sobol.getSample(i, scramble).y, y);
        EXPECT_EQ(corput.getSample(i, scramble).x,
                  fractionToFloat(BitReverseRI(u32(i), u32(scramble[0]))));
        EXPECT_EQ(corput.getSample(i, scramble).y, y);
    }
}

TEST(ScrambledSampler, MeetsEveryIntervalOfEachAxisOnceWhateverTheScramble)
{
    std::mt19937 random(2);
    for (const auto& sampler : allSamplers()) {
        if (dynamic_cast<const znRTVDCSSampler*>(sampler.get()) ||
            dynamic_cast<const znRTVDCSampler*>(sampler.get()))
            continue; // bases and steps of their own
        for (u32 count : {1u, 2u, 16u, 256u, 4096u}) {
            const int scramble[2] = {int(random()), int(random())};
            std::vector<float> x, y;
            for (u32 i = 0; i < count; ++i) {
                const znRTVector2f p = sampler->getSample(int(i), scramble);
                x.push_back(p.x);
                y.push_back(p.y);
            }
            EXPECT_TRUE(areStratified(x)) << count;
            EXPECT_TRUE(areStratified(y)) << count;
        }
    }
}

TEST(LowDiscrepancySampler, KeepsTheOrderOfItsOperations)
{
    using S = znRTSampler;
    using Scalar = znRTVector2f (S::*)(int, const int*) const;
    using Packet = znRTVector2fPacket (S::*)(const znIntType<2>&, const znIntType<2>*) const;
    EXPECT_EQ(virtualSlot(static_cast<Scalar>(&S::getSample)), 0);
    EXPECT_EQ(virtualSlot(static_cast<Packet>(&S::getSample)), 1);
}
