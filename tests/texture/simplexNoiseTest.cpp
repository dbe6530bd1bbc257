#include "texture/procedural/simplexNoise.h"

#include "support/lanes.h"
#include "texture/procedural/noiseTextures.h"

#include <algorithm>
#include <array>
#include <random>

namespace {

/// The noise of any dimension in plain double arithmetic, from the definition of the lattice: the
/// corners of a simplex are reached by steps along the axes in falling order of the coordinates.
template <std::size_t N>
struct Reference
{
    using Point = std::array<double, N>;

    static double permute(double x)
    {
        const double t = (31.0 * x + 1.0) * x;
        return t - 289.0 * std::floor(t / 289.0);
    }
    static double mod289(double x) { return x - 289.0 * std::floor(x / 289.0); }

    static Point gradient(double hash)
    {
        Point g{};
        if constexpr (N == 2) {
            const double along = 2.0 * (hash / 41.0 - std::floor(hash / 41.0)) - 1.0;
            g[0] = along - std::floor(along + 0.5);
            g[1] = std::fabs(along) - 0.5;
        } else {
            const double place = std::fmod(hash, 49.0), row = std::floor(place / 7.0);
            g[0] = (2.0 * row + 1.0) / 7.0 - 1.0;
            g[1] = (2.0 * (place - 7.0 * row) + 1.0) / 7.0 - 1.0;
            g[2] = 1.0 - std::fabs(g[0]) - std::fabs(g[1]);
            if (g[2] < 0.0) {
                const double x = g[0];
                g[0] = std::copysign(1.0 - std::fabs(g[1]), x);
                g[1] = std::copysign(1.0 - std::fabs(x), g[1]);
            }
        }
        double square = 0.0;
        for (const double c : g)
            square += c * c;
        for (double& c : g)
            c /= std::sqrt(square);
        return g;
    }

    static double value(const Point& p)
    {
        const double root = std::sqrt(double(N) + 1.0);
        const double skew = (root - 1.0) / double(N), unskew = (1.0 - 1.0 / root) / double(N);
        double sum = 0.0, cellSum = 0.0, noise = 0.0;
        for (const double c : p)
            sum += c;
        Point cell, d;
        for (std::size_t i = 0; i < N; ++i)
            cellSum += cell[i] = std::floor(p[i] + sum * skew);
        for (std::size_t i = 0; i < N; ++i)
            d[i] = p[i] - (cell[i] - cellSum * unskew);
        std::array<std::size_t, N> order;
        for (std::size_t i = 0; i < N; ++i)
            order[i] = i;
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return d[a] > d[b]; });
        Point step{};
        for (std::size_t corner = 0; corner <= N; ++corner) {
            if (corner > 0)
                step[order[corner - 1]] = 1.0;
            double hash = 0.0, square = 0.0, ramp = 0.0;
            for (std::size_t i = N; i-- > 0;)
                hash = permute(hash + mod289(cell[i]) + step[i]);
            const Point g = gradient(hash);
            for (std::size_t i = 0; i < N; ++i) {
                const double c = d[i] - step[i] + double(corner) * unskew;
                square += c * c;
                ramp += c * g[i];
            }
            noise += std::pow(std::max(0.5 - square, 0.0), 4.0) * ramp;
        }
        return noise * (N == 2 ? 99.2043 : 107.6537);
    }
};

using F = znFloatType<2>;

template <class Draw>
F four(Draw&& draw)
{
    const float a = draw(), b = draw(), c = draw();
    return F(a, b, c, draw());
}

} // namespace

// From (31 x + 1) x mod 289 in whole numbers.
TEST(Permute, IsExactOnWholeNumbers)
{
    EXPECT_LANES_EQ(permute(F(0.0f, 288.0f, 1.0f, 577.0f)), 0.0f, (31 * 288 + 1) * 288 % 289, 32.0f,
                    (31 * 577 + 1) * 577 % 289);
    for (int x = 0; x <= 577; ++x) {
        const float seen = permute(F(float(x)))[0];
        ASSERT_EQ(seen, float((31 * x + 1) * x % 289)) << x;
        ASSERT_LT(seen, 289.0f);
    }
}

TEST(SimplexNoise, AgreesWithItsDefinition)
{
    std::mt19937 engine(1);
    std::uniform_real_distribution<float> number(-20.0f, 20.0f);
    const auto draw = [&] { return number(engine); };
    for (int i = 0; i < 2000; ++i) {
        const F x = four(draw), y = four(draw), z = four(draw);
        const F flat = simplexNoise(znRTVector2fPacket(x, y)).value;
        const F solid = simplexNoise(znRTVector3fPacket(x, y, z)).value;
        for (int l = 0; l < 4; ++l) {
            ASSERT_NEAR(flat[l], Reference<2>::value({x[l], y[l]}), 5e-5) << x[l] << " " << y[l];
            ASSERT_NEAR(solid[l], Reference<3>::value({x[l], y[l], z[l]}), 5e-5)
                << x[l] << " " << y[l] << " " << z[l];
        }
    }
}

TEST(SimplexNoise, TellsItsSlope)
{
    std::mt19937 engine(2);
    std::uniform_real_distribution<float> number(-5.0f, 5.0f);
    const auto draw = [&] { return number(engine); };
    const double h = 1e-4;
    for (int i = 0; i < 500; ++i) {
        const F x = four(draw), y = four(draw), z = four(draw);
        const znNoise2D flat = simplexNoise(znRTVector2fPacket(x, y));
        const znNoise3D solid = simplexNoise(znRTVector3fPacket(x, y, z));
        for (int l = 0; l < 4; ++l) {
            const double a = x[l], b = y[l], c = z[l];
            const auto in2 = [](double u, double v) { return Reference<2>::value({u, v}); };
            const auto in3 = [](double u, double v, double w) {
                return Reference<3>::value({u, v, w});
            };
            ASSERT_NEAR(flat.slope.x[l], (in2(a + h, b) - in2(a - h, b)) / (2 * h), 2e-3);
            ASSERT_NEAR(flat.slope.y[l], (in2(a, b + h) - in2(a, b - h)) / (2 * h), 2e-3);
            ASSERT_NEAR(solid.slope.x[l], (in3(a + h, b, c) - in3(a - h, b, c)) / (2 * h), 2e-3);
            ASSERT_NEAR(solid.slope.z[l], (in3(a, b, c + h) - in3(a, b, c - h)) / (2 * h), 2e-3);
        }
    }
}

/// Variance of a sum of falloffs with independent gradients that point anywhere, over all places:
/// the integral of ((1/2 - r^2)^4 r)^2 / N over a ball, divided by the volume of a lattice point.
double varianceOfNoise(int n)
{
    const auto gamma = [](double x) { return std::exp(std::lgamma(x)); };
    const double half = double(n) / 2.0, norm = n == 2 ? 99.2043 : 107.6537;
    const double unskew = (1.0 - 1.0 / std::sqrt(n + 1.0)) / n;
    const double sphere = 2.0 * std::pow(M_PI, half) / gamma(half);
    // With s = r^2 the radial integral is 1/2 (1/2)^(9 + n/2 + 1 - 1) B(n/2 + 1, 9).
    const double radial =
        0.5 * std::pow(0.5, 9.0 + half) * gamma(half + 1.0) * gamma(9.0) / gamma(half + 10.0);
    return norm * norm * sphere * radial / n / (1.0 - n * unskew);
}

// The mean over 100000 independent places of a noise of deviation s is 0 within 5 s / 316.
TEST(SimplexNoise, HasNoBiasAndStaysInRange)
{
    std::mt19937 engine(3);
    std::uniform_real_distribution<float> number(0.0f, 3000.0f);
    const auto draw = [&] { return number(engine); };
    double sum[2] = {0.0, 0.0}, squares[2] = {0.0, 0.0}, most[2] = {0.0, 0.0};
    constexpr int packets = 25000;
    for (int i = 0; i < packets; ++i) {
        const F x = four(draw), y = four(draw), z = four(draw);
        const F noises[2] = {simplexNoise(znRTVector2fPacket(x, y)).value,
                             simplexNoise(znRTVector3fPacket(x, y, z)).value};
        for (int kind = 0; kind < 2; ++kind)
            for (int l = 0; l < 4; ++l) {
                const double v = noises[kind][l];
                sum[kind] += v;
                squares[kind] += v * v;
                most[kind] = std::max(most[kind], std::fabs(v));
            }
    }
    for (int kind = 0; kind < 2; ++kind) {
        const double mean = sum[kind] / (4.0 * packets);
        const double deviation = std::sqrt(squares[kind] / (4.0 * packets));
        EXPECT_NEAR(mean, 0.0, 5.0 * deviation / 316.0);
        // The gradients stand close to evenly around, not exactly.
        EXPECT_NEAR(deviation, std::sqrt(varianceOfNoise(kind + 2)), 0.015);
        EXPECT_LE(most[kind], 1.0);
        EXPECT_GT(most[kind], 0.75);
    }
}

// Places at the same spot of different cells see unrelated values: no spot of the cell is brighter
// than the others beyond chance.
TEST(SimplexNoise, FavoursNoPlaceOfItsCells)
{
    constexpr int cells = 4000;
    for (float u = 0.05f; u < 1.0f; u += 0.2f) {
        double sum = 0.0, squares = 0.0;
        for (int i = 0; i < cells; ++i) {
            // A step of the skewed lattice along its first axis, and another along its second.
            const double a = i % 67, b = i / 67;
            const double back = (a + b) * (3.0 - std::sqrt(3.0)) / 6.0;
            const float v = simplexNoise(znRTVector2fPacket(F(float(a - back) + u),
                                                            F(float(b - back) + 0.3f * u)))
                                .value[0];
            sum += v;
            squares += double(v) * v;
        }
        const double deviation = std::sqrt(squares / cells);
        EXPECT_NEAR(sum / cells, 0.0, 5.0 * deviation / std::sqrt(double(cells))) << u;
    }
}

// Across a border between simplices neither value nor slope jumps.
TEST(SimplexNoise, IsContinuous)
{
    F before(0.0f), slope(0.0f);
    for (int i = 0; i < 20000; ++i) {
        const F t = float(i) * 1e-3f;
        const znRTVector3fPacket p(t, t * 0.37f + F(0.0f, 0.2f, 0.4f, 0.6f), t * 0.73f + 0.5f);
        const znNoise3D noise = simplexNoise(p);
        if (i > 0) {
            ASSERT_LT(std::fabs((noise.value - before)[i % 4]), 0.01f) << i;
            ASSERT_LT(std::fabs((noise.slope.x - slope)[i % 4]), 0.12f) << i;
        }
        before = noise.value;
        slope = noise.slope.x;
    }
}

// 289 steps of the lattice along its first axis are (289 - 289 g, -289 g) in the plane, with
// g = (3 - sqrt 3) / 6.
TEST(SimplexNoise, RepeatsAfter289Cells)
{
    const double g = 289.0 * (3.0 - std::sqrt(3.0)) / 6.0;
    double difference = 0.0;
    for (float u = 0.0f; u < 20.0f; u += 0.1f) {
        const double x = u, y = 0.3 * u + 0.2;
        const F here = simplexNoise(znRTVector2fPacket(F(float(x)), F(float(y)))).value;
        const F there =
            simplexNoise(znRTVector2fPacket(F(float(x + 289.0 - g)), F(float(y - g)))).value;
        difference = std::max(difference, std::fabs(double(here[0]) - there[0]));
    }
    EXPECT_LT(difference, 1e-3); // the coordinates have 2e-5 of rounding
}

TEST(SimplexNoise, GivesEachLaneWhatItHasAlone)
{
    std::mt19937 engine(4);
    std::uniform_real_distribution<float> number(-100.0f, 100.0f);
    const auto draw = [&] { return number(engine); };
    for (int i = 0; i < 200; ++i) {
        const F x = four(draw), y = four(draw), z = four(draw);
        const F all = simplexNoise(znRTVector3fPacket(x, y, z)).value;
        for (int l = 0; l < 4; ++l)
            ASSERT_EQ(all[l], simplexNoise(znRTVector3fPacket(F(x[l]), F(y[l]), F(z[l]))).value[0]);
    }
}

TEST(NoiseOctaves, FollowTheFootprint)
{
    const znNoiseOctaves octaves(4.0f, F(0.0f, 1.0f, 2.0f, 3.0f));
    EXPECT_LANES_EQ(octaves.left, 4.0f, 4.0f, 3.0f, 2.5f);
    EXPECT_EQ(octaves.getCount(), 4);
    EXPECT_LANES_EQ(octaves.getWeight(2), 1.0f, 1.0f, 1.0f, 0.5f);
    EXPECT_LANES_EQ(octaves.getWeight(3), 1.0f, 1.0f, 0.0f, 0.0f);
    EXPECT_LANES_EQ(znNoiseOctaves(2.0f, F(4.0f, 100.0f, 3.0f, 1e30f)).left, 0.0f, 0.0f, 0.5f,
                    0.0f);
    EXPECT_EQ(znNoiseOctaves(0.0f, F(1.0f)).getCount(), 0);
    // Not a number is no footprint.
    EXPECT_LANES_EQ(znNoiseOctaves(3.0f, F(std::nanf(""))).left, 3.0f, 3.0f, 3.0f, 3.0f);
}

// Steps of 1/4096 of a footprint between 1 and 64 cells never change the sum by more than 1e-3.
TEST(NoiseOctaves, FadeWithoutSteps)
{
    const znRTNoise2DTexture texture(1.0f, 6.0f);
    const F all = F::allLanes();
    const znRTVector2fPacket uv(F(0.3f, 1.7f, 22.4f, 5.1f), F(0.9f, 0.2f, 3.3f, 7.7f));
    F before = texture.evaluate(uv, {2.0f, 0.0f}, {0.0f, 0.0f}, all).r;
    F largest(0.0f);
    for (float f = 1.0f; f < 66.0f; f += 1.0f / 1024.0f) {
        const F now = texture.evaluate(uv, {2.0f * f, 0.0f}, {0.0f, -f}, all).r;
        largest = maximum(largest, absolute(now - before));
        before = now;
    }
    for (int l = 0; l < 4; ++l)
        EXPECT_LT(largest[l], 1e-3f);
    EXPECT_LANES_EQ(before, 0.0f, 0.0f, 0.0f, 0.0f);
}

// The sum as its definition has it: amplitudes halve, frequencies grow by 1.9348574.
TEST(NoiseTexture, AddsOctaves)
{
    const F all = F::allLanes();
    const znRTVector2fPacket uv(F(0.31f, 1.7f, -2.4f, 5.1f), F(0.9f, -0.2f, 3.3f, 7.7f));
    const F scale(3.0f);
    F expected(0.0f);
    float amplitude = 1.0f, frequency = 1.0f;
    for (int i = 0; i < 3; ++i) {
        expected += simplexNoise(uv * (scale * frequency)).value * amplitude;
        amplitude *= 0.5f;
        frequency *= 1.9348574f;
    }
    const znRTVector2fPacket point(0.0f, 0.0f);
    const F seen = znRTNoise2DTexture(3.0f, 3.0f).evaluate(uv, point, point, all).g;
    EXPECT_LANES_NEAR(seen, expected[0], expected[1], expected[2], expected[3], 1e-5f);
    const F one = znRTNoise2DTexture(3.0f, 1.0f).evaluate(uv, point, point, all).b;
    const F first = znRTSimplex2DV2Texture().evaluate(uv * scale, point, point, all).r;
    EXPECT_LANES_NEAR(one, first[0], first[1], first[2], first[3], 1e-6f);
}

TEST(NoiseTexture, IsZeroWithoutOctavesAndOffTheMask)
{
    const znRTVector2fPacket uv(0.3f, 0.9f), point(0.0f, 0.0f);
    const F all = F::allLanes();
    EXPECT_LANES_EQ(znRTNoise2DTexture(1.0f, 0.0f).evaluate(uv, point, point, all).r, 0, 0, 0, 0);
    const znRTColorPacket some =
        znRTNoise2DTexture(1.0f, 4.0f).evaluate(uv, point, point, expandLanes(5));
    EXPECT_NE(some.r[0], 0.0f);
    EXPECT_EQ(some.r[1], 0.0f);
    EXPECT_LANES_EQ(some.a, 1.0f, 0.0f, 1.0f, 0.0f);
    EXPECT_LANES_EQ(znRTSimplex3DV2Texture().evaluate({0.3f, 0.1f, 0.2f}, expandLanes(8)).a, 0.0f,
                    0.0f, 0.0f, 1.0f);
}
