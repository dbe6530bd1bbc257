#include "gl/surfacelessContext.h"
#include "host/znBuffer.h"
#include "host/znTexture.h"

#include <gtest/gtest.h>

#include <epoxy/gl.h>

#include <cstring>
#include <vector>

/// Software drivers keep some memory for the life of the process.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:swrast_dri\nleak:libgallium\nleak:libEGL_mesa\nleak:libLLVM\n";
}

namespace {

constexpr int s_width = 64, s_height = 36;
constexpr u64 s_bytes = u64(s_width) * s_height * 4 * sizeof(float);

void* mapForWriting(znBuffer& buffer, u64 bytes)
{
    return buffer.map(znBuffer::pixelUnpackBuffer, 1, bytes, znBuffer::streamDraw, 1);
}

std::vector<float> makePixels(float offset)
{
    std::vector<float> pixels(std::size_t(s_width) * s_height * 4);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = offset + float(i) * 0.37f; // not only display values
    return pixels;
}

std::vector<float> readBack(znTexture& texture)
{
    std::vector<float> pixels(std::size_t(s_width) * s_height * 4, -1.0f);
    texture.bindTexture();
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_FLOAT, pixels.data());
    texture.unbindTexture();
    return pixels;
}

} // namespace

TEST(Buffer, IsPlainMemoryWithoutAContext)
{
    znBuffer buffer;
    EXPECT_EQ(mapForWriting(buffer, 0), nullptr);
    void* memory = mapForWriting(buffer, 100);
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 16, 0u);
    std::memset(memory, 7, 100);
    EXPECT_TRUE(buffer.isMapped());
    EXPECT_EQ(mapForWriting(buffer, 100), nullptr) << "mapped already";
    EXPECT_TRUE(buffer.unmap());
    EXPECT_FALSE(buffer.unmap());
    buffer.bind();
    buffer.unbind();
    EXPECT_EQ(static_cast<const u8*>(buffer.getMemory())[99], 7);
    ASSERT_NE(mapForWriting(buffer, 100000), nullptr);
    EXPECT_EQ(buffer.getSize(), 100000u);
    buffer.release();
    EXPECT_FALSE(buffer.isMapped());
    EXPECT_EQ(buffer.getMemory(), nullptr);
}

TEST(Texture, DoesNothingWithoutAContext)
{
    znTexture texture;
    texture.bindTexture();
    texture.resize(4, 4);
    EXPECT_FALSE(texture.subImage(4, 4));
    texture.unbindTexture();
    texture.clearTexture();
    EXPECT_EQ(texture.getName(), 0u);
    EXPECT_EQ(texture.getTarget(), znTexture::texture2D);
}

TEST(DisplayUpload, BringsFloatsToTheTextureUnchanged)
{
    const auto context = SurfacelessContext::make();
    if (!context)
        GTEST_SKIP() << "no EGL context without a window here";
    znBuffer buffer;
    znTexture texture;
    for (float offset : {0.0f, -1000.0f}) {
        const std::vector<float> pixels = makePixels(offset);
        void* mapped = mapForWriting(buffer, s_bytes);
        ASSERT_NE(mapped, nullptr);
        EXPECT_EQ(buffer.getMemory(), nullptr) << "a real buffer, not memory";
        std::memcpy(mapped, pixels.data(), s_bytes);
        ASSERT_TRUE(buffer.unmap());
        texture.bindTexture();
        buffer.bind();
        texture.resize(s_width, s_height);
        EXPECT_TRUE(texture.subImage(s_width, s_height));
        buffer.unbind();
        texture.unbindTexture();
        EXPECT_EQ(readBack(texture), pixels);
    }
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(DisplayUpload, TakesPixelsFromMemoryToo)
{
    const auto context = SurfacelessContext::make();
    if (!context)
        GTEST_SKIP() << "no EGL context without a window here";
    const std::vector<float> pixels = makePixels(3.0f);
    znTexture texture;
    texture.bindTexture();
    EXPECT_FALSE(texture.subImage(s_width, s_height, pixels.data())) << "no storage yet";
    texture.resize(s_width, s_height);
    EXPECT_FALSE(texture.subImage(s_width, s_height)) << "no buffer is bound";
    EXPECT_FALSE(texture.subImage(s_width + 1, s_height, pixels.data()));
    EXPECT_TRUE(texture.subImage(s_width, s_height, pixels.data()));
    texture.unbindTexture();
    EXPECT_EQ(readBack(texture), pixels);
    texture.clearTexture();
    EXPECT_EQ(texture.getName(), 0u);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(DisplayUpload, SurvivesTheEndOfTheContext)
{
    znBuffer buffer;
    znTexture texture;
    {
        const auto context = SurfacelessContext::make();
        if (!context)
            GTEST_SKIP() << "no EGL context without a window here";
        ASSERT_NE(mapForWriting(buffer, s_bytes), nullptr);
        EXPECT_TRUE(buffer.unmap());
        texture.bindTexture();
    }
    EXPECT_NE(mapForWriting(buffer, s_bytes), nullptr) << "now plain memory";
    EXPECT_NE(buffer.getMemory(), nullptr);
    EXPECT_TRUE(buffer.unmap());
    texture.clearTexture();
    buffer.release();
}
