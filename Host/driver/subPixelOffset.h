#pragma once

// Where in their pixels the samples of an accumulated frame lie.

#include <cmath>

/// Offset of a sample from the pixel centre.
struct SubPixelOffset
{
    double x, y; ///< [-1, 1), in half pixels
};

/// Sample k of the R2 sequence (M. Roberts, "The Unreasonable Effectiveness of Quasirandom
/// Sequences", 2018): the multiples of the inverse powers of the plastic number, modulo 1. Any
/// number of consecutive samples covers the pixel evenly, so a frame may stop at any of them.
/// Depends on k alone, so that frames split over several runs fit together.
inline SubPixelOffset subPixelOffset(unsigned k)
{
    constexpr double plastic = 1.32471795724474602596;
    const auto place = [k](double step) {
        const double x = 0.5 + double(k) * step;
        return 2.0 * (x - std::floor(x)) - 1.0;
    };
    return {place(1.0 / plastic), place(1.0 / (plastic * plastic))};
}
