// Parallel, projection-matrix, fish-eye lenses, and distortion maps.

#include "camera/znRTFishEyeLens.h"
#include "camera/znRTOrthographicLens.h"
#include "camera/znRTPerspectivePinholeLens.h"
#include "camera/znRTProjectionMatrixLens.h"
#include "host/osg/Image.h"
#include "lensFixture.h"
#include "support/lanes.h"

namespace {

class OtherLenses : public LensTest
{
protected:
    OtherLenses()
    {
        view.width = 90;
        view.height = 60;
        view.cameraToWorld = TestView::placed(-71.0, {0.3, 1.0, 0.2}, {-4.0, 7.0, 1.0});
    }

    TestView view;
    LensArrays arrays;
};

using OrthographicLens = OtherLenses;
using ProjectionMatrixLens = OtherLenses;
using FishEyeLens = OtherLenses;
using DistortionMap = OtherLenses;

/// Place on the image plane at distance 1 of a pixel, in units of the plane.
osg::Vec3d planePoint(const TestView& view, double x, double y)
{
    const double u = 2.0 * (x + 0.5) / view.width - 1.0, v = 2.0 * (y + 0.5) / view.height - 1.0;
    return {u * 0.5 * view.orthoHeight * view.aspect(), v * 0.5 * view.orthoHeight, -view.near};
}

/// A map of one texel per pixel of a 90 x 60 image.
osg::ImagePtr makeMap(const std::function<osg::Vec2f(unsigned, unsigned)>& place)
{
    std::vector<float> texels;
    for (unsigned y = 0; y < 60; ++y)
        for (unsigned x = 0; x < 90; ++x) {
            const osg::Vec2f p = place(x, y);
            texels.insert(texels.end(), {p[0], p[1], 0.0f});
        }
    const osg::ImagePtr image = osg::Image::create();
    image->set(osg::Image::RGB, 90, 60, 1, 1, 1, texels.data(), osg::Image::Float32);
    return image;
}

} // namespace

TEST_F(OrthographicLens, SendsParallelRaysFromTheNearPlane)
{
    view.isOrthographic = true;
    znRTOrthographicLens lens;
    view.apply(lens);
    lens.farClip = 50.0f;
    double worst = 0.0;
    forEachBlock(90, 60, 16, [&](unsigned x0, unsigned x1, unsigned y0, unsigned y1) {
        const unsigned count = arrays.trace(lens, x0, x1, y0, y1);
        EXPECT_EQ(arrays.bundle().coherent, 0u);
        EXPECT_EQ(arrays.tMin(0), 0.0f);
        EXPECT_EQ(arrays.tMax(0), 50.0f);
        arrays.forEachRay(count, [&](const auto& ray, int lane, int x, int y) {
            const osg::Vec3d p = planePoint(view, x, y);
            const osg::Vec3d origin = view.position() + view.toWorld(p[0], p[1], p[2]);
            worst = std::max(worst, distanceOf(ray.origin.getLane(lane), origin));
            EXPECT_LT(distanceOf(ray.direction.getLane(lane), view.forward()), 1e-6);
            const osg::Vec3d right = planePoint(view, x + 1, y);
            const osg::Vec3d neighbour =
                view.position() + view.toWorld(right[0], right[1], right[2]);
            EXPECT_LT(distanceOf(ray.rxOrigin.getLane(lane), neighbour), 1e-5);
            EXPECT_EQ(ray.ryDirection.getLane(lane), ray.direction.getLane(lane));
        });
    });
    EXPECT_LT(worst, 1e-5);

    znRTRayPacket packet;
    lens.generateRayPacket(znFloatType<2>(12.0f), znFloatType<2>(34.0f), packet);
    const osg::Vec3d p = planePoint(view, 12.0, 34.0);
    EXPECT_LT(
        distanceOf(packet.origin.getLane(2), view.position() + view.toWorld(p[0], p[1], p[2])),
        1e-5);
}

TEST_F(ProjectionMatrixLens, AgreesWithThePinholeForAPlainFrustum)
{
    znRTProjectionMatrixLens lens;
    view.apply(lens);
    forEachBlock(90, 60, 16, [&](unsigned x0, unsigned x1, unsigned y0, unsigned y1) {
        const unsigned count = arrays.trace(lens, x0, x1, y0, y1);
        EXPECT_EQ(arrays.tMin(0), 0.0f);
        arrays.forEachRay(count, [&](const auto& ray, int lane, int x, int y) {
            const osg::Vec3d d = view.direction(x, y);
            EXPECT_LT(distanceOf(ray.direction.getLane(lane), d), 3e-6);
            // On the near plane: the origin lies on the pinhole's ray at that depth.
            const double depth = view.near / d.dot(view.forward());
            EXPECT_LT(distanceOf(ray.origin.getLane(lane), view.position() + d * depth), 2e-6);
            osg::Vec3d rx = toDouble(ray.rxDirection.getLane(lane));
            rx.normalize();
            EXPECT_LT((rx - view.direction(x + 1, y)).length(), 3e-6);
        });
    });
}

// A near plane that is tilted against the view: the third row of the projection is replaced, so
// that clip z = -w is another plane (E. Lengyel, "Oblique View Frustum Depth Projection and
// Clipping", 2005). Rays keep their directions and start on that plane.
TEST_F(ProjectionMatrixLens, StartsOnAnObliqueNearPlane)
{
    osg::Matrix4d projection = view.projection();
    // Plane 0.3 x + 0.2 y + z + 3 = 0 in camera space; clip z + w is a multiple of it.
    const double plane[4] = {-0.3, -0.2, -1.0, -3.0};
    for (int c = 0; c < 4; ++c)
        projection[c][2] = plane[c] * 0.4 - projection[c][3];
    projection.invert();
    osg::Matrix4d toWorld = view.cameraToWorld;
    toWorld.mult(projection);
    znRTProjectionMatrixLens lens;
    lens.updateAttributes(nullptr, 90, 60, 90, 60, 0.0f, 0.0f, 90, 60, 0.0f, 0.0f, toWorld,
                          view.cameraToWorld, true, 0.0f, {}, {}, false);
    osg::Matrix4d toCamera = view.cameraToWorld;
    toCamera.invert();
    const unsigned count = arrays.trace(lens, 30, 46, 20, 36);
    arrays.forEachRay(count, [&](const auto& ray, int lane, int x, int y) {
        const osg::Vec3d o = toDouble(ray.origin.getLane(lane));
        const osg::Vec3d p = toCamera.multMatrixPnt(osg::Pnt3d(o));
        EXPECT_NEAR(plane[0] * p[0] + plane[1] * p[1] + plane[2] * p[2] + plane[3], 0.0, 1e-5);
        EXPECT_LT(distanceOf(ray.direction.getLane(lane), view.direction(x, y)), 5e-6);
    });
    znRTRayPacket packet;
    lens.generateRayPacket(znFloatType<2>(30.0f), znFloatType<2>(20.0f), packet);
    EXPECT_LT(distanceOf(packet.direction.getLane(0), view.direction(30, 20)), 5e-6);
}

TEST_F(FishEyeLens, HasNoRaysForImages)
{
    znRTFishEyeLens lens;
    view.apply(lens);
    EXPECT_EQ(arrays.trace(lens, 0, 16, 0, 16), 0u);
    EXPECT_EQ(arrays.bundle().count, 0u);
    znRTRayPacket packet;
    lens.generateRayPacket(znFloatType<2>(3.0f), znFloatType<2>(4.0f), packet);
    EXPECT_LT(distanceOf(packet.direction.getLane(0), view.direction(3, 4)), 2e-6);
}

TEST_F(DistortionMap, LeavesRaysAloneThatItDoesNotMove)
{
    znRTPerspectivePinholeLens lens;
    const osg::Ref<osg::Image> map = makeMap(
        [](unsigned x, unsigned y) { return osg::Vec2f((x + 0.5f) / 90.0f, (y + 0.5f) / 60.0f); });
    view.apply(lens, true, 0.0f, false, map.get());
    ASSERT_TRUE(lens.hasLeftMap);
    const unsigned count = arrays.trace(lens, 32, 48, 16, 32);
    EXPECT_EQ(count, 64u);
    EXPECT_EQ(arrays.bundle().coherent, 0u);
    arrays.forEachRay(count, [&](const auto& ray, int lane, int x, int y) {
        EXPECT_LT(distanceOf(ray.direction.getLane(lane), view.direction(x, y)), 1e-5);
        osg::Vec3d rx = toDouble(ray.rxDirection.getLane(lane));
        rx.normalize();
        EXPECT_LT((rx - view.direction(x + 1, y)).length(), 1e-5);
    });
}

TEST_F(DistortionMap, MayHaveTwoChannels)
{
    std::vector<float> texels;
    for (unsigned y = 0; y < 60; ++y)
        for (unsigned x = 0; x < 90; ++x)
            texels.insert(texels.end(), {(x + 0.5f) / 90.0f, (y + 0.5f) / 60.0f});
    const osg::Ref<osg::Image> map = osg::Image::create();
    map->set(osg::Image::LA, 90, 60, 1, 1, 1, texels.data(), osg::Image::Float32);
    znRTPerspectivePinholeLens lens;
    view.apply(lens, true, 0.0f, false, map.get());
    const unsigned count = arrays.trace(lens, 32, 48, 16, 32);
    EXPECT_EQ(count, 64u);
    arrays.forEachRay(count, [&](const auto& ray, int lane, int x, int y) {
        EXPECT_LT(distanceOf(ray.direction.getLane(lane), view.direction(x, y)), 1e-5);
    });
}

TEST_F(DistortionMap, TakesRaysFromThePlacesItHolds)
{
    znRTPerspectivePinholeLens lens;
    const osg::Ref<osg::Image> mirror = makeMap([](unsigned x, unsigned y) {
        return osg::Vec2f(1.0f - (x + 0.5f) / 90.0f, (y + 0.5f) / 60.0f);
    });
    view.apply(lens, true, 0.0f, false, mirror.get());
    const unsigned count = arrays.trace(lens, 16, 32, 16, 32);
    arrays.forEachRay(count, [&](const auto& ray, int lane, int x, int y) {
        EXPECT_LT(distanceOf(ray.direction.getLane(lane), view.direction(89 - x, y)), 1e-5);
    });
}

TEST_F(DistortionMap, SwitchesPixelsOffWhereItHoldsNothing)
{
    znRTPerspectivePinholeLens lens;
    const osg::Ref<osg::Image> map = makeMap([](unsigned x, unsigned y) {
        return x < 20 ? osg::Vec2f(0.0f, 0.0f) : osg::Vec2f((x + 0.5f) / 90.0f, (y + 0.5f) / 60.0f);
    });
    view.apply(lens, true, 0.0f, false, map.get());
    const unsigned count = arrays.trace(lens, 16, 32, 0, 16);
    EXPECT_EQ(count, 48u);
    int rays = 0;
    arrays.forEachRay(count, [&](const auto&, int, int x, int) {
        EXPECT_GE(x, 20);
        ++rays;
    });
    EXPECT_EQ(rays, 12 * 16);
    EXPECT_EQ(arrays.trace(lens, 0, 16, 0, 16), 0u);
}

TEST_F(DistortionMap, CountsForTheEyeThatHasOne)
{
    znRTPerspectivePinholeLens lens;
    const osg::Ref<osg::Image> map =
        makeMap([](unsigned, unsigned) { return osg::Vec2f(0.0f, 0.0f); });
    view.apply(lens, true, 0.0f, false, map.get());
    EXPECT_EQ(arrays.trace(lens, 0, 16, 0, 16), 0u);
    view.apply(lens, false, 0.0f, false, map.get());
    EXPECT_EQ(arrays.trace(lens, 0, 16, 0, 16), 64u);
    view.apply(lens, true);
    EXPECT_FALSE(lens.hasLeftMap);
    EXPECT_EQ(lens.distortionMapLeft, nullptr);
}
