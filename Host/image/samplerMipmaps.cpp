// Mipmaps and means of znRTTextureSampler.

#include "host/znRTTextureSampler.h"

#include <tbb/parallel_for.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

/// One axis of the box filter: which texels of the larger level an interval covers, and how much.
struct Coverage
{
    int first = 0;
    std::vector<float> weights; ///< sum 1

    Coverage(int index, int smallSize, int largeSize)
    {
        const double scale = double(largeSize) / smallSize;
        const double low = index * scale, high = (index + 1) * scale;
        first = int(low);
        for (int i = first; i < largeSize && i < high; ++i)
            weights.push_back(float((std::min(high, i + 1.0) - std::max(low, double(i))) / scale));
    }
};

std::vector<Coverage> coverAxis(int smallSize, int largeSize)
{
    std::vector<Coverage> axis;
    axis.reserve(smallSize);
    for (int i = 0; i < smallSize; ++i)
        axis.emplace_back(i, smallSize, largeSize);
    return axis;
}

/// Images of bytes and words hold nothing else, and most of the time no other is met.
znRTVector4f finiteOrZero(const znRTVector4f& c)
{
    // Infinity less itself is no number, and no number stays none.
    const float sum = c.x + c.y + c.z + c.w;
    if (sum - sum == 0.0f)
        return c;
    const auto f = [](float x) { return std::isfinite(x) ? x : 0.0f; };
    return {f(c.x), f(c.y), f(c.z), f(c.w)};
}

znRTVector4f boxFilter(const Coverage& columns, const Coverage& rows, const auto& read)
{
    znRTVector4f sum;
    for (std::size_t j = 0; j < rows.weights.size(); ++j)
        for (std::size_t i = 0; i < columns.weights.size(); ++i)
            sum = sum + finiteOrZero(read(columns.first + int(i), rows.first + int(j))) *
                            (columns.weights[i] * rows.weights[j]);
    return sum;
}

} // namespace

void znRTTextureSampler::createMipmaps()
{
    if (!isValid())
        return;
    levelData.resize(layerCount);
    levelBlocks.erase(levelBlocks.begin() + 1, levelBlocks.end());
    levelCount = 0;

    // Each level is made from unrounded values: rounding to the stored type at every level would
    // add up.
    std::vector<znRTVector4f> larger, smaller;
    while (getLevelWidth(levelCount) > 1 || getLevelHeight(levelCount) > 1) {
        if (!allocateLevel(levelCount + 1))
            return;
        const int level = ++levelCount;
        const int largeWidth = getLevelWidth(level - 1), largeHeight = getLevelHeight(level - 1);
        const int smallWidth = getLevelWidth(level), smallHeight = getLevelHeight(level);
        const auto columns = coverAxis(smallWidth, largeWidth);
        const auto rows = coverAxis(smallHeight, largeHeight);
        smaller.resize(std::size_t(smallWidth) * smallHeight * layerCount);
        for (int layer = 0; layer < layerCount; ++layer) {
            const std::size_t largeStart = std::size_t(layer) * largeWidth * largeHeight;
            const std::size_t smallStart = std::size_t(layer) * smallWidth * smallHeight;
            const auto read = [&](int x, int y) {
                return level == 1 ? getTexel(0, layer, x, y)
                                  : larger[largeStart + std::size_t(y) * largeWidth + x];
            };
            tbb::parallel_for(0, smallHeight, [&](int y) {
                for (int x = 0; x < smallWidth; ++x) {
                    const znRTVector4f mean = boxFilter(columns[x], rows[y], read);
                    smaller[smallStart + std::size_t(y) * smallWidth + x] = mean;
                    setTexel(level, layer, x, y, mean);
                }
            });
        }
        larger.swap(smaller);
    }
}

void znRTTextureSampler::updateAverage()
{
    averageColor = {};
    if (!isValid())
        return;
    // Sums of rows, then one sum in order: the result does not depend on the threads.
    std::vector<znRTVector4f> rowMeans(std::size_t(height) * layerCount);
    tbb::parallel_for(std::size_t(0), rowMeans.size(), [&](std::size_t row) {
        double sum[4] = {};
        for (int x = 0; x < width; ++x) {
            const znRTVector4f c =
                finiteOrZero(getTexel(0, int(row / height), x, int(row % height)));
            sum[0] += c.x;
            sum[1] += c.y;
            sum[2] += c.z;
            sum[3] += c.w;
        }
        const double scale = 1.0 / width;
        rowMeans[row] = {float(sum[0] * scale), float(sum[1] * scale), float(sum[2] * scale),
                         float(sum[3] * scale)};
    });
    double total[4] = {};
    for (const znRTVector4f& mean : rowMeans) {
        total[0] += mean.x;
        total[1] += mean.y;
        total[2] += mean.z;
        total[3] += mean.w;
    }
    const double scale = 1.0 / double(rowMeans.size());
    averageColor = {float(total[0] * scale), float(total[1] * scale), float(total[2] * scale),
                    float(total[3] * scale)};
}

znRTVector4f znRTSampler2D::calculateSphereAverage() const
{
    znRTVector4f sum;
    if (!isValid())
        return sum;
    double total[3] = {};
    for (int y = 0; y < height; ++y) {
        // Share of the sphere between the polar angles of the row's edges.
        const double top = std::cos(std::numbers::pi * y / height);
        const double bottom = std::cos(std::numbers::pi * (y + 1) / height);
        const double weight = 0.5 * (top - bottom) / width;
        for (int x = 0; x < width; ++x) {
            const znRTVector4f c = finiteOrZero(getTexel(0, 0, x, y));
            total[0] += weight * c.x;
            total[1] += weight * c.y;
            total[2] += weight * c.z;
        }
    }
    return {float(total[0]), float(total[1]), float(total[2]), 1.0f};
}

static znRTVector4f correctColor(const znMatrix4x4& m, const znRTVector4f& c)
{
    const znRTVector3f corrected = znRTVector3f(c.x, c.y, c.z).getTransformAsLocation(m);
    return {std::fmax(corrected.x, 0.0f), std::fmax(corrected.y, 0.0f),
            std::fmax(corrected.z, 0.0f), 1.0f};
}

znRTVector4f znRTSampler3D::applyColorCorrection(const znRTVector4f& color) const
{
    return useColorMatrix ? correctColor(colorMatrix, color) : color;
}

znRTVector4f znRTSamplerCube::applyColorCorrection(const znRTVector4f& color) const
{
    return useColorMatrix ? correctColor(colorMatrix, color) : color;
}
