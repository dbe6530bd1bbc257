#pragma once

// Buffer object of OpenGL for the way of pixels to the display. Without a current context it is
// plain memory, so that the same code runs without a window.

#include "host/znAligned.h"

class znBuffer
{
public:
    static constexpr u32 pixelUnpackBuffer = 0x88EC;
    static constexpr u32 streamDraw = 0x88E0;

    znBuffer() = default;
    ~znBuffer();
    znBuffer(const znBuffer&) = delete;
    znBuffer& operator=(const znBuffer&) = delete;

    /// Memory to write into, aligned to 16 bytes, until unmap.
    /// @param target  the binding point, pixelUnpackBuffer
    /// @param mode    1 = write only; the former contents are lost
    /// @param usage   streamDraw
    /// @param count   buffers to rotate; 1
    /// @return null when the buffer is mapped already, has no bytes or cannot be had
    void* map(u32 target, u32 mode, u64 bytes, u32 usage, u32 count);
    /// @return false when nothing was mapped or the contents were lost
    bool unmap();
    void bind();
    void unbind();
    /// Frees everything. Needs the context in which the buffer was made.
    void release();

    bool isMapped() const { return mapped != nullptr; }
    u64 getSize() const { return size; }
    /// Contents of a buffer in plain memory; null for one of OpenGL.
    const void* getMemory() const { return memory; }

private:
    u32 name = 0; ///< of OpenGL; 0 = plain memory
    u32 target = pixelUnpackBuffer;
    u64 size = 0;
    void* memory = nullptr;
    void* mapped = nullptr;
};
