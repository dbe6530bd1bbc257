#include "host/znDistribution2D.h"

#include "host/znRTTextureSampler.h"

#include <algorithm>

template <class Table>
void znDistribution2DT<Table>::setFunction(const T* f, int width, int height)
{
    clear();
    if (!f || width <= 0 || height <= 0)
        return;
    conditional.resize(height);
    std::vector<T> rowMeans(height);
    for (int row = 0; row < height; ++row) {
        const T* values = f + std::size_t(row) * width;
        conditional[row].setFunction(values, width);
        rowMeans[row] = conditional[row].getAverage();
        const Table& table = conditional[row];
        maximum = std::max(maximum, *std::max_element(table.function, table.function + width));
    }
    marginal.setFunction(rowMeans.data(), height);
}

template <class Table>
void znDistribution2DT<Table>::calculateDistributions(const znRTSampler2D& sampler)
{
    if (!sampler.isValid()) {
        clear();
        return;
    }
    const int width = sampler.width, height = sampler.height;
    std::vector<T> luminance(std::size_t(width) * height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const znRTVector4f c = sampler.getTexel(0, 0, x, y);
            luminance[std::size_t(y) * width + x] =
                T(0.2125) * T(c.x) + T(0.7154) * T(c.y) + T(0.0721) * T(c.z);
        }
    setFunction(luminance.data(), width, height);
}

template <class Table>
void znDistribution2DT<Table>::clear()
{
    marginal.clear();
    conditional.clear();
    maximum = T(0);
}

template <class Table>
auto znDistribution2DT<Table>::getSample(T u1, T u2, T& u, T& v) const -> T
{
    T pdfRow, pdfColumn;
    int row, column;
    v = marginal.getSample(u1, pdfRow, row);
    u = conditional[row].getSample(u2, pdfColumn, column);
    return pdfRow * pdfColumn;
}

template <class Table>
auto znDistribution2DT<Table>::getPdf(T u, T v) const -> T
{
    const auto cell = [](T x, int count) {
        return std::clamp(int(std::clamp(x, T(0), T(1)) * T(count)), 0, count - 1);
    };
    const int row = cell(v, marginal.count);
    const Table& table = conditional[row];
    return marginal.getPdf(row) * table.getPdf(cell(u, table.count));
}

template class znDistribution2DT<znDistribution1D>;
template class znDistribution2DT<znDistribution1DDouble>;
