#include "host/osg/Viewport.h"
#include "host/znOptix.h"
#include "host/znPostProcessHandler.h"
#include "host/znRTTextureAttributes.h"

#include <gtest/gtest.h>

namespace {

struct Brighten : znPostProcess
{
    void apply(const ZN_RGBA32F* in, ZN_RGBA32F* out, int width, int height) override
    {
        for (int i = 0; i < width * height; ++i)
            out[i] = {2.0f * in[i].r, 2.0f * in[i].g, 2.0f * in[i].b, in[i].a};
    }
};

bool halve(const ZN_RGBA32F* source, ZN_RGBA32F* target, u32 width, u32 height, const ZN_RGBA32F*,
           const ZN_RGBA32F*)
{
    for (u32 i = 0; i < width * height; ++i)
        target[i] = {0.5f * source[i].r, source[i].g, source[i].b, source[i].a};
    return true;
}

bool fail(const ZN_RGBA32F*, ZN_RGBA32F*, u32, u32, const ZN_RGBA32F*, const ZN_RGBA32F*)
{
    return false;
}

} // namespace

TEST(PostProcessHandler, KeepsAListPerViewport)
{
    osg::Ref<osg::Viewport> viewport(osg::Viewport::create());
    const osg::Viewport* key = viewport.get().get();
    EXPECT_TRUE(znPostProcessHandler::getPostProcesses(key).empty());
    EXPECT_TRUE(znPostProcessHandler::getPostProcesses(nullptr).empty());
    znPostProcessHandler::setPostProcesses(key, {std::make_shared<Brighten>()});
    const auto list = znPostProcessHandler::getPostProcesses(key);
    ASSERT_EQ(list.size(), 1u);
    const ZN_RGBA32F in[1] = {{1, 2, 3, 0.5f}};
    ZN_RGBA32F out[1];
    list[0]->apply(in, out, 1, 1);
    EXPECT_EQ(out[0].b, 6.0f);
    EXPECT_TRUE(znPostProcessHandler::getPostProcesses(nullptr).empty());
    znPostProcessHandler::setPostProcesses(key, {});
    EXPECT_TRUE(znPostProcessHandler::getPostProcesses(key).empty());
}

TEST(Optix, IsNotAvailableUnlessADenoiserIsSet)
{
    const ZN_RGBA32F pixels[2] = {{1, 1, 1, 1}, {2, 2, 2, 1}};
    EXPECT_FALSE(znOptix::isAvailable());
    EXPECT_EQ(znOptix::getAIDenoisedBuffer(pixels, 2, 1, 0, nullptr, nullptr, 4, nullptr), nullptr);
    znOptix::unmapAIDenoisedBuffer();
    znOptix::setDenoiser(&halve);
    const ZN_RGBA32F* denoised =
        znOptix::getAIDenoisedBuffer(pixels, 2, 1, 0, nullptr, nullptr, 4, nullptr);
    ASSERT_NE(denoised, nullptr);
    EXPECT_EQ(denoised[1].r, 1.0f);
    EXPECT_EQ(denoised[1].g, 2.0f);
    znOptix::unmapAIDenoisedBuffer();
    znOptix::setDenoiser(&fail);
    EXPECT_EQ(znOptix::getAIDenoisedBuffer(pixels, 2, 1, 0, nullptr, nullptr, 4, nullptr), nullptr);
    znOptix::setDenoiser(nullptr);
}

TEST(TextureAttributes, TellMappingsApart)
{
    znRTTriplanarTextureAttributes triplanar;
    znRTTireTextureAttributes tire;
    znRTTextureAttributes attributes;
    EXPECT_EQ(attributes.mapping, nullptr);
    attributes.mapping = &triplanar;
    EXPECT_EQ(attributes.mapping->typeId, 1);
    attributes.mapping = &tire;
    EXPECT_EQ(attributes.mapping->typeId, 2);
    EXPECT_EQ(triplanar.cosRot[2], 1.0f);
    attributes.setMappingType(znRTTextureAttributes::mappingTriplanar);
    EXPECT_TRUE(attributes.hasTextureProjection);
}
