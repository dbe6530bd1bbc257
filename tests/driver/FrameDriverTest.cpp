#include "driver/FrameDriver.h"

#include "driver/viewFraming.h"
#include "host/osg/Geometry.h"
#include "host/osg/Transform.h"
#include "host/znRaytracingUtilsBase.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

/// A sphere of radius 1 about the origin as latitude-longitude triangles.
osg::GeometryPtr makeSphere(int rows)
{
    const int columns = 2 * rows;
    std::vector<osg::Vec3f> points;
    for (int i = 0; i <= rows; ++i)
        for (int j = 0; j <= columns; ++j) {
            const double theta = M_PI * i / rows, phi = 2.0 * M_PI * j / columns;
            points.emplace_back(float(std::sin(theta) * std::cos(phi)),
                                float(std::sin(theta) * std::sin(phi)), float(std::cos(theta)));
        }
    std::vector<u32> indices;
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j) {
            const u32 a = u32(i * (columns + 1) + j), b = a + u32(columns) + 1;
            indices.insert(indices.end(), {a, b, a + 1, a + 1, b, b + 1});
        }
    const osg::GeometryPtr geometry = osg::Geometry::create();
    geometry->setPositions(osg::GeoProperty::create(points));
    geometry->setNormals(osg::GeoProperty::create(points));
    geometry->setIndices(osg::GeoProperty::create(indices));
    geometry->setTypes({osg::Geometry::triangles});
    geometry->setLengths({u32(indices.size())});
    return geometry;
}

struct Stage
{
    osg::Ref<osg::Node> root = osg::Node::create(nullptr, "root");
    osg::Ref<osg::Node> beacon;
    osg::Ref<osg::UberCamera> camera = osg::UberCamera::create();
    osg::Ref<osg::Transform> place = osg::Transform::create();

    explicit Stage(bool withSphere = true)
    {
        const osg::NodePtr node = osg::Node::create(place.get(), "place");
        root->addChild(node);
        if (withSphere)
            node->addChild(osg::Node::create(makeSphere(64), "sphere"));
        ViewRequest request;
        request.eye = osg::Vec3f(0, -4, 0);
        request.at = osg::Vec3f(0, 0, 0);
        osg::Box box;
        box.extend(osg::Pnt3f(-2, -2, -2));
        box.extend(osg::Pnt3f(2, 2, 2));
        const FramedView view = frameScene(box, request);
        const osg::Transform::Ptr transform = osg::Transform::create();
        transform->setMatrix(lookAtMatrix(view));
        beacon = osg::Node::create(transform, "camera");
        camera->setBeacon(beacon.get());
        camera->setFov(45.0f);
        camera->setNear(view.nearClip);
        camera->setFar(view.farClip);
    }
};

double coverage(const io::ImageData& image)
{
    double sum = 0.0;
    for (u32 y = 0; y < image.height; ++y)
        for (u32 x = 0; x < image.width; ++x)
            sum += image.getNormalized(x, y, 3);
    return sum / (double(image.width) * image.height);
}

FrameSettings frame(bool still, int samples, u32 width = 96, u32 height = 96)
{
    FrameSettings settings;
    settings.width = width;
    settings.height = height;
    settings.isStill = still;
    settings.samples = samples;
    settings.tileSize = 16;
    return settings;
}

// A sphere of radius 1 at distance 4 has the silhouette of a disk of radius 1 / sqrt(15) at unit
// distance; the picture is 2 tan(22.5 degrees) high there.
const double sphereShare = M_PI / 15.0 / std::pow(2.0 * std::tan(M_PI / 8.0), 2.0);

} // namespace

TEST(FrameDriver, ShowsASphereInItsSize)
{
    FrameDriver driver;
    Stage stage;
    driver.setScene(stage.root.get());
    for (bool still : {false, true}) {
        const FrameReport report = driver.render(frame(still, 8), stage.camera.get());
        EXPECT_EQ(report.outcome, FrameReport::Outcome::complete);
        EXPECT_EQ(report.samples, 8);
        // The polyhedron inside the sphere is smaller by about (pi / 128)^2.
        EXPECT_NEAR(coverage(driver.getImage(FrameDriver::Colors::linear)), sphereShare, 0.004);
    }
}

TEST(FrameDriver, FollowsEditsOfTheScene)
{
    FrameDriver driver;
    Stage stage;
    driver.setScene(stage.root.get());
    driver.render(frame(false, 1), stage.camera.get());
    const double before = coverage(driver.getImage(FrameDriver::Colors::linear));

    osg::Matrix half;
    half[0][0] = half[1][1] = half[2][2] = 0.5f;
    stage.place->setMatrix(half);
    driver.render(frame(false, 1), stage.camera.get());
    // At half the radius the silhouette's radius is 1 / sqrt(63) instead of 1 / sqrt(15).
    EXPECT_NEAR(coverage(driver.getImage(FrameDriver::Colors::linear)) / before, 15.0 / 63.0, 0.01);

    stage.root->getChild(0)->setHidden(true);
    driver.render(frame(false, 1), stage.camera.get());
    EXPECT_EQ(coverage(driver.getImage(FrameDriver::Colors::linear)), 0.0);

    stage.root->getChild(0)->setHidden(false);
    driver.render(frame(false, 1), stage.camera.get());
    EXPECT_GT(coverage(driver.getImage(FrameDriver::Colors::linear)), 0.01);
}

TEST(FrameDriver, RendersAnEmptySceneAsNothing)
{
    FrameDriver driver;
    Stage stage(false);
    driver.setScene(stage.root.get());
    for (bool still : {false, true}) {
        EXPECT_EQ(driver.render(frame(still, 1), stage.camera.get()).outcome,
                  FrameReport::Outcome::complete);
        EXPECT_EQ(coverage(driver.getImage(FrameDriver::Colors::linear)), 0.0);
    }
}

TEST(FrameDriver, StopsAtASampleThatEveryPixelHas)
{
    FrameDriver driver;
    Stage stage;
    driver.setScene(stage.root.get());
    int asked = 0;
    const FrameReport report = driver.render(frame(true, 1000), stage.camera.get(), {}, [&] {
        return ++asked > 3 ? FrameDriver::Stop::afterSample : FrameDriver::Stop::no;
    });
    EXPECT_EQ(report.outcome, FrameReport::Outcome::stopped);
    EXPECT_GE(report.samples, 1);
    EXPECT_LT(report.samples, 1000);
    EXPECT_NEAR(coverage(driver.getImage(FrameDriver::Colors::linear)), sphereShare, 0.02);
}

TEST(FrameDriver, GivesUpAFrameAndRendersTheNext)
{
    FrameDriver driver;
    Stage stage;
    driver.setScene(stage.root.get());
    const FrameReport report = driver.render(frame(true, 4), stage.camera.get(), {},
                                             [] { return FrameDriver::Stop::now; });
    EXPECT_EQ(report.outcome, FrameReport::Outcome::stopped);
    EXPECT_EQ(driver.render(frame(true, 4), stage.camera.get()).samples, 4);
    EXPECT_NEAR(coverage(driver.getImage(FrameDriver::Colors::linear)), sphereShare, 0.01);
}

TEST(FrameDriver, ReportsProgressUpToTheEnd)
{
    FrameDriver driver;
    Stage stage;
    driver.setScene(stage.root.get());
    double last = 0.0;
    int lastSample = -1;
    driver.render(frame(true, 3), stage.camera.get(), [&](int done, int planned, double share) {
        EXPECT_EQ(planned, 3);
        EXPECT_GE(done, lastSample);
        EXPECT_GT(share, last);
        lastSample = done;
        last = share;
    });
    EXPECT_EQ(lastSample, 3);
    EXPECT_EQ(last, 1.0);
}

TEST(FrameDriver, RendersOnlyTheRegion)
{
    FrameDriver driver;
    Stage stage;
    driver.setScene(stage.root.get());
    for (bool still : {false, true}) {
        FrameSettings whole = frame(still, 1, 90, 70), part = whole;
        part.region = {0.25f, 0.3f, 0.75f, 0.6f};
        driver.render(whole, stage.camera.get());
        const io::ImageData a = driver.getImage(FrameDriver::Colors::linear);
        driver.render(part, stage.camera.get());
        const io::ImageData b = driver.getImage(FrameDriver::Colors::linear);
        // 0.25 * 90 = 22.5 and 0.75 * 90 = 67.5 round up; rows 21 to 42 count from below.
        u32 different = 0, inside = 0;
        for (u32 y = 0; y < 70; ++y)
            for (u32 x = 0; x < 90; ++x) {
                const bool isInside = x >= 23 && x < 68 && 69 - y >= 21 && 69 - y < 42;
                inside += isInside;
                different += isInside && std::abs(a.getValue(x, y, 0) - b.getValue(x, y, 0)) > 1e-4;
            }
        EXPECT_EQ(inside, 45u * 21u);
        // Directions are stepped from the corner of each block of 16 x 16 pixels, and the region's
        // blocks lie elsewhere: the last bits differ, which only a silhouette can show.
        EXPECT_LE(different, 2u) << (still ? "still" : "interactive");
    }
}

// What lies outside of the region shows neither old pictures nor old memory.
TEST(FrameDriver, LeavesTheRestOfTheRegionBlack)
{
    FrameDriver driver;
    Stage stage;
    driver.setScene(stage.root.get());
    for (bool still : {false, true}) {
        FrameSettings settings = frame(still, 1);
        driver.render(settings, stage.camera.get());
        settings.region = {0.0f, 0.0f, 0.5f, 1.0f};
        driver.render(settings, stage.camera.get());
        const io::ImageData image = driver.getImage(FrameDriver::Colors::linear);
        EXPECT_GT(image.getValue(47, 48, 3), 0.0f);
        for (u32 y = 0; y < 96; ++y)
            for (u32 x = 48; x < 96; ++x)
                ASSERT_EQ(image.getValue(x, y, 3), 0.0f) << still << ": " << x << ", " << y;
    }
}

// Without anything to see all pixels are finished at the first test, behind the 33rd pass.
TEST(FrameDriver, EndsWhenNoPixelTakesSamplesAnyMore)
{
    FrameDriver driver;
    Stage stage(false);
    driver.setScene(stage.root.get());
    double progress = 0.0;
    const auto keepProgress = [&](int, int, double share) { progress = share; };
    FrameSettings settings = frame(true, 64);
    FrameReport report = driver.render(settings, stage.camera.get(), keepProgress);
    EXPECT_EQ(report.samples, 8);
    EXPECT_EQ(report.outcome, FrameReport::Outcome::complete);
    EXPECT_EQ(report.finishedPixels, 96u * 96u);
    EXPECT_EQ(progress, 1.0);

    settings.adaptiveQuality = 5;
    report = driver.render(settings, stage.camera.get(), keepProgress);
    EXPECT_EQ(report.samples, 64);
    EXPECT_EQ(report.finishedPixels, 0u);

    // Only pixels of the region count.
    settings.adaptiveQuality = 2;
    settings.region = {0.0f, 0.0f, 0.5f, 1.0f};
    report = driver.render(settings, stage.camera.get(), keepProgress);
    EXPECT_EQ(report.samples, 8);
    EXPECT_EQ(report.finishedPixels, 96u * 48u);
}

// The background and flat parts end early; the picture stays within what the test calls even.
// Machines that share the samples of a picture look at different places inside the pixels: the mean
// of their parts is the picture of one machine, edges included.
TEST(FrameDriver, SharesTheSamplesOfAPictureBetweenRuns)
{
    FrameDriver driver;
    Stage stage;
    driver.setScene(stage.root.get());
    const auto render = [&](int first, int count) {
        driver.utils().setRaytracingSampleOffset(first);
        FrameSettings settings = frame(true, count);
        settings.adaptiveQuality = 5;
        driver.render(settings, stage.camera.get());
        driver.utils().setRaytracingSampleOffset(0);
        return driver.getImage(FrameDriver::Colors::linear);
    };
    const io::ImageData all = render(0, 6), early = render(0, 2), late = render(2, 4);
    u32 different = 0, edges = 0;
    for (u32 y = 0; y < 96; ++y)
        for (u32 x = 0; x < 96; ++x) {
            const float mean = (2.0f * early.getValue(x, y, 3) + 4.0f * late.getValue(x, y, 3)) / 6;
            different += std::abs(all.getValue(x, y, 3) - mean) > 1e-5f;
            edges += mean > 0.01f && mean < 0.99f;
        }
    EXPECT_GT(edges, 100u);
    EXPECT_EQ(different, 0u);
    // The parts themselves differ: a run that began with sample 0 would show what the others do.
    const io::ImageData again = render(0, 4);
    u32 moved = 0;
    for (u32 y = 0; y < 96; ++y)
        for (u32 x = 0; x < 96; ++x)
            moved += std::abs(late.getValue(x, y, 3) - again.getValue(x, y, 3)) > 0.1f;
    EXPECT_GT(moved, 20u);
}

// A square seen straight on has its diagonal exactly on the centres of pixels. Rays through them
// could miss both of its triangles: a line of holes.
TEST(FrameDriver, LeavesNoHolesAlongEdgesSeenStraightOn)
{
    FrameDriver driver;
    Stage stage(false);
    const osg::GeometryPtr square = osg::Geometry::create();
    square->setPositions(osg::GeoProperty::create(
        std::vector<osg::Vec3f>{{-1, 0, -1}, {1, 0, -1}, {1, 0, 1}, {-1, 0, 1}}));
    square->setIndices(osg::GeoProperty::create(std::vector<u32>{0, 1, 2, 0, 2, 3}));
    square->setTypes({osg::Geometry::triangles});
    square->setLengths({6});
    stage.root->addChild(osg::Node::create(square, "square"));
    driver.setScene(stage.root.get());
    for (const bool still : {false, true})
        for (const int samples : {1, 2, 4, 16}) {
            FrameSettings settings = frame(still, samples);
            settings.adaptiveQuality = 5;
            driver.render(settings, stage.camera.get());
            const io::ImageData image = driver.getImage(FrameDriver::Colors::linear);
            // Half the square is 1 / 4 of the distance away from the axis, of tan(22.5 degrees).
            u32 holes = 0;
            for (u32 y = 24; y < 72; ++y)
                for (u32 x = 24; x < 72; ++x)
                    holes += image.getValue(x, y, 3) < 0.999f;
            EXPECT_EQ(holes, 0u) << (still ? "still, " : "interactive, ") << samples;
        }
}

TEST(FrameDriver, ShowsTheSamePictureWithFewerSamples)
{
    FrameDriver driver;
    Stage stage;
    driver.setScene(stage.root.get());
    FrameSettings settings = frame(true, 40);
    settings.adaptiveQuality = 5;
    driver.render(settings, stage.camera.get());
    const io::ImageData all = driver.getImage(FrameDriver::Colors::linear);
    settings.adaptiveQuality = 2;
    const FrameReport report = driver.render(settings, stage.camera.get());
    const io::ImageData fewer = driver.getImage(FrameDriver::Colors::linear);
    EXPECT_EQ(report.samples, 40); // of the silhouette
    EXPECT_GT(report.finishedPixels, 96u * 96u / 2);
    double sum = 0.0;
    for (u32 y = 0; y < 96; ++y)
        for (u32 x = 0; x < 96; ++x)
            for (u32 c = 0; c < 4; ++c)
                sum += std::abs(all.getValue(x, y, c) - fewer.getValue(x, y, c));
    EXPECT_LT(sum / (96 * 96 * 4), 1e-3);
}

TEST(FrameDriver, LivesTwiceInOneProcess)
{
    Stage stage;
    for (int life = 0; life < 2; ++life) {
        FrameDriver driver;
        driver.setScene(stage.root.get());
        EXPECT_EQ(driver.render(frame(false, 1), stage.camera.get()).samples, 1);
        EXPECT_NEAR(coverage(driver.getImage(FrameDriver::Colors::linear)), sphereShare, 0.01);
    }
}

TEST(FrameDriver, ChangesSizeAndKindBetweenFrames)
{
    FrameDriver driver;
    Stage stage;
    driver.setScene(stage.root.get());
    for (const auto& [width, height] :
         {std::pair(1u, 1u), std::pair(101u, 33u), std::pair(3u, 257u), std::pair(64u, 64u)})
        for (bool still : {true, false}) {
            const FrameReport report =
                driver.render(frame(still, 1, width, height), stage.camera.get());
            EXPECT_EQ(report.outcome, FrameReport::Outcome::complete);
            const io::ImageData image = driver.getImage(FrameDriver::Colors::display);
            EXPECT_EQ(image.width, width);
            EXPECT_EQ(image.height, height);
            for (u32 y = 0; y < height; ++y)
                for (u32 x = 0; x < width; ++x)
                    ASSERT_TRUE(std::isfinite(image.getValue(x, y, 0)));
        }
}
