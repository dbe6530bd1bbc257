#pragma once

// Four floats per lane: homogeneous points.

#include "core/znRTVector3fPacket.h"

struct znRTVector4fPacket
{
    znFloatType<2> x, y, z, w;

    znRTVector4fPacket() = default;
    znRTVector4fPacket(znFloatType<2> x_, znFloatType<2> y_, znFloatType<2> z_, znFloatType<2> w_)
        : x(x_), y(y_), z(z_), w(w_)
    {
    }
    znRTVector4fPacket(const znRTVector3fPacket& a, znFloatType<2> w_)
        : x(a.x), y(a.y), z(a.z), w(w_)
    {
    }
    /// The same vector in all lanes.
    explicit znRTVector4fPacket(const znRTVector4f& a) : x(a.x), y(a.y), z(a.z), w(a.w) {}

    znRTVector4f getLane(int lane) const { return {x[lane], y[lane], z[lane], w[lane]}; }
    void setLane(int lane, const znRTVector4f& a)
    {
        x.set(lane, a.x);
        y.set(lane, a.y);
        z.set(lane, a.z);
        w.set(lane, a.w);
    }
    znRTVector3fPacket getXYZ() const { return {x, y, z}; }
    /// Takes over the value in the lanes of the mask.
    void setMasked(const znRTVector4fPacket& value, znFloatType<2> mask)
    {
        x = select(mask, value.x, x);
        y = select(mask, value.y, y);
        z = select(mask, value.z, z);
        w = select(mask, value.w, w);
    }

    znFloatType<2> getSquareLength() const { return x * x + y * y + z * z + w * w; }
    znFloatType<2> getLength() const { return squareRoot(getSquareLength()); }
    /// Approximate as reciprocalSquareRoot; a zero vector becomes NaN.
    void normalize() { *this = *this * reciprocalSquareRoot(getSquareLength()); }

    friend znRTVector4fPacket operator+(const znRTVector4fPacket& a, const znRTVector4fPacket& b)
    {
        return {a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w};
    }
    friend znRTVector4fPacket operator-(const znRTVector4fPacket& a, const znRTVector4fPacket& b)
    {
        return {a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w};
    }
    friend znRTVector4fPacket operator*(const znRTVector4fPacket& a, znFloatType<2> s)
    {
        return {a.x * s, a.y * s, a.z * s, a.w * s};
    }
    znRTVector4fPacket& operator+=(const znRTVector4fPacket& b) { return *this = *this + b; }
    znRTVector4fPacket& operator-=(const znRTVector4fPacket& b) { return *this = *this - b; }
    znRTVector4fPacket& operator*=(znFloatType<2> s) { return *this = *this * s; }
};

inline znFloatType<2> dot(const znRTVector4fPacket& a, const znRTVector4fPacket& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

inline std::ostream& operator<<(std::ostream& stream, const znRTVector4fPacket& a)
{
    writeLanes(stream, "x: ", a.x);
    writeLanes(stream, "y: ", a.y);
    writeLanes(stream, "z: ", a.z);
    return writeLanes(stream, "w: ", a.w);
}
