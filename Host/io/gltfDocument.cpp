#include "io/gltfDocument.h"

#include "host/znLog.h"
#include "io/InputError.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fmt/format.h>

namespace io {

namespace {

constexpr u32 binaryMagic = 0x46546C67, jsonChunk = 0x4E4F534A, dataChunk = 0x004E4942;
constexpr u64 largestExact = u64(1) << 53; ///< whole numbers that JSON carries without loss

u32 readWord(std::span<const u8> bytes, u64 offset)
{
    u32 value;
    std::memcpy(&value, bytes.data() + offset, sizeof(value));
    return value;
}

/// Greatest depth of objects and arrays inside each other, without parsing.
u64 nestingOf(std::span<const u8> text)
{
    u64 depth = 0, greatest = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const u8 c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"')
            inString = true;
        else if (c == '{' || c == '[')
            greatest = std::max(greatest, ++depth);
        else if ((c == '}' || c == ']') && depth > 0)
            --depth;
    }
    return greatest;
}

/// RFC 4648; line ends and padding are skipped.
std::vector<u8> decodeBase64(std::string_view text)
{
    std::vector<u8> bytes;
    bytes.reserve(text.size() / 4 * 3);
    u32 bits = 0;
    int count = 0;
    for (const char c : text) {
        u32 value;
        if (c >= 'A' && c <= 'Z')
            value = u32(c - 'A');
        else if (c >= 'a' && c <= 'z')
            value = u32(c - 'a') + 26;
        else if (c >= '0' && c <= '9')
            value = u32(c - '0') + 52;
        else if (c == '+' || c == '-')
            value = 62;
        else if (c == '/' || c == '_')
            value = 63;
        else if (c == '=' || c == '\n' || c == '\r')
            continue;
        else
            throw GltfFault("data URI: not base64");
        bits = bits << 6 | value;
        if (++count % 4 != 1)
            bytes.push_back(u8(bits >> (6 - 2 * ((count - 1) % 4))));
    }
    return bytes;
}

} // namespace

GltfDocument::GltfDocument(InputFile& input, const SceneFolder* folder_)
    : name(input.getName()), limits(input.getLimits()), folder(folder_), file(input.readAll()),
      bytesRead(file.size())
{
    if (file.size() >= 4 && readWord(file, 0) == binaryMagic)
        parseBinary(file);
    else
        parseText(file);
    checkAsset();
    limits.check(&Limits::nodes, count("nodes"), name, "the number of nodes");
    limits.check(&Limits::accessors, count("accessors"), name, "the number of accessors");
    limits.check(&Limits::textures, count("images"), name, "the number of images");
    buffers.resize(count("buffers"));
}

void GltfDocument::parseBinary(std::span<const u8> bytes)
{
    if (bytes.size() < 20)
        fail("is cut off in its header");
    if (readWord(bytes, 4) != 2)
        fail(fmt::format("has binary glTF version {}; only version 2 is read", readWord(bytes, 4)));
    if (readWord(bytes, 8) > bytes.size())
        fail(fmt::format("is cut off: {} of {} bytes are there", bytes.size(), readWord(bytes, 8)));
    const std::span<const u8> whole = bytes.first(readWord(bytes, 8));
    bool hasText = false;
    for (u64 offset = 12; offset + 8 <= whole.size();) {
        const u64 length = readWord(whole, offset);
        const u32 kind = readWord(whole, offset + 4);
        if (length > whole.size() - offset - 8)
            fail("has a chunk that ends behind the file");
        const std::span<const u8> chunk = whole.subspan(offset + 8, length);
        if (!hasText) {
            if (kind != jsonChunk)
                fail("does not begin with a JSON chunk");
            parseText(chunk);
            hasText = true;
        } else if (kind == dataChunk && binaryChunk.empty())
            binaryChunk = chunk;
        offset += 8 + (length + 3) / 4 * 4;
    }
    if (!hasText)
        fail("has no JSON chunk");
}

void GltfDocument::parseText(std::span<const u8> text)
{
    limits.check(&Limits::jsonSize, text.size(), name, "the JSON text");
    limits.check(&Limits::jsonNesting, nestingOf(text), name, "the nesting of the JSON text");
    try {
        root = Json::parse(text.begin(), text.end());
    } catch (const Json::parse_error& error) {
        // The library's own text may quote the file; the place is what helps.
        fail(fmt::format("is no valid JSON (at byte {})", error.byte));
    } catch (const Json::exception&) {
        fail("is no valid JSON (a number is too large)");
    }
    if (!root.is_object())
        fail("is no glTF file (its JSON is no object)");
}

void GltfDocument::checkAsset() const
{
    const Json* asset = member(root, "asset");
    if (!asset)
        fail("is no glTF 2.0 file (no asset block)");
    try {
        const std::string version = text(*asset, "version");
        if (!version.starts_with("2."))
            fail(fmt::format("is glTF version \"{}\"; only 2.x is read", version));
    } catch (const GltfFault& fault) {
        fail(fault.what());
    }
}

u64 GltfDocument::count(const char* list) const
{
    const Json* found = member(root, list);
    return found && found->is_array() ? found->size() : 0;
}

const Json& GltfDocument::element(const char* list, u64 index) const
{
    if (index >= count(list))
        throw GltfFault(fmt::format("{}[{}] is not there", list, index));
    const Json& found = root[list][index];
    if (!found.is_object())
        throw GltfFault(fmt::format("{}[{}] is no object", list, index));
    return found;
}

std::vector<u8> GltfDocument::readUri(const std::string& uri)
{
    if (uri.starts_with("data:")) {
        const std::size_t comma = uri.find(',');
        if (comma == std::string::npos || uri.rfind(";base64", comma) == std::string::npos)
            throw GltfFault("data URI: only base64 is read");
        return decodeBase64(std::string_view(uri).substr(comma + 1));
    }
    if (!folder)
        throw GltfFault("refers to another file");
    InputFile other = folder->open(uri, SceneFolder::Naming::uri);
    std::vector<u8> bytes = other.readAll();
    bytesRead += bytes.size();
    return bytes;
}

std::span<const u8> GltfDocument::buffer(u64 index)
{
    const Json& description = element("buffers", index);
    const u64 length = wholeNumber(description, "byteLength", 0);
    std::span<const u8> bytes;
    if (const Json* uri = member(description, "uri")) {
        if (!uri->is_string())
            throw GltfFault(fmt::format("buffer {}: uri is no text", index));
        std::optional<std::vector<u8>>& cached = buffers.at(index);
        if (!cached)
            cached = readUri(uri->get<std::string>());
        bytes = *cached;
    } else if (index == 0)
        bytes = binaryChunk;
    if (length > bytes.size())
        throw GltfFault(
            fmt::format("buffer {}: {} bytes announced, {} there", index, length, bytes.size()));
    return bytes.first(length);
}

GltfDocument::View GltfDocument::bufferView(u64 index)
{
    const Json& description = element("bufferViews", index);
    const std::optional<u64> source = wholeNumber(description, "buffer");
    if (!source)
        throw GltfFault(fmt::format("bufferView {}: no buffer", index));
    const std::span<const u8> bytes = buffer(*source);
    const u64 offset = wholeNumber(description, "byteOffset", 0);
    const u64 length = wholeNumber(description, "byteLength", 0);
    if (offset > bytes.size() || length > bytes.size() - offset)
        throw GltfFault(fmt::format("bufferView {}: ends behind its buffer", index));
    View view{bytes.subspan(offset, length), wholeNumber(description, "byteStride", 0)};
    if (view.stride > 252)
        throw GltfFault(fmt::format("bufferView {}: byteStride above 252", index));
    return view;
}

void GltfDocument::charge(u64 bytes)
{
    // Good files decode to a few times their size. Many accessors over the same bytes could ask
    // for any amount.
    const u64 limit = (u64(256) << 20) + 64 * bytesRead;
    if (bytes > limit || bytesDecoded > limit - bytes)
        fail("decodes to far more than it holds");
    bytesDecoded += bytes;
}

void GltfDocument::warn(const std::string& text)
{
    // A broken file may have a fault per element: the first ones tell enough.
    constexpr u64 greatestCount = 100;
    if (++warnings <= greatestCount)
        znLog::warning((printable(name) + ": " + printable(text)).c_str());
    if (warnings == greatestCount)
        znLog::warning((printable(name) + ": further warnings are left out").c_str());
}

void GltfDocument::fail(const std::string& cause) const
{
    throw InputError(name, cause);
}

const Json* member(const Json& object, const char* key)
{
    if (!object.is_object())
        return nullptr;
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

std::optional<u64> wholeNumber(const Json& object, const char* key)
{
    const Json* value = member(object, key);
    if (!value)
        return std::nullopt;
    const double asDouble = value->is_number() ? value->get<double>() : -1.0;
    if (!(asDouble >= 0.0) || asDouble > double(largestExact) || asDouble != std::floor(asDouble))
        throw GltfFault(fmt::format("{} is no whole number", key));
    return u64(asDouble);
}

u64 wholeNumber(const Json& object, const char* key, u64 missing)
{
    return wholeNumber(object, key).value_or(missing);
}

double number(const Json& object, const char* key, double missing)
{
    const Json* value = member(object, key);
    if (!value)
        return missing;
    if (!value->is_number() || !std::isfinite(value->get<double>()))
        throw GltfFault(fmt::format("{} is no number", key));
    return value->get<double>();
}

std::vector<double> finiteNumbers(const Json& list, std::size_t count, const char* key)
{
    if (!list.is_array() || list.size() != count)
        throw GltfFault(fmt::format("{} is no list of {} numbers", key, count));
    std::vector<double> values;
    for (const Json& value : list) {
        if (!value.is_number() || !std::isfinite(value.get<double>()) ||
            std::abs(value.get<double>()) > 3.0e38)
            throw GltfFault(fmt::format("{} is no list of {} numbers", key, count));
        values.push_back(value.get<double>());
    }
    return values;
}

std::string text(const Json& object, const char* key)
{
    const Json* value = member(object, key);
    if (!value)
        return {};
    if (!value->is_string())
        throw GltfFault(fmt::format("{} is no text", key));
    return value->get<std::string>();
}

bool flag(const Json& object, const char* key, bool missing)
{
    const Json* value = member(object, key);
    if (!value)
        return missing;
    if (!value->is_boolean())
        throw GltfFault(fmt::format("{} is neither true nor false", key));
    return value->get<bool>();
}

const Json* extension(const Json& object, const char* key)
{
    const Json* extensions = member(object, "extensions");
    const Json* found = extensions ? member(*extensions, key) : nullptr;
    return found && found->is_object() ? found : nullptr;
}

const Json& listOf(const Json& object, const char* key)
{
    static const Json none = Json::array();
    const Json* value = member(object, key);
    if (!value)
        return none;
    if (!value->is_array())
        throw GltfFault(fmt::format("{} is no list", key));
    return *value;
}

} // namespace io
