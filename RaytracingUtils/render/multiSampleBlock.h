#pragma once

// Pieces that the tile loops share: walking a tile in blocks, a block in lanes, and the mean of
// several samples per pixel.

#include "camera/znRTCamera.h"
#include "core/packetMath.h"
#include "host/znRTRaytracingSettings.h"
#include "render/renderTiles.h"
#include "render/znRTPacketBlock.h"

#include <algorithm>
#include <cmath>
#include <cstring>

/// Samples per pixel of an interactive frame.
inline int interactiveSamples()
{
    return std::clamp(znRTRaytracingSettings::s_interactiveImageSamples, 1, 16);
}

/// Calls f with the rectangle of each block of a tile, row by row, clipped to the tile.
template <class Function>
void forEachBlock(const znRTRenderTile& tile, u32 blockSize, Function&& f)
{
    const u32 x1 = tile.x + tile.width, y1 = tile.y + tile.height;
    for (u32 y = tile.y; y < y1; y += blockSize)
        for (u32 x = tile.x; x < x1; x += blockSize)
            f(znRTPixelRectangle{x, std::min(x + blockSize, x1), y, std::min(y + blockSize, y1)});
}

/// Asks for the memory of a block's pixels, so that it has come when their rays have been traced.
/// @param image   row 0, pixel 0
/// @param stride  pixels per row
template <class T>
void fetchPixels(const T* image, u64 stride, const znRTPixelRectangle& r)
{
    constexpr u32 perLine = u32(64 / sizeof(T));
    for (u32 y = r.y0; y < r.y1; ++y)
        for (u32 x = r.x0; x < r.x1; x += perLine)
            _mm_prefetch(reinterpret_cast<const char*>(image + y * stride + x), _MM_HINT_T0);
}

/// Calls f with pixel and colour of each active lane.
template <class Function>
void forEachLane(const znRTPacketBlock& block, int count, Function&& f)
{
    for (int i = 0; i < count; ++i) {
        const znRTRayDifferentialPacket& ray = block.rays.rays[i];
        for (int lane = 0; lane < 4; ++lane)
            if (block.laneMasks[i] >> lane & 1)
                f(u32(ray.pixelX[lane]), u32(ray.pixelY[lane]), block.colours[4 * i + lane]);
    }
}

/// One slot per pixel of a block: the sum of its samples and their number.
class znRTMultiSampleBlock
{
public:
    /// Traces the block `samples` times and sums per pixel.
    void trace(znRTPacketBlock& block, const znRTPixelRectangle& r, const znRTCamera& camera,
               float sampleClamp, int samples, znRTIntegrateBlock integrate)
    {
        std::memset(counts, 0, sizeof counts);
        std::memset(sums, 0, sizeof sums);
        const float scale = 1.0f / std::sqrt(float(samples)); // each stands for a part of the pixel
        for (int i = 0; i < samples; ++i) {
            const int count =
                camera.trace_eye_rays(r.x0, r.x1, r.y0, r.y1, block.rays, block.hits, block.tMin,
                                      block.tMax, block.laneMasks, i, samples, scale, nullptr);
            if (count == 0)
                continue;
            // The number of the sample keeps the random decisions of a pixel's samples apart.
            integrate(block, count, camera, sampleClamp, u32(i));
            forEachLane(block, count, [&](u32 x, u32 y, const ZN_RGBA32F& colour) {
                const u32 slot = (y - r.y0) * znBlockSize + (x - r.x0);
                float* const sum = &sums[slot].r;
                _mm_store_ps(sum, _mm_add_ps(_mm_load_ps(sum), _mm_load_ps(&colour.r)));
                ++counts[slot];
            });
        }
    }

    /// Calls f with the mean of each pixel that got a sample; the others are left alone. The mean
    /// takes the hardware's reciprocal estimate: it is good to some 12 bits.
    template <class Function>
    void forEachPixel(const znRTPixelRectangle& r, Function&& f) const
    {
        for (u32 y = r.y0; y < r.y1; ++y)
            for (u32 x = r.x0; x < r.x1; ++x) {
                const u32 slot = (y - r.y0) * znBlockSize + (x - r.x0);
                if (counts[slot] == 0)
                    continue;
                const znFloatType<2> factor = reciprocalEstimate(float(counts[slot]));
                f(x, y, _mm_mul_ps(_mm_load_ps(&sums[slot].r), factor.v));
            }
    }

private:
    ZN_RGBA32F sums[znBlockSize * znBlockSize];
    u32 counts[znBlockSize * znBlockSize];
};
