#pragma once

// A glTF file as JSON and bytes, with checked access: nothing outside this class and the accessors
// touches a buffer. Faults of one element are GltfFault; whoever reads a part of the scene decides
// whether the rest can do without it.

#include "io/InputFile.h"
#include "io/SceneFolder.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <stdexcept>

namespace io {

using Json = nlohmann::json;

/// One element of the file is wrong: "accessor 3: ends behind its buffer view".
struct GltfFault : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

class GltfDocument
{
public:
    /// Parses text or binary form.
    /// @throws InputError
    GltfDocument(InputFile& file, const SceneFolder* folder);

    const Json& getRoot() const { return root; }
    const std::string& getName() const { return name; }
    const Limits& getLimits() const { return limits; }

    /// Number of elements of a list of the root ("meshes"); 0 without it.
    u64 count(const char* list) const;
    /// @throws GltfFault for numbers beyond the list and elements that are no objects
    const Json& element(const char* list, u64 index) const;

    struct View
    {
        std::span<const u8> bytes;
        u64 stride = 0; ///< 0: packed
    };
    View bufferView(u64 index);
    /// Bytes behind a URI: data in the text itself or a file beside the scene.
    std::vector<u8> readUri(const std::string& uri);

    /// Counts memory that decoding asks for, against a multiple of what the file holds.
    /// @throws InputError when arrays that share their bytes would fill the memory
    void charge(u64 bytes);

    void warn(const std::string& text);
    u64 getWarningCount() const { return warnings; }
    [[noreturn]] void fail(const std::string& cause) const;

private:
    void parseBinary(std::span<const u8> bytes);
    void parseText(std::span<const u8> text);
    void checkAsset() const;
    std::span<const u8> buffer(u64 index);

    Json root;
    std::string name;
    Limits limits;
    const SceneFolder* folder;
    std::vector<u8> file;
    std::span<const u8> binaryChunk;
    std::vector<std::optional<std::vector<u8>>> buffers;
    u64 bytesRead = 0, bytesDecoded = 0, warnings = 0;
};

// Values of an object. Wrong kinds are faults; missing ones give the default.

/// @return null without the member, also when the object is none
const Json* member(const Json& object, const char* key);
/// A whole number from 0 to 2^53.
std::optional<u64> wholeNumber(const Json& object, const char* key);
u64 wholeNumber(const Json& object, const char* key, u64 missing);
/// Finite numbers only.
double number(const Json& object, const char* key, double missing);
/// @return exactly N finite numbers, or the default
template <std::size_t N>
std::array<double, N> numbers(const Json& object, const char* key,
                              const std::array<double, N>& missing);
std::string text(const Json& object, const char* key);
bool flag(const Json& object, const char* key, bool missing);
/// extensions.NAME of an object; null without.
const Json* extension(const Json& object, const char* key);
/// The elements of a list; an empty list without it.
const Json& listOf(const Json& object, const char* key);

std::vector<double> finiteNumbers(const Json& list, std::size_t count, const char* key);

template <std::size_t N>
std::array<double, N> numbers(const Json& object, const char* key,
                              const std::array<double, N>& missing)
{
    const Json* list = member(object, key);
    if (!list)
        return missing;
    const std::vector<double> values = finiteNumbers(*list, N, key);
    std::array<double, N> result{};
    std::copy(values.begin(), values.end(), result.begin());
    return result;
}

} // namespace io
