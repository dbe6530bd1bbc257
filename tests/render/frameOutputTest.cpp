#include "renderFixture.h"

#include "camera/znRTLensShader.h"
#include "host/osg/TonemappingSettings.h"
#include "render/pixelFormatDispatch.h"
#include "render/pixelStore.h"

#include <algorithm>
#include <array>
#include <set>
#include <stdexcept>

using namespace renderTest;
using Settings = znRTRaytracingSettings;

namespace {

const znRTTypeId throwerTypeId("Thrower");

class FrameOutput : public RenderTest
{
protected:
    static constexpr u32 width = 48, height = 36;

    void SetUp() override
    {
        RenderTest::SetUp();
        znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.25f, 0.6f, 1.0f, 1.0f);
        resize(width, height);
        add(makeSquare(0.5f));
    }
    void TearDown() override
    {
        instance->setRaytracingRenderRegion({0, 0, 1, 1});
        RenderTest::TearDown();
    }
    template <class P>
    const P* frame(u32 x, u32 y, u32 w, u32 h, u32 format, u32 flags = 0, bool whole = true)
    {
        return static_cast<const P*>(
            instance->getFrame(&view.record, x, y, w, h, format, whole, 16, flags));
    }
    /// The next iteration of a still frame through the region form.
    void* nextStillFrame(u32 iteration, bool whole)
    {
        view.record.m_iteration = iteration;
        updateCamera();
        instance->updateRendertargets(&view.record, false);
        return instance->getFrame(&view.record, 0, 0, view.record.m_renderWidth,
                                  view.record.m_renderHeight, ZN_FORMAT_RGBA32F, whole, 16, 0);
    }
    /// Puts a mark into the output that a copy overwrites.
    void markOutput() { static_cast<float*>(view.record.m_frameOutput)[0] = -5.0f; }
    bool outputIsMarked() const
    {
        return static_cast<const float*>(view.record.m_frameOutput)[0] == -5.0f;
    }
};

} // namespace

TEST_F(FrameOutput, TracesAndCopiesAnInteractiveRectangle)
{
    begin();
    const auto* const all = frame<ZN_RGBA32F>(0, 0, width, height, ZN_FORMAT_RGBA32F);
    ASSERT_NE(all, nullptr);
    const std::vector<ZN_RGBA32F> whole(all, all + width * height);
    // Rays advance from block to block by addition: their last bits depend on where a block begins.
    EXPECT_EQ(std::memcmp(whole.data(), view.frame.data(), whole.size() * sizeof(ZN_RGBA32F)), 0);
    const auto* const part = frame<ZN_RGBA32F>(13, 7, 21, 17, ZN_FORMAT_RGBA32F);
    for (u32 y = 0; y < 17; ++y)
        for (u32 x = 0; x < 21; ++x)
            ASSERT_NEAR(part[y * 21 + x].r, whole[(y + 7) * width + x + 13].r, 1e-5f)
                << x << ", " << y;
}

namespace {

/// A colour out of a pixel of any format.
std::array<float, 3> colourOf(const u8* pixel, u32 format)
{
    const auto floats = reinterpret_cast<const float*>(pixel);
    const auto halves = reinterpret_cast<const u16*>(pixel);
    switch (format) {
    case ZN_FORMAT_RGBA:
    case ZN_FORMAT_RGB:
        return {pixel[0] / 255.0f, pixel[1] / 255.0f, pixel[2] / 255.0f};
    case ZN_FORMAT_BGRA:
        return {pixel[2] / 255.0f, pixel[1] / 255.0f, pixel[0] / 255.0f};
    case ZN_FORMAT_RGBA16F:
        return {fromHalf(halves[0]), fromHalf(halves[1]), fromHalf(halves[2])};
    case ZN_FORMAT_RGB32F:
    case ZN_FORMAT_RGBA32F:
        return {floats[0], floats[1], floats[2]};
    default: {
        const float scale = std::ldexp(1.0f, int(pixel[3]) - 136);
        return {pixel[0] * scale, pixel[1] * scale, pixel[2] * scale};
    }
    }
}

} // namespace

// A task that stores finished pixels must not outlive the format it stores. Tiles of 16 reach over
// the edges of the rectangle; the mean of one sample passes the reciprocal estimate, good to 3e-4.
TEST_F(FrameOutput, FinishesTilesInEachFormatFromFrameToFrame)
{
    begin();
    const auto* const all = frame<ZN_RGBA32F>(5, 3, 30, 21, ZN_FORMAT_RGBA32F);
    const std::vector<ZN_RGBA32F> expected(all, all + 30 * 21);
    view.record.m_traceAndCopy = 1;
    for (u32 format : {ZN_FORMAT_RGBA32F, ZN_FORMAT_RGB, ZN_FORMAT_RGBA16F, ZN_FORMAT_BGRA,
                       ZN_FORMAT_RGBE, ZN_FORMAT_RGB32F, ZN_FORMAT_RGBA}) {
        const auto* const out = frame<u8>(5, 3, 30, 21, format);
        ASSERT_NE(out, nullptr);
        // Half a step of bytes, of halves near 1, or a step of the shared exponent.
        const float tolerance = format == ZN_FORMAT_RGBE ? 1.0f / 128.0f
                                : format == ZN_FORMAT_RGBA32F || format == ZN_FORMAT_RGB32F ||
                                        format == ZN_FORMAT_RGBA16F
                                    ? 8e-4f
                                    : 1.0f / 255.0f;
        for (u32 i = 0; i < 30 * 21; ++i) {
            const auto colour = colourOf(out + i * pixelSize(format), format);
            const float wanted[3] = {expected[i].r, expected[i].g, expected[i].b};
            for (int c = 0; c < 3; ++c)
                ASSERT_NEAR(colour[c], wanted[c], tolerance) << format << ", " << i << ", " << c;
        }
    }
}

// Writing finished pixels in the tile gives what a copy of the frame gives.
TEST_F(FrameOutput, FinishesPixelsInTheTileAsTheCopyDoes)
{
    // The tonemapper doubles values, but the display of normals leaves it out.
    const auto settings = osg::TonemappingSettings::create();
    settings->setExposure(1.0f);
    settings->setWhiteBalanceTemperature(4000.0f);
    camera->setTonemappingSettings(settings);
    begin();
    const auto* const copied = frame<ZN_RGBA>(5, 3, 30, 30, ZN_FORMAT_RGBA, 182);
    const std::vector<ZN_RGBA> expected(copied, copied + 900);
    view.record.m_traceAndCopy = 1;
    const auto* const direct = frame<ZN_RGBA>(5, 3, 30, 30, ZN_FORMAT_RGBA, 182);
    for (u32 i = 0; i < 900; ++i) {
        ASSERT_NEAR(direct[i].r, expected[i].r, 1) << i;
        ASSERT_NEAR(direct[i].b, expected[i].b, 1) << i;
    }
}

// Tasks with layers write the buffers of the view alone: the output must be copied from them.
TEST_F(FrameOutput, ComesFromTheBeautyOfFramesWithLayersInEveryCase)
{
    begin();
    const auto* const plain = frame<ZN_RGBA32F>(5, 3, 30, 21, ZN_FORMAT_RGBA32F);
    const std::vector<ZN_RGBA32F> expected(plain, plain + 30 * 21);
    view.record.m_renderPassesEnabled = 1;
    for (const u8 traceAndCopy : {0, 1}) {
        view.record.m_traceAndCopy = traceAndCopy;
        begin();
        std::fill_n(static_cast<float*>(view.record.m_frameOutput), 4 * 30 * 21, -5.0f);
        const auto* const out = frame<ZN_RGBA32F>(5, 3, 30, 21, ZN_FORMAT_RGBA32F);
        for (u32 i = 0; i < 30 * 21; ++i)
            ASSERT_NEAR(out[i].g, expected[i].g, 1e-5f) << int(traceAndCopy) << ", " << i;
    }
}

TEST_F(FrameOutput, IsNullInThePreparatoryPass)
{
    begin(true);
    view.record.m_iteration = znRaytracerP::preparatoryPass;
    EXPECT_EQ(frame<u8>(0, 0, width, height, ZN_FORMAT_RGBA), nullptr);
}

TEST_F(FrameOutput, CopiesStillFramesInRoundsOf32)
{
    begin(true);
    EXPECT_NE(nextStillFrame(0, false), nullptr);
    markOutput();
    std::set<u32> copied;
    for (u32 iteration = 1; iteration <= 70; ++iteration) {
        nextStillFrame(iteration, false);
        if (!outputIsMarked())
            copied.insert(iteration);
        markOutput();
    }
    EXPECT_EQ(copied, (std::set<u32>{32, 64}));
    nextStillFrame(71, true);
    EXPECT_FALSE(outputIsMarked());
}

TEST_F(FrameOutput, TracesAStillIterationOnce)
{
    begin(true);
    for (u32 iteration = 0; iteration < 8; ++iteration) {
        nextStillFrame(iteration, false);
        nextStillFrame(iteration == 0 ? 0 : iteration, iteration > 0); // the same again
        if (iteration == 0)
            std::fill(view.filterWeights.begin(), view.filterWeights.end(), 0.0f);
    }
    // Iterations 1 to 7, of which each visits a pixel of four: 7/4 of the pixels all in all.
    double sum = 0.0;
    for (float weight : view.filterWeights)
        sum += weight;
    EXPECT_EQ(sum, width * height * 7 / 4.0);
}

// Iteration 0 of a second image is not that of the first one.
TEST_F(FrameOutput, TracesTheSubFramesOfEveryImage)
{
    for (int image = 0; image < 3; ++image) {
        begin(true);
        EXPECT_NE(instance->getSubFrame(&view.record, ZN_FORMAT_RGBA, false, 0), nullptr);
        instance->getSubFrame(&view.record, ZN_FORMAT_RGBA, true, 0); // the same iteration
        double sum = 0.0;
        for (float weight : view.filterWeights)
            sum += weight;
        EXPECT_EQ(sum, width * height / 4.0) << image;
    }
}

TEST_F(FrameOutput, HoldsTheMeanOfAStillFrame)
{
    begin(true);
    for (u32 iteration = 0; iteration < 4; ++iteration)
        nextStillFrame(iteration, iteration == 3);
    const auto* const out = static_cast<const ZN_RGBA32F*>(view.record.m_frameOutput);
    EXPECT_NEAR(out[0].g, 0.6f, 1e-6f);
    EXPECT_NEAR(out[width * height - 1].b, 1.0f, 1e-6f);
    EXPECT_GT(std::abs(out[18 * width + 24].g - 0.6f), 0.01f); // the square in the middle
}

// A request outside the region traces nothing, and is copied whole in copy rounds only.
TEST_F(FrameOutput, CutsAStillRequestToTheRenderRegion)
{
    instance->setRaytracingRenderRegion({0, 0, 0.5f, 1});
    resize(width, height);
    view.record.m_regionActive = 1;
    begin(true);
    const auto request = [&](u32 x, bool whole) {
        view.record.m_iteration = 0;
        return instance->getFrame(&view.record, x, 0, 12, height, ZN_FORMAT_RGBA32F, whole, 16, 0);
    };
    EXPECT_NE(request(0, true), nullptr);
    double weights = 0.0;
    for (u32 y = 0; y < height; ++y)
        for (u32 x = 0; x < 12; ++x)
            weights += view.filterWeights[y * width + x];
    EXPECT_EQ(weights, 12 * height / 4.0);
    std::fill(view.filterWeights.begin(), view.filterWeights.end(), 0.0f);
    markOutput();
    request(30, false);
    EXPECT_TRUE(outputIsMarked());
    request(30, true);
    EXPECT_FALSE(outputIsMarked());
    for (float weight : view.filterWeights)
        ASSERT_EQ(weight, 0.0f);
}

TEST_F(FrameOutput, ReturnsTheBlockAfterAFailureAndGoesOn)
{
    begin();
    frame<ZN_RGBA>(0, 0, width, height, ZN_FORMAT_RGBA);
    struct Thrower : znRTLensShader
    {
        Thrower() : znRTLensShader(throwerTypeId) {}
        unsigned trace_eye_rays(unsigned, unsigned, unsigned, unsigned, znRTRayPacketBundle&,
                                znRTHitInfoPacketBundle&, znFloatType<2>*, znFloatType<2>*, int*,
                                int, int, float, const unsigned char*) const override
        {
            throw std::runtime_error("lens");
        }
    };
    znRTRenderUtils::getCamera()->setLensShader(new Thrower);
    EXPECT_EQ((frame<void>(0, 0, width, height, ZN_FORMAT_RGBA)), view.record.m_frameOutput);
    EXPECT_NE(view.record.m_traceRootTask, nullptr);
    znRTRenderUtils::getCamera()->setLensShader(nullptr);
    updateCamera();
    const auto* const out = frame<ZN_RGBA>(0, 0, width, height, ZN_FORMAT_RGBA);
    EXPECT_EQ(out[0].g, 153);
}

TEST_F(FrameOutput, GivesPassesThatHaveBuffersOneAfterTheOther)
{
    begin();
    std::vector<ZN_RGBA32F> normals(width * height, ZN_RGBA32F{-1.0f, 0.0f, 1.0f, 1.0f});
    view.record.m_passBuffers[31] = normals.data();
    const u64 mask = u64(1) | u64(1) << 31 | u64(1) << 7; // 7 has no buffer
    const auto images = instance->getRenderpassesFrame(&view.record, mask, 0, 0, 0, width, height,
                                                       ZN_FORMAT_RGBA, true, 16, 0);
    view.record.m_passBuffers[31] = nullptr;
    ASSERT_EQ(images.size(), 2u);
    EXPECT_EQ(static_cast<ZN_RGBA*>(images[0])[0].g, 153);
    // Bytes hold normals compressed to 0..1.
    EXPECT_EQ(static_cast<ZN_RGBA*>(images[1])[0].r, 0);
    EXPECT_EQ(static_cast<ZN_RGBA*>(images[1])[0].g, 128);
    EXPECT_EQ(static_cast<ZN_RGBA*>(images[1])[0].b, 255);
}

// The image has an edge and even areas: at the first test the even areas end, later all of it.
TEST_F(FrameOutput, TakesFewerSamplesAsTheImageSettles)
{
    begin(true);
    std::size_t active = std::size_t(width) * height, atFirstTest = 0;
    for (u32 iteration = 0; iteration <= 128; ++iteration) {
        nextStillFrame(iteration, false);
        std::size_t now = 0;
        for (u8 pixel : view.activePixels)
            now += pixel;
        ASSERT_LE(now, active);
        if (iteration < 32) {
            ASSERT_EQ(now, std::size_t(width) * height);
        }
        if (iteration == 32)
            atFirstTest = now;
        active = now;
    }
    EXPECT_LT(atFirstTest, std::size_t(width) * height / 2);
    EXPECT_GT(atFirstTest, 0u);
}

// An even beauty and an edge in a layer of data, which no weight divides.
TEST_F(FrameOutput, KeepsPixelsGoingWhereALayerHasAnEdge)
{
    std::vector<ZN_RGBA32F> normals(width * height, ZN_RGBA32F{0, 0, 0, 0});
    begin(true);
    for (u32 i = 0; i < width * height; ++i)
        normals[i].r = i % width < width / 2 ? 0.0f : 0.5f;
    std::fill(view.filterWeights.begin(), view.filterWeights.end(), 1000.0f);
    view.record.m_passBuffers[31] = normals.data();
    view.record.m_iteration = 32;
    view.record.m_renderPassesEnabled = 1;
    std::vector<osg::ImagePtr> noImages;
    instance->getFrame(&view.record, noImages, false, false);
    view.record.m_renderPassesEnabled = 0;
    view.record.m_passBuffers[31] = nullptr;
    for (u32 y = 0; y < height; ++y) {
        EXPECT_EQ(view.activePixels[y * width + width / 2 - 1], 1) << y;
        EXPECT_EQ(view.activePixels[y * width + width / 2], 1) << y;
        EXPECT_EQ(view.activePixels[y * width + 5], 0) << y;
        EXPECT_EQ(view.activePixels[y * width + width - 5], 0) << y;
    }
}

TEST_F(FrameOutput, SamplesEverythingWhereTheAdaptiveTestIsOff)
{
    const auto countActive = [&] {
        begin(true);
        for (u32 iteration = 0; iteration <= 64; ++iteration)
            nextStillFrame(iteration, false);
        return std::count(view.activePixels.begin(), view.activePixels.end(), u8(1));
    };
    instance->setAdaptiveAAThresholdQuality(5);
    EXPECT_EQ(countActive(), width * height);
    instance->setAdaptiveAAThresholdQuality(2);
    instance->setPhotonMode(1);
    instance->setStillFrameFinalGatherQuality(0);
    EXPECT_EQ(countActive(), width * height);
    instance->setStillFrameFinalGatherQuality(16);
    EXPECT_LT(countActive(), width * height);
    instance->setPhotonMode(0);
}

// An edge that runs through pixels shows as much of the square as lies in each pixel. Samples are
// shifted inside the pixel from one group of four iterations to the next.
TEST_F(FrameOutput, ConvergesToTheCoverageOfAnEdge)
{
    constexpr u32 samples = 64;
    znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.0f, 0.0f, 0.0f, 0.0f);
    instance->setAdaptiveAAThresholdQuality(5);
    begin(true);
    for (u32 iteration = 0; iteration < 4 * samples; ++iteration) {
        const znRTVector2f shift = znPixelfilterSampleSet::getSampleShift(iteration >> 2);
        offsetCamera->setOffsetX(shift.x);
        offsetCamera->setOffsetY(shift.y);
        nextStillFrame(iteration, iteration + 1 == 4 * samples);
    }
    instance->setAdaptiveAAThresholdQuality(2);
    const auto* const out = static_cast<const ZN_RGBA32F*>(view.record.m_frameOutput);
    // Half the edge of the square in pixels: 0.5 / 5 of the distance, tan(22.5 deg) for 18 pixels.
    const double half = 0.1 / std::tan(22.5 * std::numbers::pi / 180.0) * 18.0;
    const auto covered = [half](double low) { // of the pixel [low, low + 1] around the axis
        return std::clamp(std::min(low + 1.0, half) - std::max(low, -half), 0.0, 1.0);
    };
    for (u32 y = 0; y < height; ++y)
        for (u32 x = 0; x < width; ++x)
            EXPECT_NEAR(out[y * width + x].a, covered(x - 24.0) * covered(y - 18.0), 0.03)
                << x << ", " << y;
    offsetCamera->setOffsetX(0);
    offsetCamera->setOffsetY(0);
}

// The value beside a straight edge is the filter's integral over the covered side; for each filter
// of the host, those with negative lobes too.
TEST_F(FrameOutput, ConvergesToTheFilteredCoverageOfAnEdge)
{
    constexpr u32 samples = 256, columns = 32, rows = 10;
    instance->setAdaptiveAAThresholdQuality(5);
    znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.0f, 0.0f, 0.0f, 0.0f);
    root->subChild(root->getChild(0));
    resize(columns, rows);
    const double pixel = 2.0 * 5.0 * std::tan(22.5 * std::numbers::pi / 180.0) / rows;
    const double edge = 0.37; // pixels to the right of the middle
    add(makeSquare(20.0f), edge * pixel - 20.0);
    for (int type = 0; type <= 6; ++type)
        for (float size : {1.0f, 2.0f, 5.0f}) {
            const bool hasLobes =
                type == znPixelfilterFactory::mitchell || type == znPixelfilterFactory::lanczos;
            // Lobes that lie inside one pixel would need more samples.
            if (hasLobes ? size < 2.0f : type == znPixelfilterFactory::none && size > 1.0f)
                continue;
            SCOPED_TRACE(testing::Message() << "filter " << type << " of " << size);
            camera->setFilterType(type);
            camera->setFilterSizeX(size);
            camera->setFilterSizeY(size);
            begin(true);
            for (u32 iteration = 0; iteration < 4 * samples; ++iteration) {
                const znRTVector2f shift = znPixelfilterSampleSet::getSampleShift(iteration >> 2);
                offsetCamera->setOffsetX(shift.x);
                offsetCamera->setOffsetY(shift.y);
                nextStillFrame(iteration, iteration + 1 == 4 * samples);
            }
            const std::unique_ptr<znPixelfilter> filter(
                znPixelfilterFactory::getPixelfilter(type, size, size));
            const auto integral = [&](double end) { // of the filter left of a vertical line
                constexpr int steps = 200;
                double sum = 0.0;
                for (int i = 0; i < steps; ++i)
                    for (int j = 0; j < steps; ++j) {
                        const double u = (2.0 * (i + 0.5) / steps - 1.0) * filter->radiusX;
                        const double v = (2.0 * (j + 0.5) / steps - 1.0) * filter->radiusY;
                        if (u < end)
                            sum += filter->evaluate(float(u), float(v));
                    }
                return sum;
            };
            const double total = integral(1e9);
            const auto* const out = static_cast<const ZN_RGBA32F*>(view.record.m_frameOutput);
            for (u32 x = 10; x < 22; ++x)
                EXPECT_NEAR(out[rows / 2 * columns + x].a,
                            integral(columns / 2 + edge - (x + 0.5)) / total, 0.012)
                    << x;
        }
    instance->setAdaptiveAAThresholdQuality(2);
    offsetCamera->setOffsetX(0);
    offsetCamera->setOffsetY(0);
}
