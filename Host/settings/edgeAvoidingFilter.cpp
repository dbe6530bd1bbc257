#include "settings/edgeAvoidingFilter.h"

#include <tbb/parallel_for.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace {

constexpr int levels = 5;
constexpr std::array<float, 5> spline{1.0f / 16, 4.0f / 16, 6.0f / 16, 4.0f / 16, 1.0f / 16};

/// Difference of two colours relative to their brightness, so that dark and bright parts of a
/// high-range image are filtered alike.
float colorDistance(const ZN_RGBA32F& a, const ZN_RGBA32F& b)
{
    const float r = a.r - b.r, g = a.g - b.g, blue = a.b - b.b;
    const float brightness = 0.05f + 0.5f * (a.r + a.g + a.b + b.r + b.g + b.b) / 3.0f;
    return (r * r + g * g + blue * blue) / (brightness * brightness);
}

float normalWeight(const ZN_RGBA32F& a, const ZN_RGBA32F& b)
{
    const float cosine = a.r * b.r + a.g * b.g + a.b * b.b;
    const float lengths =
        std::sqrt((a.r * a.r + a.g * a.g + a.b * a.b) * (b.r * b.r + b.g * b.g + b.b * b.b));
    if (!(lengths > 0.0f)) // one of them is background
        return a.r == b.r && a.g == b.g && a.b == b.b ? 1.0f : 0.0f;
    const float c = std::max(cosine / lengths, 0.0f);
    const float c4 = c * c * c * c;
    return c4 * c4 * c4 * c4; // c^16
}

bool isFinite(const ZN_RGBA32F& c)
{
    return std::isfinite(c.r) && std::isfinite(c.g) && std::isfinite(c.b);
}

struct Image
{
    const ZN_RGBA32F* pixels;
    const ZN_RGBA32F* normals;
    int width, height;
};

ZN_RGBA32F filterPixel(const Image& image, int x, int y, int step, float sigma)
{
    const std::size_t at = std::size_t(y) * image.width + x;
    const ZN_RGBA32F& centre = image.pixels[at];
    if (!isFinite(centre))
        return centre;
    float r = 0.0f, g = 0.0f, b = 0.0f, sum = 0.0f;
    for (int j = -2; j <= 2; ++j) {
        const int yy = std::clamp(y + j * step, 0, image.height - 1);
        for (int i = -2; i <= 2; ++i) {
            const int xx = std::clamp(x + i * step, 0, image.width - 1);
            const std::size_t other = std::size_t(yy) * image.width + xx;
            const ZN_RGBA32F& c = image.pixels[other];
            if (!isFinite(c))
                continue;
            float weight = spline[i + 2] * spline[j + 2] *
                           std::exp(-colorDistance(centre, c) / (sigma * sigma));
            if (image.normals)
                weight *= normalWeight(image.normals[at], image.normals[other]);
            r += weight * c.r;
            g += weight * c.g;
            b += weight * c.b;
            sum += weight;
        }
    }
    // The centre itself always counts unless its normal is broken.
    return sum > 0.0f ? ZN_RGBA32F{r / sum, g / sum, b / sum, centre.a} : centre;
}

} // namespace

void filterEdgeAvoiding(ZN_RGBA32F* pixels, const ZN_RGBA32F* normals, u32 width, u32 height,
                        float strength)
{
    if (!pixels || width == 0 || height == 0 || !(strength > 0.0f))
        return;
    std::vector<ZN_RGBA32F> target(std::size_t(width) * height);
    float sigma = 2.0f * strength;
    for (int level = 0; level < levels; ++level, sigma *= 0.5f) {
        const Image image{pixels, normals, int(width), int(height)};
        tbb::parallel_for(0, int(height), [&](int y) {
            for (int x = 0; x < int(width); ++x)
                target[std::size_t(y) * width + x] = filterPixel(image, x, y, 1 << level, sigma);
        });
        std::copy(target.begin(), target.end(), pixels);
    }
}
