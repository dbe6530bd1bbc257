// Blurred environments of znRTEnvironmentImages.

#include "host/znRTEnvironmentImages.h"

#include <tbb/parallel_for.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;

/// Radiance over the sphere in rows of equal polar angle.
struct Grid
{
    int width, height;
    std::vector<znRTVector4f> texels;

    Grid(int newWidth, int newHeight)
        : width(newWidth), height(newHeight), texels(std::size_t(newWidth) * newHeight)
    {
    }
    /// Solid angle of one texel of a row, over that of a row's share of the sphere.
    double getSolidAngle(int row) const
    {
        return 2.0 * pi / width * (std::cos(pi * row / height) - std::cos(pi * (row + 1) / height));
    }
};

znRTVector4f finiteColor(const znRTVector4f& c)
{
    const auto f = [](float x) { return std::isfinite(x) ? x : 0.0f; };
    return {f(c.x), f(c.y), f(c.z), 1.0f};
}

/// Means of the sampler's texels under each texel of a grid, weighted by covered solid angle.
Grid resample(const znRTSampler2D& source, int width, int height)
{
    Grid grid(width, height);
    const double stepX = double(source.width) / width, stepY = double(source.height) / height;
    tbb::parallel_for(0, height, [&](int y) {
        const double top = y * stepY, bottom = std::min((y + 1) * stepY, double(source.height));
        for (int x = 0; x < width; ++x) {
            const double left = x * stepX, right = std::min((x + 1) * stepX, double(source.width));
            double sum[3] = {}, total = 0.0;
            for (int j = int(top); j < bottom; ++j) {
                const double low = std::max(top, double(j)), high = std::min(bottom, j + 1.0);
                const double rowWeight =
                    std::cos(pi * low / source.height) - std::cos(pi * high / source.height);
                for (int i = int(left); i < right; ++i) {
                    const double weight =
                        rowWeight * (std::min(right, i + 1.0) - std::max(left, double(i)));
                    const znRTVector4f c = finiteColor(source.getTexel(0, 0, i, j));
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

/// What a column range adds to a lobe.
struct Lobe
{
    double exponent;
    double cosEnd; ///< the lobe is cut where it has fallen to 1e-4

    explicit Lobe(double e) : exponent(e), cosEnd(std::exp(std::log(1e-4) / e)) {}

    /// Rows of texels that keep six of them across half of the lobe's height.
    int getRows() const
    {
        const double width = 2.0 * std::acos(std::exp2(-1.0 / exponent));
        return int(std::ceil(6.0 * pi / width));
    }
};

/// Weighted mean around one direction.
znRTVector4f gather(const Grid& source, const Lobe& lobe, double theta, double phi)
{
    double sum[3] = {}, total = 0.0;
    const double reach = std::acos(lobe.cosEnd);
    const double rowStep = pi / source.height, columnStep = 2.0 * pi / source.width;
    const int firstRow = std::max(0, int((theta - reach) / rowStep));
    const int lastRow = std::min(source.height - 1, int((theta + reach) / rowStep));
    for (int row = firstRow; row <= lastRow; ++row) {
        const double rowTheta = (row + 0.5) * rowStep;
        const double a = std::cos(theta) * std::cos(rowTheta);
        const double b = std::sin(theta) * std::sin(rowTheta);
        // cos of the angle between is a + b cos(difference of phi).
        const double cosReach = b > 1e-12 ? (lobe.cosEnd - a) / b : (a > lobe.cosEnd ? -1.0 : 2.0);
        if (cosReach > 1.0)
            continue;
        const double columns = cosReach <= -1.0 ? pi : std::acos(cosReach);
        int first = int(std::floor((phi - columns) / columnStep - 0.5)) + 1;
        int last = int(std::floor((phi + columns) / columnStep - 0.5));
        if (last - first + 1 >= source.width) {
            first = 0;
            last = source.width - 1;
        }
        const double solidAngle = source.getSolidAngle(row);
        for (int i = first; i <= last; ++i) {
            const double cosine = a + b * std::cos((i + 0.5) * columnStep - phi);
            if (cosine <= 0.0)
                continue;
            const double weight =
                solidAngle * std::exp2(lobe.exponent * std::log2(std::min(cosine, 1.0)));
            const int column = (i % source.width + source.width) % source.width;
            const znRTVector4f& c = source.texels[std::size_t(row) * source.width + column];
            sum[0] += weight * c.x;
            sum[1] += weight * c.y;
            sum[2] += weight * c.z;
            total += weight;
        }
    }
    if (total <= 0.0) {
        // The lobe is narrower than a texel.
        const int row = std::clamp(int(theta / rowStep), 0, source.height - 1);
        const int column = std::clamp(int(phi / columnStep), 0, source.width - 1);
        return source.texels[std::size_t(row) * source.width + column];
    }
    return {float(sum[0] / total), float(sum[1] / total), float(sum[2] / total), 1.0f};
}

} // namespace

bool znRTEnvironmentImages::buildStack(const znRTSampler2D& environment, znRTSampler3D& stack,
                                       int slices, int height)
{
    stack.clear();
    if (!environment.isValid() || slices < 2 || height < 2 || slices > 64 || height > 2048)
        return false;
    constexpr int fewestRows = 32, mostRows = 512;
    const int width = 2 * height;
    std::vector<znRTVector4f> texels(std::size_t(width) * height * slices);
    for (int slice = 0; slice < slices - 1; ++slice) {
        const Lobe lobe(std::exp2(16.0 * slice / (slices - 1)));
        const int rows = std::clamp(lobe.getRows(), fewestRows, mostRows);
        const Grid source = resample(environment, 2 * rows, rows);
        znRTVector4f* target = texels.data() + std::size_t(slice) * width * height;
        tbb::parallel_for(0, height, [&](int y) {
            for (int x = 0; x < width; ++x)
                target[std::size_t(y) * width + x] =
                    gather(source, lobe, pi * (y + 0.5) / height, 2.0 * pi * (x + 0.5) / width);
        });
    }
    const Grid sharp = resample(environment, width, height);
    std::copy(sharp.texels.begin(), sharp.texels.end(),
              texels.end() - std::ptrdiff_t(sharp.texels.size()));
    if (!stack.setTexels(znRTTextureSampler::typeRGBAFloat, width, height, slices, texels.data()))
        return false;
    stack.setWrap(znRTTextureSampler::repeat, znRTTextureSampler::clamp);
    return true;
}
