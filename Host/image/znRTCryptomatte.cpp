#include "host/znRTCryptomatte.h"

#include <nlohmann/json.hpp>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdio>
#include <span>
#include <thread>
#include <vector>

namespace {

struct Entry
{
    u32 id;
    float weight;
};

/// Entries of a pixel and kind that need no memory of their own: few pixels show more objects.
constexpr std::size_t entriesInPlace = 3;

/// Ids that negative lobes have cancelled take no part.
float totalOf(std::span<const Entry> entries)
{
    float total = 0.0f;
    for (const Entry& entry : entries)
        total += std::max(entry.weight, 0.0f);
    return total;
}

u32 mixBlock(u32 k)
{
    return std::rotl(k * 0xcc9e2d51u, 15) * 0x1b873593u;
}

} // namespace

/// The ids of one pixel, in a cache line of their own as long as they fit in place: a sample adds
/// to all pixels under the filter, so this is where the time goes.
struct alignas(64) znRTCryptomatte::Pixel
{
    /// Lists that outgrew their place.
    struct Overflow
    {
        std::vector<Entry> entries[2];
    };

    Entry inPlace[2][entriesInPlace];
    std::unique_ptr<Overflow> overflow;
    std::atomic_flag lock;
    u8 counts[2] = {0, 0}; ///< in place

    std::span<Entry> entries(int kind)
    {
        if (overflow && !overflow->entries[kind].empty())
            return overflow->entries[kind];
        return {inPlace[kind], counts[kind]};
    }
    void add(int kind, u32 id, float weight)
    {
        for (Entry& entry : entries(kind))
            if (entry.id == id) {
                entry.weight += weight;
                return;
            }
        append(kind, {id, weight});
    }
    void append(int kind, Entry entry)
    {
        if (counts[kind] < entriesInPlace) {
            inPlace[kind][counts[kind]++] = entry;
            return;
        }
        if (!overflow)
            overflow = std::make_unique<Overflow>();
        std::vector<Entry>& list = overflow->entries[kind];
        if (list.empty())
            list.assign(std::begin(inPlace[kind]), std::end(inPlace[kind]));
        list.push_back(entry);
    }
    void sort()
    {
        for (int kind = 0; kind < 2; ++kind)
            std::ranges::sort(entries(kind), [](const Entry& a, const Entry& b) {
                return a.weight != b.weight ? a.weight > b.weight : a.id < b.id;
            });
    }
    void clear()
    {
        overflow.reset();
        counts[0] = counts[1] = 0;
    }
};

znRTCryptomatte::znRTCryptomatte() = default;
znRTCryptomatte::~znRTCryptomatte() = default;

znRTCryptomatte::znRTCryptomatte(int newWidth, int newHeight)
{
    resize(newWidth, newHeight);
}

void znRTCryptomatte::resize(int newWidth, int newHeight)
{
    pixels.reset();
    width = std::max(newWidth, 0);
    height = std::max(newHeight, 0);
    pixels = std::make_unique<Pixel[]>(std::size_t(width) * height);
}

void znRTCryptomatte::clear()
{
    for (std::size_t i = 0; i < std::size_t(width) * height; ++i)
        pixels[i].clear();
}

void znRTCryptomatte::addUnlocked(Pixel& pixel, u32 objectHash, u32 materialHash, float weight)
{
    if (weight != weight)
        return;
    pixel.add(objects, objectHash, weight);
    pixel.add(materials, materialHash, weight);
}

znRTCryptomatte::Pixel* znRTCryptomatte::findPixel(int x, int y) const
{
    if (x < 0 || y < 0 || x >= width || y >= height)
        return nullptr;
    return &pixels[std::size_t(y) * width + x];
}

void znRTCryptomatte::add(int x, int y, u32 objectHash, u32 materialHash, float weight)
{
    if (Pixel* pixel = findPixel(x, y))
        addUnlocked(*pixel, objectHash, materialHash, weight);
}

void znRTCryptomatte::addLocked(int x, int y, u32 objectHash, u32 materialHash, float weight)
{
    Pixel* pixel = findPixel(x, y);
    if (!pixel)
        return;
    // Held for a few dozen instructions, by two neighbouring tiles at most: spinning is shorter
    // than sleeping.
    while (pixel->lock.test_and_set(std::memory_order_acquire))
        std::this_thread::yield();
    addUnlocked(*pixel, objectHash, materialHash, weight);
    pixel->lock.clear(std::memory_order_release);
}

void znRTCryptomatte::sort()
{
    tbb::parallel_for(0, height, [this](int y) {
        for (int x = 0; x < width; ++x)
            pixels[std::size_t(y) * width + x].sort();
    });
}

ZN_RGBA32F znRTCryptomatte::getLayer(int x, int y, int layer) const
{
    ZN_RGBA32F result{0.0f, 0.0f, 0.0f, 0.0f};
    Pixel* pixel = findPixel(x, y);
    if (!pixel || layer < 0 || layer >= 2 * layersPerKind)
        return result;
    const std::span<const Entry> entries = pixel->entries(layer / layersPerKind);
    const float total = totalOf(entries);
    const auto rank = [&](std::size_t index, float& id, float& coverage) {
        if (index >= entries.size() || !(entries[index].weight > 0.0f))
            return;
        id = toFloat(entries[index].id);
        coverage = entries[index].weight / total;
    };
    const std::size_t first = 2 * std::size_t(layer % layersPerKind);
    rank(first, result.r, result.g);
    rank(first + 1, result.b, result.a);
    return result;
}

int znRTCryptomatte::getRankCount(int x, int y, Kind kind) const
{
    Pixel* pixel = findPixel(x, y);
    if (!pixel)
        return 0;
    return int(std::ranges::count_if(pixel->entries(kind),
                                     [](const Entry& entry) { return entry.weight > 0.0f; }));
}

u32 znRTCryptomatte::murmur3(std::string_view bytes, u32 seed)
{
    // A. Appleby's public domain MurmurHash3, x86 32-bit variant; blocks are little endian.
    const auto byte = [&](std::size_t i) { return u32(u8(bytes[i])); };
    u32 h = seed;
    std::size_t i = 0;
    for (; i + 4 <= bytes.size(); i += 4) {
        const u32 block = byte(i) | byte(i + 1) << 8 | byte(i + 2) << 16 | byte(i + 3) << 24;
        h = std::rotl(h ^ mixBlock(block), 13) * 5u + 0xe6546b64u;
    }
    u32 tail = 0;
    for (std::size_t k = bytes.size(); k > i; --k)
        tail = tail << 8 | byte(k - 1);
    h ^= mixBlock(tail);
    h ^= u32(bytes.size());
    h = (h ^ (h >> 16)) * 0x85ebca6bu;
    h = (h ^ (h >> 13)) * 0xc2b2ae35u;
    return h ^ (h >> 16);
}

u32 znRTCryptomatte::hash(std::string_view name)
{
    const u32 bits = murmur3(name, 0);
    // Denormals, infinities and NaN do not survive all tools: one flipped bit makes them normal.
    const u32 exponent = bits >> 23 & 0xffu;
    return exponent == 0 || exponent == 255 ? bits ^ (1u << 23) : bits;
}

float znRTCryptomatte::toFloat(u32 id)
{
    return std::bit_cast<float>(id);
}

u32 znRTCryptomatte::addName(Kind kind, const std::string& name)
{
    const u32 id = hash(name);
    names[kind][name] = id;
    return id;
}

std::string znRTCryptomatte::getManifest(Kind kind) const
{
    nlohmann::json manifest = nlohmann::json::object();
    for (const auto& [name, id] : names[kind]) {
        char digits[9];
        std::snprintf(digits, sizeof digits, "%08x", id);
        manifest[name] = digits;
    }
    // Names are UTF-8; one that is not must not stop the picture from being written.
    return manifest.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}
