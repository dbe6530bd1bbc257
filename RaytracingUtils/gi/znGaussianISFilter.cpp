#include "gi/znGaussianISFilter.h"

#include <algorithm>
#include <cmath>

float znGaussianISFilter::evaluate(const float& x, const float& y) const
{
    return std::max(std::exp(alphaX * x * x), 0.0f) * std::max(std::exp(alphaY * y * y), 0.0f);
}

// G. Box, M. Muller, "A Note on the Generation of Random Normal Deviates", 1958.
void znGaussianISFilter::sample(float u, float v, float* dx, float* dy) const
{
    const float tail = std::max(1.0f - (u + 1.0f) / 2.0f, 1e-7f);
    const float r = radiusX * 1.4142135f * std::sqrt(-std::log(tail));
    const float angle = (v + 1.0f) / 2.0f * 6.2831855f;
    *dx = r * std::cos(angle);
    *dy = r * std::sin(angle);
}
