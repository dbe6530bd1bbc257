#pragma once

// Colours as applications give them, of lights and of surfaces.

#include "core/znRTColor.h"

/// The colour as it counts: channels below 0, infinite ones and NaN are 0, which is told of once.
/// Alpha is 1.
znRTColor usableColor(float r, float g, float b);
