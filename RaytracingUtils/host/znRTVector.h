#pragma once

// Scalar vectors for the edges of the system, where one value is enough.

#include "host/znMatrix4x4.h"

#include <cmath>
#include <emmintrin.h>

/// Two floats: texture coordinates, points of the image plane.
struct znRTVector2f
{
    float x = 0.0f, y = 0.0f;

    znRTVector2f() = default;
    znRTVector2f(float x_, float y_) : x(x_), y(y_) {}
    bool operator==(const znRTVector2f&) const = default;

    float getSquareLength() const { return x * x + y * y; }
    float getLength() const { return std::sqrt(getSquareLength()); }
    void normalize() { *this = getNormalized(); }
    znRTVector2f getNormalized() const { return {x / getLength(), y / getLength()}; }
    znRTVector2f getReciprocal() const { return {1.0f / x, 1.0f / y}; }
};

inline znRTVector2f operator+(znRTVector2f a, znRTVector2f b) { return {a.x + b.x, a.y + b.y}; }
inline znRTVector2f operator-(znRTVector2f a, znRTVector2f b) { return {a.x - b.x, a.y - b.y}; }
inline znRTVector2f operator*(znRTVector2f a, float s) { return {a.x * s, a.y * s}; }
inline znRTVector2f operator*(float s, znRTVector2f a) { return a * s; }
inline float dot(znRTVector2f a, znRTVector2f b) { return a.x * b.x + a.y * b.y; }

/// Three floats: points and directions. Normalizing a zero vector gives NaN.
struct znRTVector3f
{
    float x = 0.0f, y = 0.0f, z = 0.0f;

    znRTVector3f() = default;
    znRTVector3f(float x_, float y_, float z_) : x(x_), y(y_), z(z_) {}
    explicit znRTVector3f(__m128 value)
    {
        alignas(16) float lanes[4];
        _mm_store_ps(lanes, value);
        *this = {lanes[0], lanes[1], lanes[2]};
    }
    bool operator==(const znRTVector3f&) const = default;

    float operator[](int axis) const { return axis == 0 ? x : axis == 1 ? y : z; }
    float& operator[](int axis) { return axis == 0 ? x : axis == 1 ? y : z; }

    float getSquareLength() const { return x * x + y * y + z * z; }
    float getLength() const { return std::sqrt(getSquareLength()); }
    void normalize() { *this = getNormalized(); }
    znRTVector3f getNormalized() const
    {
        const float length = getLength();
        return {x / length, y / length, z / length};
    }
    znRTVector3f getReciprocal() const { return {1.0f / x, 1.0f / y, 1.0f / z}; }

    /// M p with the translation, without a division by w.
    znRTVector3f getTransformAsLocation(const znMatrix4x4& m) const
    {
        const znRTVector3f d = getTransformAsDirection(m);
        return {d.x + m[3][0], d.y + m[3][1], d.z + m[3][2]};
    }
    /// The upper 3 x 3 part of M alone.
    znRTVector3f getTransformAsDirection(const znMatrix4x4& m) const
    {
        return {m[0][0] * x + m[1][0] * y + m[2][0] * z, m[0][1] * x + m[1][1] * y + m[2][1] * z,
                m[0][2] * x + m[1][2] * y + m[2][2] * z};
    }
    void setToTransformAsLocation(const znMatrix4x4& m) { *this = getTransformAsLocation(m); }
    void setToTransformAsDirection(const znMatrix4x4& m) { *this = getTransformAsDirection(m); }
};

inline znRTVector3f operator+(const znRTVector3f& a, const znRTVector3f& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline znRTVector3f operator-(const znRTVector3f& a, const znRTVector3f& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline znRTVector3f operator-(const znRTVector3f& a) { return {-a.x, -a.y, -a.z}; }
inline znRTVector3f operator*(const znRTVector3f& a, float s) { return {a.x * s, a.y * s, a.z * s}; }
inline znRTVector3f operator*(float s, const znRTVector3f& a) { return a * s; }
inline float dot(const znRTVector3f& a, const znRTVector3f& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline znRTVector3f cross(const znRTVector3f& a, const znRTVector3f& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Four floats: homogeneous points, RGBA values.
struct znRTVector4f
{
    float x = 0.0f, y = 0.0f, z = 0.0f, w = 0.0f;

    znRTVector4f() = default;
    znRTVector4f(float x_, float y_, float z_, float w_) : x(x_), y(y_), z(z_), w(w_) {}
    explicit znRTVector4f(__m128 value)
    {
        alignas(16) float lanes[4];
        _mm_store_ps(lanes, value);
        *this = {lanes[0], lanes[1], lanes[2], lanes[3]};
    }
    bool operator==(const znRTVector4f&) const = default;

    float getSquareLength() const { return x * x + y * y + z * z + w * w; }
    float getLength() const { return std::sqrt(getSquareLength()); }
    void normalize() { *this = getNormalized(); }
    znRTVector4f getNormalized() const
    {
        const float length = getLength();
        return {x / length, y / length, z / length, w / length};
    }
    znRTVector4f getReciprocal() const { return {1.0f / x, 1.0f / y, 1.0f / z, 1.0f / w}; }
};

inline znRTVector4f operator+(const znRTVector4f& a, const znRTVector4f& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w};
}
inline znRTVector4f operator-(const znRTVector4f& a, const znRTVector4f& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w};
}
inline znRTVector4f operator*(const znRTVector4f& a, float s)
{
    return {a.x * s, a.y * s, a.z * s, a.w * s};
}
inline float dot(const znRTVector4f& a, const znRTVector4f& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}
