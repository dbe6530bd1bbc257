#include "render/layerStore.h"

#include "camera/znRTCamera.h"
#include "host/znPixelfilter.h"
#include "host/znRTCryptomatte.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracerP.h"

#include "support/lanes.h"

#include <bit>
#include <cmath>
#include <limits>
#include <set>
#include <string>

namespace {

using Settings = znRTRaytracingSettings;

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

/// A view of a few pixels with all layers, a camera, and a packet of the four pixels from (x, y)
/// to the right.
class LayerStore : public testing::Test
{
protected:
    static constexpr u32 width = 12, height = 9, pixels = width * height;
    static constexpr float untouched = -5.0f;

    void SetUp() override
    {
        view.m_renderWidth = width;
        view.m_renderHeight = height;
        weights.assign(pixels, 0.0f);
        active.assign(pixels, 1);
        view.m_filterWeights = weights.data();
        view.m_activePixels = active.data();
        for (u32 i = 0; i < u32(znRenderPassCount); ++i)
            if (!isCryptomattePass(i)) {
                buffers[i].assign(pixels, {0, 0, 0, 0});
                view.m_passBuffers[i] = buffers[i].data();
            }
        camera.rowStride = width;
        camera.nearClip = 1.0f;
        camera.farClip = 101.0f;
        Settings::s_imageLeftBound = Settings::s_imageBottomBound = 0;
        Settings::s_imageRightBound = width;
        Settings::s_imageTopBound = height;
        fragment.clear();
        fragment.colour = fragment.layers[0] = znRTColorPacket(0.0f);
        fragment.coverage = znFloatType<2>(1.0f);
        hit.reset(1.0f);
        hit.hitMask = 15;
        placeAt(4, 3);
    }
    void TearDown() override { Settings::s_qualityMode = Settings::interactive; }

    void placeAt(int x, int y)
    {
        ray.pixelX = znIntType<2>(x, x + 1, x + 2, x + 3);
        ray.pixelY = znIntType<2>(y);
    }
    void useFilter(int type, float size)
    {
        camera.setImageFilter(znPixelfilterFactory::getPixelfilter(type, size, size));
        camera.pixelFilterSet.updateFilter(size, size);
    }
    void fill(u32 layer, float value)
    {
        buffers[layer].assign(pixels, {value, value, value, value});
    }
    znRTLayerPacket packet(int lanes = 15) { return {fragment, ray, hit, lanes}; }
    void store(int lanes = 15, float clamp = 10.0f)
    {
        Settings::s_qualityMode = Settings::interactive;
        layers.bind(view, camera, clamp);
        layers.store(packet(lanes));
    }
    void bindStill(u32 iteration = 0, float shiftX = 0.0f, float shiftY = 0.0f)
    {
        Settings::s_qualityMode = Settings::stillFrame;
        view.m_iteration = iteration;
        camera.shiftX = shiftX;
        camera.shiftY = shiftY;
        layers.bind(view, camera, 10.0f);
    }
    void accumulate()
    {
        layers.collect(packet(), samples);
        layers.accumulate(samples);
    }
    const ZN_RGBA32F& at(u32 layer, u32 x, u32 y) const { return buffers[layer][y * width + x]; }

    znRaytracerP view;
    znRTCamera camera;
    znRTRayPacket ray;
    znRTHitInfoPacket hit;
    znRTMultilayerFragment fragment;
    znRTLayerStore layers;
    znRTLayerSamples samples;
    std::vector<ZN_RGBA32F> buffers[znRenderPassCount];
    std::vector<float> weights;
    std::vector<u8> active;
};

bool isFiltered(u32 layer)
{
    return layer <= ZN_PASS_OCCLUSION;
}

} // namespace

TEST(RenderPassNames, StandInTheOrderOfTheirIndices)
{
    // The outer ones, the first of each group, and the neighbours of the groups' borders.
    const std::pair<u32, const char*> expected[] = {{0, "beauty"},
                                                    {1, "diffuse_ibl"},
                                                    {5, "specular_reflection"},
                                                    {7, "incandescence"},
                                                    {8, "diffuse_indirect"},
                                                    {10, "diffuse_color"},
                                                    {14, "transparency_color"},
                                                    {15, "background_color"},
                                                    {16, "diffuse_ibl_illumination"},
                                                    {19, "diffuse_light_illumination"},
                                                    {22, "diffuse_indirect_illumination"},
                                                    {25, "translucency_indirect_illumination"},
                                                    {26, "fog"},
                                                    {27, "lens_flare"},
                                                    {28, "backplates"},
                                                    {29, "frontplates"},
                                                    {30, "occlusion"},
                                                    {31, "normal"},
                                                    {32, "depth"},
                                                    {33, "cryptoObject00"},
                                                    {35, "cryptoObject02"},
                                                    {36, "cryptoMaterial00"},
                                                    {38, "cryptoMaterial02"},
                                                    {39, "materialID"},
                                                    {40, "mask"},
                                                    {41, "position"},
                                                    {42, "view"}};
    for (const auto& [index, name] : expected) {
        EXPECT_STREQ(znRenderPassNames[index], name);
        EXPECT_EQ(findRenderPass(name), int(index));
    }
    EXPECT_EQ(znRenderPassNames.size(), 43u);
    EXPECT_EQ(std::set<std::string>(znRenderPassNames.begin(), znRenderPassNames.end()).size(),
              43u);
    EXPECT_EQ(findRenderPass("Beauty"), -1);
    EXPECT_EQ(findRenderPass(""), -1);
}

// z = n f / ((f - n) d) + 0.5 - 0.5 (n + f) / (f - n), evaluated in double.
TEST(DepthRange, RunsFromOneAtTheNearClipToZeroAtTheFarOne)
{
    const double n = 1.0, f = 101.0;
    const float distances[] = {1.0f, 2.0f, 10.0f, 101.0f};
    const znFloatType<2> stored =
        znRTDepthRange(1.0f, 101.0f).store({distances[0], distances[1], distances[2], 101.0f});
    for (int lane = 0; lane < 4; ++lane) {
        const double expected = n * f / ((f - n) * distances[lane]) + 0.5 - 0.5 * (n + f) / (f - n);
        EXPECT_NEAR(stored[lane], expected, 1e-6) << distances[lane];
    }
    EXPECT_LANES_NEAR(stored, 1.0f, 0.495f, 0.091f, 0.0f, 1e-6f);
}

TEST(DepthRange, GivesNoNaN)
{
    const znFloatType<2> distances(0.0f, 1.0f, notANumber, infinity);
    for (const znRTDepthRange range : {znRTDepthRange(1.0f, 101.0f), znRTDepthRange(1.0f, 1.0f)})
        EXPECT_FALSE(anyLane(isNaN(range.store(distances))));
    EXPECT_LT(znRTDepthRange(1.0f, 101.0f).store(0.0f)[0], 0.0f) << "hidden by a cleared buffer";
}

TEST_F(LayerStore, MultipliesEveryLayerWithTheCoverage)
{
    for (u32 i = 0; i < u32(znRenderPassCount); ++i)
        fragment.layers[i] = znRTColorPacket(1.0f + float(i) / 8.0f);
    fragment.colour = fragment.layers[0];
    fragment.coverage = znFloatType<2>(1.0f, 0.5f, 0.25f, 0.0f);
    store();
    for (u32 i = 0; i < u32(znRenderPassCount); ++i) {
        if (isCryptomattePass(i) || i == ZN_PASS_DEPTH)
            continue;
        for (int lane = 0; lane < 4; ++lane) {
            const float expected = (1.0f + float(i) / 8.0f) * fragment.coverage[lane];
            EXPECT_EQ(at(i, u32(4 + lane), 3).g, expected) << znRenderPassNames[i] << lane;
        }
    }
}

TEST_F(LayerStore, ClampsLightAloneAtBothEnds)
{
    const znRTColorPacket values(znFloatType<2>(-1.0f, 2.0f, 50.0f, infinity));
    for (znRTColorPacket& layer : fragment.layers)
        layer = values;
    fragment.colour = values;
    store(15, 8.0f);
    for (u32 i = 0; i < u32(znRenderPassCount); ++i) {
        if (isCryptomattePass(i) || i == ZN_PASS_DEPTH)
            continue;
        const bool isLight = i < 30;
        const float expected[] = {isLight ? 0.0f : -1.0f, 2.0f, isLight ? 8.0f : 50.0f,
                                  isLight ? 8.0f : infinity};
        for (int lane = 0; lane < 4; ++lane) {
            EXPECT_EQ(at(i, u32(4 + lane), 3).b, expected[lane]) << znRenderPassNames[i];
            EXPECT_EQ(at(i, u32(4 + lane), 3).a, expected[lane]) << znRenderPassNames[i];
        }
    }
}

TEST_F(LayerStore, ZeroesOnlyTheComponentsThatAreNaN)
{
    const znRTColorPacket values(
        znFloatType<2>(notANumber, 1, 1, 1), znFloatType<2>(1, notANumber, 1, 1),
        znFloatType<2>(1, 1, notANumber, 1), znFloatType<2>(1, 1, 1, notANumber));
    for (znRTColorPacket& layer : fragment.layers)
        layer = values;
    fragment.colour = values;
    store();
    for (u32 i : {0u, 1u, 29u, 30u, 31u, 39u, 40u, 41u, 42u})
        for (int lane = 0; lane < 4; ++lane) {
            const float* const c = &at(i, u32(4 + lane), 3).r;
            for (int channel = 0; channel < 4; ++channel)
                EXPECT_EQ(c[channel], channel == lane ? 0.0f : 1.0f)
                    << znRenderPassNames[i] << ", lane " << lane;
        }
}

TEST_F(LayerStore, WritesTheLanesOfTheMaskAlone)
{
    for (u32 i = 0; i < u32(znRenderPassCount); ++i)
        fill(i, untouched);
    store(5);
    for (u32 i = 0; i < u32(znRenderPassCount); ++i) {
        if (isCryptomattePass(i) || i == ZN_PASS_DEPTH)
            continue;
        for (u32 p = 0; p < pixels; ++p) {
            const bool isWritten = p == 3 * width + 4 || p == 3 * width + 6;
            EXPECT_EQ(buffers[i][p].r, isWritten ? 0.0f : untouched) << i << ", " << p;
        }
    }
}

TEST_F(LayerStore, SkipsLayersWithoutBuffer)
{
    for (u32 missing = 1; missing < u32(znRenderPassCount); missing += 2)
        view.m_passBuffers[missing] = nullptr;
    for (znRTColorPacket& layer : fragment.layers)
        layer = znRTColorPacket(2.0f);
    fragment.colour = znRTColorPacket(2.0f);
    store();
    bindStill();
    accumulate();
    for (u32 i = 0; i < u32(znRenderPassCount); ++i) {
        if (isCryptomattePass(i) || i == ZN_PASS_DEPTH)
            continue;
        const float expected = i % 2 == 1 ? 0.0f : isFiltered(i) ? 4.0f : 2.0f;
        EXPECT_EQ(at(i, 4, 3).r, expected) << i;
    }
}

// Where no surface lies there is the background in the beauty, as without layers, and nothing
// anywhere else.
TEST_F(LayerStore, ShowsTheBackgroundInTheBeautyOnly)
{
    hit.hitMask = 5;
    fragment.coverage = znFloatType<2>(1.0f, 0.0f, 1.0f, 0.0f);
    for (znRTColorPacket& layer : fragment.layers)
        layer = znRTColorPacket(1.0f);
    fragment.colour = znRTColorPacket(0.25f);
    for (u32 i : {31u, 39u, 40u, 41u, 42u})
        fill(i, untouched);
    store();
    for (int lane = 0; lane < 4; ++lane) {
        const bool isHit = lane % 2 == 0;
        EXPECT_EQ(at(ZN_PASS_BEAUTY, u32(4 + lane), 3).r, 0.25f);
        for (u32 i : {1u, 15u, 30u, 31u, 40u, 42u})
            EXPECT_EQ(at(i, u32(4 + lane), 3).r, isHit ? 1.0f : 0.0f) << i;
    }
}

// Black layers are left out only where they were black before.
TEST_F(LayerStore, BlackensWhatStoodThereBefore)
{
    const auto expectBlack = [&] {
        for (u32 i = 0; i < u32(znRenderPassCount); ++i) {
            if (isCryptomattePass(i) || i == ZN_PASS_DEPTH)
                continue;
            for (u32 x = 4; x < 8; ++x)
                EXPECT_EQ(at(i, x, 3).g, 0.0f) << znRenderPassNames[i];
            EXPECT_EQ(at(i, 3, 3).g, untouched) << znRenderPassNames[i];
        }
    };
    for (u32 i = 0; i < u32(znRenderPassCount); ++i)
        if (!isCryptomattePass(i))
            fill(i, untouched); // memory of which nothing is known
    store();
    expectBlack();
    // One lane each has something to show.
    for (u32 i = 0; i < u32(znRenderPassCount); ++i) {
        fragment.layers[i].g = znFloatType<2>(0.0f);
        for (int lane = 0; lane < 4; ++lane)
            if (int(i % 4) == lane)
                fragment.layers[i].g = znFloatType<2>(lane == 0, lane == 1, lane == 2, lane == 3);
    }
    fragment.colour = fragment.layers[0];
    store();
    for (u32 i = 1; i < u32(znRenderPassCount); ++i)
        if (!isCryptomattePass(i) && i != ZN_PASS_DEPTH) {
            EXPECT_EQ(at(i, 4 + i % 4, 3).g, 1.0f) << znRenderPassNames[i];
        }
    fragment.clear();
    fragment.coverage = znFloatType<2>(1.0f);
    store(10); // two of the lanes first
    store(5);
    expectBlack();
}

TEST_F(LayerStore, KeepsTheNearestDepthUpToTheFarClip)
{
    const auto depthOf = [&](const znFloatType<2>& distances) {
        fragment.layers[ZN_PASS_DEPTH] = znRTColorPacket(distances);
        fragment.layers[ZN_PASS_DEPTH].a = znFloatType<2>(1.0f);
    };
    fill(ZN_PASS_DEPTH, 0.0f);
    buffers[ZN_PASS_DEPTH][3 * width + 6] = {untouched, untouched, untouched, untouched};
    depthOf({2.0f, 10.0f, 101.5f, notANumber});
    store();
    EXPECT_NEAR(at(ZN_PASS_DEPTH, 4, 3).r, 0.495f, 1e-6f);
    EXPECT_NEAR(at(ZN_PASS_DEPTH, 5, 3).r, 0.091f, 1e-6f);
    EXPECT_EQ(at(ZN_PASS_DEPTH, 6, 3).r, untouched) << "beyond the far clip";
    EXPECT_EQ(at(ZN_PASS_DEPTH, 7, 3).r, 0.0f) << "no distance";
    depthOf({10.0f, 2.0f, 2.0f, 2.0f});
    store();
    EXPECT_NEAR(at(ZN_PASS_DEPTH, 4, 3).r, 0.495f, 1e-6f) << "nearer before";
    EXPECT_NEAR(at(ZN_PASS_DEPTH, 5, 3).r, 0.495f, 1e-6f) << "nearer now";
    EXPECT_EQ(at(ZN_PASS_DEPTH, 5, 3).a, 1.0f);
}

TEST_F(LayerStore, AddsLightAndCountsWithTheBox)
{
    for (u32 i = 0; i < u32(znRenderPassCount); ++i)
        fragment.layers[i] = znRTColorPacket(float(i % 7) + 1.0f);
    fragment.colour = fragment.layers[0];
    for (u32 iteration : {0u, 4u, 8u}) {
        bindStill(iteration, 0.25f, 0.25f);
        accumulate();
    }
    for (u32 p = 0; p < pixels; ++p) {
        const bool isInside = p >= 3 * width + 4 && p < 3 * width + 8;
        EXPECT_EQ(weights[p], isInside ? 3.0f : 0.0f);
        for (u32 i = 0; i <= ZN_PASS_OCCLUSION; ++i)
            EXPECT_EQ(buffers[i][p].g, isInside ? 3.0f * (float(i % 7) + 1.0f) : 0.0f) << i;
    }
}

TEST_F(LayerStore, ClampsLightAloneInStillFrames)
{
    for (znRTColorPacket& layer : fragment.layers)
        layer = znRTColorPacket(znFloatType<2>(-1.0f, 2.0f, 50.0f, 1000.0f));
    fragment.colour = fragment.layers[0];
    bindStill();
    accumulate();
    for (u32 i = 0; i < u32(znRenderPassCount); ++i) {
        if (isCryptomattePass(i) || i == ZN_PASS_DEPTH)
            continue;
        EXPECT_EQ(at(i, 4, 3).g, i < 30 ? 0.0f : -1.0f) << znRenderPassNames[i];
        EXPECT_EQ(at(i, 6, 3).g, i < 30 ? 10.0f : 50.0f) << znRenderPassNames[i];
    }
}

TEST_F(LayerStore, LeavesFinishedPixelsAlone)
{
    for (znRTColorPacket& layer : fragment.layers)
        layer = znRTColorPacket(1.0f);
    fragment.colour = znRTColorPacket(1.0f);
    active[3 * width + 5] = 0;
    bindStill();
    accumulate();
    for (u32 i = 0; i < u32(znRenderPassCount); ++i)
        if (!isCryptomattePass(i)) {
            EXPECT_EQ(at(i, 5, 3).r, 0.0f) << i;
            EXPECT_NE(at(i, 4, 3).r, 0.0f) << i;
        }
    EXPECT_EQ(weights[3 * width + 5], 0.0f);
}

// Brute force: each target pixel collects weight(target - source) times value over all samples.
TEST_F(LayerStore, SplatsAllLayersOfLightWithTheSameWeights)
{
    useFilter(znPixelfilterFactory::mitchell, 4.0f);
    const znPixelfilterSampleSet& filter = camera.pixelFilterSet;
    ASSERT_FALSE(filter.isBox());
    for (u32 i = 0; i < u32(znRenderPassCount); ++i)
        fragment.layers[i] = znRTColorPacket(znFloatType<2>(1.0f, 2.0f, 3.0f, 4.0f) * float(i + 1));
    fragment.colour = fragment.layers[0];
    bindStill();
    layers.bind(view, camera, 1e6f);
    placeAt(1, 1); // the margin reaches over the border of the image
    accumulate();
    for (int y = 0; y < int(height); ++y)
        for (int x = 0; x < int(width); ++x) {
            double weight = 0.0, value = 0.0;
            for (int lane = 0; lane < 4; ++lane) {
                const int dx = x - (1 + lane), dy = y - 1;
                if (dx < filter.minX || dx > filter.maxX || dy < filter.minY || dy > filter.maxY)
                    continue;
                const double w = filter.getWeight(dx, dy);
                weight += w;
                value += w * (lane + 1);
            }
            const u32 p = u32(y) * width + u32(x);
            EXPECT_NEAR(weights[p], weight, 1e-6);
            for (u32 i = 0; i <= ZN_PASS_OCCLUSION; ++i)
                EXPECT_NEAR(buffers[i][p].r, value * (i + 1), 2e-5 * (i + 1)) << x << ", " << y;
            const bool isInside = y == 1 && x >= 1 && x < 5;
            for (u32 i : {31u, 39u, 40u, 41u, 42u})
                EXPECT_EQ(buffers[i][p].r, isInside ? float(x) * float(i + 1) : 0.0f)
                    << "data stays in its pixel";
        }
}

TEST_F(LayerStore, KeepsTheDataOfTheSampleNextToTheCentre)
{
    const auto sample = [&](u32 iteration, float shift, float value) {
        for (u32 i : {31u, 39u, 40u, 41u, 42u})
            fragment.layers[i] = znRTColorPacket(value);
        bindStill(iteration, shift, -shift);
        accumulate();
    };
    sample(0, 0.5f, 1.0f);
    EXPECT_EQ(at(ZN_PASS_NORMAL, 4, 3).r, 1.0f);
    sample(4, 0.75f, 2.0f);
    EXPECT_EQ(at(ZN_PASS_NORMAL, 4, 3).r, 1.0f) << "farther out";
    sample(8, -0.25f, 3.0f);
    for (u32 i : {31u, 39u, 40u, 41u, 42u})
        EXPECT_EQ(at(i, 4, 3).r, 3.0f) << i;
    sample(0, 1.0f, 4.0f);
    EXPECT_EQ(at(ZN_PASS_NORMAL, 4, 3).r, 4.0f) << "a new image starts anew";
    view.m_continueAccumulation = 1;
    sample(0, 1.0f, 5.0f);
    EXPECT_EQ(at(ZN_PASS_NORMAL, 4, 3).r, 4.0f) << "unless it continues the one before";
}

// Black is left out only where a cleared pixel has it already.
TEST_F(LayerStore, TakesTheNearestSampleForItsWordThatNothingIsThere)
{
    const auto sample = [&](u32 iteration, float shift, float value, unsigned hitMask) {
        fragment.clear();
        for (u32 i : {31u, 39u, 40u, 41u, 42u})
            fragment.layers[i] = znRTColorPacket(znFloatType<2>(value, value, value, 0.0f));
        fragment.coverage = znFloatType<2>(hitMask ? 1.0f : 0.0f);
        hit.hitMask = hitMask;
        bindStill(iteration, shift, 0.0f);
        accumulate();
    };
    sample(0, 0.5f, 1.0f, 7);
    sample(4, 0.25f, 0.0f, 0);
    for (u32 i : {31u, 39u, 40u, 41u, 42u})
        for (u32 x = 4; x < 8; ++x)
            EXPECT_EQ(at(i, x, 3).r, 0.0f) << i << " at " << x;
    sample(8, 0.125f, 2.0f, 7);
    EXPECT_EQ(at(ZN_PASS_NORMAL, 6, 3).r, 2.0f);
    EXPECT_EQ(at(ZN_PASS_NORMAL, 7, 3).r, 0.0f);
}

TEST_F(LayerStore, GivesTheMatteTheWeightsOfTheFilter)
{
    znRTCryptomatte matte{int(width), int(height)};
    view.m_cryptomatte = &matte;
    for (const bool isWide : {false, true}) {
        matte.clear();
        weights.assign(pixels, 0.0f);
        if (isWide)
            useFilter(znPixelfilterFactory::triangle, 4.0f);
        // Without a scene all ids are those of no hit; coverage still tells the weights.
        bindStill();
        accumulate();
        matte.sort();
        for (u32 y = 0; y < height; ++y)
            for (u32 x = 0; x < width; ++x) {
                const bool isReached = weights[y * width + x] > 0.0f;
                EXPECT_EQ(matte.getRankCount(int(x), int(y), znRTCryptomatte::objects),
                          isReached ? 1 : 0);
                EXPECT_EQ(matte.getLayer(int(x), int(y), 0).g, isReached ? 1.0f : 0.0f);
                EXPECT_EQ(matte.getLayer(int(x), int(y), 3).g, isReached ? 1.0f : 0.0f);
            }
    }
}
