#include "driver/studioLight.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace {

using Direction = std::array<double, 3>;

constexpr double pi = std::numbers::pi;

double dot(const Direction& a, const Direction& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Direction cross(const Direction& a, const Direction& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Direction unit(const Direction& a)
{
    const double scale = 1.0 / std::sqrt(dot(a, a));
    return {a[0] * scale, a[1] * scale, a[2] * scale};
}

/// 0 below the first, 1 above the second bound.
double smoothStep(double low, double high, double x)
{
    const double t = std::clamp((x - low) / (high - low), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

/// A rectangle at distance 1 that faces the middle of the room; sizes are tangents of half angles.
struct SoftBox
{
    Direction towards;
    double halfWidth, halfHeight;
    double radiance;
};

const SoftBox softBoxes[] = {
    {{-0.85, -0.62, 0.72}, 0.52, 0.42, 9.0}, // key
    {{1.0, -0.30, 0.38}, 0.36, 0.62, 3.0},   // fill
    {{0.05, -0.10, 1.0}, 0.70, 0.34, 5.0},   // overhead
    {{0.35, 1.0, 0.48}, 0.80, 0.09, 7.0},    // rim
};

double radianceOf(const SoftBox& box, const Direction& d)
{
    constexpr double edge = 0.05; // of fabric over the frame, as a tangent
    const Direction n = unit(box.towards);
    const double along = dot(d, n);
    if (along <= 0.05)
        return 0.0;
    const Direction up =
        std::abs(n[2]) > 0.95 ? Direction{0.0, 1.0, 0.0} : Direction{0.0, 0.0, 1.0};
    const Direction side = unit(cross(up, n)), upright = cross(n, side);
    const double x = std::abs(dot(d, side)) / along, y = std::abs(dot(d, upright)) / along;
    const double inside = (1.0 - smoothStep(box.halfWidth - edge, box.halfWidth + edge, x)) *
                          (1.0 - smoothStep(box.halfHeight - edge, box.halfHeight + edge, y));
    // The lamp behind the fabric makes its middle brighter.
    const double fall = 1.0 - 0.35 * std::min(1.0, x * x + y * y);
    return box.radiance * inside * fall;
}

constexpr double horizon = 0.95;

/// Walls fade from the horizon to a darker ceiling.
double wallRadiance(double z)
{
    constexpr double ceiling = 0.34;
    return horizon + (ceiling - horizon) * smoothStep(0.0, 0.9, z);
}

/// The floor rises to the walls without an edge.
/// @param irradiance  of the floor
double floorRadiance(double z, double irradiance)
{
    constexpr double reflectance = 0.68;
    return horizon + (reflectance * irradiance / pi - horizon) * smoothStep(0.0, 0.4, -z);
}

Direction directionOf(u32 x, u32 y, u32 width, u32 height)
{
    const double theta = pi * (y + 0.5) / height, phi = 2.0 * pi * (x + 0.5) / width;
    return {std::sin(theta) * std::sin(phi), std::sin(theta) * std::cos(phi), std::cos(theta)};
}

} // namespace

io::ImageData makeStudioImage(u32 height)
{
    const u32 width = 2 * height;
    io::ImageData image;
    image.allocate(width, height, 3, io::ImageData::Type::float32);
    image.gamma = 1.0f;
    float* const texels = reinterpret_cast<float*>(image.values.data());
    const auto fill = [&](u32 x, u32 y, double radiance) {
        std::fill_n(texels + (u64(y) * width + x) * 3, 3, float(radiance));
    };
    double onFloor = 0.0; // irradiance of a surface that faces up
    const u32 middle = height / 2;
    for (u32 y = 0; y < middle; ++y) {
        const double theta = pi * (y + 0.5) / height;
        const double area = std::sin(theta) * (pi / height) * (2.0 * pi / width);
        for (u32 x = 0; x < width; ++x) {
            const Direction d = directionOf(x, y, width, height);
            double radiance = wallRadiance(d[2]);
            for (const SoftBox& box : softBoxes)
                radiance += radianceOf(box, d);
            onFloor += radiance * d[2] * area;
            fill(x, y, radiance);
        }
    }
    for (u32 y = middle; y < height; ++y)
        for (u32 x = 0; x < width; ++x) {
            const Direction d = directionOf(x, y, width, height);
            double radiance = floorRadiance(d[2], onFloor);
            for (const SoftBox& box : softBoxes)
                radiance += radianceOf(box, d);
            fill(x, y, radiance);
        }
    const float scale = float(0.9 * pi / onFloor);
    std::transform(texels, texels + u64(width) * height * 3, texels,
                   [scale](float v) { return v * scale; });
    return image;
}
