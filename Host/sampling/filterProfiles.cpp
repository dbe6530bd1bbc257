#include "sampling/filterProfiles.h"

#include <cmath>
#include <numbers>

namespace filterProfiles {
namespace {

constexpr float pi = std::numbers::pi_v<float>;

float sinc(float x)
{
    return std::fabs(x) < 1e-5f ? 1.0f : std::sin(pi * x) / (pi * x);
}

} // namespace

float box(float t)
{
    return t > -1.0f && t <= 1.0f ? 1.0f : 0.0f;
}

float triangle(float t)
{
    return std::fmax(0.0f, 1.0f - std::fabs(t));
}

float gaussian(float t)
{
    if (std::fabs(t) >= 1.0f)
        return 0.0f;
    const float end = std::exp(-8.0f);
    return (std::exp(-8.0f * t * t) - end) / (1.0f - end);
}

float mitchell(float t)
{
    constexpr float b = 1.0f / 3.0f, c = 1.0f / 3.0f;
    constexpr float centre = (6.0f - 2.0f * b) / 6.0f;
    const float x = std::fabs(2.0f * t);
    if (x >= 2.0f)
        return 0.0f;
    const float polynomial = x < 1.0f
                                 ? (12.0f - 9.0f * b - 6.0f * c) * x * x * x +
                                       (-18.0f + 12.0f * b + 6.0f * c) * x * x + (6.0f - 2.0f * b)
                                 : (-b - 6.0f * c) * x * x * x + (6.0f * b + 30.0f * c) * x * x +
                                       (-12.0f * b - 48.0f * c) * x + (8.0f * b + 24.0f * c);
    return polynomial / (6.0f * centre);
}

float lanczos(float t)
{
    constexpr float lobes = 3.0f;
    return std::fabs(t) >= 1.0f ? 0.0f : sinc(lobes * t) * sinc(t);
}

float blackmanHarris(float t)
{
    if (std::fabs(t) >= 1.0f)
        return 0.0f;
    return 0.35875f + 0.48829f * std::cos(pi * t) + 0.14128f * std::cos(2.0f * pi * t) +
           0.01168f * std::cos(3.0f * pi * t);
}

} // namespace filterProfiles
