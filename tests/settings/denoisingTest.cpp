#include "host/znDenoiseFilter.h"
#include "host/znOptix.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracerP.h"
#include "settings/SilentInstance.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class Denoising : public testing::Test
{
protected:
    Denoising()
    {
        for (u32 i = 0; i < pixels.size(); ++i) {
            const float v = 1.0f + (i % 2 ? 0.1f : -0.1f);
            pixels[i] = {v, v, v, 1.0f};
        }
        view.m_renderWidth = view.m_renderHeight = size;
        view.m_passBuffers[0] = pixels.data();
    }
    ~Denoising() override
    {
        znOptix::setDenoiser(nullptr);
        instance.setDenoiseFilter(0);
        znRTRaytracingSettings::s_qualityMode = znRTRaytracingSettings::interactive;
    }

    static constexpr u32 size = 16;
    std::vector<ZN_RGBA32F> pixels = std::vector<ZN_RGBA32F>(size * size);
    std::vector<float> weights = std::vector<float>(size * size, 4.0f);
    znRaytracerP view;
    SilentInstance instance;
};

TEST_F(Denoising, FiltersOnlyWhenTheHostsFilterIsChosen)
{
    EXPECT_FALSE(instance.runDenoiseFilter(&view));
    EXPECT_FALSE(instance.runDenoiseFilter(static_cast<znRaytracerP*>(nullptr)));
    EXPECT_EQ(pixels[0].r, 0.9f);
    instance.setDenoiseFilter(1);
    EXPECT_TRUE(instance.runDenoiseFilter(&view));
    EXPECT_NEAR(pixels[8 * size + 8].r, 1.0f, 0.02f);
}

// Still frames hold sums of four samples: the filter must see colours, and the sums come back.
TEST_F(Denoising, KeepsTheSumsOfAccumulatedFrames)
{
    for (ZN_RGBA32F& p : pixels)
        p = {p.r * 4.0f, p.g * 4.0f, p.b * 4.0f, p.a * 4.0f};
    weights[0] = 0.0f; // never sampled
    view.m_filterWeights = weights.data();
    znRTRaytracingSettings::s_qualityMode = znRTRaytracingSettings::stillFrame;
    instance.setDenoiseFilter(1);
    EXPECT_TRUE(instance.runDenoiseFilter(&view));
    EXPECT_NEAR(pixels[8 * size + 8].r, 4.0f, 0.08f);
    EXPECT_NEAR(pixels[8 * size + 8].a, 4.0f, 1e-5f);
}

TEST_F(Denoising, FeedsTheFilterOfTheView)
{
    class CountingFilter : public znDenoiseFilter
    {
    public:
        void update(u32 iteration_, u32 width_, u32, const ZN_RGBA32F* pixels_, bool) override
        {
            iteration = iteration_;
            width = width_;
            source = pixels_;
        }
        u32 iteration = 0, width = 0;
        const ZN_RGBA32F* source = nullptr;
    };
    CountingFilter filter;
    view.m_denoiseFilter = &filter;
    view.m_iteration = 5;
    instance.updateDataForDenoiseFilter(&view);
    EXPECT_EQ(filter.iteration, 5u);
    EXPECT_EQ(filter.width, size);
    EXPECT_EQ(filter.source, pixels.data());
}

TEST_F(Denoising, AnswersNothingWithoutAnAIDenoiser)
{
    EXPECT_EQ(instance.getAIDenoisedBuffer(&view), nullptr);
    EXPECT_FALSE(instance.runAIDenoiseFilter(&view));
    EXPECT_EQ(pixels[0].r, 0.9f);
}

TEST_F(Denoising, WritesWhatTheAIDenoiserMakes)
{
    znOptix::setDenoiser([](const ZN_RGBA32F* source, ZN_RGBA32F* target, u32 width, u32 height,
                            const ZN_RGBA32F*, const ZN_RGBA32F*) {
        for (u32 i = 0; i < width * height; ++i)
            target[i] = {source[i].r * 2.0f, 0.0f, 0.0f, source[i].a};
        return true;
    });
    EXPECT_TRUE(instance.runAIDenoiseFilter(&view));
    EXPECT_FLOAT_EQ(pixels[1].r, 2.2f);
    EXPECT_EQ(pixels[1].g, 0.0f);
}

} // namespace
