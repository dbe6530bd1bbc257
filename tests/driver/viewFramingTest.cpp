#include "driver/viewFraming.h"

#include "host/osg/UberCamera.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

osg::Box box(const osg::Pnt3f& low, const osg::Pnt3f& high)
{
    osg::Box result;
    result.extend(low);
    result.extend(high);
    return result;
}

/// Largest of |x / w| and |y / w| over the corners of a box, in clip space of a framed view.
double extentOnScreen(const osg::Box& b, const FramedView& view, float fov, float aspect)
{
    const osg::Matrix m = lookAtMatrix(view);
    const double tanY = std::tan(0.5 * fov * 3.14159265358979 / 180.0), tanX = tanY * aspect;
    double extent = 0.0;
    for (int i = 0; i < 8; ++i) {
        const double corner[3] = {i & 1 ? b.maximum[0] : b.minimum[0],
                                  i & 2 ? b.maximum[1] : b.minimum[1],
                                  i & 4 ? b.maximum[2] : b.minimum[2]};
        double local[3] = {0, 0, 0};
        for (int axis = 0; axis < 3; ++axis)
            for (int k = 0; k < 3; ++k)
                local[axis] += m[axis][k] * (corner[k] - m[3][k]);
        EXPECT_LT(local[2], 0.0) << "corner behind the camera";
        extent = std::max({extent, std::abs(local[0] / (-local[2] * tanX)),
                           std::abs(local[1] / (-local[2] * tanY))});
    }
    return extent;
}

} // namespace

// The nearest corner may touch the margin but nothing may stick out, whatever the shape.
TEST(ViewFraming, ShowsTheWholeSceneAndFillsTheView)
{
    const osg::Box boxes[] = {box({-1, -1, -1}, {1, 1, 1}), box({0, 0, 0}, {100, 1, 1}),
                              box({5, 5, 5}, {5.001f, 5.001f, 9}), box({-3, -50, 0}, {3, 50, 0})};
    for (const osg::Box& b : boxes)
        for (float aspect : {0.5f, 1.0f, 2.4f}) {
            ViewRequest request;
            request.aspect = aspect;
            const double extent =
                extentOnScreen(b, frameScene(b, request), request.fov, request.aspect);
            EXPECT_LE(extent, 1.0);
            EXPECT_GT(extent, 0.75);
        }
}

TEST(ViewFraming, LooksFromTheSideThatIsAskedFor)
{
    const osg::Box scene = box({-1, -2, 0}, {3, 2, 5});
    ViewRequest request;
    request.from = osg::Vec3f(0.0f, 2.0f, 0.0f);
    const FramedView view = frameScene(scene, request);
    EXPECT_NEAR(view.eye[0], 1.0f, 1e-4f);
    EXPECT_GT(view.eye[1], 2.0f);
    EXPECT_NEAR(view.eye[2], 2.5f, 1e-4f);
    EXPECT_LE(extentOnScreen(scene, view, request.fov, request.aspect), 1.0);
}

TEST(ViewFraming, KeepsWhatIsGiven)
{
    ViewRequest request;
    request.eye = osg::Vec3f(1, 2, 3);
    request.at = osg::Vec3f(4, 5, 6);
    const FramedView view = frameScene(box({-1, -1, -1}, {1, 1, 1}), request);
    EXPECT_EQ(view.eye, osg::Vec3f(1, 2, 3));
    EXPECT_EQ(view.at, osg::Vec3f(4, 5, 6));
    EXPECT_EQ(view.up, osg::Vec3f(0, 0, 1));
}

// Straight down, z cannot be up.
TEST(ViewFraming, ChoosesAnUpwardDirectionAcrossTheView)
{
    ViewRequest request;
    request.eye = osg::Vec3f(0, 0, 10);
    request.at = osg::Vec3f(0, 0, 0);
    const osg::Matrix m = lookAtMatrix(frameScene(box({-1, -1, -1}, {1, 1, 1}), request));
    for (int axis = 0; axis < 3; ++axis) {
        const double length =
            std::sqrt(m[axis][0] * m[axis][0] + m[axis][1] * m[axis][1] + m[axis][2] * m[axis][2]);
        EXPECT_NEAR(length, 1.0, 1e-6);
    }
    EXPECT_NEAR(m[2][2], 1.0, 1e-6);
}

TEST(ViewFraming, ClipsNothingOfTheScene)
{
    const osg::Box b = box({-2, -3, -4}, {5, 6, 7});
    const FramedView view = frameScene(b, {});
    for (int i = 0; i < 8; ++i) {
        const osg::Pnt3f corner(i & 1 ? b.maximum[0] : b.minimum[0],
                                i & 2 ? b.maximum[1] : b.minimum[1],
                                i & 4 ? b.maximum[2] : b.minimum[2]);
        const double distance =
            std::hypot(corner[0] - view.eye[0], corner[1] - view.eye[1], corner[2] - view.eye[2]);
        EXPECT_LT(distance, view.farClip);
        EXPECT_GT(distance, view.nearClip);
    }
}

TEST(ViewFraming, LooksAtAnEmptySceneAndAPointWithoutNaN)
{
    for (const osg::Box& b : {osg::Box(), box({1, 1, 1}, {1, 1, 1})}) {
        const osg::Matrix m = lookAtMatrix(frameScene(b, {}));
        for (int c = 0; c < 4; ++c)
            for (int r = 0; r < 4; ++r)
                EXPECT_TRUE(std::isfinite(m[c][r]));
    }
}
