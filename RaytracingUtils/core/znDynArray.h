#pragma once

// Growing array of plain values with aligned storage. It has no growth factor: who appends
// reserves first. Elements are moved and copied byte by byte. Not synchronised.

#include "host/znAligned.h"

#include <cstdio>
#include <cstring>
#include <type_traits>
#include <utility>

template <class T>
class znDynArray
{
    static_assert(std::is_trivially_copyable_v<T>, "elements are copied byte by byte");

public:
    u64 size = 0;                                      ///< elements in use
    u64 capacity = 0;                                  ///< elements allocated
    u64 alignment = alignof(T) > 16 ? alignof(T) : 16; ///< of the storage, bytes
    T* data = nullptr;

    znDynArray() = default;
    explicit znDynArray(u64 storageAlignment) : alignment(storageAlignment) {}
    znDynArray(const znDynArray& other) { *this = other; }
    znDynArray(znDynArray&& other) noexcept { swap(other); }
    ~znDynArray() { clear(); }

    /// Takes over the capacity of the other array exactly, then its elements.
    znDynArray& operator=(const znDynArray& other);
    znDynArray& operator=(znDynArray&& other) noexcept
    {
        swap(other);
        return *this;
    }

    /// Makes room for n elements (0 counts as 1); what is there is kept.
    /// @param setSize  also makes n the number of elements in use; new ones are uninitialised.
    ///                 When memory runs out the array is empty and without storage.
    void reserve(u64 n, bool setSize);

    /// Releases the storage.
    void clear();
    void swap(znDynArray& other) noexcept;

    T& operator[](u64 i) { return data[i]; }
    const T& operator[](u64 i) const { return data[i]; }
    T* begin() { return data; }
    T* end() { return data + size; }
    const T* begin() const { return data; }
    const T* end() const { return data + size; }
    bool isEmpty() const { return size == 0; }

private:
    void allocate(u64 n);
};

template <class T>
void znDynArray<T>::allocate(u64 n)
{
    const bool fits = n <= ~u64(0) / sizeof(T);
    void* block = fits ? zn_aligned_realloc(data, n * sizeof(T), alignment) : nullptr;
    if (!block) {
        std::printf("Allocation failed\n");
        clear();
        return;
    }
    data = static_cast<T*>(block);
    capacity = n;
}

template <class T>
void znDynArray<T>::reserve(u64 n, bool setSize)
{
    if (n == 0)
        n = 1;
    if (n > capacity)
        allocate(n);
    if (setSize && n <= capacity)
        size = n;
}

template <class T>
znDynArray<T>& znDynArray<T>::operator=(const znDynArray& other)
{
    if (this == &other)
        return *this;
    if (capacity != other.capacity || alignment != other.alignment)
        clear();
    alignment = other.alignment;
    if (capacity != other.capacity)
        allocate(other.capacity);
    if (capacity < other.size)
        return *this;
    size = other.size;
    if (size > 0)
        std::memcpy(static_cast<void*>(data), other.data, size * sizeof(T));
    return *this;
}

template <class T>
void znDynArray<T>::clear()
{
    zn_aligned_free(data);
    data = nullptr;
    size = 0;
    capacity = 0;
}

template <class T>
void znDynArray<T>::swap(znDynArray& other) noexcept
{
    std::swap(size, other.size);
    std::swap(capacity, other.capacity);
    std::swap(alignment, other.alignment);
    std::swap(data, other.data);
}
