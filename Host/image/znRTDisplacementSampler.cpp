#include "host/znRTDisplacementSampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

struct Bounds
{
    float low = INFINITY, high = -INFINITY;

    void include(float newLow, float newHigh)
    {
        low = std::min(low, newLow);
        high = std::max(high, newHigh);
    }
};

/// Texel that stands behind an index one step off the image; -1 for the border of decal.
int neighbour(int mode, int index, int size)
{
    if (index >= 0 && index < size)
        return index;
    switch (mode) {
    case znRTTextureSampler::repeat:
        return (index % size + size) % size;
    case znRTTextureSampler::decal:
        return -1;
    default: // the edge texel is its own neighbour, mirrored or clamped
        return std::clamp(index, 0, size - 1);
    }
}

} // namespace

bool znRTDisplacementSampler::prepareData()
{
    if (image && !prepared) {
        // Heights are read through a plain sampler, which knows all types and the curve.
        znRTSampler2D plain;
        plain.setImage(image, imageFlipped);
        plain.setGamma(getGamma(), true, true);
        if (plain.prepareData()) {
            sourceHeights.resize(std::size_t(plain.width) * plain.height);
            for (int y = 0; y < plain.height; ++y)
                for (int x = 0; x < plain.width; ++x)
                    sourceHeights[std::size_t(y) * plain.width + x] = plain.getTexel(0, 0, x, y).x;
            sourceWidth = plain.width;
        } else {
            sourceHeights.clear();
        }
        builtWrapMode = -1;
        prepared = true;
    }
    if (sourceHeights.empty())
        return false;
    if (isValid() && builtWrapMode == wrapMode)
        return true;
    return build();
}

bool znRTDisplacementSampler::setHeights(int newWidth, int newHeight, const float* heights)
{
    clear();
    sourceHeights.clear();
    if (newWidth <= 0 || newHeight <= 0 || !heights)
        return false;
    sourceHeights.assign(heights, heights + std::size_t(newWidth) * newHeight);
    sourceWidth = newWidth;
    prepared = true;
    return build();
}

znRTVector2f znRTDisplacementSampler::getRange() const
{
    if (!isValid())
        return {};
    const znRTVector4f whole = getTexel(levelCount, 0, 0, 0);
    return {whole.x, whole.y};
}

bool znRTDisplacementSampler::build()
{
    const int newWidth = sourceWidth, newHeight = int(sourceHeights.size() / sourceWidth);
    std::replace_if(
        sourceHeights.begin(), sourceHeights.end(), [](float h) { return !std::isfinite(h); },
        0.0f);
    if (!allocate(typeRGBFloat, newWidth, newHeight, 1))
        return false;
    buildLevel0();
    while (getLevelWidth(levelCount) > 1 || getLevelHeight(levelCount) > 1) {
        if (!allocateLevel(levelCount + 1))
            return false;
        ++levelCount;
        buildLevel(levelCount);
    }
    // A single texel has level 0 as its top: its bounds hold the whole texture already.
    updateAverage();
    builtWrapMode = wrapMode;
    return true;
}

void znRTDisplacementSampler::buildLevel0()
{
    const auto height0 = [this](int x, int y) { return sourceHeights[std::size_t(y) * width + x]; };
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            Bounds bounds;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) {
                    const int nx = neighbour(wrapMode & 3, x + dx, width);
                    const int ny = neighbour(wrapMode >> 2 & 3, y + dy, height);
                    if (nx >= 0 && ny >= 0)
                        bounds.include(height0(nx, ny), height0(nx, ny));
                }
            setTexel(0, 0, x, y, {bounds.low, bounds.high, height0(x, y), 1.0f});
        }
}

void znRTDisplacementSampler::buildLevel(int level)
{
    const int below = level - 1;
    const int largeWidth = getLevelWidth(below), largeHeight = getLevelHeight(below);
    const int smallWidth = getLevelWidth(level), smallHeight = getLevelHeight(level);
    for (int y = 0; y < smallHeight; ++y)
        for (int x = 0; x < smallWidth; ++x) {
            // Texels below that this one touches, in exact integers.
            const int x0 = x * largeWidth / smallWidth;
            const int x1 = ((x + 1) * largeWidth + smallWidth - 1) / smallWidth;
            const int y0 = y * largeHeight / smallHeight;
            const int y1 = ((y + 1) * largeHeight + smallHeight - 1) / smallHeight;
            Bounds bounds;
            double sum = 0.0;
            for (int j = y0 - 1; j <= y1; ++j)
                for (int i = x0 - 1; i <= x1; ++i) {
                    const int nx = neighbour(wrapMode & 3, i, largeWidth);
                    const int ny = neighbour(wrapMode >> 2 & 3, j, largeHeight);
                    if (nx < 0 || ny < 0)
                        continue;
                    const znRTVector4f texel = getTexel(below, 0, nx, ny);
                    bounds.include(texel.x, texel.y);
                    if (i >= x0 && i < x1 && j >= y0 && j < y1)
                        sum += texel.z;
                }
            const double count = double(x1 - x0) * (y1 - y0);
            setTexel(level, 0, x, y, {bounds.low, bounds.high, float(sum / count), 1.0f});
        }
}
