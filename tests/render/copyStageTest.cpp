#include "renderFixture.h"

#include "camera/znRTFragmentShader.h"
#include "camera/znRTScenePlate.h"
#include "host/osg/Image.h"
#include "host/osg/TonemappingSettings.h"
#include "host/znOptix.h"
#include "host/znPostProcessHandler.h"
#include "host/znRTColorTransforms.h"
#include "host/znRTCryptomatte.h"
#include "render/copyStage.h"
#include "render/pixelStore.h"

#include <array>
#include <bit>
#include <cstring>

using namespace renderTest;
using Settings = znRTRaytracingSettings;

namespace {

const znRTTypeId plateTypeId("TestPlate");

/// One colour everywhere, or a colour that tells the pixel.
class TestPlate : public znRTScenePlate
{
public:
    explicit TestPlate(std::array<float, 4> colour_) : znRTScenePlate(plateTypeId), colour(colour_)
    {
    }
    znRTColorPacket evaluate(const znRTRayPacket&, const znRTDataBlockPacket&) const override
    {
        return znRTColorPacket(colour[0], colour[1], colour[2], colour[3]);
    }
    znRTColorPacket evaluate(const znIntType<2>&, const znIntType<2>&) const override
    {
        return znRTColorPacket(colour[0], colour[1], colour[2], colour[3]);
    }
    std::array<float, 4> colour;
};

std::array<float, 4> toArray(__m128 v)
{
    std::array<float, 4> lanes;
    _mm_storeu_ps(lanes.data(), v);
    return lanes;
}

class CopyStage : public RenderTest
{
protected:
    void SetUp() override
    {
        RenderTest::SetUp();
        resize(8, 6);
        begin();
        Settings::s_applyTonemapping = Settings::s_applyColorCorrection = true;
        Settings::s_renderBackplates = Settings::s_renderFrontplates = true;
    }
    void fill(float r, float g, float b, float a)
    {
        std::fill(view.frame.begin(), view.frame.end() - View::guard, ZN_RGBA32F{r, g, b, a});
    }
    znRTCopyRequest wholeFrame(void* destination, u32 format, u32 flags)
    {
        znRTCopyRequest request;
        request.source = view.record.m_passBuffers[0];
        request.destination = destination;
        request.pixelFormat = format;
        request.rectangle = {0, 0, 8, 6};
        request.imageWidth = 8;
        request.imageHeight = 6;
        request.copyFlags = flags;
        return request;
    }
    std::array<float, 4> copiedPixel(u32 flags)
    {
        std::vector<ZN_RGBA32F> out(48);
        copyFrame(view.record, wholeFrame(out.data(), ZN_FORMAT_RGBA32F, flags));
        return {out[20].r, out[20].g, out[20].b, out[20].a};
    }
    /// Settings under which every step of the copy changes the colour.
    void useStrongSettings()
    {
        const auto settings = osg::TonemappingSettings::create();
        settings->setTonemapperType(2);
        settings->setExposure(0.7f);
        settings->setWhiteBalanceTemperature(4000.0f);
        settings->setUseColorCorrection(true);
        settings->setGain(osg::Vec4f(0.9f, 1.1f, 0.8f, 1.0f));
        settings->setGamma(osg::Vec4f(1.2f, 0.9f, 1.1f, 1.0f));
        camera->setTonemappingSettings(settings);
        begin();
    }
};

void expectNear(const std::array<float, 4>& actual, const std::array<float, 4>& expected)
{
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(actual[i], expected[i], 1e-5f) << "channel " << i;
}

} // namespace

TEST_F(CopyStage, KeepsValuesWithoutFlagsInAllFormats)
{
    fill(0.25f, 0.5f, 1.0f, 0.75f);
    std::vector<u8> bytes(48 * 16);
    for (u32 format = 0; format < 8; ++format) {
        copyFrame(view.record, wholeFrame(bytes.data(), format, 0));
        std::vector<u8> expected(16);
        const __m128 c = _mm_setr_ps(0.25f, 0.5f, 1.0f, 0.75f);
        switch (format) {
        case ZN_FORMAT_RGBA:
            expected = {64, 128, 255, 191};
            break;
        case ZN_FORMAT_BGRA:
            expected = {255, 128, 64, 191};
            break;
        case ZN_FORMAT_RGB:
            expected = {64, 128, 255};
            break;
        case ZN_FORMAT_BGR:
            expected = {255, 128, 64};
            break;
        case ZN_FORMAT_RGBE:
            expected = {32, 64, 128, 129};
            break;
        case ZN_FORMAT_RGB32F:
            expected.resize(12);
            std::memcpy(expected.data(), &c, 12);
            break;
        case ZN_FORMAT_RGBA32F:
            std::memcpy(expected.data(), &c, 16);
            break;
        default: { // IEEE halves of 1/4, 1/2, 1, 3/4
            const u16 halves[4] = {0x3400, 0x3800, 0x3c00, 0x3a00};
            expected.resize(8);
            std::memcpy(expected.data(), halves, 8);
        }
        }
        const std::size_t size = expected.size();
        for (std::size_t pixel : {0u, 20u, 47u})
            EXPECT_EQ(std::memcmp(&bytes[pixel * size], expected.data(), size), 0)
                << "format " << format << ", pixel " << pixel;
    }
}

TEST_F(CopyStage, LetsNegativeValuesPassWithoutFlagsOnly)
{
    fill(-1.0f, 0.5f, 0.5f, 1.0f);
    EXPECT_EQ(copiedPixel(0)[0], -1.0f);
    EXPECT_EQ(copiedPixel(ZN_COPY_FRONTPLATES)[0], 0.0f);
}

// The expected colour is the chain of the host's transforms in the order that the pipeline has.
TEST_F(CopyStage, TakesItsStepsInOrder)
{
    useStrongSettings();
    fill(0.6f, 0.4f, 0.2f, 0.5f);
    TestPlate back({0.1f, 0.2f, 0.3f, 0.4f}), front({0.2f, 0.1f, 0.05f, 0.25f});
    znRTRenderUtils::setBackground(&back);
    znRTRenderUtils::setForeground(&front);
    const znImagePostprocessor p = currentPostprocessor();
    ASSERT_TRUE(p.useColorCorrection);
    ASSERT_TRUE(p.hasWhiteBalance);

    __m128 c = _mm_setr_ps(0.6f, 0.4f, 0.2f, 0.5f);
    c = znRTColorTransforms::applyWhitebalancing(c, p);
    c = znRTColorTransforms::applyTonemapper(c, p);
    c = znRTColorTransforms::applyColorCorrection(c, p.lift, p.gamma, p.gain, p.matrix);
    std::array<float, 4> v = toArray(c);
    for (int i = 0; i < 4; ++i) { // backplate behind alpha 0.5
        v[i] = std::max(v[i] + 0.5f * back.colour[i], 0.0f);
        v[i] = v[i] * (1.0f - 0.25f) + front.colour[i];
    }
    const __m128 shown = _mm_loadu_ps(v.data());
    expectNear(copiedPixel(182), toArray(znRTColorTransforms::applyColorProfile(shown, p.profile)));
    expectNear(copiedPixel(180), v); // without the profile
    znRTRenderUtils::setBackground(nullptr);
    znRTRenderUtils::setForeground(nullptr);
}

TEST_F(CopyStage, GatesEachStepByItsFlag)
{
    useStrongSettings();
    fill(0.6f, 0.4f, 0.2f, 0.5f);
    TestPlate back({0.1f, 0.2f, 0.3f, 1.0f}), front({0.2f, 0.1f, 0.05f, 0.25f});
    znRTRenderUtils::setBackground(&back);
    znRTRenderUtils::setForeground(&front);
    const znImagePostprocessor p = currentPostprocessor();
    const __m128 c = _mm_setr_ps(0.6f, 0.4f, 0.2f, 0.5f);
    expectNear(copiedPixel(ZN_COPY_TONEMAP), toArray(znRTColorTransforms::applyTonemapper(c, p)));
    expectNear(copiedPixel(ZN_COPY_COLOR_PROFILE),
               toArray(znRTColorTransforms::applyColorProfile(c, p.profile)));
    expectNear(copiedPixel(ZN_COPY_BACKPLATES), {0.65f, 0.5f, 0.35f, 1.0f});
    expectNear(copiedPixel(ZN_COPY_FRONTPLATES), {0.65f, 0.4f, 0.2f, 0.625f});
    expectNear(copiedPixel(ZN_COPY_KEEP_ALPHA), {1.2f, 0.8f, 0.4f, 0.5f});
    // Keeping alpha shows no backplate.
    expectNear(copiedPixel(ZN_COPY_KEEP_ALPHA | ZN_COPY_BACKPLATES), {1.2f, 0.8f, 0.4f, 0.5f});
    Settings::s_renderBackplates = Settings::s_renderFrontplates = false;
    expectNear(copiedPixel(ZN_COPY_BACKPLATES | ZN_COPY_FRONTPLATES), {0.6f, 0.4f, 0.2f, 0.5f});
    Settings::s_applyTonemapping = Settings::s_applyColorCorrection = false;
    expectNear(copiedPixel(ZN_COPY_TONEMAP | ZN_COPY_COLOR_CORRECTION), {0.6f, 0.4f, 0.2f, 0.5f});
    znRTRenderUtils::setBackground(nullptr);
    znRTRenderUtils::setForeground(nullptr);
}

// A negative colour before a backplate of 0.5: cut first it becomes 0 + 0.5, else -1 + 0.5 -> 0.
TEST_F(CopyStage, ClampsBeforeThePlatesInTilesAndAfterThemInFrames)
{
    TestPlate back({0.5f, 0.5f, 0.5f, 1.0f});
    znRTRenderUtils::setBackground(&back);
    const znImagePostprocessor p = currentPostprocessor();
    const znRTPixelPipeline pipeline{&p, znRTRenderUtils::getCamera(), ZN_COPY_BACKPLATES};
    const __m128 c = _mm_setr_ps(-1.0f, 0.0f, 0.0f, 0.0f);
    EXPECT_EQ(toArray(pipeline.finish(c, 0, 0, true))[0], 0.5f);
    EXPECT_EQ(toArray(pipeline.finish(c, 0, 0, false))[0], 0.0f);
    znRTRenderUtils::setBackground(nullptr);
}

TEST_F(CopyStage, DividesStillFramesByTheirWeights)
{
    begin(true);
    fill(3.0f, 6.0f, 9.0f, 3.0f);
    std::fill(view.filterWeights.begin(), view.filterWeights.end(), 3.0f);
    view.filterWeights[20] = 0.0f;
    std::vector<ZN_RGB32F> out(48);
    copyFrame(view.record, wholeFrame(out.data(), ZN_FORMAT_RGB32F, 0));
    EXPECT_NEAR(out[19].g, 2.0f, 1e-6f);
    EXPECT_EQ(out[20].r, 0.0f);
    EXPECT_EQ(out[20].b, 0.0f);
}

// Display values go to the host's own formats; the float frame of a still image stays linear.
TEST_F(CopyStage, LeavesStillFloatFramesLinear)
{
    begin(true);
    fill(0.25f, 0.25f, 0.25f, 1.0f);
    std::fill(view.filterWeights.begin(), view.filterWeights.end(), 1.0f);
    expectNear(copiedPixel(ZN_COPY_COLOR_PROFILE), {0.25f, 0.25f, 0.25f, 1.0f});
    std::vector<ZN_RGB32F> out(48);
    copyFrame(view.record, wholeFrame(out.data(), ZN_FORMAT_RGB32F, ZN_COPY_COLOR_PROFILE));
    const znImagePostprocessor p = currentPostprocessor();
    EXPECT_NEAR(out[0].r,
                toArray(znRTColorTransforms::applyColorProfile(_mm_set1_ps(0.25f), p.profile))[0],
                1e-5f);
    EXPECT_NE(out[0].r, 0.25f);
}

TEST_F(CopyStage, WritesZeroOutsideTheFrame)
{
    fill(1.0f, 1.0f, 1.0f, 1.0f);
    std::vector<ZN_RGBA> out(48, ZN_RGBA{9, 9, 9, 9});
    znRTCopyRequest request = wholeFrame(out.data(), ZN_FORMAT_RGBA, 0);
    request.rectangle = {-2, 3, 8, 6};
    copyFrame(view.record, request);
    for (int row = 0; row < 6; ++row)
        for (int column = 0; column < 8; ++column) {
            const bool inside = column >= 2 && row < 3;
            EXPECT_EQ(out[row * 8 + column].g, inside ? 255 : 0) << column << ", " << row;
        }
}

TEST_F(CopyStage, AveragesTheFrameDownToTheImage)
{
    for (u32 y = 0; y < 6; ++y)
        for (u32 x = 0; x < 8; ++x)
            view.frame[y * 8 + x] = {float(x), float(y), 0.0f, 1.0f};
    std::vector<ZN_RGB32F> out(12);
    znRTCopyRequest request = wholeFrame(out.data(), ZN_FORMAT_RGB32F, 0);
    request.imageWidth = 4;
    request.imageHeight = 3;
    request.rectangle = {0, 0, 4, 3};
    copyFrame(view.record, request);
    for (u32 y = 0; y < 3; ++y)
        for (u32 x = 0; x < 4; ++x) {
            EXPECT_NEAR(out[y * 4 + x].r, 2.0f * float(x) + 0.5f, 1e-5f);
            EXPECT_NEAR(out[y * 4 + x].g, 2.0f * float(y) + 0.5f, 1e-5f);
        }
}

TEST_F(CopyStage, RunsPostProcessesOneAfterTheOther)
{
    struct Add : znPostProcess
    {
        explicit Add(float amount_) : amount(amount_) {}
        void apply(const ZN_RGBA32F* in, ZN_RGBA32F* out, int width, int height) override
        {
            for (int i = 0; i < width * height; ++i)
                out[i] = {in[i].r * 2.0f + amount, in[i].g, in[i].b, in[i].a};
        }
        float amount;
    };
    std::vector<ZN_RGBA32F> buffers[2] = {std::vector<ZN_RGBA32F>(48), std::vector<ZN_RGBA32F>(48)};
    view.record.m_postProcessBuffers = {buffers[0].data(), buffers[1].data()};
    znPostProcessHandler::setPostProcesses(
        nullptr,
        {std::make_shared<Add>(1.0f), std::make_shared<Add>(3.0f), std::make_shared<Add>(5.0f)});
    fill(1.0f, 1.0f, 1.0f, 1.0f);
    // ((1 * 2 + 1) * 2 + 3) * 2 + 5 = 23
    EXPECT_EQ(copiedPixel(0)[0], 23.0f);
    znPostProcessHandler::setPostProcesses(nullptr, {});
    EXPECT_EQ(copiedPixel(0)[0], 1.0f);
}

// A denoiser that makes everything red stands for the real one.
TEST_F(CopyStage, TakesTheDenoisedFrameOnlyWhereItIsWanted)
{
    znOptix::setDenoiser([](const ZN_RGBA32F*, ZN_RGBA32F* out, u32 width, u32 height,
                            const ZN_RGBA32F*, const ZN_RGBA32F*) {
        std::fill(out, out + width * height, ZN_RGBA32F{1, 0, 0, 1});
        return true;
    });
    fill(0.0f, 1.0f, 0.0f, 1.0f);
    const auto isDenoised = [this](u32 pass, bool wanted, int setting) {
        Settings::s_denoiseFilter = setting;
        std::vector<ZN_RGBA32F> out(48);
        instance->applyImageProcessing(&view.record, view.frame.data(), out.data(),
                                       ZN_FORMAT_RGBA32F, false, 0, 8, 0, 6, pass, 0, wanted);
        return out[20].r == 1.0f && out[20].g == 0.0f;
    };
    for (u32 pass : {0u, 2u, 29u}) {
        EXPECT_TRUE(isDenoised(pass, true, 2)) << pass;
        EXPECT_FALSE(isDenoised(pass, false, 2)) << pass;
        EXPECT_FALSE(isDenoised(pass, true, 1)) << pass;
    }
    EXPECT_FALSE(isDenoised(32, true, 2)); // depths stay as they are
    const auto wholeFrameIsDenoised = [this](int setting) {
        Settings::s_denoiseFilter = setting;
        view.record.m_frameOutput = zn_aligned_realloc(view.record.m_frameOutput, 1024, 16);
        view.record.m_frameOutputSize = 1024;
        return static_cast<const ZN_RGBE*>(instance->getFrame(&view.record))->g == 0;
    };
    EXPECT_FALSE(wholeFrameIsDenoised(2)); // of still frames only
    EXPECT_TRUE(wholeFrameIsDenoised(3));
    Settings::s_denoiseFilter = 0;
    znOptix::setDenoiser(nullptr);
}

TEST_F(CopyStage, ReadsMattesFromTheirOwnStore)
{
    znRTCryptomatte matte(8, 6);
    view.record.m_cryptomatte = &matte;
    matte.add(4, 2, 0x3f800001, 0x3f800002, 3.0f);
    std::vector<ZN_RGBA32F> out(48);
    znRTCopyRequest request = wholeFrame(out.data(), ZN_FORMAT_RGBA32F, 0);
    request.source = nullptr;
    for (u32 pass : {33u, 36u}) {
        request.pass = pass;
        copyFrame(view.record, request);
        const ZN_RGBA32F expected = matte.getLayer(4, 2, int(pass) - 33);
        EXPECT_EQ(std::memcmp(&out[2 * 8 + 4], &expected, sizeof expected), 0);
        EXPECT_EQ(out[2 * 8 + 4].g, 1.0f); // the whole pixel
    }
    // Samples that came after the last copy take their ranks.
    matte.add(4, 2, 0x3f800003, 0x3f800004, 5.0f);
    request.pass = 33;
    copyFrame(view.record, request);
    EXPECT_EQ(std::bit_cast<u32>(out[2 * 8 + 4].r), 0x3f800003u);
    EXPECT_EQ(out[2 * 8 + 4].g, 0.625f);
    // Other passes without a source leave the output alone.
    out[0].r = 5.0f;
    request.pass = 1;
    copyFrame(view.record, request);
    EXPECT_EQ(out[0].r, 5.0f);
    view.record.m_cryptomatte = nullptr;
}

TEST_F(CopyStage, FillsImagesByTheirFormat)
{
    fill(0.25f, 0.5f, 1.0f, 0.5f);
    const u32 formats[][2] = {
        {osg::Image::RGBA, osg::Image::Float32}, {osg::Image::RGB, osg::Image::Float32},
        {osg::Image::RGB, osg::Image::UInt8},    {osg::Image::RGBA, osg::Image::UInt8},
        {osg::Image::BGR, osg::Image::UInt8},    {osg::Image::BGRA, osg::Image::UInt8}};
    for (const auto& [format, type] : formats) {
        osg::Ref<osg::Image> image(osg::Image::create());
        ASSERT_TRUE(image->set(format, 8, 6, 1, 1, 1, nullptr, type));
        std::vector<osg::ImagePtr> images = {image.get()};
        EXPECT_EQ(instance->getFrame(&view.record, images, false, true), image->getData());
        const osg::Vec4f opaque = image->getPixel(3, 3);
        EXPECT_GT(opaque[2], opaque[0]);
        instance->getFrame(&view.record, images, false, false);
        const osg::Vec4f straight = image->getPixel(3, 3);
        // Straight alpha doubles the colour of a half transparent pixel before its transform.
        const bool keepsAlpha = format == osg::Image::RGBA || format == osg::Image::BGRA;
        if (keepsAlpha) {
            EXPECT_GT(straight[0], opaque[0]);
        } else {
            EXPECT_EQ(straight[0], opaque[0]);
        }
    }
}

TEST_F(CopyStage, SkipsImagesThatAreMissingOrOfAnotherFormat)
{
    fill(1.0f, 1.0f, 1.0f, 1.0f);
    osg::Ref<osg::Image> grey(osg::Image::create());
    ASSERT_TRUE(grey->set(osg::Image::L, 8, 6));
    std::vector<osg::ImagePtr> images = {nullptr, grey.get(), nullptr};
    EXPECT_EQ(instance->getFrame(&view.record, images, false, false), nullptr);
    for (u8 value : grey->getPixels())
        ASSERT_EQ(value, 0);
}

TEST_F(CopyStage, GivesTheWholeFrameWithASharedExponent)
{
    EXPECT_EQ(instance->getFrame(&view.record), nullptr);
    fill(1.0f, 0.5f, 0.25f, 1.0f);
    view.record.m_frameOutput = zn_aligned_malloc(16, 16);
    view.record.m_frameOutputSize = 16;
    const auto* const pixels = static_cast<const ZN_RGBE*>(instance->getFrame(&view.record));
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(pixels, view.record.m_frameOutput);
    EXPECT_EQ(pixels[47].r, 128);
    EXPECT_EQ(pixels[47].e, 129);
}

TEST_F(CopyStage, ProcessesAnyRectangleOfAFinishedFrame)
{
    fill(1.0f, 0.5f, 0.25f, 1.0f);
    std::vector<ZN_RGB> out(6, ZN_RGB{0, 0, 0});
    instance->applyImageProcessing(&view.record, view.frame.data(), out.data(), ZN_FORMAT_RGB,
                                   false, 2, 5, 1, 3, 0, 0, false);
    for (const ZN_RGB& pixel : out)
        EXPECT_EQ(pixel.g, 128);
}
