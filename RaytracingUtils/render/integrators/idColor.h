#pragma once

// Colours that tell numbers apart: the same number has the same colour in every frame.

#include "core/pixelHash.h"
#include "core/znRTColor.h"

#include <algorithm>
#include <cmath>

/// A saturated colour of full brightness, with a hue that neighbouring numbers do not share.
inline znRTColor idColor(u32 id)
{
    const float hue = float(jenkinsMix(id) >> 8) * (6.0f / 16777216.0f);
    const auto channel = [hue](float peak) {
        const float distance = std::abs(hue - peak);
        return std::clamp(2.0f - std::min(distance, 6.0f - distance), 0.0f, 1.0f) * 0.8f + 0.2f;
    };
    return {channel(0.0f), channel(2.0f), channel(4.0f), 1.0f};
}

/// A factor from 0.5 to 1.
inline float idBrightness(u32 id)
{
    return 0.5f + float(jenkinsMix(id) >> 8) * (0.5f / 16777216.0f);
}
