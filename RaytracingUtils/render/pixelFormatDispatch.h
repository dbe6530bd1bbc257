#pragma once

// From a format number to its type: one switch for everybody.

#include "host/pixelFormats.h"

#include <type_traits>

/// Calls f with a value of std::type_identity<F> for the format F; unknown numbers mean ZN_RGBE.
template <class Function>
decltype(auto) dispatchPixelFormat(u32 pixelFormat, Function&& f)
{
    switch (pixelFormat) {
    case ZN_FORMAT_RGBA:
        return f(std::type_identity<ZN_RGBA>());
    case ZN_FORMAT_RGB:
        return f(std::type_identity<ZN_RGB>());
    case ZN_FORMAT_RGB32F:
        return f(std::type_identity<ZN_RGB32F>());
    case ZN_FORMAT_RGBA32F:
        return f(std::type_identity<ZN_RGBA32F>());
    case ZN_FORMAT_BGRA:
        return f(std::type_identity<ZN_BGRA>());
    case ZN_FORMAT_RGBA16F:
        return f(std::type_identity<ZN_RGBA16F>());
    case ZN_FORMAT_BGR:
        return f(std::type_identity<ZN_BGR>());
    default:
        return f(std::type_identity<ZN_RGBE>());
    }
}

/// Bytes of a pixel.
inline u64 pixelSize(u32 pixelFormat)
{
    return dispatchPixelFormat(
        pixelFormat, [](auto format) -> u64 { return sizeof(typename decltype(format)::type); });
}
