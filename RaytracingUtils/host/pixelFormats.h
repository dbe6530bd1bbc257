#pragma once

// Pixels as the host wants them back. Layouts are fixed: images are read and written in place.

#include "host/znAligned.h"

struct ZN_RGBA
{
    u8 r, g, b, a;
};
struct ZN_BGRA
{
    u8 b, g, r, a;
};
struct ZN_RGB
{
    u8 r, g, b;
};
struct ZN_BGR
{
    u8 b, g, r;
};
/// Shared exponent: value = mantissa * 2^(e - 136).
struct ZN_RGBE
{
    u8 r, g, b, e;
};
struct ZN_RGB32F
{
    float r, g, b;
};
struct alignas(16) ZN_RGBA32F
{
    float r, g, b, a;
};
/// IEEE half floats as bit patterns.
struct ZN_RGBA16F
{
    u16 r, g, b, a;
};

static_assert(sizeof(ZN_RGB) == 3 && sizeof(ZN_BGR) == 3 && sizeof(ZN_RGB32F) == 12);
static_assert(sizeof(ZN_RGBA16F) == 8 && sizeof(ZN_RGBA32F) == 16);

/// Numbers by which a frame's format is asked for.
enum znPixelFormat : u32
{
    ZN_FORMAT_RGBA = 0,
    ZN_FORMAT_RGB = 1,
    ZN_FORMAT_RGBE = 2,
    ZN_FORMAT_RGB32F = 3,
    ZN_FORMAT_RGBA32F = 4,
    ZN_FORMAT_BGRA = 5,
    ZN_FORMAT_RGBA16F = 6,
    ZN_FORMAT_BGR = 7
};
