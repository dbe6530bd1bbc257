#include "host/znDistribution1D.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

/// Mass that takes part; NaN fails the comparison.
template <class T>
T cleaned(T value)
{
    return value > T(0) ? value : T(0);
}

} // namespace

template <class T>
znDistribution1DT<T>::znDistribution1DT(const znDistribution1DT& other)
{
    *this = other;
}

template <class T>
znDistribution1DT<T>& znDistribution1DT<T>::operator=(const znDistribution1DT& other)
{
    if (this == &other)
        return *this;
    clear();
    if (!other.isValid())
        return *this;
    // The tables are taken over as they are: the mean of a uniform table cannot be told from its
    // function.
    ownFunction = std::make_unique<T[]>(other.count);
    ownCdf = std::make_unique<T[]>(other.count + 1);
    ownStart = std::make_unique<int[]>(startTableSize);
    std::copy_n(other.function, other.count, ownFunction.get());
    std::copy_n(other.cdf, other.count + 1, ownCdf.get());
    std::copy_n(other.startTable, startTableSize, ownStart.get());
    function = ownFunction.get();
    cdf = ownCdf.get();
    startTable = ownStart.get();
    count = other.count;
    normalization = other.normalization;
    integral = other.integral;
    return *this;
}

template <class T>
void znDistribution1DT<T>::swap(znDistribution1DT& other) noexcept
{
    std::swap(function, other.function);
    std::swap(cdf, other.cdf);
    std::swap(startTable, other.startTable);
    std::swap(count, other.count);
    std::swap(normalization, other.normalization);
    std::swap(integral, other.integral);
    ownFunction.swap(other.ownFunction);
    ownCdf.swap(other.ownCdf);
    ownStart.swap(other.ownStart);
}

template <class T>
void znDistribution1DT<T>::clear()
{
    ownFunction.reset();
    ownCdf.reset();
    ownStart.reset();
    function = cdf = nullptr;
    startTable = nullptr;
    count = 0;
    normalization = integral = T(0);
}

template <class T>
void znDistribution1DT<T>::setFunction(const T* f, int n, T* cdfStorage, int* startStorage)
{
    if (n <= 0 || !f) {
        clear();
        return;
    }
    // f may be this object's own table: build aside, then let go of the old one.
    auto newFunction = std::make_unique<T[]>(n);
    std::transform(f, f + n, newFunction.get(), cleaned<T>);
    clear();
    ownFunction = std::move(newFunction);
    function = ownFunction.get();
    if (!cdfStorage)
        ownCdf = std::make_unique<T[]>(n + 1);
    cdf = cdfStorage ? cdfStorage : ownCdf.get();
    if (!startStorage)
        ownStart = std::make_unique<int[]>(startTableSize);
    startTable = startStorage ? startStorage : ownStart.get();
    count = n;
    normalization = T(n);

    double total = 0.0;
    for (int i = 0; i < n; ++i)
        total += double(function[i]);
    const bool isUniform = !(total > 0.0) || !std::isfinite(total);
    integral = isUniform ? T(0) : T(total / n);

    // Behind the last cell with mass the partial sum equals the total, so the end is exactly 1
    // however many empty cells follow.
    double partial = 0.0;
    cdf[0] = T(0);
    for (int i = 0; i < n; ++i) {
        partial += isUniform ? 1.0 : double(function[i]);
        cdf[i + 1] = T(partial / (isUniform ? double(n) : total));
    }

    for (int k = 0, i = 1; k < startTableSize; ++k) {
        while (i < n && cdf[i] < T(k) / T(startTableSize - 1))
            ++i;
        startTable[k] = i;
    }
}

template <class T>
void znDistribution1DT<T>::getCDFRange(T value, T& lower, T& upper, int& index) const
{
    const T* const begin = cdf + 1;
    const T* const last = cdf + count; // the cell found when value is 1 or above
    const T* bound;
    if (value > T(0)) {
        const T wanted = std::min(value, T(1));
        // The start table names the neighbourhood, but for rounding of its steps.
        const int k = std::min(int(wanted * T(startTableSize - 1)), startTableSize - 2);
        const T* first = cdf + std::max(startTable[k], 1);
        while (first > begin && first[-1] >= wanted)
            --first;
        const T* const end = cdf + std::min(startTable[k + 1] + 1, count);
        bound = std::lower_bound(first, std::max(first, end), wanted);
        while (bound < last && *bound < wanted)
            ++bound;
    } else
        bound = std::upper_bound(begin, last, T(0));
    index = int(bound - begin);
    lower = bound[-1];
    upper = bound[0];
}

template <class T>
T znDistribution1DT<T>::getSample(T u, T& pdf, int& index) const
{
    T lower, upper;
    getCDFRange(u, lower, upper, index);
    pdf = normalization * (upper - lower);
    const T share = std::clamp((u - lower) / (upper - lower), T(0), T(1));
    return std::min((T(index) + share) / normalization, T(1));
}

template class znDistribution1DT<float>;
template class znDistribution1DT<double>;
