#include "host/osg/CameraDecorator.h"
#include "host/osg/UberCamera.h"
#include "host/osg/nodeCores.h"
#include "host/znSceneDataManager.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

using namespace osg;

namespace {

/// Clip space position of a point in camera space, divided by w.
Vec3d projected(const Camera& camera, u32 width, u32 height, const Vec3d& p)
{
    const Vector<double, 4> h =
        camera.getProjection(width, height).multMatrixVec4({p[0], p[1], p[2], 1.0});
    return {h[0] / h[3], h[1] / h[3], h[2] / h[3]};
}

Ref<UberCamera> perspectiveCamera(float fov, int axis)
{
    const Ref<UberCamera> camera = UberCamera::create();
    camera->setFov(fov);
    camera->setFovAxis(axis);
    camera->setNear(0.5f);
    camera->setFar(100.0f);
    return camera;
}

// At distance d a field of view of angle a spans 2 d tan(a / 2).
TEST(UberCamera, SpansItsFieldOfViewAlongTheChosenAxis)
{
    const double t = std::tan(30.0 * std::numbers::pi / 180.0);
    const Ref<UberCamera> vertical = perspectiveCamera(60.0f, UberCamera::vertical);
    EXPECT_NEAR(projected(*vertical, 200, 100, {0, 3 * t, -3})[1], 1.0, 1e-12);
    EXPECT_NEAR(projected(*vertical, 200, 100, {2 * 3 * t, 0, -3})[0], 1.0, 1e-12);
    const Ref<UberCamera> horizontal = perspectiveCamera(60.0f, UberCamera::horizontal);
    EXPECT_NEAR(projected(*horizontal, 200, 100, {3 * t, 0, -3})[0], 1.0, 1e-12);
    EXPECT_NEAR(projected(*horizontal, 200, 100, {0, 1.5 * t, -3})[1], 1.0, 1e-12);
    const Ref<UberCamera> smaller = perspectiveCamera(60.0f, UberCamera::smaller);
    EXPECT_NEAR(projected(*smaller, 200, 100, {0, 3 * t, -3})[1], 1.0, 1e-12);
    EXPECT_NEAR(projected(*smaller, 100, 200, {3 * t, 0, -3})[0], 1.0, 1e-12);
}

TEST(UberCamera, MapsNearAndFarToTheEndsOfClipSpace)
{
    for (const int mode : {UberCamera::perspective, UberCamera::orthographic}) {
        const Ref<UberCamera> camera = perspectiveCamera(60.0f, UberCamera::vertical);
        camera->setProjectionMode(mode);
        EXPECT_NEAR(projected(*camera, 100, 100, {0, 0, -0.5})[2], -1.0, 1e-9);
        EXPECT_NEAR(projected(*camera, 100, 100, {0, 0, -100})[2], 1.0, 1e-9);
    }
}

TEST(UberCamera, KeepsSizesAtAllDistancesWhenOrthographic)
{
    const Ref<UberCamera> camera = perspectiveCamera(60.0f, UberCamera::vertical);
    camera->setProjectionMode(UberCamera::orthographic);
    camera->setOrthoHeight(4.0f);
    for (const double z : {-1.0, -50.0}) {
        EXPECT_NEAR(projected(*camera, 300, 100, {0, 2, z})[1], 1.0, 1e-12);
        EXPECT_NEAR(projected(*camera, 300, 100, {6, 0, z})[0], 1.0, 1e-12);
    }
}

// A shift by half the image height brings the lower edge of the view to the axis.
TEST(UberCamera, ShiftsTheViewBySharesOfTheImage)
{
    const Ref<UberCamera> camera = perspectiveCamera(60.0f, UberCamera::vertical);
    camera->setLensShift(Vec2f(0.25f, 0.5f));
    const Vec3d axis = projected(*camera, 100, 100, {0, 0, -3});
    EXPECT_NEAR(axis[0], -0.5, 1e-12);
    EXPECT_NEAR(axis[1], -1.0, 1e-12);
}

TEST(UberCamera, TakesTheGivenMatrixInMatrixMode)
{
    const Ref<UberCamera> camera = UberCamera::create();
    camera->setProjectionMode(UberCamera::projectionMatrix);
    Matrix m;
    m[2][3] = -1.0f;
    camera->setProjectionMatrix(m);
    EXPECT_EQ(camera->getProjection(10, 10), TransformationMatrix<double>(m));
}

TEST(UberCamera, LooksAlongMinusZOfItsBeacon)
{
    const auto transform = Transform::create();
    const Ref<Node> beacon = Node::create(transform);
    Matrix m; // a quarter turn about x: -z becomes +y, y becomes z
    m.setTransform({1, 2, 3}, {std::sqrt(0.5f), 0, 0, std::sqrt(0.5f)});
    transform->setMatrix(m);
    const Ref<UberCamera> camera = UberCamera::create();
    camera->setBeacon(beacon);
    Pnt3f from, at;
    Vec3f up;
    camera->getFromAtUp(from, at, up);
    EXPECT_EQ(from, Pnt3f(1, 2, 3));
    EXPECT_NEAR(at[1] - from[1], 1.0f, 1e-6f);
    EXPECT_NEAR(up[2], 1.0f, 1e-6f);
    const Point<double, 3> seen =
        camera->getViewing(1, 1).multMatrixPnt(Point<double, 3>(1.0, 7.0, 3.0));
    EXPECT_NEAR(seen[2], -5.0, 1e-6);
    EXPECT_NEAR(seen[0], 0.0, 1e-6);
}

TEST(TileCameraDecorator, ShowsExactlyItsPartOfTheWholeImage)
{
    const Ref<UberCamera> camera = perspectiveCamera(50.0f, UberCamera::vertical);
    const Ref<TileCameraDecorator> tile = TileCameraDecorator::create();
    tile->setDecoratee(camera.get());
    tile->setLeft(0.25f);
    tile->setRight(0.75f);
    tile->setBottom(0.5f);
    tile->setTop(1.0f);
    const Vec3d p(0.3, 0.4, -2.0);
    const Vec3d whole = projected(*camera, 400, 200, p), part = projected(*tile, 200, 100, p);
    // From the whole image's 0..1 to the rectangle's.
    EXPECT_NEAR((part[0] + 1) / 2, ((whole[0] + 1) / 2 - 0.25) / 0.5, 1e-12);
    EXPECT_NEAR((part[1] + 1) / 2, ((whole[1] + 1) / 2 - 0.5) / 0.5, 1e-12);
    EXPECT_NEAR(part[2], whole[2], 1e-12);
}

// What stood 0.7 half pixels right of a pixel's centre (in clip space 0.7 / width) stands in its
// centre now, at every depth.
TEST(OffsetCameraDecorator, MovesTheImageByPartsOfAPixel)
{
    const Ref<UberCamera> camera = perspectiveCamera(50.0f, UberCamera::vertical);
    const Ref<OffsetCameraDecorator> offset = OffsetCameraDecorator::create();
    offset->setDecoratee(camera.get());
    EXPECT_EQ(offset->getProjection(40, 20), camera->getProjection(40, 20));
    offset->setOffsetX(0.7f);
    offset->setOffsetY(-0.3f);
    for (const Pnt3d& p : {Pnt3d(0.3, -0.2, -1.5), Pnt3d(-4.0, 7.0, -20.0)}) {
        const Pnt3d before = camera->getProjection(40, 20).multFullMatrixPnt(p);
        const Pnt3d after = offset->getProjection(40, 20).multFullMatrixPnt(p);
        EXPECT_NEAR(after[0], before[0] - 0.7 / 40.0, 1e-7);
        EXPECT_NEAR(after[1], before[1] + 0.3 / 20.0, 1e-7);
        EXPECT_NEAR(after[2], before[2], 1e-12);
    }
    const Ref<MovedCameraDecorator> moved = MovedCameraDecorator::create();
    moved->setDecoratee(camera.get());
    moved->setOffsetX(0.7f);
    moved->setOffsetY(-0.3f);
    EXPECT_EQ(moved->getProjection(40, 20), offset->getProjection(40, 20));
    EXPECT_EQ(getUndecorated(moved.get()), camera.get());
    EXPECT_EQ(getUndecorated(offset.get()), camera.get());
    EXPECT_EQ(getUndecorated(camera.get()), camera.get());
    EXPECT_FALSE(getUndecorated(nullptr));
}

TEST(CameraSettings, GiveLengthsInSceneUnits)
{
    const Ref<UberCamera> camera = UberCamera::create();
    const Ref<TonemappingSettings> settings = TonemappingSettings::create();
    const Ref<FogSettings> fog = FogSettings::create();
    EXPECT_FLOAT_EQ(camera->getEyeSeparation(), 0.063f);
    znSceneData* const scene = znSceneDataManager::getSceneData(0);
    const float before = scene->getUnitsPerMetre();
    scene->setUnitsPerMetre(1000.0f);
    EXPECT_FLOAT_EQ(camera->getEyeSeparation(), 63.0f);
    EXPECT_FLOAT_EQ(settings->getStereoEyeSeparation(), 63.0f);
    EXPECT_FLOAT_EQ(fog->getFogDensityHeight(), 1.0f);
    scene->setUnitsPerMetre(before);
    EXPECT_FLOAT_EQ(fog->getFogDensityHeight(), 1000.0f);
}

} // namespace
