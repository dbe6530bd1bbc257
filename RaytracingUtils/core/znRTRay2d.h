#pragma once

// Rays in a plane, for trimming.

#include "core/znRTVector2fPacket.h"

struct znRTRay2d
{
    znRTVector2f origin;
    znRTVector2f direction;

    void pointAt(float t, znRTVector2f& out) const { out = origin + direction * t; }
};

struct znRTRay2dPacket
{
    znRTVector2fPacket origin;
    znRTVector2fPacket direction;

    void pointAt(znFloatType<2> t, znRTVector2fPacket& out) const { out = origin + direction * t; }
};
