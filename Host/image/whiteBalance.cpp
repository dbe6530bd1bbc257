#include "image/whiteBalance.h"

#include <algorithm>
#include <cmath>

namespace {

using Vector = std::array<double, 3>;
using Matrix = std::array<Vector, 3>;

constexpr Matrix s_rgbToXyz = {{{0.41239079926595923, 0.357584339383878, 0.1804807884018343},
                                {0.21263900587151022, 0.715168678767756, 0.07219231536073371},
                                {0.019330818715591818, 0.11919477979462598, 0.9505321522496607}}};
constexpr Matrix s_bradford = {
    {{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};

Matrix multiply(const Matrix& a, const Matrix& b)
{
    Matrix m{};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            for (int k = 0; k < 3; ++k)
                m[r][c] += a[r][k] * b[k][c];
    return m;
}

Vector multiply(const Matrix& m, const Vector& v)
{
    Vector result{};
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 3; ++k)
            result[r] += m[r][k] * v[k];
    return result;
}

Matrix inverse(const Matrix& m)
{
    const auto cofactor = [&](int r, int c) {
        const int r1 = (r + 1) % 3, r2 = (r + 2) % 3, c1 = (c + 1) % 3, c2 = (c + 2) % 3;
        return m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
    };
    const double determinant =
        m[0][0] * cofactor(0, 0) + m[0][1] * cofactor(0, 1) + m[0][2] * cofactor(0, 2);
    Matrix result;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            result[r][c] = cofactor(c, r) / determinant;
    return result;
}

std::array<double, 2> planckianLocus(double t)
{
    return {(0.860117757 + 1.54118254e-4 * t + 1.28641212e-7 * t * t) /
                (1.0 + 8.42420235e-4 * t + 7.08145163e-7 * t * t),
            (0.317398726 + 4.22806245e-5 * t + 4.20481691e-8 * t * t) /
                (1.0 - 2.89741816e-5 * t + 1.61456053e-7 * t * t)};
}

/// Place of D65 beside the locus.
constexpr std::array<double, 2> s_d65 = {4.0 * 0.3127 / (-2.0 * 0.3127 + 12.0 * 0.3290 + 3.0),
                                         6.0 * 0.3290 / (-2.0 * 0.3127 + 12.0 * 0.3290 + 3.0)};

double smoothStep(double low, double high, double x)
{
    const double t = std::clamp((x - low) / (high - low), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

/// XYZ with Y = 1.
Vector whiteOf(double temperature, double tint)
{
    auto [u, v] = planckianLocus(temperature);
    const auto [u1, v1] = planckianLocus(temperature * 1.001);
    const auto [u0, v0] = planckianLocus(temperature * 0.999);
    // Across the locus, on the side of green: with rising temperature u falls.
    const double du = u1 - u0, dv = v1 - v0, length = std::hypot(du, dv);
    const auto [u65, v65] = planckianLocus(6500.0);
    const double daylight = smoothStep(4000.0, 5000.0, temperature);
    u += daylight * (s_d65[0] - u65);
    v += daylight * (s_d65[1] - v65);
    u += 0.02 * tint * dv / length;
    v -= 0.02 * tint * du / length;
    return {1.5 * u / v, 1.0, (2.0 - 0.5 * u - 5.0 * v) / v};
}

} // namespace

std::array<std::array<float, 4>, 3> whiteBalanceMatrix(float temperature, float tint)
{
    // NaN takes the neutral value.
    const double t = temperature == temperature ? std::clamp(double(temperature), 1e3, 4e4) : 6500;
    const double g = tint == tint ? std::clamp(double(tint), -1.0, 1.0) : 0.0;
    const Vector from = multiply(s_bradford, whiteOf(t, g));
    const Vector to = multiply(s_bradford, whiteOf(6500.0, 0.0));
    Matrix scale{};
    for (int i = 0; i < 3; ++i)
        scale[i][i] = to[i] / from[i];
    const Matrix adaptation = multiply(inverse(s_bradford), multiply(scale, s_bradford));
    const Matrix m = multiply(inverse(s_rgbToXyz), multiply(adaptation, s_rgbToXyz));
    std::array<std::array<float, 4>, 3> rows{};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            rows[r][c] = float(m[r][c]);
    return rows;
}
