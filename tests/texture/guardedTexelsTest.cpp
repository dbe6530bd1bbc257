// That lookups read the texels of their levels and no other byte: each level ends, or begins, where
// memory does that no one may touch.

#include "textureFixture.h"

#include "texture/znRTTextureAccessor.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>

using namespace textureTest;

namespace {

using F = znRTTextureFunctions;

constexpr int types[] = {Sampler::typeL8,       Sampler::typeL16,      Sampler::typeLHalf,
                         Sampler::typeLFloat,   Sampler::typeLA8,      Sampler::typeLA16,
                         Sampler::typeLAHalf,   Sampler::typeLAFloat,  Sampler::typeRGB8,
                         Sampler::typeBGR8,     Sampler::typeRGB16,    Sampler::typeRGBHalf,
                         Sampler::typeRGBFloat, Sampler::typeRGBA8,    Sampler::typeBGRA8,
                         Sampler::typeRGBA16,   Sampler::typeRGBAHalf, Sampler::typeRGBAFloat};

/// Memory between two pages that fault.
class GuardedBlock
{
public:
    explicit GuardedBlock(std::size_t bytes)
    {
        const auto page = std::size_t(sysconf(_SC_PAGESIZE));
        inner = (bytes + page - 1) / page * page;
        total = inner + 2 * page;
        memory =
            static_cast<u8*>(mmap(nullptr, total, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        start = memory + page;
        mprotect(start, inner, PROT_READ | PROT_WRITE);
    }
    ~GuardedBlock() { munmap(memory, total); }
    GuardedBlock(const GuardedBlock&) = delete;
    GuardedBlock& operator=(const GuardedBlock&) = delete;

    /// A copy that touches the page before, or the one behind.
    const u8* hold(const u8* bytes, std::size_t count, bool atEnd)
    {
        u8* const place = atEnd ? start + inner - count : start;
        std::memcpy(place, bytes, count);
        return place;
    }

private:
    u8 *memory, *start;
    std::size_t inner, total;
};

/// 5 x 3 texels that are all alike, with all levels and two layers.
struct Guarded
{
    explicit Guarded(int type, bool atEnd)
    {
        const int texelSize = Sampler::getTexelSize(type);
        const std::vector<u8> zeros(std::size_t(width * height * layers * texelSize), 0);
        EXPECT_TRUE(sampler.setTexels(type, width, height, layers, zeros.data()));
        sampler.createMipmaps();
        for (std::size_t i = 0; i < sampler.levelData.size(); ++i) {
            const int level = int(i) / layers;
            const auto bytes = std::size_t(sampler.getLevelWidth(level) *
                                           sampler.getLevelHeight(level) * texelSize);
            const std::vector<u8> own(bytes, 0x3f); // finite in all types
            blocks.push_back(std::make_unique<GuardedBlock>(bytes));
            sampler.levelData[i] = blocks.back()->hold(own.data(), bytes, atEnd);
        }
        sampler.borderColor = {0.25f, 0.25f, 0.25f, 0.25f};
    }

    static constexpr int width = 5, height = 3, layers = 2;
    znRTSampler2DArray sampler;
    std::vector<std::unique_ptr<GuardedBlock>> blocks;
};

constexpr float inf = std::numeric_limits<float>::infinity();

/// Ordinary ones, edges and their neighbours, and what no one should ask for.
float coordinate(std::mt19937& engine)
{
    static const float special[] = {
        0.0f,  1.0f,    -1.0f,  std::nextafter(1.0f, 0.0f),
        -0.0f, -1e-30f, 1e-45f, std::nextafter(1.0f, 2.0f),
        inf,   -inf,    1e9f,   -1e9f,
        3e38f, -3e38f,  2.0f,   std::numeric_limits<float>::quiet_NaN()};
    const u32 i = u32(engine());
    return i % 3 ? special[i / 3 % 16] : float(i / 3 % 4001) * 1e-3f - 2.0f;
}

znFloatType<2> coordinates(std::mt19937& engine)
{
    const float a = coordinate(engine), b = coordinate(engine), c = coordinate(engine);
    return {a, b, c, coordinate(engine)};
}

znRTVector2fPacket places(std::mt19937& engine)
{
    const znFloatType<2> s = coordinates(engine);
    return {s, coordinates(engine)};
}

/// All texels are alike: lanes of the mask show their value, or the border's under decal, or a
/// mixture of the two; the others are 0.
void expectTexels(const Sampler& sampler, const znRTColorPacket& seen, const znFloatType<2>& mask)
{
    const znRTVector4f texel = sampler.getTexel(0, 0, 0, 0), border = sampler.borderColor;
    const bool mixes = (sampler.wrapMode & 3) == Sampler::decal || sampler.wrapMode >> 2 == 2;
    const float of[] = {texel.x, texel.y, texel.z, texel.w};
    for (int c = 0; c < 4; ++c) {
        const float rounding = of[c] * 1e-5f;
        const float least = mixes ? std::min(of[c], border.x) : of[c];
        const float most = mixes ? std::max(of[c], border.x) : of[c];
        const znFloatType<2> isGood = (seen[c] >= znFloatType<2>(least - rounding)) &
                                      (seen[c] <= znFloatType<2>(most + rounding));
        const znFloatType<2> isNothing = seen[c] == znFloatType<2>(0.0f);
        ASSERT_EQ(moveMask(select(mask, isGood, isNothing)), 15)
            << "channel " << c << ": " << seen[c][0] << ' ' << seen[c][1] << ' ' << seen[c][2]
            << ' ' << seen[c][3] << " of " << of[c];
    }
}

} // namespace

TEST(GuardedTexels, AreAllThatLookupsRead)
{
    std::mt19937 engine(1);
    for (const int type : types)
        for (const bool atEnd : {false, true}) {
            Guarded guarded(type, atEnd);
            znRTSampler2DArray& sampler = guarded.sampler;
            for (int wrapMode = 0; wrapMode < 16; ++wrapMode) {
                SCOPED_TRACE("type " + std::to_string(type) + ", wrap " + std::to_string(wrapMode));
                sampler.wrapMode = wrapMode;
                for (int i = 0; i < 24; ++i) {
                    const znFloatType<2> mask = expandLanes(i % 16);
                    const znRTVector2fPacket uv = places(engine);
                    const znTextureFootprint footprint{places(engine), places(engine)};
                    const znFloatType<2> level = coordinates(engine);
                    expectTexels(sampler, F::texture2DNearest(sampler, uv, mask), mask);
                    expectTexels(sampler, F::texture2D(sampler, uv, mask), mask);
                    for (const bool isDirectional : {false, true}) {
                        F::s_useHighQualityTextureFiltering = isDirectional;
                        expectTexels(sampler, F::texture2D(sampler, uv, footprint, mask), mask);
                    }
                    expectTexels(sampler, F::texture3DBilinear(sampler, uv, level, mask), mask);
                    const znIntType<2> element(-1, int(engine()), 1, 2);
                    expectTexels(sampler, F::texture2DArray(sampler, uv, element, mask), mask);
                    expectTexels(sampler,
                                 F::environmentLookup(sampler, {uv.x, uv.y, coordinates(engine)},
                                                      level, false, mask),
                                 mask);
                }
            }
        }
}

TEST(GuardedTexels, AreAllThatAccessorsRead)
{
    std::mt19937 engine(2);
    for (const int type : types)
        for (const bool atEnd : {false, true}) {
            Guarded guarded(type, atEnd);
            znRTSampler2DArray& sampler = guarded.sampler;
            for (int wrapMode = 0; wrapMode < 16; ++wrapMode)
                for (int filter = 0; filter < 3; ++filter) {
                    SCOPED_TRACE("type " + std::to_string(type) + ", wrap " +
                                 std::to_string(wrapMode) + ", filter " + std::to_string(filter));
                    sampler.wrapMode = wrapMode;
                    znRTTextureAccessor* made = nullptr;
                    znRTTextureAccessor::getTextureAccessor(made, sampler, filter == 1,
                                                            filter == 2);
                    const std::unique_ptr<znRTTextureAccessor> accessor(made);
                    for (int i = 0; i < 8; ++i) {
                        const znFloatType<2> mask = expandLanes(int(engine() % 16));
                        const znRTVector2fPacket uv = places(engine);
                        expectTexels(sampler,
                                     accessor->texture2D(sampler, uv,
                                                         {places(engine), places(engine)}, mask),
                                     mask);
                        expectTexels(sampler,
                                     accessor->texture2DNoTransformLod(sampler, uv,
                                                                       coordinates(engine), mask),
                                     mask);
                        znTexelCorners corners;
                        accessor->getBilinearSamples(sampler, uv, mask, corners);
                        for (const znRTColorPacket& corner : corners.corner)
                            expectTexels(sampler, corner, mask);
                    }
                }
        }
}
