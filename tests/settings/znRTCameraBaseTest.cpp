#include "host/znRTCameraBase.h"
#include "host/osg/CameraDecorator.h"
#include "host/osg/Group.h"
#include "host/osg/Transform.h"
#include "host/osg/UTextureSettings.h"
#include "host/znUberCameraUtils.h"
#include "settings/SilentInstance.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

class PlainCamera : public znRTCameraBase
{
public:
    static inline const znRTTypeId typeId{"PlainCamera"};
    PlainCamera() : znRTCameraBase(typeId) {}
    void setImageFilter(znPixelfilter*) override {}
};

class CameraBase : public testing::Test
{
protected:
    CameraBase()
    {
        uber->setFov(90.0f);
        osg::Matrix m;
        m[3] = {1.0f, 2.0f, 3.0f, 1.0f};
        const auto transform = osg::Transform::create();
        transform->setMatrix(m);
        place->setCore(transform);
        uber->setBeacon(place.get());
    }

    /// World point that a clip-space point of the view stands for.
    osg::Point<double, 3> toWorld(double x, double y, double z) const
    {
        return camera.toWorldProjection.multFullMatrixPnt({x, y, z});
    }

    osg::Ref<osg::UberCamera> uber{osg::UberCamera::create()};
    osg::Ref<osg::Node> place{osg::Node::create(osg::Group::create())};
    PlainCamera camera;
};

TEST_F(CameraBase, FillsTheNumbersOfAnUndecoratedCamera)
{
    uber->setNear(0.5f);
    uber->setFar(50.0f);
    uber->setFilterType(4);
    uber->setFilterSizeX(2.0f);
    camera.update(uber.get().get(), 640, 480, 320, 240, 7);
    EXPECT_EQ(camera.getOSGCamera(), uber.get().get());
    EXPECT_EQ(camera.getUberCamera(), uber.get().get());
    EXPECT_FALSE(camera.isOffsetCamera());
    EXPECT_EQ(camera.fullImageWidth, 640u);
    EXPECT_EQ(camera.fullImageHeight, 480u);
    EXPECT_EQ(camera.rowStride, 640u);
    EXPECT_EQ(camera.fullImageStride, 640u);
    EXPECT_EQ(camera.maskStride, 640u);
    EXPECT_EQ(camera.viewHeight, 480u);
    EXPECT_EQ(camera.viewLeft, 0.0f);
    EXPECT_EQ(camera.viewRight, 1.0f);
    EXPECT_EQ(camera.viewTop, 1.0f);
    EXPECT_EQ(camera.viewBottom, 0.0f);
    EXPECT_EQ(camera.nearClip, 0.5f);
    EXPECT_EQ(camera.farClip, 50.0f);
    EXPECT_EQ(camera.filterType, 4);
    EXPECT_EQ(camera.filterSizeX, 2.0f);
    EXPECT_EQ(camera.iteration, 7u);
    EXPECT_EQ(camera.stereoOffset, 0.0f);
    EXPECT_TRUE(camera.isLeftEye);
}

// With 90 degrees over the height and aspect 2 the near plane at distance n reaches n up and 2 n to
// the right of the camera, which stands at (1, 2, 3) and looks along -z.
TEST_F(CameraBase, LeadsFromClipSpaceToTheWorld)
{
    camera.update(uber.get().get(), 200, 100, 200, 100, 0);
    const double n = uber->getNear();
    const auto corner = toWorld(1.0, 1.0, -1.0);
    EXPECT_NEAR(corner[0], 1.0 + 2.0 * n, 1e-6 * n);
    EXPECT_NEAR(corner[1], 2.0 + n, 1e-6 * n);
    EXPECT_NEAR(corner[2], 3.0 - n, 1e-6 * n);
    EXPECT_EQ(camera.cameraToWorld[3][0], 1.0);
    EXPECT_NEAR(camera.worldToCamera[3][2], -3.0, 1e-12);
}

TEST_F(CameraBase, CountsPassesBeforeTheFirstSampleAsZero)
{
    camera.update(uber.get().get(), 8, 8, 8, 8, 0xffffff);
    EXPECT_EQ(camera.iteration, 0u);
    camera.update(uber.get().get(), 8, 8, 8, 8, 0xfffffe);
    EXPECT_EQ(camera.iteration, 0u);
    camera.update(uber.get().get(), 8, 8, 8, 8, 0xfffffd);
    EXPECT_EQ(camera.iteration, 0xfffffdu);
}

TEST_F(CameraBase, KeepsItsNumbersWithoutACamera)
{
    camera.update(uber.get().get(), 8, 4, 8, 4, 0);
    camera.update(nullptr, 100, 100, 100, 100, 3);
    EXPECT_EQ(camera.getOSGCamera(), nullptr);
    EXPECT_EQ(camera.fullImageWidth, 8u);
}

TEST_F(CameraBase, TakesTheShiftOfASampleFromItsDecorator)
{
    const osg::Ref<osg::OffsetCameraDecorator> offset(osg::OffsetCameraDecorator::create());
    offset->setDecoratee(uber.get());
    offset->setOffsetX(0.25f);
    offset->setOffsetY(-0.5f);
    camera.update(offset.get().get(), 64, 64, 64, 64, 0);
    EXPECT_TRUE(camera.isOffsetCamera());
    EXPECT_EQ(camera.getUberCamera(), uber.get().get());
    EXPECT_EQ(camera.shiftX, 0.25f);
    EXPECT_EQ(camera.shiftY, -0.5f);
    EXPECT_EQ(camera.fullImageWidth, 64u);
    camera.update(uber.get().get(), 64, 64, 64, 64, 0);
    EXPECT_FALSE(camera.isOffsetCamera());
    EXPECT_EQ(camera.shiftX, 0.0f);
}

// The right upper quarter of a 400 x 200 image as a view of 200 x 100.
TEST_F(CameraBase, ShowsThePartOfTheImageThatATileCutsOut)
{
    const osg::Ref<osg::TileCameraDecorator> tile(osg::TileCameraDecorator::create());
    tile->setDecoratee(uber.get());
    tile->setLeft(0.5f);
    tile->setBottom(0.5f);
    camera.update(tile.get().get(), 200, 100, 200, 100, 0);
    EXPECT_EQ(camera.fullImageWidth, 400u);
    EXPECT_EQ(camera.fullImageHeight, 200u);
    EXPECT_EQ(camera.fullImageStride, 400u);
    EXPECT_EQ(camera.rowStride, 200u);
    EXPECT_EQ(camera.viewLeft, 0.5f);
    EXPECT_EQ(camera.viewRight, 1.0f);
    EXPECT_EQ(camera.viewBottom, 0.5f);
    EXPECT_EQ(camera.viewTop, 1.0f);
    EXPECT_EQ(camera.imageOffsetX, 0.5f);
    EXPECT_EQ(camera.imageOffsetY, 0.5f);
    const double n = uber->getNear();
    const auto lowerLeft = toWorld(-1.0, -1.0, -1.0);
    EXPECT_NEAR(lowerLeft[0], 1.0, 1e-6 * n) << "the middle of the whole image";
    EXPECT_NEAR(lowerLeft[1], 2.0, 1e-6 * n);
    const auto upperRight = toWorld(1.0, 1.0, -1.0);
    EXPECT_NEAR(upperRight[0], 1.0 + 2.0 * n, 1e-5 * n);
}

TEST_F(CameraBase, ScalesTheStatedSizeWithTheFrameBuffers)
{
    const osg::Ref<osg::TileCameraDecorator> tile(osg::TileCameraDecorator::create());
    tile->setDecoratee(uber.get());
    tile->setRight(0.5f);
    tile->setFullWidth(300);
    tile->setFullHeight(100);
    camera.update(tile.get().get(), 300, 200, 150, 100, 0); // two render pixels per pixel
    EXPECT_EQ(camera.fullImageWidth, 600u);
    EXPECT_EQ(camera.fullImageHeight, 200u);
}

TEST_F(CameraBase, NestsTilesInTiles)
{
    const osg::Ref<osg::TileCameraDecorator> outer(osg::TileCameraDecorator::create());
    const osg::Ref<osg::TileCameraDecorator> inner(osg::TileCameraDecorator::create());
    const osg::Ref<osg::OffsetCameraDecorator> offset(osg::OffsetCameraDecorator::create());
    inner->setDecoratee(uber.get());
    inner->setLeft(0.5f); // right half
    outer->setDecoratee(inner.get());
    outer->setRight(0.5f); // left half of it
    offset->setDecoratee(outer.get());
    camera.update(offset.get().get(), 100, 100, 100, 100, 0);
    EXPECT_EQ(camera.viewLeft, 0.5f);
    EXPECT_EQ(camera.viewRight, 0.75f);
    EXPECT_EQ(camera.fullImageWidth, 400u);
}

// Parallel eyes: the left one stands to the left by half the distance, and a point at the distance
// of zero parallax falls on the same place of the image for both.
TEST_F(CameraBase, MovesTheEyesOfAStereoCamera)
{
    uber->setStereo(true);
    uber->setEyeSeparation(60.0f); // mm, one unit is one metre
    uber->setZeroParallax(2.0f);
    double places[2];
    for (const bool left : {true, false}) {
        uber->setIsLeftEye(left);
        camera.update(uber.get().get(), 100, 100, 100, 100, 0);
        EXPECT_EQ(camera.isLeftEye, left);
        EXPECT_NEAR(camera.stereoOffset, left ? -0.03f : 0.03f, 1e-7f);
        EXPECT_NEAR(camera.cameraToWorld[3][0], 1.0 + (left ? -0.03 : 0.03), 1e-7);
        osg::Matrix4d toClip;
        ASSERT_TRUE(camera.toWorldProjection.inverse(toClip));
        places[left] = toClip.multFullMatrixPnt({1.5, 2.0, 1.0})[0]; // 2 in front
    }
    EXPECT_NEAR(places[0], places[1], 1e-6);
}

TEST_F(CameraBase, UsesDistortionMapsThatAreSwitchedOn)
{
    const auto map = osg::UTextureSettings::create();
    const osg::Ref<osg::Image> image(osg::Image::create());
    map->setImage(image.get());
    uber->setLeftDistortionMap(map);
    camera.update(uber.get().get(), 8, 8, 8, 8, 0);
    EXPECT_FALSE(camera.leftDistortionMap);
    map->setIsActive(true);
    camera.update(uber.get().get(), 8, 8, 8, 8, 0);
    EXPECT_EQ(camera.leftDistortionMap, image.get());
    EXPECT_FALSE(camera.rightDistortionMap);
}

TEST_F(CameraBase, SeesNothingThroughAProjectionWithoutInverse)
{
    uber->setProjectionMode(osg::UberCamera::projectionMatrix);
    osg::Matrix flat;
    flat[2][2] = 0.0f;
    uber->setProjectionMatrix(flat);
    camera.update(uber.get().get(), 8, 8, 8, 8, 0);
    const auto a = toWorld(-1.0, -1.0, -1.0), b = toWorld(1.0, 1.0, 1.0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(a[i], 0.0);
        EXPECT_EQ(b[i], 0.0);
    }
}

TEST_F(CameraBase, AnswersThroughDecorators)
{
    const osg::Ref<osg::OffsetCameraDecorator> offset(osg::OffsetCameraDecorator::create());
    offset->setDecoratee(uber.get());
    const auto settings = osg::TonemappingSettings::create();
    uber->setTonemappingSettings(settings);
    EXPECT_EQ(znUberCameraUtils::getTonemappingSettings(offset.get().get()), settings);
    EXPECT_FALSE(znUberCameraUtils::isOrthographicCamera(offset.get().get()));
    uber->setProjectionMode(osg::UberCamera::orthographic);
    EXPECT_TRUE(znUberCameraUtils::isOrthographicCamera(offset.get().get()));
    EXPECT_FALSE(znUberCameraUtils::isOrthographicCamera(nullptr));
}

// The middle of the image is seen along -z from (1, 2, 3); the right edge, at half height, at 45
// degrees to it.
TEST_F(CameraBase, LeadsAPickThroughAPixel)
{
    SilentInstance instance;
    znRTVector3f position, normal;
    osg::NodePtr node;
    EXPECT_FALSE(instance.getHitPoint(50.0f, 50.0f, position, normal, node)) << "no camera";
    camera.update(uber.get().get(), 100, 100, 100, 100, 0);
    instance.camera = &camera;
    EXPECT_TRUE(instance.getHitPoint(50.0f, 50.0f, position, normal, node));
    const znRTVector3f middle = instance.lastDirection.getNormalized();
    EXPECT_NEAR(middle.z, -1.0f, 1e-5f);
    EXPECT_NEAR(instance.lastOrigin.x, 1.0f, 1e-5f);
    EXPECT_TRUE(instance.getHitPoint(100.0f, 50.0f, position, normal, node));
    const znRTVector3f edge = instance.lastDirection.getNormalized();
    EXPECT_NEAR(edge.x, std::sqrt(0.5f), 1e-5f);
    EXPECT_NEAR(edge.z, -std::sqrt(0.5f), 1e-5f);
}

} // namespace
