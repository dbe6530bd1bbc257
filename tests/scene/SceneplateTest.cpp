#include "host/osg/Image.h"
#include "host/znSceneplateDrawable.h"

#include <gtest/gtest.h>

namespace {

TEST(Sceneplate, FillsTheViewportBehindTheSceneUnlessToldOtherwise)
{
    const osg::Ref<osg::Sceneplate> plate(osg::Sceneplate::create());
    const znSceneplateDrawable drawable(*plate);
    EXPECT_FALSE(drawable.front);
    EXPECT_TRUE(drawable.visible);
    EXPECT_EQ(drawable.kind, znSceneplateDrawable::solid);
    EXPECT_EQ(drawable.color, znRTVector4f(1.0f, 1.0f, 1.0f, 1.0f));
    EXPECT_EQ(drawable.gamma, 2.2f);
    EXPECT_EQ(drawable.opacity, 1.0f);
    EXPECT_EQ(drawable.selectionMask, 0xffffffffu);
    EXPECT_EQ(drawable.imageAspect, 1.0f) << "without a picture";
    for (int i = 0; i < 4; ++i) // counter-clockwise from the lower left
        EXPECT_EQ(drawable.corners[i], znRTVector2f(i == 1 || i == 2, i >= 2)) << i;
    EXPECT_EQ(drawable.texCoords, drawable.corners);
}

TEST(Sceneplate, HandsItsFieldsToTheDrawable)
{
    const osg::Ref<osg::Image> image(osg::Image::create());
    image->set(osg::Image::RGB, 6, 3);
    const osg::Ref<osg::Sceneplate> plate(osg::Sceneplate::create());
    plate->setFront(true);
    plate->setOrder(7);
    plate->setKind(1);
    plate->setImage(image);
    plate->setOpacity(0.5f);
    plate->setKeepAspect(true);
    plate->setVisible(false);
    plate->setSelectionMask(6);
    plate->setTexCoord2({3.0f, 4.0f});
    znSceneplateDrawable drawable(*plate);
    EXPECT_TRUE(drawable.front && drawable.keepAspect && !drawable.visible);
    EXPECT_EQ(drawable.depth, 7);
    EXPECT_EQ(drawable.kind, znSceneplateDrawable::image);
    EXPECT_EQ(drawable.picture, image);
    EXPECT_EQ(drawable.imageAspect, 2.0f);
    EXPECT_EQ(drawable.opacity, 0.5f);
    EXPECT_EQ(drawable.selectionMask, 6u);
    EXPECT_EQ(drawable.texCoords[2], znRTVector2f(3.0f, 4.0f));
    drawable.setViewport(640, 480, 0.25f, 0.5f, 2.0f);
    EXPECT_EQ(drawable.viewportWidth, 640);
    EXPECT_EQ(drawable.viewportHeight, 480);
    EXPECT_EQ(drawable.offsetX, 0.25f);
    EXPECT_EQ(drawable.offsetY, 0.5f);
    EXPECT_EQ(drawable.pixelAspect, 2.0f);
}

// Both halves run the same way round, and their areas add up to the quad's (shoelace formula).
TEST(Sceneplate, IsCutIntoTwoTriangles)
{
    const osg::Ref<osg::Sceneplate> plate(osg::Sceneplate::create());
    plate->setCorner1({0.5f, 0.25f});
    plate->setCorner2({1.0f, 2.0f});
    const znSceneplateDrawable drawable(*plate);
    const auto area = [](auto&& points) {
        float sum = 0.0f;
        for (std::size_t i = 0; i < points.size(); ++i) {
            const znRTVector2f &a = points[i], &b = points[(i + 1) % points.size()];
            sum += 0.5f * (a.x * b.y - b.x * a.y);
        }
        return sum;
    };
    float sum = 0.0f;
    for (const znRTTriangle2D& half : drawable.getTriangles()) {
        EXPECT_GT(area(half.corners), 0.0f);
        sum += area(half.corners);
    }
    EXPECT_FLOAT_EQ(sum, area(drawable.corners));
}

} // namespace
