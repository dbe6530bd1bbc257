#include "texture/texelFetch.h"

#include "core/packetTranspose.h"
#include "texture/texelFormats.h"

using texelFormat::Tables;

namespace {

/// Where the texels of one lane lie.
struct Layer
{
    Layer(const znRTTextureSampler& sampler, int level, int layer)
        : texels(sampler.levelData[std::size_t(level) * std::size_t(sampler.layerCount) +
                                   std::size_t(layer)]),
          rowLength(std::size_t(sampler.getLevelWidth(level)))
    {
    }
    template <class Format>
    znFloatType<2> read(int x, int y, const Tables& tables) const
    {
        const std::size_t place = std::size_t(y) * rowLength + std::size_t(x);
        return Format::read(texels + place * Format::texelSize, tables);
    }

    const u8* texels;
    std::size_t rowLength;
};

/// Runs read(lane) for the lanes of the mask; 0 in the others.
template <class Read>
znRTColorPacket forLanes(int lanes, Read&& read)
{
    znFloatType<2> rows[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    for (int lane = 0; lane < 4; ++lane)
        if ((lanes >> lane) & 1)
            rows[lane] = read(lane);
    return colorsOfLanes(rows);
}

} // namespace

znRTColorPacket fetchTexel(const znRTTextureSampler& sampler, const znTexelQuad& quad,
                           const znFloatType<2>& mask)
{
    znRTColorPacket color(0.0f);
    const int lanes = moveMask(mask);
    const Tables tables{sampler.lut8, sampler.lut16};
    texelFormat::dispatch(sampler.pixelType, [&]<class Format>() {
        color = forLanes(lanes, [&](int lane) {
            const Layer layer(sampler, quad.level[lane], quad.layer[lane]);
            return layer.read<Format>(quad.left[lane], quad.low[lane], tables);
        });
    });
    return color;
}

znRTColorPacket fetchBilinear(const znRTTextureSampler& sampler, const znTexelQuad& quad,
                              const znFloatType<2>& mask)
{
    znRTColorPacket color(0.0f);
    const int lanes = moveMask(mask);
    const Tables tables{sampler.lut8, sampler.lut16};
    texelFormat::dispatch(sampler.pixelType, [&]<class Format>() {
        color = forLanes(lanes, [&](int lane) {
            const Layer layer(sampler, quad.level[lane], quad.layer[lane]);
            const int left = quad.left[lane], right = quad.right[lane];
            const int low = quad.low[lane], high = quad.high[lane];
            const znFloatType<2> across(quad.across[lane]), up(quad.up[lane]);
            const znFloatType<2> below = mix(layer.read<Format>(left, low, tables),
                                             layer.read<Format>(right, low, tables), across);
            const znFloatType<2> above = mix(layer.read<Format>(left, high, tables),
                                             layer.read<Format>(right, high, tables), across);
            return mix(below, above, up);
        });
    });
    return color;
}

void fetchCorners(const znRTTextureSampler& sampler, const znTexelQuad& quad,
                  const znFloatType<2>& mask, znTexelCorners& corners)
{
    znTexelQuad place = quad;
    for (int i = 0; i < 4; ++i) {
        place.left = i & 1 ? quad.right : quad.left;
        place.low = i & 2 ? quad.high : quad.low;
        corners.corner[i] = fetchTexel(sampler, place, mask);
    }
    corners.across = quad.across;
    corners.up = quad.up;
}
