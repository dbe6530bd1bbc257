#include "light/extractedPlaces.h"

#include "host/znRTEnvironmentImages.h"
#include "light/environmentFixture.h"

#include <gtest/gtest.h>

namespace {

constexpr int width = 64, height = 32;
constexpr float degree = float(testPi / 180.0);

/// 2 everywhere, 500 within a disk about a direction.
void makeImage(znRTSampler2D& image, const znRTVector3f& direction, float halfAngle)
{
    std::vector<znRTVector4f> texels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const znRTVector3f d = znRTEnvironmentImages::toDirection(
                (float(x) + 0.5f) / float(width), (float(y) + 0.5f) / float(height));
            const bool isInside = std::acos(std::min(dot(d, direction), 1.0f)) <= halfAngle;
            const float value = isInside ? 500.0f : 2.0f;
            texels.push_back({value, value, value, 1.0f});
        }
    image.setTexels(znRTTextureSampler::typeRGBAFloat, width, height, 1, texels.data());
}

float brightest(const znRTSampler2D& image)
{
    float most = 0.0f;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            most = std::max(most, image.getTexel(0, 0, x, y).x);
    return most;
}

} // namespace

// At the pole, across the seam, and in between.
TEST(ExtractedPlaces, TakeTheColorOfTheirSurroundings)
{
    for (const znRTVector3f& direction :
         {znRTVector3f(0, 0, 1), znRTVector3f(0, 1, 0), znRTVector3f(0.6f, 0, 0.8f)}) {
        znRTSampler2D image, filled;
        makeImage(image, direction, 10.0f * degree);
        ASSERT_EQ(brightest(image), 500.0f);
        ASSERT_TRUE(fillExtractedPlaces(image, {{direction, 10.0f * degree}}, filled));
        EXPECT_NEAR(brightest(filled), 2.0f, 1e-4f);
    }
}

TEST(ExtractedPlaces, AreATexelAtLeast)
{
    const znRTVector3f direction =
        znRTEnvironmentImages::toDirection(20.5f / float(width), 10.5f / float(height));
    znRTSampler2D image, filled;
    makeImage(image, direction, 0.1f * degree);
    ASSERT_EQ(brightest(image), 500.0f);
    ASSERT_TRUE(fillExtractedPlaces(image, {{direction, 0.0f}}, filled));
    EXPECT_NEAR(brightest(filled), 2.0f, 1e-4f);
}

TEST(ExtractedPlaces, LeaveTheRestAsItIs)
{
    znRTSampler2D image, filled, none;
    makeImage(image, {0, 0, -1}, 20.0f * degree);
    ASSERT_TRUE(fillExtractedPlaces(image, {{{0, 0, 1}, 20.0f * degree}}, filled));
    for (int y = 0; y < height; ++y)
        EXPECT_EQ(filled.getTexel(0, 0, 3, y).x, image.getTexel(0, 0, 3, y).x);
    EXPECT_FALSE(fillExtractedPlaces(none, {{{0, 0, 1}, 0.1f}}, filled));
    EXPECT_FALSE(filled.isValid());
}

TEST(ExtractedPlaces, AreReadWhenTheirLightsAreUsed)
{
    const osg::Ref<osg::USphereEnvironmentMaterial> material(
        osg::USphereEnvironmentMaterial::create());
    const osg::Ref<osg::UEnvironmentLight> sun(osg::UEnvironmentLight::create());
    sun->setDirection({0, 0, 2});
    sun->setAngularSize(10.0f);
    const osg::Ref<osg::UEnvironmentChunk> chunk(osg::UEnvironmentChunk::create());
    chunk->setLights({osg::FCPtr<osg::UEnvironmentLight>(sun.get())});
    material->setChunk(chunk.get());
    EXPECT_TRUE(extractedPlaces(*material.get()).empty());
    material->setUseExtractedLights(true);
    const auto places = extractedPlaces(*material.get());
    ASSERT_EQ(places.size(), 1u);
    EXPECT_EQ(places[0].direction, znRTVector3f(0, 0, 1));
    EXPECT_NEAR(places[0].halfAngle, 5.0f * degree, 1e-6f);
}
