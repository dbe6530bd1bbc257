#pragma once

// How much of everything a file may ask for. A reader checks before it allocates; a message that
// refuses names the option that would allow it. One object per reading, passed along: no globals.

#include "host/znAligned.h"

#include <string>
#include <string_view>
#include <vector>

namespace io {

struct Limits
{
    u64 imageSide = 65536;           ///< pixels along one side
    u64 imageChannels = 1024;        ///< channels of one image
    u64 imageSize = u64(4) << 30;    ///< bytes of one decoded image
    u64 imageRatio = 10000;          ///< decoded bytes per byte of file (deflate reaches 1,032)
    u64 exrParts = 64;               ///< parts of one OpenEXR file
    u64 jsonSize = u64(512) << 20;   ///< bytes of JSON text
    u64 jsonNesting = 256;           ///< objects and arrays inside each other
    u64 nodes = 10'000'000;          ///< nodes of one scene
    u64 accessors = 1'000'000;       ///< arrays described by one scene file
    u64 fileSize = u64(8) << 30;     ///< bytes of one file
    u64 instances = 10'000'000;      ///< geometry instances of one scene
    u64 textures = 100'000;          ///< images of one scene
    u64 triangles = 2'147'483'647;   ///< triangles of one scene
    u64 lookSize = u64(64) << 20;    ///< bytes of one look file
    u64 lookIncludes = 16;           ///< look files that include each other
    u64 importMemory = u64(8) << 30; ///< address space of an importer, bytes
    u64 importSeconds = 600;         ///< processor time of an importer
    u64 importEntities = 10'000'000; ///< meshes, materials and nodes an importer may build

    /// One row per limit: the name on the command line and the field.
    struct Entry
    {
        const char* name;
        u64 Limits::*value;
        const char* meaning;
    };
    static const std::vector<Entry>& entries();

    /// Takes "NAME=N" as in `--limit image-side=8192`. N is decimal, with an optional K, M or G
    /// for powers of 1,024.
    /// @throws std::invalid_argument with one line: unknown name (and the known ones), bad number
    void set(std::string_view assignment);

    /// "65537 is above the limit of 65536 (--limit image-side=N)"
    std::string refusal(u64 Limits::*limit, u64 asked) const;

    /// @throws InputError naming file, subject and option when asked is above the limit
    void check(u64 Limits::*limit, u64 asked, std::string_view file,
               std::string_view subject) const;
};

} // namespace io
