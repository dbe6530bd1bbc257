#include "brdf/analytic/refractionRatios.h"

#include <algorithm>

namespace {

/// Index at the dominant wavelengths of the sRGB primaries, 610, 550 and 465 nm, from bands of 10
/// nm that begin at 380 nm.
float indexOfChannel(const std::vector<float>& bands, int channel)
{
    constexpr std::size_t below[3] = {22, 16, 8}, above[3] = {23, 17, 8};
    return 0.5f * (bands[below[channel]] + bands[above[channel]]);
}

} // namespace

void znRTRefractionRatios::set(const znRTRefractionIndices& indices)
{
    const auto* const inside = indices.spectrumA;
    const auto* const outside = indices.spectrumB;
    dispersive = inside && outside && inside->size() >= s_minBands && outside->size() >= s_minBands;
    for (int channel = 0; channel < 3; ++channel) {
        const float a = dispersive ? indexOfChannel(*inside, channel) : indices.indexA;
        const float b = dispersive ? indexOfChannel(*outside, channel) : indices.indexB;
        etaEnter[channel] = b / std::max(1e-3f, a);
        etaExit[channel] = a / std::max(1e-3f, b);
    }
}
