#pragma once

// Two floats per lane: texture coordinates, points of an image plane.

#include "core/packetMath.h"
#include "core/packetStream.h"
#include "host/znRTVector.h"

struct znRTVector2fPacket
{
    znFloatType<2> x, y;

    znRTVector2fPacket() = default;
    znRTVector2fPacket(znFloatType<2> x_, znFloatType<2> y_) : x(x_), y(y_) {}
    /// The same vector in all lanes.
    explicit znRTVector2fPacket(const znRTVector2f& a) : x(a.x), y(a.y) {}

    znRTVector2f getLane(int lane) const { return {x[lane], y[lane]}; }
    void setLane(int lane, const znRTVector2f& a)
    {
        x.set(lane, a.x);
        y.set(lane, a.y);
    }
    /// Takes over the value in the lanes of the mask.
    void setMasked(const znRTVector2fPacket& value, znFloatType<2> mask)
    {
        x = select(mask, value.x, x);
        y = select(mask, value.y, y);
    }

    znFloatType<2> getSquareLength() const { return x * x + y * y; }
    znFloatType<2> getLength() const { return squareRoot(getSquareLength()); }
    /// Approximate as reciprocalSquareRoot; a zero vector becomes NaN.
    void normalize()
    {
        const znFloatType<2> scale = reciprocalSquareRoot(getSquareLength());
        x *= scale;
        y *= scale;
    }

    friend znRTVector2fPacket operator+(const znRTVector2fPacket& a, const znRTVector2fPacket& b)
    {
        return {a.x + b.x, a.y + b.y};
    }
    friend znRTVector2fPacket operator-(const znRTVector2fPacket& a, const znRTVector2fPacket& b)
    {
        return {a.x - b.x, a.y - b.y};
    }
    friend znRTVector2fPacket operator*(const znRTVector2fPacket& a, znFloatType<2> s)
    {
        return {a.x * s, a.y * s};
    }
    friend znRTVector2fPacket operator*(znFloatType<2> s, const znRTVector2fPacket& a)
    {
        return a * s;
    }
    znRTVector2fPacket operator-() const { return {-x, -y}; }
    znRTVector2fPacket& operator+=(const znRTVector2fPacket& b) { return *this = *this + b; }
    znRTVector2fPacket& operator-=(const znRTVector2fPacket& b) { return *this = *this - b; }
    znRTVector2fPacket& operator*=(znFloatType<2> s) { return *this = *this * s; }
};

inline znFloatType<2> dot(const znRTVector2fPacket& a, const znRTVector2fPacket& b)
{
    return a.x * b.x + a.y * b.y;
}

inline znRTVector2fPacket select(znFloatType<2> mask, const znRTVector2fPacket& a,
                                 const znRTVector2fPacket& b)
{
    return {select(mask, a.x, b.x), select(mask, a.y, b.y)};
}

inline std::ostream& operator<<(std::ostream& stream, const znRTVector2fPacket& a)
{
    writeLanes(stream, "x: ", a.x);
    return writeLanes(stream, "y: ", a.y);
}
