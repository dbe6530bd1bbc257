#include "host/znImagePostprocessor.h"

#include "host/znLog.h"
#include "image/colorTable.h"
#include "image/whiteBalance.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace {

__m128 load(const std::array<float, 4>& values)
{
    return _mm_loadu_ps(values.data());
}

/// A positive number, or a stand-in.
float positiveOr(float value, float otherwise)
{
    return value > 0.0f && std::isfinite(value) ? value : otherwise;
}

} // namespace

znColorMatrix::znColorMatrix()
    : znColorMatrix(
          {{{1.0f, 0.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 1.0f, 0.0f}}})
{
}

znColorMatrix::znColorMatrix(const std::array<std::array<float, 4>, 3>& rows)
{
    for (int c = 0; c < 4; ++c)
        column[c] = _mm_setr_ps(rows[0][c], rows[1][c], rows[2][c], 0.0f);
}

void znColorProfile::setGamma(float displayGamma)
{
    if (!(displayGamma > 0.0f) || !std::isfinite(displayGamma))
        return;
    kind = gamma;
    inverseGamma = 1.0f / displayGamma;
}

bool znColorProfile::setICCProfile(const void* data, std::size_t size, const char* name)
{
    auto baked = bakeICCProfile(data, size, tableSize);
    if (!baked) {
        znLog::warning((std::string("Colour profile \"") + name +
                        "\" is not an RGB display profile; it is not used")
                           .c_str());
        return false;
    }
    entries = std::move(baked);
    kind = table;
    return true;
}

znImagePostprocessor::znImagePostprocessor()
{
    update();
}

void znImagePostprocessor::update()
{
    hasWhiteBalance = whiteBalanceTemperature != 6500.0f || whiteBalanceTint != 0.0f;
    whiteBalance = znColorMatrix(
        hasWhiteBalance
            ? whiteBalanceMatrix(whiteBalanceTemperature, whiteBalanceTint)
            : std::array<std::array<float, 4>, 3>{
                  {{1.0f, 0.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 1.0f, 0.0f}}});

    exposureScale = std::exp2(std::isfinite(exposure) ? exposure : 0.0f);
    const float white = positiveOr(whitepoint, 1.0f);
    tonemapScale = tonemapFactor = 1.0f;
    switch (tonemapper) {
    case tonemapReinhard:
        tonemapScale = std::clamp(burn, 0.0f, 1.0f) / (white * white);
        break;
    case tonemapFilmic: {
        const float x = 11.2f * white;
        tonemapScale = (x * (0.15f * x + 0.5f) + 0.06f) / (x * (0.14f * x + 0.5f / 30.0f));
        break;
    }
    case tonemapLogarithmic:
        // log10 in the base of the logarithm at white, where the other factor is log 10.
        tonemapFactor = 1.0f / white;
        tonemapScale = std::log2(10.0f) / std::log2(1.0f + white);
        break;
    }

    lift = load(liftValues);
    gain = load(gainValues);
    std::array<float, 4> safeGamma;
    std::transform(gammaValues.begin(), gammaValues.end(), safeGamma.begin(),
                   [](float g) { return positiveOr(g, 1.0f); });
    gamma = load(safeGamma);
    matrix = znColorMatrix(matrixValues);
}
