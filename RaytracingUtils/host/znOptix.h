#pragma once

// Door to an AI denoiser. None is built in: without a device the answer is null, and the caller
// shows the noisy image. An application may put a denoiser of its own behind it.

#include "host/pixelFormats.h"

class znOptix
{
public:
    /// @param source          width * height linear RGBA values
    /// @param flags           0
    /// @param albedo, normal  guides, or null
    /// @param channels        4
    /// @param stream          null
    /// @return denoised pixels, valid until unmapAIDenoisedBuffer, or null
    static const ZN_RGBA32F* getAIDenoisedBuffer(const ZN_RGBA32F* source, u32 width, u32 height,
                                                 u32 flags, const ZN_RGBA32F* albedo,
                                                 const ZN_RGBA32F* normal, u32 channels,
                                                 void* stream);
    static void unmapAIDenoisedBuffer();

    /// Writes the denoised image; returns whether it could.
    using Denoiser = bool (*)(const ZN_RGBA32F* source, ZN_RGBA32F* target, u32 width, u32 height,
                              const ZN_RGBA32F* albedo, const ZN_RGBA32F* normal);
    /// Null takes it away.
    static void setDenoiser(Denoiser denoiser);
    static bool isAvailable();
};
