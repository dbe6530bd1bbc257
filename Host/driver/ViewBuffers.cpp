#include "driver/ViewBuffers.h"

#include <new>

namespace {

constexpr u64 frameBytes = sizeof(ZN_RGBA32F);
constexpr u64 stillBytes = sizeof(float) * 2 + sizeof(u8);

} // namespace

ViewBuffers::~ViewBuffers()
{
    release();
    zn_aligned_free(record.m_frameOutput);
}

u64 ViewBuffers::bytesNeeded(u32 width, u32 height, u32 supersampling, bool isStill)
{
    const u64 count = u64(width) * supersampling * (u64(height) * supersampling);
    return count * (frameBytes + (isStill ? stillBytes : 0));
}

template <class T>
ViewBuffers::Buffer<T> ViewBuffers::allocate(u64 count)
{
    void* block = zn_aligned_malloc(count * sizeof(T), 64);
    if (!block)
        throw std::bad_alloc();
    return Buffer<T>(static_cast<T*>(block));
}

void ViewBuffers::release()
{
    frame.reset();
    statistics.reset();
    weights.reset();
    activePixels.reset();
    pixels = 0;
    hasStillBuffers = false;
    record.m_passBuffers.fill(nullptr);
    record.m_sampleStatistics = nullptr;
    record.m_filterWeights = nullptr;
    record.m_activePixels = nullptr;
}

void ViewBuffers::resize(u32 width, u32 height, u32 supersampling, bool isStill)
{
    record.m_outputWidth = width;
    record.m_outputHeight = height;
    record.m_renderWidth = width * supersampling;
    record.m_renderHeight = height * supersampling;
    record.m_renderScale = float(supersampling);

    const u64 count = u64(record.m_renderWidth) * record.m_renderHeight;
    if (count == pixels && (hasStillBuffers || !isStill))
        return;
    release();
    frame = allocate<ZN_RGBA32F>(count);
    if (isStill) {
        statistics = allocate<float>(count);
        weights = allocate<float>(count);
        activePixels = allocate<u8>(count);
    }
    pixels = count;
    hasStillBuffers = isStill;
    record.m_passBuffers[0] = frame.get();
    record.m_sampleStatistics = statistics.get();
    record.m_filterWeights = weights.get();
    record.m_activePixels = activePixels.get();
    record.m_pixelBufferSize = u32(count * frameBytes > 0xffffffffu ? 0 : count * frameBytes);
}
