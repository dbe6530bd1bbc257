#pragma once

// Three floats per lane: points, directions, weights.

#include "core/packetMath.h"
#include "core/packetStream.h"
#include "host/znRTVector.h"

struct znRTVector3fPacket
{
    znFloatType<2> x, y, z;

    znRTVector3fPacket() = default;
    znRTVector3fPacket(znFloatType<2> x_, znFloatType<2> y_, znFloatType<2> z_)
        : x(x_), y(y_), z(z_)
    {
    }
    /// The same vector in all lanes.
    explicit znRTVector3fPacket(const znRTVector3f& a) : x(a.x), y(a.y), z(a.z) {}
    /// Lane i takes the i-th vector.
    znRTVector3fPacket(const znRTVector3f& l0, const znRTVector3f& l1, const znRTVector3f& l2,
                       const znRTVector3f& l3)
        : x(l0.x, l1.x, l2.x, l3.x), y(l0.y, l1.y, l2.y, l3.y), z(l0.z, l1.z, l2.z, l3.z)
    {
    }

    /// @param axis  0 to 2
    znFloatType<2>& operator[](int axis) { return axis == 0 ? x : axis == 1 ? y : z; }
    const znFloatType<2>& operator[](int axis) const { return axis == 0 ? x : axis == 1 ? y : z; }

    znRTVector3f getLane(int lane) const { return {x[lane], y[lane], z[lane]}; }
    void setLane(int lane, const znRTVector3f& a)
    {
        x.set(lane, a.x);
        y.set(lane, a.y);
        z.set(lane, a.z);
    }
    /// Takes over the value in the lanes of the mask.
    void setMasked(const znRTVector3fPacket& value, znFloatType<2> mask)
    {
        x = select(mask, value.x, x);
        y = select(mask, value.y, y);
        z = select(mask, value.z, z);
    }

    znFloatType<2> getSquareLength() const { return x * x + y * y + z * z; }
    znFloatType<2> getLength() const { return squareRoot(getSquareLength()); }
    /// Approximate as reciprocalSquareRoot; a zero or infinite vector becomes NaN.
    void normalize() { *this = getNormalized(); }
    znRTVector3fPacket getNormalized() const
    {
        const znFloatType<2> scale = reciprocalSquareRoot(getSquareLength());
        return {x * scale, y * scale, z * scale};
    }

    friend znRTVector3fPacket operator+(const znRTVector3fPacket& a, const znRTVector3fPacket& b)
    {
        return {a.x + b.x, a.y + b.y, a.z + b.z};
    }
    friend znRTVector3fPacket operator-(const znRTVector3fPacket& a, const znRTVector3fPacket& b)
    {
        return {a.x - b.x, a.y - b.y, a.z - b.z};
    }
    friend znRTVector3fPacket operator*(const znRTVector3fPacket& a, const znRTVector3fPacket& b)
    {
        return {a.x * b.x, a.y * b.y, a.z * b.z};
    }
    friend znRTVector3fPacket operator*(const znRTVector3fPacket& a, znFloatType<2> s)
    {
        return {a.x * s, a.y * s, a.z * s};
    }
    friend znRTVector3fPacket operator*(znFloatType<2> s, const znRTVector3fPacket& a)
    {
        return a * s;
    }
    znRTVector3fPacket operator-() const { return {-x, -y, -z}; }
    znRTVector3fPacket& operator+=(const znRTVector3fPacket& b) { return *this = *this + b; }
    znRTVector3fPacket& operator-=(const znRTVector3fPacket& b) { return *this = *this - b; }
    znRTVector3fPacket& operator*=(const znRTVector3fPacket& b) { return *this = *this * b; }
    znRTVector3fPacket& operator*=(znFloatType<2> s) { return *this = *this * s; }
    /// Zeroes the lanes outside the mask.
    friend znRTVector3fPacket operator&(const znRTVector3fPacket& a, znFloatType<2> mask)
    {
        return {a.x & mask, a.y & mask, a.z & mask};
    }
    /// XOR of all components with the same bits: flips signs by a mask of sign bits.
    friend znRTVector3fPacket operator^(const znRTVector3fPacket& a, znFloatType<2> bits)
    {
        return {a.x ^ bits, a.y ^ bits, a.z ^ bits};
    }
};

inline znFloatType<2> dot(const znRTVector3fPacket& a, const znRTVector3fPacket& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline znRTVector3fPacket cross(const znRTVector3fPacket& a, const znRTVector3fPacket& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline znRTVector3fPacket select(znFloatType<2> mask, const znRTVector3fPacket& a,
                                 const znRTVector3fPacket& b)
{
    return {select(mask, a.x, b.x), select(mask, a.y, b.y), select(mask, a.z, b.z)};
}

inline std::ostream& operator<<(std::ostream& stream, const znRTVector3fPacket& a)
{
    writeLanes(stream, "x: ", a.x);
    writeLanes(stream, "y: ", a.y);
    return writeLanes(stream, "z: ", a.z);
}
