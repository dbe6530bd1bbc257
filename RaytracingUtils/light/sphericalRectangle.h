#pragma once

// Rectangles as seen from a point, and directions to them drawn evenly by solid angle. C. Ureña,
// M. Fajardo, A. King, "An Area-Preserving Parametrization for Spherical Rectangles", EGSR 2013.
// The angles of the spherical rectangle are taken from arcs of tangents, whose sum keeps its
// digits where that of arc cosines loses them.

#include "core/packetMath.h"
#include "core/znRTVector2fPacket.h"
#include "host/znAligned.h"

class znRTSphericalRectangle : public znAlignedBase16
{
public:
    /// Rectangles at height z from x0 to x1 and y0 to y1, seen from the origins of their frames.
    /// @param height  |z|, above 0
    znRTSphericalRectangle(const znFloatType<2>& newX0, const znFloatType<2>& newX1,
                           const znFloatType<2>& newY0, const znFloatType<2>& newY1,
                           const znFloatType<2>& height)
        : x0(newX0), x1(newX1), y0(newY0), y1(newY1), z(height)
    {
        const znFloatType<2> atY0 = arc(x0, y0), atY1 = arc(x0, y1);
        start = atY1 - atY0;
        solidAngle = maximum(arc(x1, y1) - arc(x1, y0) - start, 0.0f);
    }

    /// In steradian; absolute error below 4e-5.
    const znFloatType<2>& getSolidAngle() const { return solidAngle; }

    /// Draws a point.
    /// @param u  numbers in [0, 1]
    /// @return x and y, inside the rectangle
    znRTVector2fPacket draw(const znRTVector2fPacket& u) const
    {
        const znFloatType<2> one(1.0f);
        // A plane through the origin and parallel to y turns about it until the part of the
        // rectangle that it has passed covers u.x of the solid angle (their section 5).
        const znFloatType<2> b0 = -y0 * reciprocalSquareRoot(z * z + y0 * y0);
        const znFloatType<2> b1 = y1 * reciprocalSquareRoot(z * z + y1 * y1);
        znFloatType<2> sine, cosine;
        sineAndCosine(start + u.x * solidAngle, sine, cosine);
        const znFloatType<2> across = cosine * b0 + b1, along = sine * b0;
        const znFloatType<2> c = clamp(
            sine * reciprocalSquareRoot(maximum(across * across + along * along, leastSquare)),
            -one, one);
        const znFloatType<2> x =
            clamp(c * z * reciprocalSquareRoot(maximum(one - c * c, leastSquare)), x0, x1);
        // On it, heights over the plane of x and z are even by the sine of their angle.
        const znFloatType<2> square = x * x + z * z;
        const znFloatType<2> h0 = y0 * reciprocalSquareRoot(square + y0 * y0);
        const znFloatType<2> h1 = y1 * reciprocalSquareRoot(square + y1 * y1);
        const znFloatType<2> h = h0 + u.y * (h1 - h0);
        const znFloatType<2> y =
            h * squareRoot(square) * reciprocalSquareRoot(maximum(one - h * h, leastSquare));
        return {x, clamp(y, y0, y1)};
    }

private:
    static constexpr float leastSquare = 1e-12f;

    /// Signed solid angle between the axes and a corner.
    znFloatType<2> arc(const znFloatType<2>& x, const znFloatType<2>& y) const
    {
        return atan2(x * y, z * squareRoot(x * x + y * y + z * z));
    }

    /// Of an angle in [-pi, pi], by the series about the half angle: next to the rectangle all of
    /// it lies within small angles of the ends, where the sincos of other places is too coarse.
    static void sineAndCosine(const znFloatType<2>& angle, znFloatType<2>& sine,
                              znFloatType<2>& cosine)
    {
        const znFloatType<2> t = angle * 0.5f, q = t * t, one(1.0f);
        const auto step = [&q](const znFloatType<2>& inner, float divisor) {
            return znFloatType<2>(1.0f) - q * inner * (1.0f / divisor);
        };
        const znFloatType<2> s =
            t * step(step(step(step(step(one, 110.0f), 72.0f), 42.0f), 20.0f), 6.0f);
        const znFloatType<2> c =
            step(step(step(step(step(step(one, 132.0f), 90.0f), 56.0f), 30.0f), 12.0f), 2.0f);
        sine = (s + s) * c;
        cosine = one - (s + s) * s;
    }

    znFloatType<2> x0, x1, y0, y1, z;
    znFloatType<2> start; ///< angle of the turning plane at x0
    znFloatType<2> solidAngle;
};
