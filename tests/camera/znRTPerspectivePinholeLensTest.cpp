#include "camera/znRTPerspectivePinholeLens.h"

#include "lensFixture.h"
#include "support/lanes.h"

#include <random>

namespace {

class PinholeLens : public LensTest
{
protected:
    PinholeLens()
    {
        view.cameraToWorld = TestView::placed(37.0, {1.0, 2.0, -0.5}, {3.0, -2.0, 5.0});
        view.apply(lens);
    }

    TestView view;
    znRTPerspectivePinholeLens lens;
    LensArrays arrays;
};

} // namespace

// Directions are added up inside a block only, so the error stays that of a few additions.
TEST_F(PinholeLens, SendsEveryPixelsRayWhereItsPlaceOnTheImagePlaneLies)
{
    double worst = 0.0;
    forEachBlock(
        view.width, view.height, 16, [&](unsigned x0, unsigned x1, unsigned y0, unsigned y1) {
            const unsigned count = arrays.trace(lens, x0, x1, y0, y1);
            arrays.forEachRay(count, [&](const auto& ray, int lane, int x, int y) {
                worst =
                    std::max(worst, distanceOf(ray.direction.getLane(lane), view.direction(x, y)));
                EXPECT_LT(distanceOf(ray.origin.getLane(lane), view.position()), 1e-6);
            });
        });
    EXPECT_LT(worst, 2e-6);
}

TEST_F(PinholeLens, LooksAheadBesideTheMiddlePixel)
{
    // 300 of 600 and 200 of 400: half a pixel right of and above the middle.
    arrays.trace(lens, 300, 302, 200, 202);
    const double pixel = 2.0 * view.tangent() / view.height;
    osg::Vec3d expected = view.toWorld(0.5 * pixel, 0.5 * pixel, -1.0);
    expected.normalize();
    EXPECT_LT(distanceOf(arrays.ray(0).direction.getLane(0), expected), 5e-7);
}

TEST_F(PinholeLens, KeepsReciprocalsAndPixelsOfEachLane)
{
    const unsigned count = arrays.trace(lens, 32, 48, 16, 32);
    ASSERT_EQ(count, 64u);
    for (unsigned i = 0; i < count; ++i) {
        const auto& ray = arrays.ray(i);
        EXPECT_LANES_NEAR(ray.invDirection.x * ray.direction.x, 1, 1, 1, 1, 1e-6f);
        EXPECT_LANES_NEAR(ray.invDirection.y * ray.direction.y, 1, 1, 1, 1, 1e-6f);
        EXPECT_LANES_NEAR(ray.invDirection.z * ray.direction.z, 1, 1, 1, 1, 1e-6f);
        const int x = 32 + 2 * int(i % 8), y = 16 + 2 * int(i / 8);
        EXPECT_INT_LANES(ray.pixelX, x, x, x + 1, x + 1);
        EXPECT_INT_LANES(ray.pixelY, y, y + 1, y, y + 1);
        EXPECT_EQ(ray.auxiliary, nullptr);
    }
}

TEST_F(PinholeLens, StartsWalksAtTheNearAndEndsThemAtTheFarEnd)
{
    lens.nearClip = 0.25f;
    lens.farClip = 75.0f;
    const unsigned count = arrays.trace(lens, 0, 16, 0, 16);
    for (unsigned i = 0; i < count; ++i) {
        EXPECT_EQ(arrays.tMin(i), 0.25f);
        EXPECT_EQ(arrays.tMax(i), 75.0f);
        EXPECT_LANES_EQ(arrays.hit(i).t, 75.0f, 75.0f, 75.0f, 75.0f);
        EXPECT_EQ(arrays.hit(i).hitMask, 0u);
        EXPECT_EQ(arrays.hit(i).hitFlags, 0u);
        EXPECT_EQ(arrays.lanes(i), 15);
    }
}

TEST_F(PinholeLens, MarksRaysByTheirEye)
{
    arrays.trace(lens, 0, 2, 0, 2);
    EXPECT_INT_LANES(arrays.ray(0).type, 4, 4, 4, 4);
    view.apply(lens, false);
    arrays.trace(lens, 0, 2, 0, 2);
    EXPECT_INT_LANES(arrays.ray(0).type, 8, 8, 8, 8);
    EXPECT_INT_LANES(znRTPerspectivePinholeLens().lensRayType, 12, 12, 12, 12);
}

TEST_F(PinholeLens, HasDifferentialsThatReachTheNeighbouringPixels)
{
    for (float scale : {1.0f, 0.5f}) {
        const unsigned count = arrays.trace(lens, 64, 80, 64, 80, 0, 1, scale);
        arrays.forEachRay(count, [&](const auto& ray, int lane, int x, int y) {
            ASSERT_TRUE(ray.hasDifferentials);
            osg::Vec3d rx = toDouble(ray.rxDirection.getLane(lane));
            osg::Vec3d ry = toDouble(ray.ryDirection.getLane(lane));
            rx.normalize();
            ry.normalize();
            EXPECT_LT((rx - view.direction(x + scale, y)).length(), 2e-6);
            EXPECT_LT((ry - view.direction(x, y + scale)).length(), 2e-6);
            EXPECT_EQ(ray.rxOrigin.getLane(lane), ray.origin.getLane(lane));
        });
    }
}

TEST_F(PinholeLens, GoesThroughPixelCornersWhenAligned)
{
    view.apply(lens, true, 0.0f, true);
    arrays.trace(lens, 0, 2, 0, 2);
    EXPECT_LT(distanceOf(arrays.ray(0).direction.getLane(0), view.direction(-0.5, -0.5)), 2e-6);
    EXPECT_EQ(lens.subPixelShiftX, 0.5f);
    EXPECT_EQ(lens.subPixelBaseX, 0.0f);
}

TEST_F(PinholeLens, FollowsAnOffCentreFrustum)
{
    TestView wide = view;
    osg::Matrix4d cut; // the right upper quarter of the image
    cut[0][0] = cut[1][1] = 2.0;
    cut[3][0] = cut[3][1] = -1.0;
    osg::Matrix4d inverse = cut;
    inverse.mult(view.projection());
    inverse.invert();
    osg::Matrix4d toWorld = view.cameraToWorld;
    toWorld.mult(inverse);
    lens.updateAttributes(nullptr, 300, 200, 300, 200, 0.5f, 0.5f, 600, 400, 0.0f, 0.0f, toWorld,
                          view.cameraToWorld, true, 0.0f, {}, {}, false);
    arrays.trace(lens, 100, 102, 50, 52);
    EXPECT_LT(distanceOf(arrays.ray(0).direction.getLane(0), wide.direction(400, 250)), 2e-6);
}

TEST_F(PinholeLens, AgreesWithItsSingleRays)
{
    znRTRayPacket packet;
    lens.generateRayPacket(znFloatType<2>(10.0f, 11.0f, 12.5f, 400.0f),
                           znFloatType<2>(0.0f, 7.0f, 3.25f, 399.0f), packet);
    const float xs[4] = {10.0f, 11.0f, 12.5f, 400.0f}, ys[4] = {0.0f, 7.0f, 3.25f, 399.0f};
    for (int lane = 0; lane < 4; ++lane)
        EXPECT_LT(distanceOf(packet.direction.getLane(lane), view.direction(xs[lane], ys[lane])),
                  2e-6);
    EXPECT_INT_LANES(packet.type, 4, 4, 4, 4);
}

// Every ray lies inside the pyramid of the four corner rays, and has the signs that were stated.
TEST(PinholeBundle, IsEnclosedByItsCorners)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    unsigned coherentBundles = 0, bundles = 0;
    for (int camera = 0; camera < 60; ++camera) {
        TestView view;
        view.width = 37 + unsigned(random() % 600);
        view.height = 23 + unsigned(random() % 400);
        view.fov = 60.0 + 50.0 * uniform(random);
        view.cameraToWorld = TestView::placed(
            180.0 * uniform(random), {uniform(random), uniform(random), uniform(random)},
            {10.0 * uniform(random), 10.0 * uniform(random), uniform(random)});
        znRTPerspectivePinholeLens lens;
        view.apply(lens);
        LensArrays arrays;
        forEachBlock(
            view.width, view.height, 16, [&](unsigned x0, unsigned x1, unsigned y0, unsigned y1) {
                const int samples = 16, sample = int(random() % samples);
                const unsigned count = arrays.trace(lens, x0, x1, y0, y1, sample, samples);
                ++bundles;
                if (!arrays.bundle().coherent)
                    return;
                ++coherentBundles;
                const auto& corners = arrays.bundle().getRepresentative();
                // Left bottom, right bottom, left top, right top; the pyramid's sides in a round.
                const int round[4] = {0, 1, 3, 2};
                for (unsigned i = 0; i < count; ++i)
                    for (int lane = 0; lane < 4; ++lane) {
                        const osg::Vec3d d = toDouble(arrays.ray(i).direction.getLane(lane));
                        for (int axis = 0; axis < 3; ++axis)
                            ASSERT_EQ(d[axis] < 0.0, arrays.bundle().sign[axis] == 1);
                        for (int side = 0; side < 4; ++side) {
                            const osg::Vec3d a = toDouble(corners.direction.getLane(round[side]));
                            const osg::Vec3d b =
                                toDouble(corners.direction.getLane(round[(side + 1) & 3]));
                            ASSERT_GE(b.cross(a).dot(d), 0.0);
                        }
                    }
                EXPECT_INT_LANES(corners.type, 4, 4, 4, 4);
                EXPECT_EQ(corners.origin.getLane(0), arrays.ray(0).origin.getLane(0));
            });
    }
    // Blocks across the planes of the axes cannot be coherent; most others are.
    EXPECT_GT(coherentBundles, bundles / 2);
    EXPECT_LT(coherentBundles, bundles);
}

TEST_F(PinholeLens, LeavesBundlesAloneWhenTheyAreSwitchedOff)
{
    arrays.trace(lens, 16, 32, 16, 32);
    EXPECT_EQ(arrays.bundle().coherent, 1u);
    EXPECT_EQ(arrays.bundle().count, 64u);
    Settings::s_useBundleTracing = false;
    arrays.trace(lens, 16, 32, 16, 32);
    EXPECT_EQ(arrays.bundle().coherent, 0u);
}
