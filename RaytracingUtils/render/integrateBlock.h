#pragma once

// The packet step: from traced rays to filtered colours. One definition per pair of integrator and
// fragment, instantiated in the source file of the integrator; the tile loops call it through a
// pointer once per block, so nothing per ray is indirect.

#include "core/znRTDataBlockPacket.h"
#include "render/lensFlares.h"
#include "render/znRTPacketBlock.h"
#include "render/znRTRenderUtils.h"
#include "render/znRTTileTraceTask.h"

/// A lane's colour as it may be stored: components that are NaN become 0, all are cut at the clamp.
inline __m128 filterSample(__m128 colour, __m128 sampleClamp)
{
    const __m128 filtered = _mm_and_ps(colour, _mm_cmpeq_ps(colour, colour));
    return _mm_min_ps(sampleClamp, filtered);
}

/// Writes four lanes as RGBA, with the lane's coverage multiplied in where a surface was hit.
inline void storeLanes(const znRTColorPacket& colour, const znFloatType<2>& coverage, int hitMask,
                       float sampleClamp, ZN_RGBA32F* out)
{
    __m128 lanes[4] = {colour.r.v, colour.g.v, colour.b.v, colour.a.v};
    _MM_TRANSPOSE4_PS(lanes[0], lanes[1], lanes[2], lanes[3]);
    const __m128 clamp = _mm_set1_ps(sampleClamp);
    for (int lane = 0; lane < 4; ++lane) {
        if (hitMask >> lane & 1)
            lanes[lane] = _mm_mul_ps(lanes[lane], _mm_set1_ps(coverage[lane]));
        _mm_store_ps(&out[lane].r, filterSample(lanes[lane], clamp));
    }
}

/// Whether an integrator shows the picture, and not a layer of it: only the picture has a
/// background and lens flares over it.
template <class I>
constexpr bool showsPicture()
{
    if constexpr (requires { I::showsPicture; })
        return I::showsPicture;
    else
        return true;
}

template <class I, class G>
void integrateBlock(znRTPacketBlock& block, int count, const znRTCamera& camera, float sampleClamp,
                    u32 sampleOffset)
{
    const bool hasFlares = showsPicture<I>() && showsLensFlares();
    for (int i = 0; i < count; ++i) {
        const znRTHitInfoPacket& hit = block.hits.hits[i];
        ZN_RGBA32F* const out = block.colours + 4 * i;
        if (hit.hitMask == 0) {
            znRTColorPacket colour =
                showsPicture<I>() ? znRTRenderUtils::s_backgroundColor : znRTColorPacket(0.0f);
            if (hasFlares)
                addLensFlares(block.rays.rays[i], colour);
            storeLanes(colour, znFloatType<2>(1.0f), 0, sampleClamp, out);
            continue;
        }
        G fragment;
        fragment.colour = znRTRenderUtils::s_backgroundColor;
        fragment.coverage = znFloatType<2>(0.0f);
        znRTDataBlockPacket data(hit);
        I().integrate(fragment, &camera, block.rays.rays[i], data, sampleOffset);
        storeLanes(fragment.colour, fragment.coverage, int(hit.hitMask), sampleClamp, out);
    }
}
