#include "io/Limits.h"

#include "io/InputError.h"

#include <charconv>

namespace io {

const std::vector<Limits::Entry>& Limits::entries()
{
    static const std::vector<Entry> s_entries = {
        {"image-side", &Limits::imageSide, "pixels along one side of an image"},
        {"image-channels", &Limits::imageChannels, "channels of an image"},
        {"image-size", &Limits::imageSize, "bytes of a decoded image"},
        {"image-ratio", &Limits::imageRatio, "decoded bytes per byte of an image file"},
        {"exr-parts", &Limits::exrParts, "parts of an OpenEXR file"},
        {"json-size", &Limits::jsonSize, "bytes of JSON text"},
        {"json-nesting", &Limits::jsonNesting, "nesting of JSON values"},
        {"nodes", &Limits::nodes, "nodes of a scene"},
        {"accessors", &Limits::accessors, "accessors of a scene file"},
        {"file-size", &Limits::fileSize, "bytes of a file"},
        {"instances", &Limits::instances, "geometry instances of a scene"},
        {"textures", &Limits::textures, "images of a scene"},
        {"triangles", &Limits::triangles, "triangles of a scene"},
        {"look-size", &Limits::lookSize, "bytes of a look file"},
        {"look-includes", &Limits::lookIncludes, "look files inside each other"},
        {"import-memory", &Limits::importMemory, "address space of an importer in bytes"},
        {"import-seconds", &Limits::importSeconds, "processor seconds of an importer"},
        {"import-entities", &Limits::importEntities, "entities an importer may build"},
    };
    return s_entries;
}

namespace {

std::invalid_argument unknownLimit(std::string_view name)
{
    std::string known;
    for (const Limits::Entry& entry : Limits::entries())
        known += (known.empty() ? "" : ", ") + std::string(entry.name);
    return std::invalid_argument("--limit: unknown name '" + printable(name) +
                                 "'; known: " + known);
}

/// @return false: no number, something behind it, or more than 64 bits
bool parseCount(std::string_view text, u64& value)
{
    u64 scale = 1;
    const std::string_view suffixes = "KMG";
    if (!text.empty() && suffixes.find(text.back()) != suffixes.npos) {
        scale = u64(1) << 10 * (suffixes.find(text.back()) + 1);
        text.remove_suffix(1);
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || text.empty())
        return false;
    return !__builtin_mul_overflow(value, scale, &value);
}

} // namespace

void Limits::set(std::string_view assignment)
{
    const std::size_t sign = assignment.find('=');
    const std::string_view name = assignment.substr(0, sign);
    for (const Entry& entry : entries()) {
        if (name != entry.name)
            continue;
        u64 value = 0;
        if (sign == assignment.npos || !parseCount(assignment.substr(sign + 1), value))
            throw std::invalid_argument("--limit " + std::string(name) +
                                        ": expected NAME=N, N a whole number, K, M or G behind it");
        this->*entry.value = value;
        return;
    }
    throw unknownLimit(name);
}

std::string Limits::refusal(u64 Limits::*limit, u64 asked) const
{
    for (const Entry& entry : entries())
        if (entry.value == limit)
            return std::to_string(asked) + " is above the limit of " +
                   std::to_string(this->*limit) + " (--limit " + entry.name + "=N)";
    return std::to_string(asked) + " is above the limit of " + std::to_string(this->*limit);
}

void Limits::check(u64 Limits::*limit, u64 asked, std::string_view file,
                   std::string_view subject) const
{
    if (asked > this->*limit)
        throw InputError(file, std::string(subject) + " " + refusal(limit, asked));
}

} // namespace io
