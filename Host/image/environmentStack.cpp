// Blurred environments of znRTEnvironmentImages.

#include "host/znRTEnvironmentImages.h"

#include <tbb/parallel_for.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;

/// Radiance over the sphere in rows of equal polar angle; row 0 is the zenith.
struct Grid
{
    int width = 0, height = 0;
    std::vector<znRTVector4f> texels;

    const znRTVector4f& at(int x, int y) const { return texels[std::size_t(y) * width + x]; }
};

znRTVector4f finiteColor(const znRTVector4f& c)
{
    const auto f = [](float x) { return std::isfinite(x) ? x : 0.0f; };
    return {f(c.x), f(c.y), f(c.z), 1.0f};
}

/// Means of the texels under each texel of a new grid, weighted by covered solid angle.
/// @param read  colour at (x, y) of width x height texels
Grid resample(int sourceWidth, int sourceHeight, const auto& read, int width, int height)
{
    Grid grid{width, height, std::vector<znRTVector4f>(std::size_t(width) * height)};
    const double stepX = double(sourceWidth) / width, stepY = double(sourceHeight) / height;
    tbb::parallel_for(0, height, [&](int y) {
        const double top = y * stepY, bottom = std::min((y + 1) * stepY, double(sourceHeight));
        for (int x = 0; x < width; ++x) {
            const double left = x * stepX, right = std::min((x + 1) * stepX, double(sourceWidth));
            double sum[3] = {}, total = 0.0;
            for (int j = int(top); j < bottom; ++j) {
                const double low = std::max(top, double(j)), high = std::min(bottom, j + 1.0);
                const double rowWeight =
                    std::cos(pi * low / sourceHeight) - std::cos(pi * high / sourceHeight);
                for (int i = int(left); i < right; ++i) {
                    const double weight =
                        rowWeight * (std::min(right, i + 1.0) - std::max(left, double(i)));
                    const znRTVector4f c = read(i, j);
                    sum[0] += weight * c.x;
                    sum[1] += weight * c.y;
                    sum[2] += weight * c.z;
                    total += weight;
                }
            }
            grid.texels[std::size_t(y) * width + x] = {float(sum[0] / total), float(sum[1] / total),
                                                       float(sum[2] / total), 1.0f};
        }
    });
    return grid;
}

/// Bilinear; u repeats and v is clamped.
znRTVector4f mixed(const Grid& grid, double u, double v)
{
    const double x = u * grid.width - 0.5;
    const double y = std::clamp(v * grid.height - 0.5, 0.0, grid.height - 1.0);
    const int left = int(std::floor(x)), top = int(y);
    const int x0 = (left + grid.width) % grid.width, x1 = (left + 1) % grid.width;
    const int y1 = std::min(top + 1, grid.height - 1);
    const float s = float(x - left), t = float(y - top);
    return (grid.at(x0, top) * (1.0f - s) + grid.at(x1, top) * s) * (1.0f - t) +
           (grid.at(x0, y1) * (1.0f - s) + grid.at(x1, y1) * s) * t;
}

/// cos^e, tabulated down to where it has fallen to 1e-4.
class Lobe
{
public:
    explicit Lobe(double e) : exponent(e), cosEnd(std::exp(std::log(1e-4) / e))
    {
        for (int i = 0; i < entries; ++i)
            table[i] =
                float(std::pow(cosEnd + (1.0 - cosEnd) * std::min(i, last) / double(last), e));
        scale = float(last / (1.0 - cosEnd));
    }

    double getReach() const { return std::acos(cosEnd); }
    double getCosEnd() const { return cosEnd; }
    /// Rows of texels that keep some of them across the lobe where it is half as high.
    int getRows(int across) const
    {
        const double width = 2.0 * std::acos(std::exp2(-1.0 / exponent));
        return int(std::ceil(across * pi / width));
    }
    float evaluate(float cosine) const
    {
        const float place = (cosine - float(cosEnd)) * scale;
        if (!(place >= 0.0f))
            return 0.0f;
        const int i = std::min(int(place), last);
        return table[i] + (table[i + 1] - table[i]) * (place - float(i));
    }

private:
    static constexpr int last = 2048, entries = last + 2;

    double exponent, cosEnd;
    float scale;
    std::array<float, entries> table;
};

/// Weighted means around directions, by one lobe over one grid.
class Gather
{
public:
    Gather(const Grid& newSource, const Lobe& newLobe) : source(newSource), lobe(newLobe)
    {
        for (int i = 0; i < source.width; ++i) {
            const double phi = 2.0 * pi * (i + 0.5) / source.width;
            columns.push_back({float(std::cos(phi)), float(std::sin(phi))});
        }
        for (int j = 0; j < source.height; ++j)
            solidAngles.push_back(
                float(std::cos(pi * j / source.height) - std::cos(pi * (j + 1) / source.height)));
    }

    znRTVector4f around(double theta, double phi) const
    {
        const double rowStep = pi / source.height, reach = lobe.getReach();
        const int firstRow = std::max(0, int((theta - reach) / rowStep));
        const int lastRow = std::min(source.height - 1, int((theta + reach) / rowStep));
        __m128 sum = _mm_setzero_ps(); // alpha is 1 in all texels: it sums the weights
        for (int row = firstRow; row <= lastRow; ++row) {
            const double rowTheta = (row + 0.5) * rowStep;
            // The cosine between two directions is a + b cos(difference of phi).
            const double a = std::cos(theta) * std::cos(rowTheta);
            const double b = std::sin(theta) * std::sin(rowTheta);
            sum =
                _mm_add_ps(sum, _mm_mul_ps(_mm_set1_ps(solidAngles[row]), addRow(row, a, b, phi)));
        }
        const znRTVector4f total(sum);
        if (total.w > 0.0f)
            return {total.x / total.w, total.y / total.w, total.z / total.w, 1.0f};
        // The lobe has fallen between the texels' centres.
        return source.at(std::min(int(phi / (2.0 * pi) * source.width), source.width - 1),
                         std::min(int(theta / rowStep), source.height - 1));
    }

private:
    __m128 addRow(int row, double a, double b, double phi) const
    {
        const double cosReach = b > 1e-12              ? (lobe.getCosEnd() - a) / b
                                : a > lobe.getCosEnd() ? -1.0
                                                       : 2.0;
        __m128 sum = _mm_setzero_ps();
        if (cosReach > 1.0)
            return sum;
        const double half = cosReach <= -1.0 ? pi : std::acos(cosReach);
        const double columnStep = 2.0 * pi / source.width;
        int first = int(std::floor((phi - half) / columnStep - 0.5)) + 1;
        int last = int(std::floor((phi + half) / columnStep - 0.5));
        if (last - first + 1 >= source.width) {
            first = 0;
            last = source.width - 1;
        }
        const float bCos = float(b * std::cos(phi)), bSin = float(b * std::sin(phi));
        int column = (first % source.width + source.width) % source.width;
        for (int i = first; i <= last; ++i) {
            const float cosine = float(a) + bCos * columns[column].x + bSin * columns[column].y;
            const __m128 texel = _mm_loadu_ps(&source.at(column, row).x);
            sum = _mm_add_ps(sum, _mm_mul_ps(_mm_set1_ps(lobe.evaluate(cosine)), texel));
            column = column + 1 == source.width ? 0 : column + 1;
        }
        return sum;
    }

    const Grid& source;
    const Lobe& lobe;
    std::vector<znRTVector2f> columns; ///< cosine and sine of their longitude
    std::vector<float> solidAngles;    ///< of one texel of a row, up to a common factor
};

} // namespace

bool znRTEnvironmentImages::buildStack(const znRTSampler2D& environment, znRTSampler3D& stack,
                                       int slices, int height)
{
    stack.clear();
    if (!environment.isValid() || slices < 2 || height < 2 || slices > 64 || height > 2048)
        return false;
    // Across a lobe: enough for sums over the source, and for linear mixes of the result.
    constexpr int sourceAcross = 6, targetAcross = 8;
    constexpr int fewestRows = 32, mostRows = 512, fewestTargetRows = 24;
    const int width = 2 * height;
    // The finest grid that any lobe needs; the others are made from it.
    const int finestRows = std::clamp(environment.height, height, std::max(height, mostRows));
    const Grid finest = resample(
        environment.width, environment.height,
        [&](int x, int y) { return finiteColor(environment.getTexel(0, 0, x, y)); }, 2 * finestRows,
        finestRows);
    const auto reduce = [&finest](int rows) {
        return resample(
            finest.width, finest.height, [&](int x, int y) { return finest.at(x, y); }, 2 * rows,
            rows);
    };
    std::vector<znRTVector4f> texels(std::size_t(width) * height * slices);
    for (int slice = 0; slice < slices - 1; ++slice) {
        const Lobe lobe(std::exp2(16.0 * slice / (slices - 1)));
        const Grid source = reduce(std::clamp(lobe.getRows(sourceAcross), fewestRows, mostRows));
        const Gather gather(source, lobe);
        // Wide lobes leave nothing that a coarse grid would not hold.
        const int rows = std::min(std::max(lobe.getRows(targetAcross), fewestTargetRows), height);
        Grid blurred{2 * rows, rows, std::vector<znRTVector4f>(std::size_t(2) * rows * rows)};
        tbb::parallel_for(0, rows, [&](int y) {
            for (int x = 0; x < 2 * rows; ++x)
                blurred.texels[std::size_t(y) * blurred.width + x] =
                    gather.around(pi * (y + 0.5) / rows, pi * (x + 0.5) / rows);
        });
        znRTVector4f* target = texels.data() + std::size_t(slice) * width * height;
        tbb::parallel_for(0, height, [&](int y) {
            for (int x = 0; x < width; ++x)
                target[std::size_t(y) * width + x] =
                    mixed(blurred, (x + 0.5) / width, (y + 0.5) / height);
        });
    }
    const Grid sharp = reduce(height);
    std::copy(sharp.texels.begin(), sharp.texels.end(),
              texels.end() - std::ptrdiff_t(sharp.texels.size()));
    if (!stack.setTexels(znRTTextureSampler::typeRGBAFloat, width, height, slices, texels.data()))
        return false;
    stack.setWrap(znRTTextureSampler::repeat, znRTTextureSampler::clamp);
    return true;
}
