#pragma once

// Shading blocks full of values that nobody may use: what is read without having been filled shows
// in the result, and what is filled without having been asked for shows in the block.

#include "core/znRTDataBlockPacket.h"

#include <cstring>
#include <gtest/gtest.h>

/// Bits of a signalling NaN.
constexpr u32 poisonBits = 0x7fa0a5a5;

/// Fills all of the block but the hit with one word.
inline void poison(znRTDataBlockPacket& block, u32 word = poisonBits)
{
    const znRTHitInfoPacket hit = block.hit;
    u32* const words = reinterpret_cast<u32*>(&block);
    for (std::size_t i = 0; i < sizeof(block) / sizeof(u32); ++i)
        std::memcpy(words + i, &word, sizeof(word));
    block.hit = hit;
}

inline u32 bitsOf(const znFloatType<2>& value, int lane)
{
    u32 words[4];
    std::memcpy(words, &value, sizeof(words));
    return words[lane];
}

inline bool isPoisoned(const znFloatType<2>& value, int lane)
{
    return bitsOf(value, lane) == poisonBits;
}
