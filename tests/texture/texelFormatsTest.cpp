#include "texture/texelFormats.h"

#include "textureFixture.h"

#include <sys/mman.h>
#include <unistd.h>

using namespace textureTest;

namespace {

/// How a storage type keeps four numbers, for writing them by hand.
struct Storage
{
    int type;
    int channels;
    char component; ///< b 8 bit, w 16 bit, h half, f float
    bool blueFirst = false;
};

constexpr Storage storages[] = {
    {Sampler::typeL8, 1, 'b'},          {Sampler::typeL16, 1, 'w'},
    {Sampler::typeLHalf, 1, 'h'},       {Sampler::typeLFloat, 1, 'f'},
    {Sampler::typeLA8, 2, 'b'},         {Sampler::typeLA16, 2, 'w'},
    {Sampler::typeLAHalf, 2, 'h'},      {Sampler::typeLAFloat, 2, 'f'},
    {Sampler::typeRGB8, 3, 'b'},        {Sampler::typeBGR8, 3, 'b', true},
    {Sampler::typeRGB16, 3, 'w'},       {Sampler::typeRGBHalf, 3, 'h'},
    {Sampler::typeRGBFloat, 3, 'f'},    {Sampler::typeRGBA8, 4, 'b'},
    {Sampler::typeBGRA8, 4, 'b', true}, {Sampler::typeRGBA16, 4, 'w'},
    {Sampler::typeRGBAHalf, 4, 'h'},    {Sampler::typeRGBAFloat, 4, 'f'}};

/// Multiples of 1/4, which halves and floats hold exactly and bytes within half a step.
constexpr float values[4][4] = {{0.25f, 0.5f, 0.75f, 0.5f},
                                {1.0f, 0.0f, 0.25f, 0.75f},
                                {0.5f, 0.75f, 0.0f, 0.0f},
                                {0.75f, 1.0f, 0.5f, 1.0f}};

template <class T>
void append(std::vector<u8>& bytes, T value)
{
    const auto* const p = reinterpret_cast<const u8*>(&value);
    bytes.insert(bytes.end(), p, p + sizeof(T));
}

std::vector<u8> pack(const Storage& storage)
{
    std::vector<u8> bytes;
    for (const auto& rgba : values)
        for (int c = 0; c < storage.channels; ++c) {
            const bool isAlpha = c == (storage.channels == 2 ? 1 : 3);
            const float value = rgba[isAlpha ? 3 : storage.blueFirst ? 2 - c : c];
            if (storage.component == 'b')
                append(bytes, u8(value * 255.0f + 0.5f));
            else if (storage.component == 'w')
                append(bytes, u16(value * 65535.0f + 0.5f));
            else if (storage.component == 'f')
                append(bytes, value);
            else
                append(bytes,
                       u16(value == 0.0f ? 0 : (std::bit_cast<u32>(value) - 0x38000000u) >> 13));
        }
    return bytes;
}

} // namespace

TEST(TexelFormats, GiveBackWhatEachStorageTypeHolds)
{
    for (const Storage& storage : storages) {
        znRTSampler2D sampler;
        ASSERT_TRUE(sampler.setTexels(storage.type, 2, 2, 1, pack(storage).data()));
        sampler.setWrap(Sampler::clamp, Sampler::clamp);
        const znRTVector2fPacket centres({0.25f, 0.75f, 0.25f, 0.75f},
                                         {0.25f, 0.25f, 0.75f, 0.75f});
        const float tolerance = storage.component == 'b' ? 0.0021f : 1e-5f;
        for (const znRTColorPacket& seen :
             {znRTTextureFunctions::texture2D(sampler, centres, allLanes),
              znRTTextureFunctions::texture2DNearest(sampler, centres, allLanes)})
            for (int lane = 0; lane < 4; ++lane) {
                const float* const v = values[lane];
                const bool isGrey = storage.channels < 3, hasAlpha = storage.channels % 2 == 0;
                SCOPED_TRACE("type " + std::to_string(storage.type) + ", lane " +
                             std::to_string(lane));
                EXPECT_COLOR(seen.getComponent(lane), v[0], isGrey ? v[0] : v[1],
                             isGrey ? v[0] : v[2], hasAlpha ? v[3] : 1.0f, tolerance);
            }
    }
}

TEST(TexelFormats, ReadZeroFromNumbersThatAreNoType)
{
    znRTSampler2D sampler;
    fillRow(sampler, {1.0f, 1.0f});
    for (const int type : {3, 8, 14, 20}) {
        sampler.pixelType = type;
        const znRTColorPacket seen =
            znRTTextureFunctions::texture2D(sampler, inAllLanes(0.3f, 0.5f), allLanes);
        EXPECT_LANES_EQ(seen.r, 0, 0, 0, 0);
        EXPECT_LANES_EQ(seen.a, 0, 0, 0, 0);
    }
}

// 1, -2, 65504 and the smallest normal are IEEE's; beyond them the exponent is read plainly.
TEST(TexelFormats, ExpandHalvesByOneShiftAndOneAddition)
{
    using texelFormat::expandHalf;
    EXPECT_EQ(expandHalf(0x3C00), 1.0f);
    EXPECT_EQ(expandHalf(0xC000), -2.0f);
    EXPECT_EQ(expandHalf(0x7BFF), 65504.0f);
    EXPECT_EQ(expandHalf(0x0400), 6.103515625e-5f);
    EXPECT_EQ(expandHalf(0x0000), 0.0f);
    EXPECT_EQ(expandHalf(0x8000), 0.0f);
    EXPECT_EQ(expandHalf(0x7C00), 65536.0f);
    EXPECT_EQ(expandHalf(0x0001), 3.0547380447387695e-5f);
}

// The table is the curve of the stored integers; alpha is a share and never bent.
TEST(TexelFormats, BendIntegersByTheTableAndLeaveAlphaAlone)
{
    const u8 byte[] = {128, 128, 128, 128};
    const u16 word[] = {32768, 32768, 32768, 32768};
    const double encoded = 128.0 / 255.0;
    const double linear = std::pow((encoded + 0.055) / 1.055, 2.4); // IEC 61966-2-1
    znRTSampler2D sampler;
    ASSERT_TRUE(sampler.setTexels(Sampler::typeRGBA8, 1, 1, 1, byte));
    const auto read = [&] {
        return znRTTextureFunctions::texture2D(sampler, inAllLanes(0.5f, 0.5f), allLanes)
            .getComponent(2);
    };
    EXPECT_COLOR(read(), encoded, encoded, encoded, encoded, 1e-6);
    sampler.setGamma(2.2f, false, true);
    EXPECT_COLOR(read(), linear, linear, linear, encoded, 1e-5);
    ASSERT_TRUE(sampler.setTexels(Sampler::typeRGBA16, 1, 1, 1, word));
    EXPECT_COLOR(read(), 0.2140, 0.2140, 0.2140, 0.5, 1e-4);
    sampler.setGamma(3.0f, false, true);
    EXPECT_COLOR(read(), 0.125, 0.125, 0.125, 0.5, 1e-4);
}

// Rows beyond the first lie in memory that no one may read.
TEST(TexelFormats, ReadNothingInLanesOffTheMask)
{
    const auto page = std::size_t(sysconf(_SC_PAGESIZE));
    auto* const memory = static_cast<u8*>(
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(static_cast<void*>(memory), MAP_FAILED);
    ASSERT_EQ(mprotect(memory + page, page, PROT_NONE), 0);
    for (const Storage& storage : storages) {
        znRTSampler2D sampler;
        const std::vector<u8> texels(64, 0);
        ASSERT_TRUE(sampler.setTexels(storage.type, 2, 2, 1, texels.data()));
        // The first row ends where the page does.
        sampler.levelData[0] = memory + page - 2 * Sampler::getTexelSize(storage.type);
        sampler.setWrap(Sampler::clamp, Sampler::clamp);
        const znRTVector2fPacket places({0.2f, 0.5f, 0.8f, 0.5f}, {0.0f, 1.0f, 0.2f, 0.75f});
        const znFloatType<2> mask = expandLanes(5);
        const znRTColorPacket seen = znRTTextureFunctions::texture2D(sampler, places, mask);
        EXPECT_LANES_EQ(seen.r, 0, 0, 0, 0);
        znRTTextureFunctions::texture2DNearest(sampler, places, mask);
        znRTTextureFunctions::texture2D(sampler, places, {places, places}, mask);
    }
    munmap(memory, 2 * page);
}
