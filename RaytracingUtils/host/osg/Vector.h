#pragma once

// Vectors and points of the scene graph: N numbers, tightly packed, so that arrays of them can be
// read in place as plain arrays of numbers.

#include "host/znRTVector.h"

#include <cmath>
#include <cstddef>
#include <type_traits>

namespace osg {

template <class T, int N>
struct Vector
{
    T values[N] = {};

    constexpr Vector() = default;
    template <class... U>
    requires(sizeof...(U) == N &&
             (std::is_arithmetic_v<U> && ...)) constexpr Vector(U... components)
        : values{T(components)...}
    {
    }
    Vector(const znRTVector2f& v) requires(N == 2) : values{v.x, v.y} {}
    Vector(const znRTVector3f& v) requires(N == 3) : values{v.x, v.y, v.z} {}
    Vector(const znRTVector4f& v) requires(N == 4) : values{v.x, v.y, v.z, v.w} {}
    operator znRTVector2f() const requires(N == 2) { return {float(values[0]), float(values[1])}; }
    operator znRTVector3f() const requires(N == 3)
    {
        return {float(values[0]), float(values[1]), float(values[2])};
    }
    operator znRTVector4f() const requires(N == 4)
    {
        return {float(values[0]), float(values[1]), float(values[2]), float(values[3])};
    }

    constexpr T& operator[](std::size_t i) { return values[i]; }
    constexpr const T& operator[](std::size_t i) const { return values[i]; }
    T x() const { return values[0]; }
    T y() const { return values[1]; }
    T z() const requires(N > 2) { return values[2]; }
    T w() const requires(N > 3) { return values[3]; }
    const T* getValues() const { return values; }
    T* getValues() { return values; }
    constexpr bool operator==(const Vector&) const = default;

    T dot(const Vector& b) const
    {
        T sum = T(0);
        for (int i = 0; i < N; ++i)
            sum += values[i] * b[i];
        return sum;
    }
    T length() const { return std::sqrt(dot(*this)); }
    /// A zero vector stays zero.
    void normalize()
    {
        if (const T l = length(); l > T(0))
            for (T& value : values)
                value /= l;
    }
    Vector cross(const Vector& b) const requires(N == 3)
    {
        return {values[1] * b[2] - values[2] * b[1], values[2] * b[0] - values[0] * b[2],
                values[0] * b[1] - values[1] * b[0]};
    }
    Vector& operator+=(const Vector& b)
    {
        for (int i = 0; i < N; ++i)
            values[i] += b[i];
        return *this;
    }
    Vector& operator-=(const Vector& b)
    {
        for (int i = 0; i < N; ++i)
            values[i] -= b[i];
        return *this;
    }
    Vector& operator*=(T s)
    {
        for (T& value : values)
            value *= s;
        return *this;
    }
    friend Vector operator+(Vector a, const Vector& b) { return a += b; }
    friend Vector operator-(Vector a, const Vector& b) { return a -= b; }
    friend Vector operator*(Vector a, T s) { return a *= s; }
    friend Vector operator*(T s, Vector a) { return a *= s; }
};

/// A position: transformed with the translation, where a Vector is a direction.
template <class T, int N>
struct Point : Vector<T, N>
{
    using Vector<T, N>::Vector;
    constexpr Point() = default;
    constexpr Point(const Vector<T, N>& v) : Vector<T, N>(v) {}
    constexpr bool operator==(const Point&) const = default;
};

using Vec2f = Vector<float, 2>;
using Vec3f = Vector<float, 3>;
using Vec4f = Vector<float, 4>;
using Vec3d = Vector<double, 3>;
using Pnt3f = Point<float, 3>;
using Pnt3d = Point<double, 3>;

static_assert(sizeof(Vec2f) == 8 && sizeof(Vec3f) == 12 && sizeof(Vec4f) == 16);
static_assert(sizeof(Pnt3f) == 12);

} // namespace osg
