// FLIP in the order of its paper: what the eye resolves of the colours, how far apart those are,
// and how much edges and points stand out. Section numbers are the paper's.

#include "figures.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr float pi = 3.14159265358979f;
constexpr float pixelsPerDegree = 67.0f;

using Color = std::array<float, 3>;

// White of D65 as the three primaries sum up to it.
constexpr Color white = {0.950428545f, 1.0f, 1.088900371f};

Color toXyz(const Color& c)
{
    return {0.41238656f * c[0] + 0.35759149f * c[1] + 0.18045049f * c[2],
            0.21263682f * c[0] + 0.71518298f * c[1] + 0.07218020f * c[2],
            0.01933062f * c[0] + 0.11919716f * c[1] + 0.95037259f * c[2]};
}

Color toRgb(const Color& c)
{
    return {3.24100326f * c[0] - 1.53739899f * c[1] - 0.49861587f * c[2],
            -0.96922426f * c[0] + 1.87592999f * c[1] + 0.04155422f * c[2],
            0.05563942f * c[0] - 0.20401120f * c[1] + 1.05714897f * c[2]};
}

/// Opponent space in which contrast sensitivity is known: luminance, red-green, blue-yellow.
Color toOpponent(const Color& rgb)
{
    const Color c = toXyz(rgb);
    const float x = c[0] / white[0], y = c[1] / white[1], z = c[2] / white[2];
    return {116 * y - 16, 500 * (x - y), 200 * (y - z)};
}

Color fromOpponent(const Color& c)
{
    const float y = (c[0] + 16) / 116, x = y + c[1] / 500, z = y - c[2] / 200;
    return toRgb({x * white[0], y * white[1], z * white[2]});
}

float labCurve(float t)
{
    constexpr float delta = 6.0f / 29.0f;
    return t > delta * delta * delta ? std::cbrt(t) : t / (3 * delta * delta) + 4.0f / 29.0f;
}

/// CIELAB with chroma that grows with luminance (Hunt).
Color toHuntLab(const Color& rgb)
{
    const Color c = toXyz(rgb);
    const float x = labCurve(c[0] / white[0]), y = labCurve(c[1] / white[1]);
    const float z = labCurve(c[2] / white[2]);
    const float lightness = 116 * y - 16;
    return {lightness, 0.01f * lightness * 500 * (x - y), 0.01f * lightness * 200 * (y - z)};
}

/// City block in lightness, Euclid in chroma.
float hyab(const Color& a, const Color& b)
{
    return std::abs(a[0] - b[0]) + std::hypot(a[1] - b[1], a[2] - b[2]);
}

/// a1, b1, a2, b2 of the Gaussians in table 1.
constexpr float sensitivity[3][4] = {
    {1, 0.0047f, 0, 1e-5f}, {1, 0.0053f, 0, 1e-5f}, {34.1f, 0.04f, 13.5f, 0.025f}};

/// What the eye resolves of one channel: a sum of two Gaussians, each of which can be applied along
/// x and y (4.1.2).
Plane seen(const Plane& plane, const float (&csf)[4])
{
    const int radius = int(std::ceil(3 * std::sqrt(0.04f / (2 * pi * pi)) * pixelsPerDegree));
    Plane result(plane.width, plane.height);
    float total = 0.0f;
    for (int term = 0; term < 2; ++term) {
        const float a = csf[2 * term], b = csf[2 * term + 1];
        if (a == 0.0f)
            continue;
        std::vector<float> weights;
        float sum = 0.0f;
        for (int k = -radius; k <= radius; ++k) {
            const float degrees = float(k) / pixelsPerDegree;
            weights.push_back(std::exp(-pi * pi * degrees * degrees / b));
            sum += weights.back();
        }
        const float scale = a * std::sqrt(pi / b);
        total += scale * sum * sum;
        const Plane part = filtered(plane, weights, weights);
        for (std::size_t i = 0; i < result.values.size(); ++i)
            result.values[i] += scale * part.values[i];
    }
    for (float& value : result.values)
        value /= total;
    return result;
}

struct Opponent
{
    Plane channels[3];
};

Opponent toOpponent(const Picture& picture)
{
    Opponent result;
    for (Plane& plane : result.channels)
        plane = Plane(picture.width(), picture.height());
    for (std::size_t i = 0; i < result.channels[0].values.size(); ++i) {
        const Color color =
            toOpponent(Color{picture.channels[0].values[i], picture.channels[1].values[i],
                             picture.channels[2].values[i]});
        for (std::size_t c = 0; c < 3; ++c)
            result.channels[c].values[i] = color[c];
    }
    return result;
}

/// Colours as the eye sees them, in the space of differences (4.1).
std::vector<Color> seenColors(const Opponent& picture)
{
    Plane planes[3];
    for (int c = 0; c < 3; ++c)
        planes[c] = seen(picture.channels[c], sensitivity[c]);
    std::vector<Color> result(planes[0].values.size());
    for (std::size_t i = 0; i < result.size(); ++i) {
        Color rgb = fromOpponent({planes[0].values[i], planes[1].values[i], planes[2].values[i]});
        for (float& value : rgb)
            value = std::clamp(value, 0.0f, 1.0f);
        result[i] = toHuntLab(rgb);
    }
    return result;
}

/// Differences up to 40 % of the largest possible one take 95 % of the range (4.1.3).
float redistributed(float difference)
{
    constexpr float exponent = 0.7f, knee = 0.4f, kneeValue = 0.95f;
    static const float s_largest =
        std::pow(hyab(toHuntLab({0, 1, 0}), toHuntLab({0, 0, 1})), exponent);
    const float value = std::pow(difference, exponent), middle = knee * s_largest;
    return value < middle ? kneeValue / middle * value
                          : kneeValue + (value - middle) / (s_largest - middle) * (1 - kneeValue);
}

/// Length of the gradient that edges (order 1) or points (order 2) leave in a plane (4.2.1).
Plane features(const Plane& luminance, int order)
{
    constexpr float width = 0.082f; // degrees
    const float sigma = 0.5f * width * pixelsPerDegree;
    const int radius = int(std::ceil(3 * sigma));
    std::vector<float> smooth, derived;
    float smoothSum = 0, positive = 0, negative = 0;
    for (int k = -radius; k <= radius; ++k) {
        const float x = float(k), gaussian = std::exp(-x * x / (2 * sigma * sigma));
        smooth.push_back(gaussian);
        smoothSum += gaussian;
        derived.push_back(order == 1 ? -x * gaussian : (x * x / (sigma * sigma) - 1) * gaussian);
        (derived.back() > 0 ? positive : negative) += derived.back();
    }
    for (float& weight : smooth)
        weight /= smoothSum;
    for (float& weight : derived)
        weight /= weight > 0 ? positive : -negative;
    const Plane alongX = filtered(luminance, derived, smooth);
    Plane result = filtered(luminance, smooth, derived);
    for (std::size_t i = 0; i < result.values.size(); ++i)
        result.values[i] = std::hypot(result.values[i], alongX.values[i]);
    return result;
}

Plane normalisedLuminance(const Opponent& picture)
{
    Plane result = picture.channels[0];
    for (float& value : result.values)
        value = (value + 16) / 116;
    return result;
}

} // namespace

Plane perceivedDifference(const Picture& reference, const Picture& test)
{
    const Opponent a = toOpponent(reference), b = toOpponent(test);
    const std::vector<Color> colorsA = seenColors(a), colorsB = seenColors(b);
    const Plane lightA = normalisedLuminance(a), lightB = normalisedLuminance(b);
    const Plane edgesA = features(lightA, 1), edgesB = features(lightB, 1);
    const Plane pointsA = features(lightA, 2), pointsB = features(lightB, 2);
    Plane result(reference.width(), reference.height());
    for (std::size_t i = 0; i < result.values.size(); ++i) {
        const float color = redistributed(hyab(colorsA[i], colorsB[i]));
        const float feature = std::sqrt(std::max(std::abs(edgesA.values[i] - edgesB.values[i]),
                                                 std::abs(pointsA.values[i] - pointsB.values[i])) /
                                        std::sqrt(2.0f));
        result.values[i] = std::pow(color, 1 - std::clamp(feature, 0.0f, 1.0f));
    }
    return result;
}
