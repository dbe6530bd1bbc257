#pragma once

// Sun of the sky model: size and position.
// Position: J. Meeus, "Astronomical Algorithms", 2nd ed. 1998, chapters 7, 12, 13 and 25 (low
// accuracy: 0.01 degrees), without refraction.

#include "host/znRTVector.h"

class znDaylightUtils
{
public:
    /// Angular radius of the sun's disk, degrees: 695700 km seen from 149.6 million km.
    static float getSunConeAngle() { return 0.26644f; }

    /// Direction to the sun; world has z up, x east, y north when north is 0.
    /// @param latitude   degrees, north positive
    /// @param longitude  degrees, east positive
    /// @param hour       local time of day, hours [0, 24)
    /// @param utcOffset  local time minus UTC, hours
    /// @param north      turns north away from y, degrees, towards x
    static znRTVector3f getSunDirection(float latitude, float longitude, int year, int month,
                                        int day, float hour, float utcOffset, float north);
};
