#pragma once

// Scenes in plain numbers, for a slow path tracer and for the renderer alike (pathTracer.h and
// hostScene.h): parallelograms and balls, lamps, a sky. World space, z up, lengths in scene units.

#include "brdf/referenceMath.h"

#include <array>
#include <cmath>
#include <vector>

namespace reference {

inline Vector cross(const Vector& a, const Vector& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline Vector operator-(const Vector& a, const Vector& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

/// Linear red, green and blue.
struct Color
{
    double r = 0.0, g = 0.0, b = 0.0;

    static Color gray(double value) { return {value, value, value}; }
    Color operator+(const Color& o) const { return {r + o.r, g + o.g, b + o.b}; }
    Color operator*(const Color& o) const { return {r * o.r, g * o.g, b * o.b}; }
    Color operator*(double s) const { return {r * s, g * s, b * s}; }
    Color& operator+=(const Color& o) { return *this = *this + o; }
    double channel(int i) const { return i == 0 ? r : i == 1 ? g : b; }
    double luminance() const { return 0.2125 * r + 0.7154 * g + 0.0721 * b; }
    double largest() const { return std::max({r, g, b}); }
};

/// What a surface is like, on both of its sides.
struct Finish
{
    Color diffuse{};        ///< albedo of a Lambert lobe
    Color glossy{};         ///< factor of a lobe of half vectors
    double exponent = 25.0; ///< of that lobe
    Color passes{};         ///< share that goes straight through; the lobes get the rest
    Color emission{};       ///< radiance
    double mirror = 0.0;    ///< reflectance of a perfect mirror, instead of all above

    double opacity() const { return 1.0 - passes.luminance(); }
    bool isMirror() const { return mirror > 0.0; }
};

/// corner + s u + t v, 0 <= s, t <= 1.
struct Parallelogram
{
    Vector corner, u, v;
    int finish = 0;
};

struct Ball
{
    Vector center;
    double radius = 1.0;
    int finish = 0;
};

/// Brings a white Lambert surface that faces it at distance d the radiance color / d^2: its
/// intensity is pi times the colour.
struct PointLamp
{
    Vector position;
    Color color;
};

/// Brings a white Lambert surface that faces it the radiance of its colour.
struct Sun
{
    Vector toward; ///< unit
    Color color;
};

/// Shines down from z = center.z on one side, where it is seen; nothing is in its shadow.
struct RectangleLamp
{
    Vector center;
    double halfX = 0.5, halfY = 0.5;
    Color radiance;
};

/// Radiance of all directions: latitude and longitude, u = atan2(x, y) / (2 pi), v = acos(z) / pi,
/// bilinear between the centres of texels. One texel may hold a sun besides.
struct Sky
{
    int width = 0, height = 0;
    std::vector<Color> texels; ///< row 0 at the zenith, without the sun
    int sunColumn = -1, sunRow = -1;
    Color sun; ///< what its texel has more than its neighbours

    bool isThere() const { return width > 0; }
    bool hasSun() const { return sunColumn >= 0; }
};

/// Pinhole, square pixels, looks from the eye at a point, z up.
struct View
{
    Vector eye, at;
    double fovDegrees = 45.0; ///< whole angle of the height
    int width = 32, height = 32;
};

struct Scene
{
    std::vector<Finish> finishes;
    std::vector<Parallelogram> parallelograms;
    std::vector<Ball> balls;
    std::vector<PointLamp> points;
    std::vector<Sun> suns;
    std::vector<RectangleLamp> rectangles;
    Sky sky;
    View view;

    int add(const Finish& finish)
    {
        finishes.push_back(finish);
        return int(finishes.size()) - 1;
    }
    /// Square in z = height around the origin.
    void addFloor(double halfEdge, int finish, double height = 0.0)
    {
        parallelograms.push_back({{-halfEdge, -halfEdge, height},
                                  {2.0 * halfEdge, 0.0, 0.0},
                                  {0.0, 2.0 * halfEdge, 0.0},
                                  finish});
    }
};

/// Linear picture with the variance of each pixel's mean, rows from top to bottom.
struct Picture
{
    int width = 0, height = 0;
    std::vector<Color> pixels;
    std::vector<double> variance; ///< of the luminance

    const Color& at(int x, int y) const { return pixels[std::size_t(y * width + x)]; }
};

} // namespace reference
