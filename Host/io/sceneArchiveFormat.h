#pragma once

// What writer and reader of the scene archive share.

#include "host/osg/FieldContainer.h"
#include "io/InputError.h"

#include <cstring>

namespace io {

struct ArchiveHeader
{
    char magic[8] = {'Z', 'N', 'S', 'C', 'E', 'N', 'E', '\n'};
    u32 version = 1;
    u32 reserved = 0;
    u64 jsonSize = 0;
    u64 binarySize = 0;

    bool hasMagic() const { return std::memcmp(magic, ArchiveHeader().magic, sizeof(magic)) == 0; }
};
static_assert(sizeof(ArchiveHeader) == 32);

/// Blobs begin at multiples of this, counted from the start of the binary part.
constexpr u64 blobAlignment = 4;
constexpr u64 padded(u64 size)
{
    return (size + blobAlignment - 1) / blobAlignment * blobAlignment;
}

} // namespace io
