#include "texture/procedural/simplexNoise.h"

namespace {

using F = znFloatType<2>;

/// The falloff ends where the next simplex begins: 1/2 is the height of a simplex, squared.
constexpr float reach = 0.5f;
/// One over the largest sum of four falloffs whose gradients all point at the same place, found
/// over a fine grid on a simplex.
constexpr float normal2D = 99.2043f, normal3D = 107.6537f;

F wrapped(F x)
{
    return x - floor(x / F(289.0f)) * 289.0f;
}

/// 1 where true.
F step(F mask)
{
    return mask & F(1.0f);
}

/// Unit gradient of a hash: the hashes go around a square that stands on its corner.
znRTVector2fPacket gradientOf2D(F hash)
{
    const F t = (hash * (1.0f / 41.0f)) - floor(hash * (1.0f / 41.0f));
    const F along = t + t - 1.0f;
    const F b = absolute(along) - 0.5f, a = along - floor(along + 0.5f);
    const F scale = reciprocalSquareRoot(a * a + b * b);
    return {a * scale, b * scale};
}

/// Unit gradient of a hash: 7 x 7 points on a square that is folded into an octahedron.
znRTVector3fPacket gradientOf3D(F hash)
{
    const F place = hash - floor(hash / F(49.0f)) * 49.0f;
    const F row = floor(place / F(7.0f));
    F x = row * (2.0f / 7.0f) + (1.0f / 7.0f - 1.0f);
    F y = (place - row * 7.0f) * (2.0f / 7.0f) + (1.0f / 7.0f - 1.0f);
    const F z = F(1.0f) - absolute(x) - absolute(y);
    // What lies beyond the rim of the upper half folds over to the lower one.
    const F isBelow = z < F(0.0f), sign(-0.0f), one(1.0f);
    const F foldedX = (one - absolute(y)) ^ (x & sign), foldedY = (one - absolute(x)) ^ (y & sign);
    x = select(isBelow, foldedX, x);
    y = select(isBelow, foldedY, y);
    const F scale = reciprocalSquareRoot(x * x + y * y + z * z);
    return {x * scale, y * scale, z * scale};
}

/// What one corner of a simplex adds: t^4 (g . d) with t = reach - d^2, and its derivative
/// t^4 g - 8 t^3 (g . d) d.
template <class Noise, class Vector>
void addCorner(Noise& noise, const Vector& d, const Vector& g)
{
    const F t = maximum(F(reach) - d.getSquareLength(), 0.0f);
    const F t2 = t * t, t4 = t2 * t2, ramp = dot(g, d);
    noise.value += t4 * ramp;
    noise.slope += g * t4 - d * (t2 * t * ramp * 8.0f);
}

} // namespace

znNoise2D simplexNoise(const znRTVector2fPacket& p)
{
    constexpr float skew = 0.36602540f, unskew = 0.21132487f; // (sqrt 3 - 1) / 2, (3 - sqrt 3) / 6
    const F s = (p.x + p.y) * skew;
    const F i = floor(p.x + s), j = floor(p.y + s);
    const F q = (i + j) * unskew;
    const znRTVector2fPacket d(p.x - (i - q), p.y - (j - q));
    const F right = step(d.x > d.y), up = F(1.0f) - right;
    const F column = wrapped(i), row = wrapped(j);

    znNoise2D noise{F(0.0f), {F(0.0f), F(0.0f)}};
    const auto corner = [&](F di, F dj, float back) {
        const F hash = permute(permute(row + dj) + column + di);
        addCorner(noise, znRTVector2fPacket(d.x - di + back, d.y - dj + back), gradientOf2D(hash));
    };
    corner(0.0f, 0.0f, 0.0f);
    corner(right, up, unskew);
    corner(1.0f, 1.0f, 2.0f * unskew);
    noise.value *= normal2D;
    noise.slope *= F(normal2D);
    return noise;
}

znNoise3D simplexNoise(const znRTVector3fPacket& p)
{
    constexpr float skew = 1.0f / 3.0f, unskew = 1.0f / 6.0f;
    const F s = (p.x + p.y + p.z) * skew, one(1.0f);
    const F i = floor(p.x + s), j = floor(p.y + s), k = floor(p.z + s);
    const F q = (i + j + k) * unskew;
    const znRTVector3fPacket d(p.x - (i - q), p.y - (j - q), p.z - (k - q));
    // Which of the six simplices of a cell: by the order of the coordinates inside it.
    const F xy = step(d.x >= d.y), yz = step(d.y >= d.z), xz = step(d.x >= d.z);
    const F rankX = xy + xz, rankY = (one - xy) + yz, rankZ = (one - xz) + (one - yz);
    const F column = wrapped(i), row = wrapped(j), layer = wrapped(k);

    znNoise3D noise{F(0.0f), {F(0.0f), F(0.0f), F(0.0f)}};
    const auto corner = [&](F di, F dj, F dk, float back) {
        const F hash = permute(permute(permute(layer + dk) + row + dj) + column + di);
        addCorner(noise, znRTVector3fPacket(d.x - di + back, d.y - dj + back, d.z - dk + back),
                  gradientOf3D(hash));
    };
    const F first(1.5f), second(0.5f);
    corner(0.0f, 0.0f, 0.0f, 0.0f);
    corner(step(rankX > first), step(rankY > first), step(rankZ > first), unskew);
    corner(step(rankX > second), step(rankY > second), step(rankZ > second), 2.0f * unskew);
    corner(1.0f, 1.0f, 1.0f, 3.0f * unskew);
    noise.value *= normal3D;
    noise.slope *= F(normal3D);
    return noise;
}
