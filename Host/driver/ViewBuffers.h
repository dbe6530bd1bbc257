#pragma once

// The memory behind a view: sizes and buffers of a znRaytracerP, allocated for a frame's size and
// freed with the object.

#include "host/znRTCryptomatte.h"
#include "host/znRaytracerP.h"

#include <memory>

/// Owns the record of one view and every buffer in it that the host supplies.
class ViewBuffers
{
public:
    ViewBuffers() = default;
    ~ViewBuffers();
    ViewBuffers(const ViewBuffers&) = delete;
    ViewBuffers& operator=(const ViewBuffers&) = delete;

    znRaytracerP& view() { return record; }
    const znRaytracerP& view() const { return record; }

    /// Bytes that resize() will ask for; sizes are multiplied in 64 bits.
    /// @param supersampling  render pixels per output pixel along one side
    /// @param passes         layers that get buffers beside the beauty, one bit per pass
    static u64 bytesNeeded(u32 width, u32 height, u32 supersampling, bool isStill, u64 passes = 0);

    /// Makes room for an image of width x height pixels. Buffers of the right size stay.
    /// @throws std::bad_alloc; the view then has no buffers
    void resize(u32 width, u32 height, u32 supersampling, bool isStill, u64 passes = 0);

    /// Pixels of a still frame that still take samples.
    u64 countActivePixels() const;

private:
    struct Free
    {
        void operator()(void* block) const { zn_aligned_free(block); }
    };
    template <class T>
    using Buffer = std::unique_ptr<T[], Free>;
    template <class T>
    static Buffer<T> allocate(u64 count);
    void release();

    znRaytracerP record;
    std::array<Buffer<ZN_RGBA32F>, znRenderPassCount> frames; ///< 0: the beauty
    Buffer<float> statistics;
    Buffer<float> weights;
    Buffer<u8> activePixels;
    std::unique_ptr<znRTCryptomatte> cryptomatte;
    u64 pixels = 0, passMask = 0;
    bool hasStillBuffers = false;
};
