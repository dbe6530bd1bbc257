#pragma once

// One texel of each storage type as linear RGBA in one register: grey goes to r, g and b, a missing
// alpha is 1. Stored integers pass the sampler's table, alpha never does.

#include "core/packetMath.h"
#include "host/znRTTextureSampler.h"

#include <bit>
#include <cstring>

namespace texelFormat {

/// Values of stored integers.
struct Tables
{
    const float* lut8;
    const float* lut16;
};

/// Half float without the special cases of IEEE 754: zero is zero, denormals read as if they were
/// normal (up to 6.1e-5) and infinity as 65536.
inline float expandHalf(u16 half)
{
    const u32 magnitude = half & 0x7fffu;
    if (magnitude == 0)
        return 0.0f;
    return std::bit_cast<float>(((magnitude << 13) + 0x38000000u) | (u32(half & 0x8000u) << 16));
}

template <class T>
T loadComponent(const u8* texel, int i)
{
    T value;
    std::memcpy(&value, texel + std::size_t(i) * sizeof(T), sizeof(T));
    return value;
}

struct Byte
{
    static constexpr int size = 1;
    static float color(const u8* texel, int i, const Tables& tables)
    {
        return tables.lut8[texel[i]];
    }
    static float alpha(const u8* texel, int i) { return float(texel[i]) * 0.003921569f; }
};

struct Word
{
    static constexpr int size = 2;
    static float color(const u8* texel, int i, const Tables& tables)
    {
        return tables.lut16[loadComponent<u16>(texel, i)];
    }
    static float alpha(const u8* texel, int i)
    {
        return float(loadComponent<u16>(texel, i)) * (1.0f / 65535.0f);
    }
};

struct Half
{
    static constexpr int size = 2;
    static float color(const u8* texel, int i, const Tables&) { return alpha(texel, i); }
    static float alpha(const u8* texel, int i) { return expandHalf(loadComponent<u16>(texel, i)); }
};

struct Single
{
    static constexpr int size = 4;
    static float color(const u8* texel, int i, const Tables&) { return alpha(texel, i); }
    static float alpha(const u8* texel, int i) { return loadComponent<float>(texel, i); }
};

/// @tparam channels   1 L, 2 LA, 3 RGB, 4 RGBA
/// @tparam blueFirst  blue and red are exchanged in memory
template <class Component, int channels, bool blueFirst = false>
struct Format
{
    static constexpr int texelSize = channels * Component::size;

    static znFloatType<2> read(const u8* texel, const Tables& tables)
    {
        if constexpr (channels <= 2) {
            const float grey = Component::color(texel, 0, tables);
            float alpha = 1.0f;
            if constexpr (channels == 2)
                alpha = Component::alpha(texel, 1);
            return {grey, grey, grey, alpha};
        } else {
            float alpha = 1.0f;
            if constexpr (channels == 4)
                alpha = Component::alpha(texel, 3);
            return {Component::color(texel, blueFirst ? 2 : 0, tables),
                    Component::color(texel, 1, tables),
                    Component::color(texel, blueFirst ? 0 : 2, tables), alpha};
        }
    }
};

/// Calls use.operator()<Format>() with the format of a storage type, once per packet.
/// @return false, without a call, for the numbers that are no type
template <class Use>
bool dispatch(int pixelType, Use&& use)
{
    using S = znRTTextureSampler;
    switch (pixelType) {
#define ZN_FORMAT(type, ...)                                                                       \
    case S::type:                                                                                  \
        use.template operator()<Format<__VA_ARGS__>>();                                            \
        return true;
        ZN_FORMAT(typeL8, Byte, 1)
        ZN_FORMAT(typeL16, Word, 1)
        ZN_FORMAT(typeLHalf, Half, 1)
        ZN_FORMAT(typeLFloat, Single, 1)
        ZN_FORMAT(typeLA8, Byte, 2)
        ZN_FORMAT(typeLA16, Word, 2)
        ZN_FORMAT(typeLAHalf, Half, 2)
        ZN_FORMAT(typeLAFloat, Single, 2)
        ZN_FORMAT(typeRGB8, Byte, 3)
        ZN_FORMAT(typeBGR8, Byte, 3, true)
        ZN_FORMAT(typeRGB16, Word, 3)
        ZN_FORMAT(typeRGBHalf, Half, 3)
        ZN_FORMAT(typeRGBFloat, Single, 3)
        ZN_FORMAT(typeRGBA8, Byte, 4)
        ZN_FORMAT(typeBGRA8, Byte, 4, true)
        ZN_FORMAT(typeRGBA16, Word, 4)
        ZN_FORMAT(typeRGBAHalf, Half, 4)
        ZN_FORMAT(typeRGBAFloat, Single, 4)
#undef ZN_FORMAT
    default:
        return false;
    }
}

} // namespace texelFormat
