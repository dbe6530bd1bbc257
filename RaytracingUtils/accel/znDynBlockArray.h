#pragma once

// Growing node store for a parallel build: blocks never move, so an address handed out stays valid
// while other threads take more. Taking elements is one atomic add; the writer lock is only met
// when a block is missing.

#include "host/znAligned.h"

#include <atomic>
#include <cstdio>
#include <tbb/spin_rw_mutex.h>
#include <type_traits>

template <class T>
class znDynBlockArray
{
    static_assert(std::is_trivially_copyable_v<T>, "blocks are raw memory");

public:
    static constexpr u64 s_blockShift = 7;
    static constexpr u64 s_blockSize = u64(1) << s_blockShift; ///< elements per block
    static constexpr u64 s_blockMask = s_blockSize - 1;
    static constexpr u64 s_blockAlignment = 128;
    static constexpr u64 s_tableAlignment = 16;

    znDynBlockArray() = default;
    znDynBlockArray(const znDynBlockArray&) = delete;
    znDynBlockArray& operator=(const znDynBlockArray&) = delete;
    ~znDynBlockArray() { clear(); }

    /// Makes the blocks of the first n elements. They come out of one piece of memory that is not
    /// touched here, so what is never taken costs address space only. Not to be called while
    /// elements are being taken.
    void reserve(u64 n);

    /// Takes n consecutive numbers. Elements are uninitialised; a block that could not be allocated
    /// is a null pointer, which the caller must look out for.
    /// @return the first number
    u64 take(u64 n = 1)
    {
        const u64 first = count.fetch_add(n, std::memory_order_relaxed);
        if (first + n > available.load(std::memory_order_acquire))
            appendBlocks(first + n);
        return first;
    }

    T* get(u64 i) const
    {
        T* const block = table.load(std::memory_order_acquire)[i >> s_blockShift];
        return block ? block + (i & s_blockMask) : nullptr;
    }
    u64 getCount() const { return count.load(std::memory_order_relaxed); }
    /// Releases blocks and table.
    void clear();

private:
    /// One allocation and how many blocks it holds; the head of a list.
    struct Slab
    {
        Slab* next;
        void* memory;
    };

    void appendBlocks(u64 needed);
    bool growTable(u64 blocks);
    void addBlocks(u64 blocks);

    std::atomic<u64> count{0};     ///< elements taken
    std::atomic<u64> available{0}; ///< elements that have a block
    std::atomic<T**> table{nullptr};
    u64 tableCapacity = 0;
    Slab* slabs = nullptr;
    Slab* retiredTables = nullptr; ///< readers may still hold them; freed with the rest
    tbb::spin_rw_mutex mutex;
};

template <class T>
void znDynBlockArray<T>::reserve(u64 n)
{
    tbb::spin_rw_mutex::scoped_lock lock(mutex, true);
    const u64 have = available.load(std::memory_order_relaxed) >> s_blockShift;
    const u64 blocks = (n + s_blockMask) >> s_blockShift;
    if (blocks > have)
        addBlocks(blocks - have);
}

template <class T>
void znDynBlockArray<T>::appendBlocks(u64 needed)
{
    tbb::spin_rw_mutex::scoped_lock lock(mutex, true);
    while (available.load(std::memory_order_relaxed) < needed)
        addBlocks(1);
}

template <class T>
bool znDynBlockArray<T>::growTable(u64 blocks)
{
    if (blocks <= tableCapacity)
        return true;
    const u64 capacity = blocks > 2 * tableCapacity ? blocks : 2 * tableCapacity;
    T** const larger = static_cast<T**>(zn_aligned_malloc(capacity * sizeof(T*), s_tableAlignment));
    if (!larger)
        return false;
    T** const old = table.load(std::memory_order_relaxed);
    const u64 used = available.load(std::memory_order_relaxed) >> s_blockShift;
    for (u64 i = 0; i < used; ++i)
        larger[i] = old[i];
    if (old)
        retiredTables = new Slab{retiredTables, old};
    tableCapacity = capacity;
    table.store(larger, std::memory_order_release);
    return true;
}

template <class T>
void znDynBlockArray<T>::addBlocks(u64 blocks)
{
    const u64 have = available.load(std::memory_order_relaxed) >> s_blockShift;
    if (!growTable(have + blocks)) {
        // Nothing can be recorded: end with what the table holds rather than loop.
        std::fprintf(stderr, "allocation failed\n");
        throw std::bad_alloc();
    }
    void* const memory = zn_aligned_malloc(blocks * s_blockSize * sizeof(T), s_blockAlignment);
    if (!memory)
        std::fprintf(stderr, "allocation failed\n");
    else
        slabs = new Slab{slabs, memory};
    for (u64 i = 0; i < blocks; ++i)
        table.load(std::memory_order_relaxed)[have + i] =
            memory ? static_cast<T*>(memory) + i * s_blockSize : nullptr;
    available.store((have + blocks) << s_blockShift, std::memory_order_release);
}

template <class T>
void znDynBlockArray<T>::clear()
{
    for (Slab** list : {&slabs, &retiredTables})
        while (Slab* const slab = *list) {
            *list = slab->next;
            zn_aligned_free(slab->memory);
            delete slab;
        }
    zn_aligned_free(table.load(std::memory_order_relaxed));
    table.store(nullptr);
    tableCapacity = 0;
    count.store(0);
    available.store(0);
}
