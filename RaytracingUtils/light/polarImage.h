#pragma once

// Bilinear reads of latitude-longitude images of float RGBA: u repeats and v is clamped. The places
// of four lanes are worked out together, and serve all layers of an image.

#include "core/packetMath.h"
#include "core/packetTranspose.h"
#include "core/znRTVector2fPacket.h"
#include "host/znRTTextureSampler.h"

class znRTPolarPlaces
{
public:
    /// @param uv  turns to the right, and polar angle over pi; NaN reads as 0
    znRTPolarPlaces(const znRTVector2fPacket& uv, int newWidth, int newHeight);

    /// Mean of the texels around the places.
    /// @return the stored colours and alphas; 0 in lanes off the mask, whose texels are not touched
    znRTColorPacket read(const znRTTextureSampler& image, int layer,
                         const znFloatType<2>& mask) const;

private:
    /// Red, green, blue, alpha of one lane.
    znFloatType<2> readLane(const znRTTextureSampler& image, int layer, int lane) const;

    int width;
    znIntType<2> columns[2], rows[2];
    znFloatType<2> across, down;
};

inline znRTPolarPlaces::znRTPolarPlaces(const znRTVector2fPacket& uv, int newWidth, int newHeight)
    : width(newWidth)
{
    const float w = float(newWidth), h = float(newHeight);
    const znFloatType<2> x = clamp((uv.x - floor(uv.x)) * w - 0.5f, -0.5f, w - 0.5f);
    const znFloatType<2> y = clamp(uv.y * h - 0.5f, 0.0f, h - 1.0f);
    const znFloatType<2> left = floor(x), top = floor(y);
    across = x - left;
    down = y - top;
    const znFloatType<2> last(w - 1.0f), zero(0.0f);
    const znFloatType<2> right = left + 1.0f;
    columns[0] = toInt(select(left < zero, last, left));
    columns[1] = toInt(select(right > last, zero, right));
    rows[0] = toInt(top);
    rows[1] = toInt(minimum(top + 1.0f, h - 1.0f));
}

inline znFloatType<2> znRTPolarPlaces::readLane(const znRTTextureSampler& image, int layer,
                                                int lane) const
{
    const auto* const texels =
        reinterpret_cast<const float*>(image.getLayerDataFast(0, layer, 0, 0));
    const auto at = [&](int column, int row) {
        const std::size_t place =
            std::size_t(rows[row][lane]) * std::size_t(width) + std::size_t(columns[column][lane]);
        return znFloatType<2>::loadUnaligned(texels + 4 * place);
    };
    const znFloatType<2> t(across[lane]);
    return mix(mix(at(0, 0), at(1, 0), t), mix(at(0, 1), at(1, 1), t), znFloatType<2>(down[lane]));
}

inline znRTColorPacket znRTPolarPlaces::read(const znRTTextureSampler& image, int layer,
                                             const znFloatType<2>& mask) const
{
    const int lanes = moveMask(mask);
    znFloatType<2> colors[4];
    for (int lane = 0; lane < 4; ++lane)
        colors[lane] = (lanes >> lane) & 1 ? readLane(image, layer, lane) : znFloatType<2>(0.0f);
    return colorsOfLanes(colors);
}
