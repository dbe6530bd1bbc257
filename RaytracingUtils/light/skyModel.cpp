#include "light/skyModel.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double highestSunTheta = 89.0 * std::numbers::pi / 180.0;
/// Below it the distribution has its singular horizon.
constexpr double leastCosine = 0.01;

/// Polynomial of a chromaticity at the zenith: rows by powers of the turbidity from 2 to 0, columns
/// by powers of the sun's zenith angle from 3 to 0.
double zenithChromaticity(const double (&m)[3][4], double turbidity, double theta)
{
    double sum = 0.0;
    for (const auto& row : m)
        sum = sum * turbidity + ((row[0] * theta + row[1]) * theta + row[2]) * theta + row[3];
    return sum;
}

constexpr double zenithX[3][4] = {{0.00166, -0.00375, 0.00209, 0.0},
                                  {-0.02903, 0.06377, -0.03202, 0.00394},
                                  {0.11693, -0.21196, 0.06052, 0.25886}};
constexpr double zenithY[3][4] = {{0.00275, -0.00610, 0.00317, 0.0},
                                  {-0.04214, 0.08970, -0.04153, 0.00516},
                                  {0.15346, -0.26756, 0.06670, 0.26688}};

/// CIE XYZ to linear Rec. 709 (IEC 61966-2-1).
znRTColor fromXyz(double x, double y, double z)
{
    return {std::max(0.0f, float(3.2406 * x - 1.5372 * y - 0.4986 * z)),
            std::max(0.0f, float(-0.9689 * x + 1.8758 * y + 0.0415 * z)),
            std::max(0.0f, float(0.0557 * x - 0.2040 * y + 1.0570 * z)), 1.0f};
}

} // namespace

double SkyModel::Channel::distribution(double cosTheta, double gamma) const
{
    const auto& [a, b, c, d, e] = coefficients;
    const double cosGamma = std::cos(gamma);
    return (1.0 + a * std::exp(b / cosTheta)) *
           (1.0 + c * std::exp(d * gamma) + e * cosGamma * cosGamma);
}

SkyModel::SkyModel(float turbidity, const znRTVector3f& sunDirection)
{
    sunTheta = std::min(std::acos(std::clamp(double(sunDirection.z), -1.0, 1.0)), highestSunTheta);
    const double azimuth = std::atan2(double(sunDirection.y), double(sunDirection.x));
    sun = {float(std::sin(sunTheta) * std::cos(azimuth)),
           float(std::sin(sunTheta) * std::sin(azimuth)), float(std::cos(sunTheta))};

    const double t = turbidity;
    luminance = {{0.1787 * t - 1.4630, -0.3554 * t + 0.4275, -0.0227 * t + 5.3251,
                  0.1206 * t - 2.5771, -0.0670 * t + 0.3703}};
    x = {{-0.0193 * t - 0.2592, -0.0665 * t + 0.0008, -0.0004 * t + 0.2125, -0.0641 * t - 0.8989,
          -0.0033 * t + 0.0452}};
    y = {{-0.0167 * t - 0.2608, -0.0950 * t + 0.0092, -0.0079 * t + 0.2102, -0.0441 * t - 1.6537,
          -0.0109 * t + 0.0529}};
    const double chi = (4.0 / 9.0 - t / 120.0) * (std::numbers::pi - 2.0 * sunTheta);
    luminance.zenith = (4.0453 * t - 4.9710) * std::tan(chi) - 0.2155 * t + 2.4192;
    x.zenith = zenithChromaticity(zenithX, t, sunTheta);
    y.zenith = zenithChromaticity(zenithY, t, sunTheta);
}

float SkyModel::getTwilightShare(float sunHeight)
{
    // Decadic logarithm of the illuminance in lux, powers of the altitude over 90 degrees.
    struct Row
    {
        double lowest; ///< altitude from which on it holds, degrees
        double coefficients[4];
    };
    constexpr Row rows[] = {{-5.0, {2.88, 21.81, -258.11, -858.36}},
                            {-12.0, {2.70, 12.17, -431.69, -1899.83}},
                            {-18.0, {13.84, 262.72, 1447.42, 2797.93}}};
    if (!(sunHeight < 0.0f))
        return 1.0f;
    const double altitude = std::max(
        std::asin(std::max(double(sunHeight), -1.0)) * 180.0 / std::numbers::pi, rows[2].lowest);
    const Row* row = rows;
    while (altitude < row->lowest)
        ++row;
    const double x = altitude / 90.0;
    const auto& c = row->coefficients;
    const double atHorizon = rows[0].coefficients[0];
    return float(std::pow(10.0, c[0] + x * (c[1] + x * (c[2] + x * c[3])) - atHorizon));
}

znRTColor SkyModel::getRadiance(const znRTVector3f& direction) const
{
    const double cosTheta = std::max(double(direction.z), leastCosine);
    const double gamma = std::acos(std::clamp(double(dot(direction, sun)), -1.0, 1.0));
    const auto at = [&](const Channel& channel) {
        return channel.zenith * channel.distribution(cosTheta, gamma) /
               channel.distribution(1.0, sunTheta);
    };
    const double Y = std::max(at(luminance), 0.0), cx = at(x), cy = at(y);
    return fromXyz(cx / cy * Y, Y, (1.0 - cx - cy) / cy * Y);
}
