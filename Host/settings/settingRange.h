#pragma once

// Brings setting values into the range of their row.

#include "host/znRTVector.h"

/// @return the nearest value in [lowest, highest]; lowest for NaN
template <class T, class Bound>
T clampSetting(T value, Bound lowest, Bound highest)
{
    if (!(value >= T(lowest)))
        return T(lowest);
    return value > T(highest) ? T(highest) : value;
}

inline bool clampSetting(bool value, bool, bool)
{
    return value;
}

/// Per component.
inline znRTVector4f clampSetting(const znRTVector4f& value, float lowest, float highest)
{
    return {clampSetting(value.x, lowest, highest), clampSetting(value.y, lowest, highest),
            clampSetting(value.z, lowest, highest), clampSetting(value.w, lowest, highest)};
}
