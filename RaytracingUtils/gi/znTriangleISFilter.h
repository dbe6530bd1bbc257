#pragma once

// Tent over the pixel, for samples that carry their filter in their density: sample() spreads over
// twice the radius of evaluate(), so a radius of half a pixel gives a tent that reaches one pixel
// to each side.

#include "host/znPixelfilter.h"

class znTriangleISFilter : public znPixelfilter
{
public:
    znTriangleISFilter(float newRadiusX, float newRadiusY)
        : znPixelfilter(newRadiusX, newRadiusY, true)
    {
    }

    float evaluate(const float& x, const float& y) const override;
    void sample(float u, float v, float* dx, float* dy) const override;
};
