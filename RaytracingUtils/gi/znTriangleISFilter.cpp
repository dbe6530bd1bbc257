#include "gi/znTriangleISFilter.h"

#include <algorithm>
#include <cmath>

namespace {

/// Inverse of the tent's distribution function over [-1, 1].
float invertTent(float u)
{
    return u < 0.0f ? std::sqrt(u + 1.0f) - 1.0f : 1.0f - std::sqrt(1.0f - u);
}

} // namespace

float znTriangleISFilter::evaluate(const float& x, const float& y) const
{
    return std::max(radiusX - std::fabs(x), 0.0f) * std::max(radiusY - std::fabs(y), 0.0f);
}

void znTriangleISFilter::sample(float u, float v, float* dx, float* dy) const
{
    *dx = 2.0f * radiusX * invertTent(u);
    *dy = 2.0f * radiusY * invertTent(v);
}
