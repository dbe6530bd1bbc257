// Images as densities: places drawn in proportion to an image, by inversion of its row and column
// tables. M. Pharr, W. Jakob, G. Humphreys, "Physically Based Rendering", 3rd ed., 13.6.7.

#include "texture/textureTasks.h"
#include "texture/znRTTextureFunctions.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

namespace {

using Mask = znFloatType<2>;

/// Number of the lowest bit of a set of lanes.
constexpr int lowestLane[16] = {0, 0, 1, 0, 2, 0, 1, 0, 3, 0, 1, 0, 2, 0, 1, 0};

/// Calls use(lane) for each lane of a mask.
template <class Use>
void forEachLane(const Mask& mask, Use&& use)
{
    for (int lanes = moveMask(mask); lanes != 0; lanes &= lanes - 1)
        use(lowestLane[lanes]);
}

template <class Table>
auto sampleCells(const Table& table, typename Table::Value number, typename Table::Value& pdf,
                 int& index) -> typename Table::Value
{
    using T = typename Table::Value;
    if (!table.isValid()) {
        pdf = T(0);
        index = 0;
        return T(0);
    }
    T lower, upper;
    table.getCDFRange(number, lower, upper, index);
    const T width = upper - lower;
    pdf = table.normalization * width;
    const T inside = width > T(0) ? std::clamp((number - lower) / width, T(0), T(1)) : T(0);
    return (T(index) + inside) / T(table.count);
}

template <class Table>
znFloatType<2> sampleCells(const Table& table, const znFloatType<2>& numbers, znFloatType<2>& pdf,
                           znIntType<2>& index, const Mask& mask)
{
    znFloatType<2> places(0.0f);
    pdf = znFloatType<2>(0.0f);
    index = znIntType<2>(0);
    forEachLane(mask, [&](int lane) {
        typename Table::Value density;
        int cell;
        places.set(lane, float(sampleCells(table, numbers[lane], density, cell)));
        pdf.set(lane, float(density));
        index.set(lane, cell);
    });
    return places;
}

template <class Distribution>
znRTVector2fPacket sampleImage(const Distribution& distribution, const znRTVector2fPacket& numbers,
                               znFloatType<2>& pdf, const Mask& mask)
{
    znRTVector2fPacket uv(0.0f, 0.0f);
    pdf = znFloatType<2>(0.0f);
    if (!distribution.isValid())
        return uv;
    znIntType<2> row;
    znFloatType<2> rowPdf;
    uv.y = sampleCells(distribution.marginal, numbers.x, rowPdf, row, mask);
    forEachLane(mask, [&](int lane) {
        const int clamped = std::min(row[lane], distribution.getHeight() - 1);
        typename std::decay_t<decltype(distribution.marginal)>::Value density;
        int cell;
        uv.x.set(lane, float(sampleCells(distribution.conditional[std::size_t(clamped)],
                                         numbers.y[lane], density, cell)));
        pdf.set(lane, float(density) * rowPdf[lane]);
    });
    return uv;
}

template <class Distribution>
znFloatType<2> densityOf(const Distribution& distribution, const znRTVector2fPacket& uv,
                         const Mask& mask)
{
    znFloatType<2> pdf(0.0f);
    if (distribution.isValid())
        forEachLane(mask, [&](int lane) {
            pdf.set(lane, float(distribution.getPdf(uv.x[lane], uv.y[lane])));
        });
    return pdf;
}

/// Luminance of four neighbouring cells.
znFloatType<2> luminanceAt(const znRTTextureSampler& sampler, int x, int y, float stepX,
                           float stepY, const Mask& mask)
{
    const znFloatType<2> column = znFloatType<2>(0.0f, 1.0f, 2.0f, 3.0f) + (float(x) + 0.5f);
    const znRTVector2fPacket uv(column * stepX, znFloatType<2>((float(y) + 0.5f) * stepY));
    const znFloatType<2> zero(0.0f);
    const znRTColorPacket color = znRTTextureFunctions::texture2D(
        sampler, uv, {{znFloatType<2>(stepX), zero}, {zero, znFloatType<2>(stepY)}}, mask);
    return luminance(color);
}

} // namespace

float znRTTextureFunctions::getCDFSample(const znDistribution1D& distribution, float number,
                                         float& pdf, int& index)
{
    return sampleCells(distribution, number, pdf, index);
}

double znRTTextureFunctions::getCDFSample(const znDistribution1DDouble& distribution, double number,
                                          double& pdf, int& index)
{
    return sampleCells(distribution, number, pdf, index);
}

znFloatType<2> znRTTextureFunctions::getCDFSample2(const znDistribution1D& distribution,
                                                   const znFloatType<2>& numbers,
                                                   znFloatType<2>& pdf, znIntType<2>& index,
                                                   const Mask& mask)
{
    return sampleCells(distribution, numbers, pdf, index, mask);
}

znFloatType<2> znRTTextureFunctions::getCDFSample2(const znDistribution1DDouble& distribution,
                                                   const znFloatType<2>& numbers,
                                                   znFloatType<2>& pdf, znIntType<2>& index,
                                                   const Mask& mask)
{
    return sampleCells(distribution, numbers, pdf, index, mask);
}

znRTVector2fPacket znRTTextureFunctions::remapSample(const znDistribution2D& distribution,
                                                     const znRTVector2fPacket& numbers,
                                                     znFloatType<2>& pdf, const Mask& mask)
{
    return sampleImage(distribution, numbers, pdf, mask);
}

znRTVector2fPacket znRTTextureFunctions::remapSample(const znDistribution2DDouble& distribution,
                                                     const znRTVector2fPacket& numbers,
                                                     znFloatType<2>& pdf, const Mask& mask)
{
    return sampleImage(distribution, numbers, pdf, mask);
}

znFloatType<2> znRTTextureFunctions::remapPdf(const znDistribution2D& distribution,
                                              const znRTVector2fPacket& uv, const Mask& mask)
{
    return densityOf(distribution, uv, mask);
}

znFloatType<2> znRTTextureFunctions::remapPdf(const znDistribution2DDouble& distribution,
                                              const znRTVector2fPacket& uv, const Mask& mask)
{
    return densityOf(distribution, uv, mask);
}

bool znRTTextureFunctions::calculateTransformedCdf(const znRTTextureSampler& sampler, int width,
                                                   int height, bool sinWeighted,
                                                   znDistribution2D& distribution,
                                                   znTextureTasks* tasks)
{
    if (width <= 0 || height <= 0)
        return false;
    znTextureTasks ownTasks;
    tbb::task_group_context& context = (tasks ? *tasks : ownTasks).context;
    const float stepX = 1.0f / float(width), stepY = 1.0f / float(height);
    std::vector<float> cells(std::size_t(width) * std::size_t(height));
    const auto fillRow = [&](int y) {
        const float weight =
            sinWeighted ? std::sin(std::numbers::pi_v<float> * (float(y) + 0.5f) * stepY) : 1.0f;
        for (int x = 0; x < width; x += 4) {
            const int lanes = std::min(4, width - x);
            const znFloatType<2> four =
                luminanceAt(sampler, x, y, stepX, stepY, expandLanes((1 << lanes) - 1)) * weight;
            for (int lane = 0; lane < lanes; ++lane)
                cells[std::size_t(y) * std::size_t(width) + std::size_t(x + lane)] = four[lane];
        }
    };
    tbb::parallel_for(
        tbb::blocked_range<int>(0, height),
        [&](const tbb::blocked_range<int>& rows) {
            for (int y = rows.begin(); y < rows.end(); ++y)
                fillRow(y);
        },
        tbb::auto_partitioner(), context);
    if (context.is_group_execution_cancelled())
        return false;
    distribution.setFunction(cells.data(), width, height);
    return true;
}
