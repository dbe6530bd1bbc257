#include "driver/ViewBuffers.h"

#include <algorithm>
#include <new>
#include <sys/mman.h>

namespace {

constexpr u64 frameBytes = sizeof(ZN_RGBA32F);
constexpr u64 stillBytes = sizeof(float) * 2 + sizeof(u8);
/// A pixel of the id mattes: three objects and materials in place; more take memory of their own.
constexpr u64 matteBytes = 64;

/// Those that have a buffer; the id mattes share a store of their own.
bool hasBuffer(u64 passes, u32 pass)
{
    return pass == ZN_PASS_BEAUTY || ((passes >> pass & 1) && !isCryptomattePass(pass));
}

bool hasMattes(u64 passes)
{
    for (u32 pass = ZN_PASS_CRYPTO_OBJECT_00; isCryptomattePass(pass); ++pass)
        if (passes >> pass & 1)
            return true;
    return false;
}

} // namespace

ViewBuffers::~ViewBuffers()
{
    release();
    zn_aligned_free(record.m_frameOutput);
}

u64 ViewBuffers::bytesNeeded(u32 width, u32 height, u32 supersampling, bool isStill, u64 passes)
{
    const u64 count = u64(width) * supersampling * (u64(height) * supersampling);
    u64 perPixel = (isStill ? stillBytes : 0) + (hasMattes(passes) ? matteBytes : 0);
    for (u32 pass = 0; pass < znRenderPassCount; ++pass)
        perPixel += hasBuffer(passes, pass) ? frameBytes : 0;
    return count * perPixel;
}

u64 ViewBuffers::countActivePixels() const
{
    return activePixels ? u64(std::count(activePixels.get(), activePixels.get() + pixels, u8(1)))
                        : 0;
}

template <class T>
ViewBuffers::Buffer<T> ViewBuffers::allocate(u64 count)
{
    // Layers of a large picture are thousands of megabytes, read and written all over. In large
    // pages they are mapped in a fraction of the time, and given back in a fraction of the time
    // when somebody wants to stop at once.
    constexpr u64 largePage = u64(2) << 20;
    const u64 bytes = count * sizeof(T);
    const bool isLarge = bytes >= 2 * largePage;
    void* block = zn_aligned_malloc(bytes, isLarge ? largePage : 64);
    if (!block)
        throw std::bad_alloc();
    if (isLarge) // advice only: small pages do as well
        madvise(block, bytes / largePage * largePage, MADV_HUGEPAGE);
    return Buffer<T>(static_cast<T*>(block));
}

void ViewBuffers::release()
{
    for (auto& frame : frames)
        frame.reset();
    cryptomatte.reset();
    statistics.reset();
    weights.reset();
    activePixels.reset();
    pixels = passMask = 0;
    hasStillBuffers = false;
    record.m_cryptomatte = nullptr;
    record.m_passBuffers.fill(nullptr);
    record.m_sampleStatistics = nullptr;
    record.m_filterWeights = nullptr;
    record.m_activePixels = nullptr;
}

void ViewBuffers::resize(u32 width, u32 height, u32 supersampling, bool isStill, u64 passes)
{
    const bool hasOtherShape = width * supersampling != record.m_renderWidth ||
                               height * supersampling != record.m_renderHeight;
    record.m_outputWidth = width;
    record.m_outputHeight = height;
    record.m_renderWidth = width * supersampling;
    record.m_renderHeight = height * supersampling;
    record.m_renderScale = float(supersampling);

    const u64 count = u64(record.m_renderWidth) * record.m_renderHeight;
    if (cryptomatte && hasOtherShape)
        cryptomatte->resize(int(record.m_renderWidth), int(record.m_renderHeight));
    if (count == pixels && (hasStillBuffers || !isStill) && passes == passMask)
        return;
    release();
    for (u32 pass = 0; pass < znRenderPassCount; ++pass)
        if (hasBuffer(passes, pass))
            frames[pass] = allocate<ZN_RGBA32F>(count);
    if (hasMattes(passes))
        cryptomatte = std::make_unique<znRTCryptomatte>(int(record.m_renderWidth),
                                                        int(record.m_renderHeight));
    if (isStill) {
        statistics = allocate<float>(count);
        weights = allocate<float>(count);
        activePixels = allocate<u8>(count);
    }
    pixels = count;
    passMask = passes;
    hasStillBuffers = isStill;
    for (u32 pass = 0; pass < znRenderPassCount; ++pass)
        record.m_passBuffers[pass] = frames[pass].get();
    record.m_cryptomatte = cryptomatte.get();
    record.m_sampleStatistics = statistics.get();
    record.m_filterWeights = weights.get();
    record.m_activePixels = activePixels.get();
    record.m_pixelBufferSize = u32(count * frameBytes > 0xffffffffu ? 0 : count * frameBytes);
}
