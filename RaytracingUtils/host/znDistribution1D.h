#pragma once

// Piecewise constant density over [0, 1], sampled by inversion.
// M. Pharr, W. Jakob, G. Humphreys, "Physically Based Rendering", 3rd ed., 13.3.

#include <memory>

/// @tparam T  float or double, of the function and of the table
template <class T>
class znDistribution1DT
{
public:
    using Value = T;
    static constexpr int startTableSize = 256;

    znDistribution1DT() = default;
    znDistribution1DT(const znDistribution1DT& other);
    znDistribution1DT& operator=(const znDistribution1DT& other);
    znDistribution1DT(znDistribution1DT&& other) noexcept { swap(other); }
    znDistribution1DT& operator=(znDistribution1DT&& other) noexcept
    {
        swap(other);
        return *this;
    }
    void swap(znDistribution1DT& other) noexcept;

    /// Tabulates n values. Negative values and NaN count as 0; a sum of 0 or beyond all numbers
    /// gives the uniform table with integral 0. n of 0 clears.
    /// @param f           n values; copied
    /// @param cdfStorage  room for n + 1 values that outlives this object, or null
    /// @param startStorage  room for startTableSize ints, or null
    void setFunction(const T* f, int n, T* cdfStorage = nullptr, int* startStorage = nullptr);
    void clear();
    bool isValid() const { return count > 0; }

    /// Point of [0, 1] distributed like the function.
    /// @param u      [0, 1]
    /// @param pdf    density there; 1 for the uniform table
    /// @param index  of the cell
    T getSample(T u, T& pdf, int& index) const;

    /// The cell with cdf[index] < value <= cdf[index + 1]; 0 falls into the first cell that is not
    /// empty. Binary search; requires isValid().
    void getCDFRange(T value, T& lower, T& upper, int& index) const;

    /// Mean of the function over [0, 1]; 0 for the uniform table.
    T getAverage() const { return integral; }
    /// Density of a cell over [0, 1]: count times its share.
    T getPdf(int index) const { return T(count) * (cdf[index + 1] - cdf[index]); }

    T* function = nullptr;     ///< count values, as cleaned
    T* cdf = nullptr;          ///< count + 1 values from 0 to exactly 1
    int* startTable = nullptr; ///< [k]: smallest i >= 1 with cdf[i] >= k / 255
    int count = 0;
    T normalization = 0; ///< count: density = normalization * (upper - lower)
    T integral = 0;

private:
    std::unique_ptr<T[]> ownFunction, ownCdf;
    std::unique_ptr<int[]> ownStart;
};

extern template class znDistribution1DT<float>;
extern template class znDistribution1DT<double>;

class znDistribution1D : public znDistribution1DT<float>
{
};
class znDistribution1DDouble : public znDistribution1DT<double>
{
};
