#include "light/environmentTables.h"

#include "light/znRTEnvironmentMap.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

namespace {

// Small images get finer tables than they have texels, so that the sine is followed; large ones
// coarser, so that a row fits into the cache.
constexpr int leastWidth = 64, mostWidth = 1024;
constexpr int leastHeight = 32, mostHeight = 512;

/// Places per cell along one axis: two for each texel, which both ends of a filter fall on.
int placesPerCell(int texels, int cells)
{
    return 2 * std::max(1, (texels + cells - 1) / cells);
}

void fillRow(const znRTEnvironmentMap& map, int row, int width, int height, float* cells)
{
    const int across = placesPerCell(map.getWidth(), width);
    const int down = placesPerCell(map.getHeight(), height);
    const double centre = (double(row) + 0.5) / height;
    const double weight = std::sin(std::numbers::pi * centre) / (across * down);
    for (int x = 0; x < width; ++x) {
        double sum = 0.0;
        for (int j = 0; j < down; ++j) {
            const float v = (float(row) + (float(j) + 0.5f) / float(down)) / float(height);
            for (int i = 0; i < across; ++i)
                sum += double(map.luminance(
                    (float(x) + (float(i) + 0.5f) / float(across)) / float(width), v));
        }
        cells[x] = float(sum * weight);
    }
}

} // namespace

namespace {

float shareAboveMean(const std::vector<float>& cells, int width, int height)
{
    const auto sine = [&](int row) {
        return std::sin(std::numbers::pi * (double(row) + 0.5) / height);
    };
    double light = 0.0, area = 0.0, above = 0.0;
    for (int row = 0; row < height; ++row) {
        area += width * sine(row);
        for (int x = 0; x < width; ++x)
            light += double(cells[std::size_t(row) * width + x]);
    }
    const double mean = light / area;
    for (int row = 0; row < height; ++row)
        for (int x = 0; x < width; ++x)
            above += std::max(0.0, double(cells[std::size_t(row) * width + x]) - mean * sine(row));
    return light > 0.0 ? float(above / light) : 0.0f;
}

/// Weighs the upper half with the cosine to the axis.
void fillOnGround(const std::vector<float>& cells, int width, int height, znRTEnvironmentTables& t)
{
    const int rows = height / 2;
    std::vector<float> received(std::size_t(width) * rows);
    for (int row = 0; row < rows; ++row) {
        const float cosine = float(std::cos(std::numbers::pi * (double(row) + 0.5) / height));
        for (int x = 0; x < width; ++x) {
            const std::size_t i = std::size_t(row) * width + x;
            received[i] = cells[i] * cosine;
        }
    }
    t.onGround.setFunction(received.data(), width, rows);
    // Means over the whole image and over its half.
    const float all = t.full.marginal.getAverage(), half = t.onGround.marginal.getAverage();
    t.groundShare = all > 0.0f ? 0.5f * half / all : 0.0f;
}

} // namespace

bool znRTEnvironmentTables::calculate(const znRTEnvironmentMap& map)
{
    full.clear();
    upper.clear();
    onGround.clear();
    groundShare = 0.0f;
    if (!map.isValid())
        return false;
    const int width = std::clamp(map.getWidth(), leastWidth, mostWidth);
    // Even, so that the upper half ends with a row.
    const int height = std::clamp(map.getHeight() + (map.getHeight() & 1), leastHeight, mostHeight);
    std::vector<float> cells(std::size_t(width) * height);
    tbb::parallel_for(
        tbb::blocked_range<int>(0, height),
        [&](const tbb::blocked_range<int>& rows) {
            for (int row = rows.begin(); row < rows.end(); ++row)
                fillRow(map, row, width, height, cells.data() + std::size_t(row) * width);
        },
        tbb::auto_partitioner());
    full.setFunction(cells.data(), width, height);
    upper.setFunction(cells.data(), width, height / 2);
    fillOnGround(cells, width, height, *this);
    peakShare = shareAboveMean(cells, width, height);
    return full.isValid() && upper.isValid();
}
