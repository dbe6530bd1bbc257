#pragma once

// Gaussian over the pixel, for samples that carry their filter in their density. Samples have the
// standard deviation radiusX on both axes; the weight falls as exp(-8 x^2).

#include "host/znPixelfilter.h"

class znGaussianISFilter : public znPixelfilter
{
public:
    znGaussianISFilter(float newRadiusX, float newRadiusY)
        : znPixelfilter(newRadiusX, newRadiusY, true)
    {
    }

    float evaluate(const float& x, const float& y) const override;
    void sample(float u, float v, float* dx, float* dy) const override;

    float alphaX = -8.0f, alphaY = -8.0f;
    float width = 2.0f; ///< nominal reach in standard deviations; nothing reads it
};
