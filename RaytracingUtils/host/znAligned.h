#pragma once

// Aligned memory: the three allocation functions of the host and the bases of objects that hold
// packets (one SSE register per value, so 16 bytes is a matter of correctness, not of speed).

#include <cstddef>
#include <cstdint>
#include <new>

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

/// @param alignment  a power of two
/// @return memory of at least size bytes at a multiple of alignment; null when there is none.
///         A size of 0 gives a block that may be freed but not read.
void* zn_aligned_malloc(u64 size, u64 alignment);

/// Grows or shrinks a block of zn_aligned_malloc and keeps its contents up to the smaller size.
/// @param block  null counts as an empty block
/// @return the new block, or null; the old block is then still valid
void* zn_aligned_realloc(void* block, u64 size, u64 alignment);

/// Frees what either of the above returned; null is ignored.
void zn_aligned_free(void* block);

/// Base without data whose only content is class-level allocation with a given alignment.
template <std::size_t Alignment>
struct znAlignedBase
{
    static void* operator new(std::size_t size)
    {
        if (void* block = zn_aligned_malloc(size, Alignment))
            return block;
        throw std::bad_alloc();
    }
    static void* operator new[](std::size_t size) { return operator new(size); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept { zn_aligned_free(block); }
    static void operator delete[](void* block) noexcept { zn_aligned_free(block); }
    static void operator delete(void*, void*) noexcept {}
};

using znAlignedBase16 = znAlignedBase<16>;
using znAlignedBase32 = znAlignedBase<32>;
using znAlignedBase64 = znAlignedBase<64>;
