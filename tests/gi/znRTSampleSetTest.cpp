#include "gi/znRTSampleSet.h"

#include "gi/radicalInverse.h"
#include "support/lanes.h"

#include <array>
#include <cmath>
#include <numbers>
#include <vector>

namespace {

struct Direction
{
    double x, y, z;
};

znRTSampleSet sphere(u32 countU, u32 countV)
{
    return {countU, countV, false, true};
}

znRTSampleSet hemisphere(u32 countU, u32 countV)
{
    return {countU, countV, false, false};
}

Direction laneOf(const znRTSampleSet& set, u64 packet, int lane)
{
    znFloatType<2> x, y, z;
    set.getSample(packet, x, y, z);
    return {x[lane], y[lane], z[lane]};
}

/// Calls for each lane with a direction of its own.
template <class Visit>
void forEachDirection(const znRTSampleSet& set, Visit visit)
{
    for (u64 packet = 0; packet < set.getNumSamples(); ++packet)
        for (int lane = 0; lane < 4; ++lane)
            if (set.getLaneMask(packet) >> lane & 1)
                visit(laneOf(set, packet, lane));
}

/// The points of the square in the order of the packets, with empty lanes as the corner, from the
/// description of the bins and not from that of the packets.
std::vector<std::array<double, 2>> binnedPoints(u32 count)
{
    std::vector<std::array<double, 2>> bins[8], all;
    for (u32 group = 0; group < count / 4; ++group)
        for (int k = 3; k >= 0; --k) {
            const u32 i = 4 * group + u32(k);
            const double u = (i + 0.5) / (count + 1.0);
            const double v = LarcherPillichshammerRI(i, 0u) / 4294967296.0;
            bins[std::size_t(u >= 0.5) * 4 + std::size_t(v * 4.0)].push_back({u, v});
        }
    for (auto& bin : bins) {
        while (bin.size() % 4 != 0)
            bin.push_back({0.0, 0.0});
        all.insert(all.end(), bin.begin(), bin.end());
    }
    return all;
}

Direction ontoSphere(double u, double v)
{
    const double z = 1.0 - 2.0 * u, phi = 2.0 * std::numbers::pi * v;
    const double radius = std::sqrt(1.0 - z * z);
    return {radius * std::cos(phi), radius * std::sin(phi), z};
}

/// The concentric map in its four triangles.
Direction ontoHemisphere(double u, double v)
{
    const double a = 2.0 * u - 1.0, b = 2.0 * v - 1.0, quarter = std::numbers::pi / 4.0;
    const bool isSteep = std::abs(b) > std::abs(a);
    const double radius = isSteep ? b : a;
    const double angle = isSteep ? quarter * a / b : 2.0 * quarter - quarter * b / a;
    const double x = radius * std::sin(angle), y = radius * std::cos(angle);
    return {x, y, std::sqrt(std::max(0.0, 1.0 - x * x - y * y))};
}

void expectNear(const Direction& actual, const Direction& expected, double tolerance)
{
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.z, expected.z, tolerance);
}

} // namespace

// Points by bin, rounded up to whole packets: counted from the net by hand.
TEST(SampleSet, HasAPacketForEveryFourPointsOfABin)
{
    EXPECT_EQ(sphere(2, 1).getNumSamples(), 0u);
    EXPECT_EQ(sphere(1, 3).getNumSamples(), 0u);
    EXPECT_EQ(sphere(0, 5).getNumSamples(), 0u);
    EXPECT_EQ(sphere(2, 2).getNumSamples(), 4u);
    EXPECT_EQ(sphere(4, 4).getNumSamples(), 8u);
    EXPECT_EQ(sphere(5, 5).getNumSamples(), 8u);
    EXPECT_EQ(sphere(8, 8).getNumSamples(), 16u);
    EXPECT_EQ(sphere(10, 10).getNumSamples(), 28u);
    EXPECT_EQ(sphere(16, 16).getNumSamples(), 64u);
    EXPECT_EQ(hemisphere(10, 10).getNumSamples(), 28u);
    EXPECT_EQ(sphere(1, 16).getNumSamples(), 8u);
}

TEST(SampleSet, HoldsOneDirectionPerPointBesidesTheSpareLanes)
{
    for (u32 side : {2u, 3u, 4u, 5u, 8u, 10u, 17u}) {
        const znRTSampleSet set = sphere(side, side);
        u32 directions = 0;
        forEachDirection(set, [&](const Direction&) { ++directions; });
        EXPECT_EQ(directions, side * side / 4 * 4) << side;
        for (u64 packet = 0; packet < set.getNumSamples(); ++packet)
            EXPECT_NE(set.getLaneMask(packet), 0);
    }
}

TEST(SampleSet, MapsTheBinnedPointsOntoTheSphere)
{
    for (u32 side : {2u, 5u, 8u, 10u}) {
        const znRTSampleSet set = sphere(side, side);
        const auto points = binnedPoints(side * side);
        ASSERT_EQ(set.getNumSamples() * 4, points.size());
        for (std::size_t i = 0; i < points.size(); ++i)
            expectNear(laneOf(set, i / 4, int(i % 4)), ontoSphere(points[i][0], points[i][1]),
                       2e-4);
    }
}

TEST(SampleSet, MapsTheBinnedPointsOntoTheHemisphere)
{
    for (u32 side : {2u, 5u, 8u, 10u}) {
        const znRTSampleSet set = hemisphere(side, side);
        const auto points = binnedPoints(side * side);
        ASSERT_EQ(set.getNumSamples() * 4, points.size());
        // The height has an infinite slope at the horizon, where the spare lanes lie.
        for (std::size_t i = 0; i < points.size(); ++i) {
            const bool isSpare = points[i][0] == 0.0;
            expectNear(laneOf(set, i / 4, int(i % 4)), ontoHemisphere(points[i][0], points[i][1]),
                       isSpare ? 2e-2 : 2e-3);
        }
    }
}

TEST(SampleSet, FillsSpareLanesWithTheImageOfTheCorner)
{
    const double diagonal = std::sqrt(0.5);
    const znRTSampleSet full = sphere(2, 2), half = hemisphere(2, 2);
    int spare = 0;
    for (u64 packet = 0; packet < full.getNumSamples(); ++packet)
        for (int lane = 0; lane < 4; ++lane) {
            if (full.getLaneMask(packet) >> lane & 1)
                continue;
            ++spare;
            const Direction up = laneOf(full, packet, lane);
            EXPECT_EQ(up.x, 0.0);
            EXPECT_EQ(up.y, 0.0);
            EXPECT_EQ(up.z, 1.0);
            expectNear(laneOf(half, packet, lane), {-diagonal, -diagonal, 0.0}, 2e-2);
        }
    EXPECT_EQ(spare, 12);
}

// A bin is a quarter turn of one half of the sphere.
TEST(SampleSet, TakesNeighbouringDirectionsIntoAPacket)
{
    const znRTSampleSet set = sphere(16, 16);
    int lastBin = 0;
    for (u64 packet = 0; packet < set.getNumSamples(); ++packet) {
        int bins[4];
        for (int lane = 0; lane < 4; ++lane) {
            const Direction d = laneOf(set, packet, lane);
            // Azimuths are multiples of 1/256 turn: a thousandth sees to those on the boundary.
            const double turns = std::atan2(d.y, d.x) / (2.0 * std::numbers::pi) + 1.001;
            bins[lane] = (d.z <= 0.0 ? 4 : 0) + int(turns * 4.0) % 4;
            EXPECT_EQ(bins[lane], bins[0]) << "packet " << packet << " lane " << lane;
        }
        EXPECT_GE(bins[0], lastBin);
        lastBin = bins[0];
    }
    EXPECT_EQ(lastBin, 7);
}

TEST(SampleSet, GivesTheSameDirectionInAllThreeForms)
{
    const znRTSampleSet set = sphere(5, 7);
    for (u64 packet = 0; packet < set.getNumSamples(); ++packet) {
        znFloatType<2> x, y, z, x6, y6, z6, inverseX, inverseY, inverseZ;
        znRTVector3fPacket direction, inverse;
        set.getSample(packet, x, y, z);
        set.getSample(packet, x6, y6, z6, inverseX, inverseY, inverseZ);
        set.getSample(packet, direction, inverse);
        for (int lane = 0; lane < 4; ++lane) {
            EXPECT_EQ(x[lane], x6[lane]);
            EXPECT_EQ(y[lane], y6[lane]);
            EXPECT_EQ(z[lane], z6[lane]);
            EXPECT_EQ(x[lane], direction.x[lane]);
            EXPECT_EQ(y[lane], direction.y[lane]);
            EXPECT_EQ(z[lane], direction.z[lane]);
            EXPECT_EQ(inverseX[lane], inverse.x[lane]);
            EXPECT_EQ(inverseY[lane], inverse.y[lane]);
            EXPECT_EQ(inverseZ[lane], inverse.z[lane]);
        }
    }
}

TEST(SampleSet, KeepsReciprocalsThatAreInfiniteForZero)
{
    int zeros = 0;
    for (const znRTSampleSet& set : {sphere(6, 6), hemisphere(6, 6)})
        for (u64 packet = 0; packet < set.getNumSamples(); ++packet) {
            znRTVector3fPacket direction, inverse;
            set.getSample(packet, direction, inverse);
            for (int axis = 0; axis < 3; ++axis)
                for (int lane = 0; lane < 4; ++lane) {
                    const float d = direction[axis][lane], r = inverse[axis][lane];
                    if (d != 0.0f) {
                        EXPECT_NEAR(double(d) * r, 1.0, 3e-7) << d;
                        continue;
                    }
                    EXPECT_TRUE(std::isinf(r));
                    ++zeros;
                }
        }
    EXPECT_GT(zeros, 0); // spare lanes point along the axis
}

TEST(SampleSet, HasUnitDirections)
{
    for (const znRTSampleSet& set : {sphere(16, 16), hemisphere(16, 16)})
        for (u64 packet = 0; packet < set.getNumSamples(); ++packet)
            for (int lane = 0; lane < 4; ++lane) {
                const Direction d = laneOf(set, packet, lane);
                EXPECT_NEAR(std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z), 1.0, 2e-4);
            }
}

// Uniform over the sphere: mean direction 0, mean square of each component 1/3. The first points
// leave a gap of half a step at the lower pole.
TEST(SampleSet, CoversTheSphereEvenly)
{
    const znRTSampleSet set = sphere(16, 16);
    Direction mean{}, squares{};
    forEachDirection(set, [&](const Direction& d) {
        mean = {mean.x + d.x / 256, mean.y + d.y / 256, mean.z + d.z / 256};
        squares = {squares.x + d.x * d.x / 256, squares.y + d.y * d.y / 256,
                   squares.z + d.z * d.z / 256};
    });
    expectNear(mean, {0.0, 0.0, 0.0}, 5e-3);
    expectNear(squares, {1.0 / 3.0, 1.0 / 3.0, 1.0 / 3.0}, 5e-3);
}

// Density cosine / pi: the mean cosine is 2/3, the mean of its square 1/2.
TEST(SampleSet, CoversTheHemisphereByTheCosine)
{
    const znRTSampleSet set = hemisphere(16, 16);
    double mean = 0.0, squares = 0.0;
    forEachDirection(set, [&](const Direction& d) {
        EXPECT_GE(d.z, 0.0);
        mean += d.z / 256;
        squares += d.z * d.z / 256;
    });
    EXPECT_NEAR(mean, 2.0 / 3.0, 5e-3);
    EXPECT_NEAR(squares, 0.5, 5e-3);
}

TEST(SampleSet, WeighsADirectionOfTheSphereByTheCount)
{
    EXPECT_FLOAT_EQ(sphere(5, 5).getWeight(), 0.5f / 25.0f);
    EXPECT_FLOAT_EQ(sphere(16, 4).getWeight(), 0.5f / 64.0f);
    EXPECT_EQ(sphere(0, 4).getWeight(), 0.0f);
    EXPECT_EQ(hemisphere(5, 5).getWeight(), 0.0f);
}

TEST(SampleSet, TellsItsForm)
{
    EXPECT_EQ(sphere(4, 4).getFlags(), 0u);
    EXPECT_NE(hemisphere(4, 4).getFlags(), 0u);
    EXPECT_EQ(sphere(4, 4).getPacketDim(), 4);
}

TEST(SampleSet, IgnoresItsOtherArguments)
{
    const znRTSampleSet plain(4, 4, false, true, 0.0f, 0.0f), odd(4, 4, true, true, 7.0f, -1.0f);
    ASSERT_EQ(plain.getNumSamples(), odd.getNumSamples());
    for (u64 packet = 0; packet < plain.getNumSamples(); ++packet)
        for (int lane = 0; lane < 4; ++lane)
            expectNear(laneOf(plain, packet, lane), laneOf(odd, packet, lane), 0.0);
}

TEST(SampleSet, CopiesAreTheirOwn)
{
    auto* original = new znRTSampleSet(5, 5, false, true);
    const znRTSampleSet copy(*original);
    znRTSampleSet assigned(1, 1, false, false);
    assigned = *original;
    const znRTSampleSet expected = sphere(5, 5);
    delete original;
    for (const znRTSampleSet* set : {&copy, const_cast<const znRTSampleSet*>(&assigned)}) {
        ASSERT_EQ(set->getNumSamples(), expected.getNumSamples());
        EXPECT_EQ(set->getWeight(), expected.getWeight());
        EXPECT_EQ(set->getPacketDim(), 4);
        for (u64 packet = 0; packet < expected.getNumSamples(); ++packet) {
            EXPECT_EQ(set->getLaneMask(packet), expected.getLaneMask(packet));
            for (int lane = 0; lane < 4; ++lane)
                expectNear(laneOf(*set, packet, lane), laneOf(expected, packet, lane), 0.0);
        }
    }
}

TEST(SampleSet, IsEmptyAndSaysSoWithoutMemory)
{
    testing::internal::CaptureStdout();
    const znRTSampleSet set(0xffffffffu, 0xffffffffu, false, true);
    EXPECT_EQ(testing::internal::GetCapturedStdout().substr(0, 17), "Allocation failed");
    EXPECT_EQ(set.getNumSamples(), 0u);
}

TEST(SampleSet, StandsWhereItsPacketsNeedIt)
{
    const znRTSampleSet* const set = new znRTSampleSet(4, 4, false, true);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(set) % 32, 0u);
    delete set;
}
