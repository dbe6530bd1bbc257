#pragma once

// Places of virtual operations in the table of their class, where the order is part of an
// interface. A pointer to a virtual member holds its offset in the table plus one, by the C++ ABI
// of Itanium that this platform follows.

#include <cstddef>
#include <cstring>

template <class Member>
std::ptrdiff_t virtualSlot(Member member)
{
    std::ptrdiff_t offset = 0;
    static_assert(sizeof(member) >= sizeof(offset));
    std::memcpy(&offset, &member, sizeof(offset));
    return (offset - 1) / std::ptrdiff_t(sizeof(void*));
}
