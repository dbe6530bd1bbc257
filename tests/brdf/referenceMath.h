#pragma once

// Directions in double precision for reference formulas, and the statistics of drawn directions.

#include "core/znRTVector3fPacket.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace reference {

inline constexpr double pi = std::numbers::pi;

struct Vector
{
    double x = 0.0, y = 0.0, z = 0.0;

    double dot(const Vector& o) const { return x * o.x + y * o.y + z * o.z; }
    double length() const { return std::sqrt(dot(*this)); }
    Vector operator+(const Vector& o) const { return {x + o.x, y + o.y, z + o.z}; }
    Vector operator-() const { return {-x, -y, -z}; }
    Vector operator*(double s) const { return {x * s, y * s, z * s}; }
    Vector normalized() const { return *this * (1.0 / length()); }
    Vector swapped() const { return {-y, x, z}; } ///< turned by 90 degrees about z

    znRTVector3f toFloat() const { return {float(x), float(y), float(z)}; }
    static Vector from(const znRTVector3f& v) { return {v.x, v.y, v.z}; }
    /// @param theta, phi  radians
    static Vector polar(double theta, double phi)
    {
        return {std::sin(theta) * std::cos(phi), std::sin(theta) * std::sin(phi), std::cos(theta)};
    }
};

/// Half vector of a reflecting pair.
inline Vector half(const Vector& wo, const Vector& wi)
{
    return (wo + wi).normalized();
}

inline bool reflects(const Vector& wo, const Vector& wi)
{
    return wo.z > 0.0 && wi.z > 0.0;
}

/// Uniform numbers in [0, 1) that any float holds exactly.
class Uniform
{
public:
    explicit Uniform(unsigned seed) : engine(seed) {}
    float operator()() { return float(engine() >> 8) * (1.0f / 16777216.0f); }

private:
    std::mt19937 engine;
};

/// Uniform direction over the upper hemisphere.
inline Vector upperHemisphere(Uniform& uniform)
{
    const double z = std::max(1e-3, double(uniform()));
    return Vector::polar(std::acos(z), 2.0 * pi * uniform());
}

/// Probability that a chi-square variable exceeds a value. E. Wilson, M. Hilferty, "The
/// Distribution of Chi-square", PNAS 17, 1931: the cube root is close to normal.
inline double chiSquareTail(double chiSquare, int degreesOfFreedom)
{
    const double k = degreesOfFreedom, v = 2.0 / (9.0 * k);
    const double normal = (std::cbrt(chiSquare / k) - (1.0 - v)) / std::sqrt(v);
    return 0.5 * std::erfc(normal / std::numbers::sqrt2);
}

/// Pearson's test of counts against probabilities; classes that expect less than 20 are joined.
/// @return probability of a deviation at least this large
inline double chiSquareTest(const std::vector<double>& counts,
                            const std::vector<double>& probabilities)
{
    double total = 0.0;
    for (double count : counts)
        total += count;
    double statistic = 0.0, restCount = 0.0, restExpected = 0.0;
    int classes = 0;
    const auto add = [&](double count, double expected) {
        statistic += (count - expected) * (count - expected) / expected;
        ++classes;
    };
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const double expected = total * probabilities[i];
        if (expected > 20.0) {
            add(counts[i], expected);
        } else {
            restCount += counts[i];
            restExpected += expected;
        }
    }
    if (restExpected > 20.0)
        add(restCount, restExpected);
    else if (restCount > restExpected + 40.0)
        return 0.0; // directions where there should be none
    return classes > 1 ? chiSquareTail(statistic, classes - 1) : 1.0;
}

} // namespace reference
