#include "host/radicalInverse.h"
#include "host/znPixelfilter.h"

#include <algorithm>
#include <cmath>

namespace {

const float s_boxWeight = 1.0f;

/// Scrambles the axes: the digital shifts by one half of the pixel move sample 0 to its centre and
/// keep the net. The rest of them, 7/31 and 22/31 of 1/32 of a pixel, repeats every five binary
/// digits, so that in every cell of the net, however fine, the sample lies at a general place: on
/// none of the lines through pixel centres of small whole slopes. There is no edge of the grids and
/// squares that scenes are full of, seen straight on, that runs exactly through many samples; a ray
/// exactly on the edge between two triangles may miss both.
constexpr u32 toCentreX = 0x80000000u | (0x39ce739cu >> 5);
constexpr u32 toCentreY = 0x80000000u | (0xb5ad6b5au >> 5);

/// Half pixels. 24 bits, so that the conversion is exact and below 1.
float toHalfPixels(u32 fraction)
{
    return float(fraction >> 8) * (2.0f / 16777216.0f) - 1.0f;
}

bool isPixelBox(const znPixelfilter& filter)
{
    // The centre of a neighbour is at distance 1: a filter that is 1 all over the pixel and
    // reaches no further is the box, whatever its class.
    if (filter.radiusX != 0.5f || filter.radiusY != 0.5f)
        return false;
    for (const float x : {-0.4375f, 0.0f, 0.4375f})
        for (const float y : {-0.4375f, 0.0f, 0.4375f})
            if (filter.evaluate(x, y) != 1.0f)
                return false;
    return true;
}

} // namespace

znPixelfilterSampleSet::znPixelfilterSampleSet()
{
    tabulate(0.0f, 0.0f);
}

znPixelfilterSampleSet::~znPixelfilterSampleSet() = default;
znPixelfilterSampleSet::znPixelfilterSampleSet(znPixelfilterSampleSet&&) noexcept = default;
znPixelfilterSampleSet&
znPixelfilterSampleSet::operator=(znPixelfilterSampleSet&&) noexcept = default;

void znPixelfilterSampleSet::setFilter(znPixelfilter* newFilter)
{
    if (newFilter != filter.get())
        filter.reset(newFilter);
    tabulate(0.0f, 0.0f);
}

void znPixelfilterSampleSet::updateFilter(float sizeX, float sizeY, float shiftX, float shiftY)
{
    const bool isResizable = filter && !filter->hasFixedSize;
    if (isResizable && sizeX > 0.0f)
        filter->radiusX = 0.5f * std::clamp(sizeX, 1.0f, 32.0f);
    if (isResizable && sizeY > 0.0f)
        filter->radiusY = 0.5f * std::clamp(sizeY, 1.0f, 32.0f);
    tabulate(shiftX, shiftY);
}

void znPixelfilterSampleSet::tabulate(float shiftX, float shiftY)
{
    boxState = !filter || isPixelBox(*filter);
    minX = maxX = minY = maxY = offset = 0;
    stride = 1;
    weights = &s_boxWeight;
    sum = 1.0f;
    if (boxState)
        return;

    // Pixels are sizes apart, shifts are halves of them.
    const float sampleX = 0.5f * std::clamp(shiftX, -1.0f, 1.0f);
    const float sampleY = 0.5f * std::clamp(shiftY, -1.0f, 1.0f);
    minX = int(std::ceil(sampleX - filter->radiusX));
    maxX = int(std::floor(sampleX + filter->radiusX));
    minY = int(std::ceil(sampleY - filter->radiusY));
    maxY = int(std::floor(sampleY + filter->radiusY));
    offset = std::max({-minX, maxX, -minY, maxY, 0});
    stride = 2 * offset + 1;
    table.assign(std::size_t(stride) * stride, 0.0f);
    double total = 0.0;
    for (int j = minY; j <= maxY; ++j)
        for (int i = minX; i <= maxX; ++i) {
            const float weight = filter->evaluate(float(i) - sampleX, float(j) - sampleY);
            table[(i + offset) + (j + offset) * stride] = weight;
            total += weight;
        }
    weights = table.data();
    sum = float(total);
}

znRTVector2f znPixelfilterSampleSet::getSampleShift(unsigned k)
{
    return {toHalfPixels(BitReverseRI(k, toCentreX)), toHalfPixels(SobolRI(k, toCentreY))};
}
