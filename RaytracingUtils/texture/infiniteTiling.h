#pragma once

// Repeated images without visible repeats. The plane of the texture is cut into triangles; the
// image is shifted at random about each corner, and the three images of a triangle are blended by
// the distance from its corners. Shifts are numbers of the corners alone: images of one material
// that lie alike are shifted alike, whatever they hold.
//
// M. S. Mikkelsen, "Practical Real-Time Hex-Tiling", Journal of Computer Graphics Techniques 11(2),
// 2022, without the rotation, which maps of normals would have to undo.

#include "core/znRTVector2fPacket.h"
#include "host/znRTTextureAttributes.h"
#include "host/znRTTextureSampler.h"

namespace infiniteTiling {

/// What is blended at four places.
struct Patches
{
    znRTVector2fPacket shift[3]; ///< of the coordinates, [0, 1)
    znFloatType<2> weight[3];    ///< sum 1; most places see one or two images alone
};

/// @param uv  after the sampler's transform
Patches patchesAt(const znRTVector2fPacket& uv);

/// Shifts need an image that goes on at its edges.
inline bool isPossible(const znRTTextureSampler& sampler)
{
    return sampler.wrapMode == znRTTextureSampler::repeat + 4 * znRTTextureSampler::repeat;
}
inline bool isWanted(const znRTTextureSampler& sampler, const znRTTextureAttributes* attributes)
{
    return attributes && attributes->useInfiniteTiling && isPossible(sampler);
}

/// Blends what read(uv, lanes) gives, a value that adds up and has factors per lane.
/// @param uv  after the sampler's transform
template <class Value, class Read>
Value blended(const znRTVector2fPacket& uv, const znFloatType<2>& mask, Value sum, Read&& read)
{
    const Patches patches = patchesAt(uv);
    for (int i = 0; i < 3; ++i) {
        const znFloatType<2> seen = mask & (patches.weight[i] > znFloatType<2>(0.0f));
        if (anyLane(seen))
            sum += read(uv + patches.shift[i], seen) * (patches.weight[i] & seen);
    }
    return sum;
}

} // namespace infiniteTiling
