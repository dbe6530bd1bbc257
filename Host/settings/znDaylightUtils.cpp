#include "host/znDaylightUtils.h"

#include <cmath>
#include <numbers>

namespace {

constexpr double radiansPerDegree = std::numbers::pi / 180.0;

/// Meeus (7.1), Gregorian calendar.
double julianDay(int year, int month, double day)
{
    if (month <= 2) {
        --year;
        month += 12;
    }
    const double century = std::floor(year / 100.0);
    const double b = 2.0 - century + std::floor(century / 4.0);
    return std::floor(365.25 * (year + 4716)) + std::floor(30.6001 * (month + 1)) + day + b -
           1524.5;
}

} // namespace

znRTVector3f znDaylightUtils::getSunDirection(float latitude, float longitude, int year, int month,
                                              int day, float hour, float utcOffset, float north)
{
    const double jd = julianDay(year, month, day + (double(hour) - utcOffset) / 24.0);
    const double t = (jd - 2451545.0) / 36525.0;

    // Apparent longitude of the sun, Meeus (25.2) to (25.8).
    const double meanLongitude = 280.46646 + t * (36000.76983 + t * 0.0003032);
    const double anomaly = (357.52911 + t * (35999.05029 - t * 0.0001537)) * radiansPerDegree;
    const double centre = (1.914602 - t * (0.004817 + t * 0.000014)) * std::sin(anomaly) +
                          (0.019993 - t * 0.000101) * std::sin(2.0 * anomaly) +
                          0.000289 * std::sin(3.0 * anomaly);
    const double omega = (125.04 - 1934.136 * t) * radiansPerDegree;
    const double lambda =
        (meanLongitude + centre - 0.00569 - 0.00478 * std::sin(omega)) * radiansPerDegree;
    const double obliquity =
        (23.439291 - t * 0.0130042 + 0.00256 * std::cos(omega)) * radiansPerDegree;

    const double rightAscension =
        std::atan2(std::cos(obliquity) * std::sin(lambda), std::cos(lambda));
    const double declination = std::asin(std::sin(obliquity) * std::sin(lambda));
    // Sidereal time at Greenwich in degrees, Meeus (12.4).
    const double sidereal = 280.46061837 + 360.98564736629 * (jd - 2451545.0) + 0.000387933 * t * t;
    const double hourAngle = (sidereal + longitude) * radiansPerDegree - rightAscension;

    // Horizontal coordinates, with x east and y north before the turn of north.
    const double phi = latitude * radiansPerDegree;
    const double east = -std::cos(declination) * std::sin(hourAngle);
    const double northward = std::sin(declination) * std::cos(phi) -
                             std::cos(declination) * std::cos(hourAngle) * std::sin(phi);
    const double up = std::sin(declination) * std::sin(phi) +
                      std::cos(declination) * std::cos(hourAngle) * std::cos(phi);
    const double turn = north * radiansPerDegree;
    return {float(east * std::cos(turn) + northward * std::sin(turn)),
            float(northward * std::cos(turn) - east * std::sin(turn)), float(up)};
}
