#include "host/znRTCryptomatte.h"

#include <nlohmann/json.hpp>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

struct Entry
{
    u32 id;
    float weight;
};

/// The ids of one pixel. Few pixels show more than four, so a vector that grows on demand costs
/// one allocation per pixel and kind.
struct EntryList
{
    std::vector<Entry> entries;

    void add(u32 id, float weight)
    {
        for (Entry& entry : entries)
            if (entry.id == id) {
                entry.weight += weight;
                return;
            }
        entries.push_back({id, weight});
    }

    void sort()
    {
        std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
            return a.weight != b.weight ? a.weight > b.weight : a.id < b.id;
        });
    }

    /// Ids that negative lobes have cancelled take no part.
    float getTotal() const
    {
        float total = 0.0f;
        for (const Entry& entry : entries)
            total += std::max(entry.weight, 0.0f);
        return total;
    }
};

u32 mixBlock(u32 k)
{
    return std::rotl(k * 0xcc9e2d51u, 15) * 0x1b873593u;
}

} // namespace

struct znRTCryptomatte::Pixel
{
    EntryList lists[2];
    std::atomic_flag lock;
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
        for (EntryList& list : pixels[i].lists)
            list.entries.clear();
}

void znRTCryptomatte::addUnlocked(Pixel& pixel, u32 objectHash, u32 materialHash, float weight)
{
    if (weight != weight)
        return;
    pixel.lists[objects].add(objectHash, weight);
    pixel.lists[materials].add(materialHash, weight);
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
            for (EntryList& list : pixels[std::size_t(y) * width + x].lists)
                list.sort();
    });
}

ZN_RGBA32F znRTCryptomatte::getLayer(int x, int y, int layer) const
{
    ZN_RGBA32F result{0.0f, 0.0f, 0.0f, 0.0f};
    const Pixel* pixel = findPixel(x, y);
    if (!pixel || layer < 0 || layer >= 2 * layersPerKind)
        return result;
    const EntryList& list = pixel->lists[layer / layersPerKind];
    const float total = list.getTotal();
    const auto rank = [&](std::size_t index, float& id, float& coverage) {
        if (index >= list.entries.size() || !(list.entries[index].weight > 0.0f))
            return;
        id = toFloat(list.entries[index].id);
        coverage = list.entries[index].weight / total;
    };
    const std::size_t first = 2 * std::size_t(layer % layersPerKind);
    rank(first, result.r, result.g);
    rank(first + 1, result.b, result.a);
    return result;
}

int znRTCryptomatte::getRankCount(int x, int y, Kind kind) const
{
    const Pixel* pixel = findPixel(x, y);
    if (!pixel)
        return 0;
    const std::vector<Entry>& entries = pixel->lists[kind].entries;
    return int(std::count_if(entries.begin(), entries.end(),
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
