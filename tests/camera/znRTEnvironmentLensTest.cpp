#include "camera/znRTEnvironmentLens.h"

#include "host/osg/UberCamera.h"
#include "host/znSceneDataManager.h"
#include "lensFixture.h"
#include "support/lanes.h"

namespace {

using Lens = znRTEnvironmentLens;

// The sine polynomial ends at 0.999843: directions are right to some 2e-4.
constexpr double angleTolerance = 4e-4;

class EnvironmentLens : public LensTest
{
protected:
    EnvironmentLens()
    {
        view.width = 128;
        view.height = 64;
        view.cameraToWorld = TestView::placed(25.0, {0.2, 1.0, -0.4}, {1.0, 2.0, 3.0});
    }

    /// Direction in the frame of right, up and ahead.
    osg::Vec3d toFrame(const znRTVector3f& d) const
    {
        const osg::Vec3d v = toDouble(d);
        return {v.dot(view.right()), v.dot(view.up()), v.dot(view.forward())};
    }
    /// Of a latitude-longitude panorama whose middle looks ahead: right, up, ahead.
    osg::Vec3d spherical(double x, double y) const
    {
        const double longitude = (2.0 * (x + 0.5) / view.width - 1.0) * std::numbers::pi;
        const double latitude = ((y + 0.5) / view.height - 0.5) * std::numbers::pi;
        return {std::cos(latitude) * std::sin(longitude), std::sin(latitude),
                std::cos(latitude) * std::cos(longitude)};
    }
    void forAll(const Lens& lens,
                const std::function<void(const znRTRayDifferentialPacket&, int, int, int)>& visit)
    {
        forEachBlock(view.width, view.height, 16,
                     [&](unsigned x0, unsigned x1, unsigned y0, unsigned y1) {
                         arrays.forEachRay(arrays.trace(lens, x0, x1, y0, y1), visit);
                     });
    }
    /// Sum over all pixels of the solid angle between a ray and its neighbours (half a pixel each
    /// way), times four.
    double coveredSolidAngle(const Lens& lens, int& pixels)
    {
        double sum = 0.0;
        pixels = 0;
        forAll(lens, [&](const auto& ray, int lane, int, int) {
            const osg::Vec3d d = toDouble(ray.direction.getLane(lane));
            const osg::Vec3d dx = toDouble(ray.rxDirection.getLane(lane)) - d;
            const osg::Vec3d dy = toDouble(ray.ryDirection.getLane(lane)) - d;
            sum += 4.0 * dx.cross(dy).length();
            ++pixels;
        });
        return sum;
    }

    TestView view;
    LensArrays arrays;
};

} // namespace

TEST_F(EnvironmentLens, MapsASphereByLongitudeAndLatitude)
{
    Lens lens(Lens::spherical);
    view.apply(lens);
    double worst = 0.0;
    int rays = 0;
    forAll(lens, [&](const auto& ray, int lane, int x, int y) {
        worst = std::max(worst, (toFrame(ray.direction.getLane(lane)) - spherical(x, y)).length());
        EXPECT_LT(distanceOf(ray.origin.getLane(lane), view.position()), 1e-6);
        EXPECT_NEAR(ray.direction.getLane(lane).getLength(), 1.0, 1e-6);
        ++rays;
    });
    EXPECT_LT(worst, angleTolerance);
    EXPECT_EQ(rays, 128 * 64);
}

TEST_F(EnvironmentLens, IsContinuousAcrossItsSeam)
{
    Lens lens(Lens::spherical);
    view.apply(lens);
    znRTRayPacket left, right;
    lens.generateRayPacket(znFloatType<2>(-0.5f), znFloatType<2>(10.0f, 20.0f, 30.0f, 40.0f), left);
    lens.generateRayPacket(znFloatType<2>(127.5f), znFloatType<2>(10.0f, 20.0f, 30.0f, 40.0f),
                           right);
    for (int lane = 0; lane < 4; ++lane)
        EXPECT_LT((left.direction - right.direction).getLane(lane).getLength(), angleTolerance);
}

TEST_F(EnvironmentLens, StaysInsideThePolesForEverySample)
{
    Lens lens(Lens::spherical);
    view.apply(lens);
    for (int sample = 0; sample < 16; ++sample) {
        const unsigned count = arrays.trace(lens, 0, 16, 0, 16, sample, 16);
        arrays.forEachRay(count, [&](const auto& ray, int lane, int, int y) {
            // A bottom row looks down, and no direction has passed through the pole: seen in the
            // plane of the longitude it stays on its own side.
            const osg::Vec3d d = toFrame(ray.direction.getLane(lane));
            EXPECT_LT(d[1], -std::sin(std::numbers::pi * (0.5 - (y + 1.6) / 64.0)) + 1e-3);
            EXPECT_LT(d[2], 1e-3);
        });
    }
}

TEST_F(EnvironmentLens, HasHalfAPixelToItsDifferentials)
{
    Lens lens(Lens::spherical);
    view.apply(lens);
    arrays.trace(lens, 64, 66, 40, 42);
    const auto& ray = arrays.ray(0);
    EXPECT_LT((toFrame(ray.rxDirection.getLane(0)) - spherical(64.5, 40.0)).length(),
              angleTolerance);
    EXPECT_LT((toFrame(ray.ryDirection.getLane(0)) - spherical(64.0, 40.5)).length(),
              angleTolerance);
}

TEST_F(EnvironmentLens, MapsACylinderThatReachesFortyFiveDegreesUpAndDown)
{
    Lens lens(Lens::cylindrical);
    view.apply(lens, true, 5.0f);
    forAll(lens, [&](const auto& ray, int lane, int x, int y) {
        const double longitude = (2.0 * (x + 0.5) / 128 - 1.0) * std::numbers::pi;
        osg::Vec3d expected(std::sin(longitude), 2.0 * (y + 0.5) / 64 - 1.0, std::cos(longitude));
        expected.normalize();
        EXPECT_LT((toFrame(ray.direction.getLane(lane)) - expected).length(), angleTolerance);
        EXPECT_LT(distanceOf(ray.origin.getLane(lane), view.position()), 1e-6);
    });
}

// Six of twelve cells show something, and together they show everything once.
TEST_F(EnvironmentLens, CoversTheSphereOnceWithEachCross)
{
    for (int type : {Lens::verticalCross, Lens::horizontalCross}) {
        view.width = type == Lens::verticalCross ? 96 : 128;
        view.height = type == Lens::verticalCross ? 128 : 96;
        Lens lens(type);
        view.apply(lens);
        int pixels;
        EXPECT_NEAR(coveredSolidAngle(lens, pixels) / (4.0 * std::numbers::pi), 1.0, 0.01);
        EXPECT_EQ(pixels, 6 * 32 * 32);

        // Each of the six directions of the axes is met by a face's middle.
        std::map<int, int> faces;
        forAll(lens, [&](const auto& ray, int lane, int, int) {
            const osg::Vec3d d = toFrame(ray.direction.getLane(lane));
            for (int axis = 0; axis < 3; ++axis)
                if (std::fabs(d[axis]) > 0.999)
                    ++faces[2 * axis + (d[axis] > 0.0)];
        });
        EXPECT_EQ(faces.size(), 6u);
        for (const auto& [face, count] : faces)
            EXPECT_EQ(count, faces.begin()->second) << face;
    }
}

// Neighbours in the image are neighbours on the cube wherever two cells touch.
TEST_F(EnvironmentLens, JoinsTheFacesOfACrossWithoutJumps)
{
    for (int type : {Lens::verticalCross, Lens::horizontalCross}) {
        view.width = type == Lens::verticalCross ? 96 : 128;
        view.height = type == Lens::verticalCross ? 128 : 96;
        Lens lens(type);
        view.apply(lens);
        std::map<std::pair<int, int>, osg::Vec3d> directions;
        forAll(lens, [&](const auto& ray, int lane, int x, int y) {
            directions[{x, y}] = toFrame(ray.direction.getLane(lane));
        });
        int pairs = 0;
        for (const auto& [pixel, d] : directions)
            for (const auto& step : {std::pair(1, 0), std::pair(0, 1)}) {
                const auto next =
                    directions.find({pixel.first + step.first, pixel.second + step.second});
                if (next == directions.end())
                    continue;
                EXPECT_LT((next->second - d).length(), 2.0 / 32 + 1e-4);
                ++pairs;
            }
        EXPECT_EQ(pairs, 2 * 6 * 32 * 31 + 5 * 32);
    }
}

TEST_F(EnvironmentLens, LooksAheadInTheSecondRowOfACross)
{
    for (int type : {Lens::verticalCross, Lens::horizontalCross}) {
        Lens lens(type);
        view.width = view.height = 240;
        view.apply(lens);
        const float ahead = type == Lens::verticalCross ? 0.5f : 0.375f;
        const float row = type == Lens::verticalCross ? 0.625f : 0.5f; // from the bottom
        const float column = type == Lens::verticalCross ? 1.0f / 3.0f : 0.25f;
        znRTRayPacket packet;
        lens.generateRayPacket(znFloatType<2>(ahead, ahead + column, ahead, ahead) * 240.0f - 0.5f,
                               znFloatType<2>(row, row,
                                              type == Lens::verticalCross ? 0.875f : 5.0f / 6.0f,
                                              type == Lens::verticalCross ? 0.375f : 1.0f / 6.0f) *
                                       240.0f -
                                   0.5f,
                               packet);
        EXPECT_LT(distanceOf(packet.direction.getLane(0), view.forward()), 1e-4);
        EXPECT_LT(distanceOf(packet.direction.getLane(1), view.right()), 1e-4);
        EXPECT_LT(distanceOf(packet.direction.getLane(2), view.up()), 1e-4);
        EXPECT_LT(distanceOf(packet.direction.getLane(3), view.up() * -1.0), 1e-4);
    }
}

TEST_F(EnvironmentLens, ShiftsSphericalEyesSideways)
{
    for (bool isLeft : {true, false}) {
        Lens lens(Lens::spherical);
        view.apply(lens, isLeft, isLeft ? -0.25f : 0.25f);
        forAll(lens, [&](const auto& ray, int lane, int x, int y) {
            const osg::Vec3d d = spherical(x, y);
            osg::Vec3d left(-d[2], 0.0, d[0]); // of the direction, level
            left.normalize();
            const osg::Vec3d offset =
                toFrame(znRTVector3f(ray.origin.getLane(lane) - lens.eyePosition));
            EXPECT_LT((offset - left * (isLeft ? 0.25 : -0.25)).length(), 3e-4);
            EXPECT_EQ(ray.type[lane], isLeft ? 4 : 8);
        });
    }
}

namespace {

class StereoPanorama : public EnvironmentLens
{
protected:
    StereoPanorama()
    {
        camera = osg::UberCamera::create();
        settings = osg::TonemappingSettings::create();
    }
    void apply(Lens& lens, bool withSettings)
    {
        camera->setTonemappingSettings(withSettings ? settings.get()
                                                    : osg::FCPtr<osg::TonemappingSettings>());
        lens.updateAttributes(&*camera, 128, 64, 128, 64, 0.0f, 0.0f, 128, 64, 0.0f, 0.0f,
                              view.toWorldProjection(), view.cameraToWorld, true, 1.0f, {}, {},
                              false);
    }

    osg::Ref<osg::UberCamera> camera;
    osg::Ref<osg::TonemappingSettings> settings;
};

} // namespace

TEST_F(StereoPanorama, HasItsOwnValuesWithoutSettings)
{
    Lens lens(Lens::omniDirectionalStereo);
    apply(lens, false);
    EXPECT_EQ(lens.stereoOffset, 31.5f);
    EXPECT_EQ(lens.stereoLayout, 1);
    EXPECT_EQ(lens.polarMerge, 0.49999997f);
    Lens plain(Lens::spherical);
    apply(plain, false);
    EXPECT_EQ(plain.stereoOffset, 1.0f);
    EXPECT_EQ(plain.stereoLayout, 0);
    EXPECT_EQ(plain.polarMerge, 1.0f);
}

TEST_F(StereoPanorama, TakesTheSettingsOfTheCamera)
{
    settings->setStereoLayout(2);
    settings->setStereoPolarMergeAngle(30.0f);
    Lens lens(Lens::omniDirectionalStereo);
    apply(lens, true);
    EXPECT_FLOAT_EQ(lens.stereoOffset, settings->getStereoEyeSeparation() / 2.0f);
    EXPECT_EQ(lens.stereoLayout, 2);
    EXPECT_NEAR(lens.polarMerge, std::sqrt(0.75f), 1e-6f);
}

TEST_F(StereoPanorama, LaysTheEyesOutAsTold)
{
    Lens lens(Lens::omniDirectionalStereo);
    apply(lens, false);
    lens.stereoOffset = 0.5f;
    for (int layout = 0; layout < 4; ++layout) {
        lens.stereoLayout = layout;
        SCOPED_TRACE(layout);
        forAll(lens, [&](const auto& ray, int lane, int x, int y) {
            // Upper half and left half first; the right eye has the lower and the right half.
            const bool isRight = layout == 0 ? y < 32 : layout == 1 ? x >= 64 : layout == 3;
            ASSERT_EQ(ray.type[lane], isRight ? 8 : 4);
            double px = x, py = y;
            if (layout == 0)
                py = (y % 32 + 0.5) * 2.0 - 0.5;
            if (layout == 1)
                px = (x % 64 + 0.5) * 2.0 - 0.5;
            const osg::Vec3d d = spherical(px, py);
            ASSERT_LT((toFrame(ray.direction.getLane(lane)) - d).length(), angleTolerance);

            // Toward the poles the eyes come together with the cosine of the latitude.
            osg::Vec3d left(-d[2], 0.0, d[0]);
            left.normalize();
            const double level = std::sqrt(1.0 - d[1] * d[1]);
            const double distance = 0.5 * 0.49999997 * level * (isRight ? -1.0 : 1.0);
            const osg::Vec3d offset =
                toFrame(znRTVector3f(ray.origin.getLane(lane) - lens.eyePosition));
            ASSERT_LT((offset - left * distance).length(), 5e-4);
        });
    }
}
