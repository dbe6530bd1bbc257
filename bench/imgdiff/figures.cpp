#include "figures.h"

#include <cmath>

PlainDifference plainDifference(const Picture& a, const Picture& b)
{
    PlainDifference result;
    double sum = 0.0;
    std::size_t count = 0;
    for (int c = 0; c < 3; ++c)
        for (int y = 0; y < a.height(); ++y)
            for (int x = 0; x < a.width(); ++x) {
                const float va = a.channels[c].at(x, y), vb = b.channels[c].at(x, y);
                if (!std::isfinite(va) || !std::isfinite(vb)) {
                    const bool isSame = va == vb || (std::isnan(va) && std::isnan(vb));
                    result.notFinite += !isSame;
                    continue;
                }
                const float difference = std::abs(va - vb);
                sum += double(difference) * difference;
                ++count;
                if (difference > result.largest) {
                    result.largest = difference;
                    result.x = x;
                    result.y = y;
                }
            }
    result.rootMeanSquare = count ? std::sqrt(sum / double(count)) : 0.0;
    return result;
}

double meanOf(const Plane& plane)
{
    double sum = 0.0;
    for (const float value : plane.values)
        sum += value;
    return plane.values.empty() ? 0.0 : sum / double(plane.values.size());
}

namespace {

Plane product(const Plane& a, const Plane& b)
{
    Plane result = a;
    for (std::size_t i = 0; i < result.values.size(); ++i)
        result.values[i] *= b.values[i];
    return result;
}

Plane codedLuminance(const Picture& picture)
{
    Plane result = luminance(picture);
    for (float& value : result.values)
        value = toSrgb(value);
    return result;
}

std::vector<float> gaussianWindow(int radius, float sigma)
{
    std::vector<float> weights;
    float sum = 0.0f;
    for (int x = -radius; x <= radius; ++x) {
        weights.push_back(std::exp(-0.5f * float(x * x) / (sigma * sigma)));
        sum += weights.back();
    }
    for (float& weight : weights)
        weight /= sum;
    return weights;
}

} // namespace

double structuralSimilarity(const Picture& a, const Picture& b)
{
    const std::vector<float> window = gaussianWindow(5, 1.5f);
    const Plane x = codedLuminance(a), y = codedLuminance(b);
    const Plane meanX = filtered(x, window, window), meanY = filtered(y, window, window);
    const Plane squareX = filtered(product(x, x), window, window);
    const Plane squareY = filtered(product(y, y), window, window);
    const Plane cross = filtered(product(x, y), window, window);
    constexpr float c1 = 0.01f * 0.01f, c2 = 0.03f * 0.03f;
    double sum = 0.0;
    for (std::size_t i = 0; i < x.values.size(); ++i) {
        const float mx = meanX.values[i], my = meanY.values[i];
        const float varianceX = squareX.values[i] - mx * mx;
        const float varianceY = squareY.values[i] - my * my;
        const float covariance = cross.values[i] - mx * my;
        sum += (2 * mx * my + c1) * (2 * covariance + c2) /
               ((mx * mx + my * my + c1) * (varianceX + varianceY + c2));
    }
    return x.values.empty() ? 1.0 : sum / double(x.values.size());
}
