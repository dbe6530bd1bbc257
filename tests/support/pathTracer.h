#pragma once

// Path tracing as plain as it can be, in double precision: every primitive is tested, directions
// are drawn by the cosine, lamps by a point on them. J. Kajiya, "The Rendering Equation", SIGGRAPH
// 1986. It shares the description of the scene with the renderer and nothing else.
//
// Rays from the eye and from mirrors see lamps' surfaces and the sky; rays that were scattered do
// not, since both are sampled at every point.

#include "brdf/referenceLobes.h"
#include "support/referenceScene.h"

#include <algorithm>
#include <cstdint>

namespace reference {

/// Uniform numbers in [0, 1). G. Steele, D. Lea, C. Flood, "Fast Splittable Pseudorandom Number
/// Generators", OOPSLA 2014.
class Numbers
{
public:
    /// Streams of different seeds do not overlap: the seed is mixed before it becomes the state.
    explicit Numbers(std::uint64_t seed) : state(mix(seed * step)) {}
    double operator()() { return double(mix(state += step) >> 11) * 0x1p-53; }

private:
    static constexpr std::uint64_t step = 0x9e3779b97f4a7c15ull;

    static std::uint64_t mix(std::uint64_t z)
    {
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
        return z ^ (z >> 31);
    }

    std::uint64_t state;
};

/// Which light a path collects. Surfaces that emit are always seen.
struct PathLight
{
    int bounces = 0;   ///< how often light is scattered on its way to a point that the eye sees
    bool lamps = true; ///< lamps light surfaces
    bool sky = true;   ///< the sky lights surfaces
};

class PathTracer
{
public:
    PathTracer(const Scene& newScene, const PathLight& newLight)
        : scene(newScene), light(newLight), bounces(newLight.bounces)
    {
    }

    /// @param side  samples per pixel along each axis, one in each cell of a grid
    Picture render(int side, std::uint64_t seed = 1) const
    {
        const View& view = scene.view;
        Picture picture{view.width, view.height, {}, {}};
        for (int y = 0; y < view.height; ++y)
            for (int x = 0; x < view.width; ++x)
                renderPixel(picture, x, y, side, seed);
        return picture;
    }

    /// Radiance along a ray, one random way.
    Color radiance(const Vector& origin, const Vector& direction, Numbers& random) const
    {
        return follow({origin, direction}, bounces, true, 0, random);
    }

private:
    static constexpr double farAway = 1e30;
    static constexpr double offset = 1e-7;
    static constexpr int straightLimit = 32; ///< mirrors and panes in a row

    struct Ray
    {
        Vector origin, direction;
    };
    struct Hit
    {
        double t = farAway;
        Vector position, normal; ///< unit, toward the ray's origin
        int finish = -1;
    };

    void renderPixel(Picture& picture, int x, int y, int side, std::uint64_t seed) const
    {
        const std::uint64_t pixel = std::uint64_t(y * picture.width + x);
        Numbers random((seed << 32) + pixel);
        Color sum;
        double squares = 0.0;
        const int count = side * side;
        for (int i = 0; i < count; ++i) {
            const double px = x + (i % side + random()) / side;
            const double py = y + (i / side + random()) / side;
            const Ray ray = eyeRay(px, py);
            const Color value = follow(ray, bounces, true, 0, random);
            sum += value;
            squares += value.luminance() * value.luminance();
        }
        const double mean = sum.luminance() / count;
        picture.pixels.push_back(sum * (1.0 / count));
        picture.variance.push_back(std::max(0.0, squares / count - mean * mean) / count);
    }

    Ray eyeRay(double x, double y) const
    {
        const View& view = scene.view;
        const Vector forward = (view.at - view.eye).normalized();
        const Vector right = cross(forward, {0, 0, 1}).normalized();
        const Vector up = cross(right, forward);
        const double scale = 2.0 * std::tan(view.fovDegrees * pi / 360.0) / view.height;
        const double sx = (x - 0.5 * view.width) * scale, sy = (0.5 * view.height - y) * scale;
        return {view.eye, (forward + right * sx + up * sy).normalized()};
    }

    Color follow(const Ray& ray, int left, bool seesLight, int straight, Numbers& random) const
    {
        const Hit hit = intersect(ray);
        if (const RectangleLamp* const lamp = seesLight ? lampBefore(ray, hit.t) : nullptr)
            return lamp->radiance;
        if (hit.finish < 0)
            return seesLight ? skyWithSun(ray.direction) : Color{};
        if (straight > straightLimit)
            return {};
        const Finish& finish = scene.finishes[std::size_t(hit.finish)];
        if (finish.isMirror()) {
            const double c = ray.direction.dot(hit.normal);
            const Vector mirrored = ray.direction - hit.normal * (2.0 * c);
            return follow({hit.position + hit.normal * offset, mirrored}, left, seesLight,
                          straight + 1, random) *
                   finish.mirror;
        }
        const double opacity = finish.opacity();
        if (opacity < 1.0 && random() >= opacity)
            return follow({hit.position - hit.normal * offset, ray.direction}, left, seesLight,
                          straight + 1, random) *
                   finish.passes * (1.0 / (1.0 - opacity));
        const Vector wo = -ray.direction;
        Color sum = seesLight ? finish.emission : Color{};
        sum += direct(hit, finish, wo, random);
        if (left > 0) {
            const Vector wi = cosineDirection(hit.normal, random);
            sum += follow({hit.position + hit.normal * offset, wi}, left - 1, false, 0, random) *
                   scattered(finish, hit.normal, wo, wi) * pi;
        }
        return sum;
    }

    /// Value of the lobes, 1/sr.
    static Color scattered(const Finish& finish, const Vector& n, const Vector& wo,
                           const Vector& wi)
    {
        const double cosO = n.dot(wo), cosI = n.dot(wi);
        if (cosO <= 0.0 || cosI <= 0.0)
            return {};
        Color value = finish.diffuse * (1.0 / pi);
        if (finish.glossy.largest() > 0.0) {
            // Any frame will do for a lobe that is round about the normal.
            const Vector u = tangent(n), v = cross(n, u);
            const Vector o{u.dot(wo), v.dot(wo), cosO}, i{u.dot(wi), v.dot(wi), cosI};
            value += finish.glossy * powerValue(o, i, finish.exponent, finish.exponent);
        }
        return value;
    }

    Color direct(const Hit& hit, const Finish& finish, const Vector& wo, Numbers& random) const
    {
        Color sum;
        // irradiance per unit of projected light: the lobes, the cosine and what is in between
        const auto lit = [&](const Vector& wi, double distance) {
            const double c = hit.normal.dot(wi);
            if (c <= 0.0)
                return Color{};
            const Color value = scattered(finish, hit.normal, wo, wi) * c;
            return value * passed({hit.position + hit.normal * offset, wi}, distance);
        };
        if (scene.sky.isThere() && light.sky)
            sum += fromSky(hit, lit, random);
        if (!light.lamps)
            return sum;
        for (const PointLamp& lamp : scene.points) {
            const Vector way = lamp.position - hit.position;
            const double d = way.length();
            sum += lit(way * (1.0 / d), d) * lamp.color * (pi / (d * d));
        }
        for (const Sun& sun : scene.suns)
            sum += lit(sun.toward, farAway) * sun.color * pi;
        for (const RectangleLamp& lamp : scene.rectangles) {
            const Vector point = lamp.center + Vector{(2.0 * random() - 1.0) * lamp.halfX,
                                                      (2.0 * random() - 1.0) * lamp.halfY, 0.0};
            sum += fromSurface(hit, point, {0, 0, -1}, 4.0 * lamp.halfX * lamp.halfY, false, lit) *
                   lamp.radiance;
        }
        for (const Parallelogram& p : scene.parallelograms) {
            const Color& emission = scene.finishes[std::size_t(p.finish)].emission;
            if (emission.largest() <= 0.0)
                continue;
            const Vector point = p.corner + p.u * random() + p.v * random();
            const Vector across = cross(p.u, p.v);
            sum +=
                fromSurface(hit, point, across.normalized(), across.length(), true, lit) * emission;
        }
        return sum;
    }

    /// A point of a lamp's surface: area cos / d^2.
    template <class Lit>
    static Color fromSurface(const Hit& hit, const Vector& point, const Vector& normal, double area,
                             bool bothSides, const Lit& lit)
    {
        const Vector way = point - hit.position;
        const double d = way.length();
        const Vector wi = way * (1.0 / d);
        const double c = bothSides ? std::fabs(normal.dot(wi)) : std::max(0.0, -normal.dot(wi));
        // The lamp's own surface is no obstacle.
        return c > 0.0 ? lit(wi, d - 10.0 * offset) * (area * c / (d * d)) : Color{};
    }

    /// The smooth sky by the cosine, the sun by the place of its texel.
    template <class Lit>
    Color fromSky(const Hit& hit, const Lit& lit, Numbers& random) const
    {
        const Vector wi = cosineDirection(hit.normal, random);
        const double c = hit.normal.dot(wi);
        Color sum = c > 0.0 ? lit(wi, farAway) * smoothSky(wi) * (pi / c) : Color{};
        const Sky& sky = scene.sky;
        if (!sky.hasSun())
            return sum;
        const double u = (sky.sunColumn - 0.5 + 2.0 * random()) / sky.width;
        const double v = (sky.sunRow - 0.5 + 2.0 * random()) / sky.height;
        const double sine = std::sin(pi * v);
        const Vector w{sine * std::sin(2.0 * pi * u), sine * std::cos(2.0 * pi * u),
                       std::cos(pi * v)};
        const double solidAngle = 4.0 / (sky.width * sky.height) * 2.0 * pi * pi * sine;
        return sum + lit(w, farAway) * sky.sun * (sunShare(u, v) * solidAngle);
    }

    /// Weight of the sun's texel in a bilinear lookup.
    double sunShare(double u, double v) const
    {
        const Sky& sky = scene.sky;
        double dx = std::fabs(u * sky.width - 0.5 - sky.sunColumn);
        dx = std::min(dx, sky.width - dx);
        const double dy = std::fabs(v * sky.height - 0.5 - sky.sunRow);
        return std::max(0.0, 1.0 - dx) * std::max(0.0, 1.0 - dy);
    }

    static void toSky(const Vector& d, double& u, double& v)
    {
        u = std::atan2(d.x, d.y) / (2.0 * pi);
        u -= std::floor(u);
        v = std::acos(std::clamp(d.z, -1.0, 1.0)) / pi;
    }

    Color smoothSky(const Vector& d) const
    {
        const Sky& sky = scene.sky;
        double u, v;
        toSky(d, u, v);
        const double x = u * sky.width - 0.5;
        const double y = std::clamp(v * sky.height - 0.5, 0.0, sky.height - 1.0);
        const double left = std::floor(x), top = std::floor(y);
        Color sum;
        for (int i = 0; i < 4; ++i) {
            const int column = (int(left) + (i & 1) + sky.width) % sky.width;
            const int row = std::min(int(top) + (i >> 1), sky.height - 1);
            const double across = i & 1 ? x - left : 1.0 - x + left;
            const double down = i >> 1 ? y - top : 1.0 - y + top;
            sum += sky.texels[std::size_t(row * sky.width + column)] * (across * down);
        }
        return sum;
    }

    Color skyWithSun(const Vector& d) const
    {
        if (!scene.sky.isThere())
            return {};
        Color sum = smoothSky(d);
        if (scene.sky.hasSun()) {
            double u, v;
            toSky(d, u, v);
            sum += scene.sky.sun * sunShare(u, v);
        }
        return sum;
    }

    static Vector tangent(const Vector& n)
    {
        const Vector axis = std::fabs(n.x) > 0.5 ? Vector{0, 1, 0} : Vector{1, 0, 0};
        return cross(axis, n).normalized();
    }

    static Vector cosineDirection(const Vector& n, Numbers& random)
    {
        const double phi = 2.0 * pi * random(), square = random();
        const double r = std::sqrt(square);
        const Vector u = tangent(n), v = cross(n, u);
        return (u * (r * std::cos(phi)) + v * (r * std::sin(phi)) + n * std::sqrt(1.0 - square))
            .normalized();
    }

    /// Share of light that comes along a ray from a distance.
    Color passed(Ray ray, double distance) const
    {
        Color share = Color::gray(1.0);
        for (int i = 0; i < straightLimit && share.largest() > 0.0; ++i) {
            const Hit hit = intersect(ray);
            if (hit.finish < 0 || hit.t >= distance)
                return share;
            share = share * scene.finishes[std::size_t(hit.finish)].passes;
            ray.origin = hit.position + ray.direction * offset;
            distance -= hit.t;
        }
        return {};
    }

    Hit intersect(const Ray& ray) const
    {
        Hit hit;
        for (const Parallelogram& p : scene.parallelograms)
            intersect(ray, p, hit);
        for (const Ball& ball : scene.balls)
            intersect(ray, ball, hit);
        if (hit.finish < 0)
            return hit;
        hit.position = ray.origin + ray.direction * hit.t;
        if (hit.normal.dot(ray.direction) > 0.0)
            hit.normal = -hit.normal;
        return hit;
    }

    /// The nearest lamp whose shining side a ray meets before a distance; null without.
    const RectangleLamp* lampBefore(const Ray& ray, double distance) const
    {
        const RectangleLamp* nearest = nullptr;
        for (const RectangleLamp& lamp : scene.rectangles) {
            const Vector way = lamp.center - ray.origin;
            const double t = ray.direction.z > 0.0 ? way.z / ray.direction.z : -1.0;
            const Vector inside = ray.direction * t - way;
            if (t > 0.0 && t < distance && std::abs(inside.x) <= lamp.halfX &&
                std::abs(inside.y) <= lamp.halfY) {
                nearest = &lamp;
                distance = t;
            }
        }
        return nearest;
    }

    static void intersect(const Ray& ray, const Parallelogram& p, Hit& hit)
    {
        const Vector n = cross(p.u, p.v);
        const double along = n.dot(ray.direction);
        if (along == 0.0)
            return;
        const Vector way = p.corner - ray.origin;
        const double t = n.dot(way) / along;
        if (t <= 0.0 || t >= hit.t)
            return;
        const Vector inside = ray.direction * t - way;
        const double square = n.dot(n);
        const double a = cross(inside, p.v).dot(n) / square;
        const double b = cross(p.u, inside).dot(n) / square;
        if (a >= 0.0 && a <= 1.0 && b >= 0.0 && b <= 1.0) {
            hit.t = t;
            hit.normal = n * (1.0 / std::sqrt(square));
            hit.finish = p.finish;
        }
    }

    static void intersect(const Ray& ray, const Ball& ball, Hit& hit)
    {
        const Vector way = ray.origin - ball.center;
        const double b = way.dot(ray.direction), c = way.dot(way) - ball.radius * ball.radius;
        const double root = b * b - c;
        if (root <= 0.0)
            return;
        const double s = std::sqrt(root);
        const double t = -b - s > 0.0 ? -b - s : -b + s;
        if (t <= 0.0 || t >= hit.t)
            return;
        hit.t = t;
        hit.normal = (way + ray.direction * t) * (1.0 / ball.radius);
        hit.finish = ball.finish;
    }

    const Scene& scene;
    const PathLight light;
    const int bounces;
};

} // namespace reference
