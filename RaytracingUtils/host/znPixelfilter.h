#pragma once

// Reconstruction filters of pixels. Lengths are pixels; weights are not normalised (the frame
// divides by their sum), the value at the centre is 1 for all kinds of the factory.

#include "host/znAligned.h"
#include "host/znRTVector.h"

#include <memory>
#include <vector>

class znPixelfilter : public znAlignedBase16
{
public:
    znPixelfilter(float newRadiusX, float newRadiusY, bool isSeparable)
        : radiusX(newRadiusX), radiusY(newRadiusY), separable(isSeparable)
    {
    }

    /// Weight at an offset from the filter's centre; 0 outside the radius.
    virtual float evaluate(const float& x, const float& y) const = 0;
    /// Maps a point of [-1, 1]^2 to an offset distributed like the filter (by its magnitude where
    /// it is negative).
    virtual void sample(float u, float v, float* dx, float* dy) const = 0;
    virtual ~znPixelfilter() = default;

    float radiusX, radiusY;
    bool separable;            ///< weight = f(x) g(y)
    bool hasFixedSize = false; ///< znPixelfilterSampleSet leaves the radii alone
};

class znPixelfilterFactory
{
public:
    enum Type {
        none = 0, ///< box of one pixel, whatever the size
        box = 1,
        triangle = 2,
        gaussian = 3,      ///< exp(-8 (x / radius)^2) less its value at the radius
        mitchell = 4,      ///< B = C = 1/3
        lanczos = 5,       ///< 3 lobes
        blackmanHarris = 6 ///< four terms
    };

    /// @param type          a Type; any other number gives the box of one pixel
    /// @param sizeX, sizeY  full widths in pixels, at least 1 and at most 32
    /// @return owned by the caller
    static znPixelfilter* getPixelfilter(int type, float sizeX, float sizeY);
};

/// A filter tabulated for one frame. All samples of a still-frame iteration lie at the same place
/// in their pixels, so one small table serves the frame: the weight that a sample of pixel (x, y)
/// gives to pixel (x + i, y + j), minX <= i <= maxX, minY <= j <= maxY, is getWeight(i, j) =
/// weights[(i + offset) + (j + offset) * stride].
class znPixelfilterSampleSet
{
public:
    znPixelfilterSampleSet();
    ~znPixelfilterSampleSet();
    znPixelfilterSampleSet(znPixelfilterSampleSet&&) noexcept;
    znPixelfilterSampleSet& operator=(znPixelfilterSampleSet&&) noexcept;

    /// Takes over a filter and tabulates it at its own size, without a shift; null gives the box.
    void setFilter(znPixelfilter* newFilter);
    /// Tabulates anew.
    /// @param sizeX, sizeY    full widths in pixels; 0 or less keeps the filter's own
    /// @param shiftX, shiftY  place of the frame's samples: distance from the pixel's centre in
    ///                        half pixels, [-1, 1]
    void updateFilter(float sizeX, float sizeY, float shiftX = 0.0f, float shiftY = 0.0f);

    /// The filter is the box of one pixel: each sample counts 1 for its own pixel only. The table
    /// is then that single 1.
    bool isBox() const { return boxState; }
    const znPixelfilter* getFilter() const { return filter.get(); }
    float getWeight(int i, int j) const { return weights[(i + offset) + (j + offset) * stride]; }
    /// Sum of the table. Box of n pixels n * n; triangle of integer radius r r * r at every shift.
    float getSum() const { return sum; }

    /// Shift of still-frame sample k, in half pixels, [-1, 1): the first 2^n fill each elementary
    /// interval of the pixel once ((0, 2)-sequence). Sample 0 is next to the centre, less than 1/32
    /// of a pixel away; none is exactly there, nor on the lines through the centres of pixels.
    static znRTVector2f getSampleShift(unsigned k);

    int minX = 0, maxX = 0, minY = 0, maxY = 0;
    const float* weights = nullptr;
    int stride = 1; ///< of a row of the table
    int offset = 0; ///< column and row of weight (0, 0)

private:
    void tabulate(float shiftX, float shiftY);

    std::unique_ptr<znPixelfilter> filter;
    std::vector<float> table;
    bool boxState = true;
    float sum = 1.0f;
};
