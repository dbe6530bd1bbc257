#pragma once

// Sphere around an object.

#include "host/znRTVector.h"

struct znRTBoundingSphere
{
    znRTVector3f center;
    float radius = 0.0f;

    /// @param box  its centre and the distance from there to the corner at the maxima are taken
    template <class Box>
    void setBoundingSphere(const Box& box)
    {
        center = box.getCenter();
        radius = (box.getMaximum() - center).getLength();
    }
};
