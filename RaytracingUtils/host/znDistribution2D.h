#pragma once

// Piecewise constant density over [0, 1]^2: one table of row sums (the marginal, over v) and per
// row one table along it (the conditional, over u given the row). Row 0 is v = 0.

#include "host/znDistribution1D.h"

#include <vector>

class znRTSampler2D;

/// @tparam Table  the one-dimensional form, which fixes the precision
template <class Table>
class znDistribution2DT
{
public:
    using T = typename Table::Value;

    /// @param f  width * height values, row by row; rules of znDistribution1DT::setFunction.
    ///           A row of zeros has a uniform conditional.
    void setFunction(const T* f, int width, int height);
    /// Luminance (0.2125, 0.7154, 0.0721) of the texels of level 0; an empty sampler clears.
    void calculateDistributions(const znRTSampler2D& sampler);
    void clear();
    bool isValid() const { return marginal.isValid() && !conditional.empty(); }

    /// Point distributed like the function.
    /// @param u1, u2  [0, 1]: u1 chooses the row, u2 the place along it
    /// @param u, v    [0, 1]
    /// @return density over the unit square
    T getSample(T u1, T u2, T& u, T& v) const;
    /// Density over the unit square at a point; coordinates are clamped to [0, 1].
    T getPdf(T u, T v) const;

    T getAverage() const { return marginal.getAverage(); }
    T getMaximum() const { return maximum; } ///< largest function value
    int getWidth() const { return conditional.empty() ? 0 : conditional.front().count; }
    int getHeight() const { return marginal.count; }

    Table marginal;                 ///< getHeight() cells
    std::vector<Table> conditional; ///< per row, getWidth() cells

private:
    T maximum = 0;
};

extern template class znDistribution2DT<znDistribution1D>;
extern template class znDistribution2DT<znDistribution1DDouble>;

class znDistribution2D : public znDistribution2DT<znDistribution1D>
{
};
class znDistribution2DDouble : public znDistribution2DT<znDistribution1DDouble>
{
};
