#pragma once

// Primitive of a parametric surface: a rectangle of its parameters. All four bounds carry the
// trimming flag in their sign bits: negative where hits must be tested against the trim curves.

#include "core/packetMath.h"

class znRTSurfaceFragment
{
public:
    znFloatType<2> bounds; ///< u low, u high, v low, v high

    void setTrimming(bool isTrimmed)
    {
        bounds = absolute(bounds) | (isTrimmed ? znFloatType<2>(-0.0f) : znFloatType<2>::noLanes());
    }
    bool getTrimming() const { return moveMask(bounds) != 0; }
    znFloatType<2> getBounds() const { return absolute(bounds); }
    /// @param u, v  receive the middle of the rectangle
    void parametricMiddle(float& u, float& v) const
    {
        const znFloatType<2> b = absolute(bounds);
        u = (b[0] + b[1]) * 0.5f;
        v = (b[2] + b[3]) * 0.5f;
    }
};
