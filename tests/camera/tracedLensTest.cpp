// Lenses with a scene behind them.

#include "camera/znRTCamera.h"
#include "camera/znRTOrthographicLens.h"
#include "camera/znRTPerspectivePinholeLens.h"
#include "camera/znRTProjectionBasedARLens.h"
#include "host/osg/OffsetCameraDecorator.h"
#include "host/osg/PBARGeometryAttachment.h"
#include "host/osg/RaytracingPBARSettings.h"
#include "host/osg/UberCamera.h"
#include "host/osg/logStream.h"
#include "host/znPixelfilter.h"
#include "lensFixture.h"
#include "render/znRTRenderUtils.h"
#include "support/lanes.h"
#include "support/meshScene.h"

#include <sstream>

namespace {

// The square's diagonal is an edge; the middle of a view must not lie on it exactly.
const osg::Matrix offDiagonal = makeTranslation(0.01f, 0.0f, 0.0f);

class TracedLens : public LensTest
{
protected:
    TracedLens() : previous(znRTRenderUtils::s_currentAccelerator)
    {
        znRTRenderUtils::s_currentAccelerator = scene.scene.get();
        view.width = 80;
        view.height = 48;
        view.cameraToWorld = TestView::placed(10.0, {0.4, 1.0, 0.3}, {0.2, -0.1, 4.0});
    }
    ~TracedLens() override { znRTRenderUtils::s_currentAccelerator = previous; }

    MeshScene scene;
    TestView view;
    LensArrays arrays;

private:
    znRTAccelerator* previous;
};

using ProjectionBasedARLens = TracedLens;

} // namespace

TEST_F(TracedLens, FindsTheSameHitsWithBundlesAndSinglePackets)
{
    scene.add(makeRandomMesh(3000, 3).get());
    scene.build();
    znRTPerspectivePinholeLens lens;
    view.apply(lens);
    LensArrays single;
    unsigned hits = 0, coherent = 0;
    forEachBlock(80, 48, 16, [&](unsigned x0, unsigned x1, unsigned y0, unsigned y1) {
        Settings::s_useBundleTracing = true;
        const unsigned count = arrays.trace(lens, x0, x1, y0, y1);
        coherent += arrays.bundle().coherent;
        Settings::s_useBundleTracing = false;
        ASSERT_EQ(single.trace(lens, x0, x1, y0, y1), count);
        for (unsigned i = 0; i < count; ++i) {
            ASSERT_EQ(arrays.hit(i).hitMask, single.hit(i).hitMask);
            for (int lane = 0; lane < 4; ++lane)
                ASSERT_EQ(arrays.hit(i).t[lane], single.hit(i).t[lane]);
            hits += unsigned(__builtin_popcount(arrays.hit(i).hitMask));
        }
    });
    EXPECT_GT(hits, 300u);
    EXPECT_GT(coherent, 5u);
}

TEST_F(TracedLens, LeavesMaskedLanesWithoutHits)
{
    scene.add(makeSquare().get(), makeTranslation(0.01f, 0.0f, 3.0f));
    scene.build();
    view.cameraToWorld = TestView::placed(0.0, {0.0, 1.0, 0.0}, {0.0, 0.0, 4.0});
    znRTPerspectivePinholeLens lens;
    view.apply(lens);
    std::vector<unsigned char> mask(80 * 48, 0);
    mask[24 * 80 + 40] = 1;
    ASSERT_EQ(arrays.trace(lens, 32, 48, 16, 32, 0, 1, 1.0f, mask.data()), 1u);
    EXPECT_EQ(int(arrays.hit(0).hitMask), arrays.lanes(0));
    EXPECT_EQ(arrays.lanes(0), 1);
    EXPECT_LANES_EQ(arrays.hit(0).t, arrays.hit(0).t[0], lens.farClip, lens.farClip, lens.farClip);
}

// The square's right border crosses the pixels of column 60 at x = 60.3125: their share of it is
// the mean over samples that fill the pixel evenly, four iterations each.
TEST_F(TracedLens, ConvergesToTheCoverageOfAnEdgeInStillFrames)
{
    const unsigned width = 80, height = 48, samples = 64;
    const osg::Ref<osg::UberCamera> source = osg::UberCamera::create();
    source->setProjectionMode(osg::UberCamera::orthographic);
    source->setOrthoHeight(4.8f); // ten pixels per unit
    const osg::Ref<osg::Transform> transform = osg::Transform::create();
    transform->setMatrix(makeTranslation(0.0f, 0.0f, 4.0f));
    const osg::Ref<osg::Node> beacon = osg::Node::create(transform.get());
    source->setBeacon(beacon.get());
    const double border = 60.3125;
    scene.add(makeSquare().get(),
              makeTranslation(float((border - 40.0) / 10.0 - 1.0), 0.01f, 0.0f));
    scene.build();

    const osg::Ref<osg::OffsetCameraDecorator> shifted = osg::OffsetCameraDecorator::create();
    shifted->setDecoratee(source.get());
    znRTCamera camera;
    std::vector<double> sums(width * height, 0.0), counts(width * height, 0.0);
    for (unsigned iteration = 0; iteration < 4 * samples; ++iteration) {
        const znRTVector2f shift = znPixelfilterSampleSet::getSampleShift(iteration / 4);
        shifted->setOffsetX(shift.x);
        shifted->setOffsetY(shift.y);
        camera.update(&*shifted, width, height, width, height, iteration);
        forEachBlock(width, height, 16, [&](unsigned x0, unsigned x1, unsigned y0, unsigned y1) {
            const unsigned count = arrays.trace(*camera.getLensShader(), x0, x1, y0, y1);
            arrays.forEachRay(count, [&](const auto& ray, int lane, int x, int y) {
                const unsigned packet = unsigned(&ray - &arrays.ray(0));
                sums[unsigned(y) * width + unsigned(x)] += arrays.hit(packet).hitMask >> lane & 1;
                counts[unsigned(y) * width + unsigned(x)] += 1.0;
            });
        });
    }
    for (double count : counts)
        ASSERT_EQ(count, double(samples));
    for (unsigned y = 20; y < 28; ++y) {
        EXPECT_EQ(sums[y * width + 59] / samples, 1.0);
        EXPECT_NEAR(sums[y * width + 60] / samples, 0.3125, 1.0 / samples);
        EXPECT_EQ(sums[y * width + 61], 0.0);
    }
}

TEST_F(TracedLens, MeasuresParallelRaysFromTheNearPlane)
{
    scene.add(makeSquare().get(), offDiagonal);
    scene.build();
    view.isOrthographic = true;
    view.orthoHeight = 1.5;
    view.cameraToWorld = TestView::placed(0.0, {0.0, 1.0, 0.0}, {0.0, 0.0, 4.0});
    znRTOrthographicLens lens;
    view.apply(lens);
    const unsigned count = arrays.trace(lens, 32, 48, 16, 32);
    for (unsigned i = 0; i < count; ++i) {
        ASSERT_EQ(arrays.hit(i).hitMask, 15u);
        EXPECT_LANES_NEAR(arrays.hit(i).t, 3.5f, 3.5f, 3.5f, 3.5f, 1e-5f);
    }
}

TEST_F(ProjectionBasedARLens, LooksFromTheObserverAtWhatTheProjectorFound)
{
    scene.add(makeSquare().get(), offDiagonal);
    scene.build();
    view.cameraToWorld = TestView::placed(0.0, {0.0, 1.0, 0.0}, {0.0, 0.0, 4.0});
    view.fov = 40.0;
    znRTProjectionBasedARLens lens;
    view.apply(lens);
    lens.observerPosition = {2.0f, 1.0f, 3.0f};
    unsigned hits = 0;
    forEachBlock(80, 48, 16, [&](unsigned x0, unsigned x1, unsigned y0, unsigned y1) {
        const unsigned count = arrays.trace(lens, x0, x1, y0, y1);
        EXPECT_EQ(count, 64u);
        for (unsigned i = 0; i < count; ++i) {
            if (arrays.lanes(i) == 0) {
                EXPECT_GT(arrays.tMin(i), arrays.tMax(i));
                EXPECT_EQ(arrays.hit(i).hitMask, 0u);
                continue;
            }
            EXPECT_INT_LANES(arrays.ray(i).type, 12, 12, 12, 12);
            EXPECT_EQ(arrays.tMax(i), lens.farClip);
        }
        arrays.forEachRay(count, [&](const auto& ray, int lane, int x, int y) {
            // The projector's ray meets the plane z = 0 here.
            const osg::Vec3d d = view.direction(x, y);
            const osg::Vec3d point = view.position() + d * (-4.0 / d[2]);
            const unsigned packet = unsigned(&ray - &arrays.ray(0));
            ASSERT_TRUE(arrays.hit(packet).hitMask >> lane & 1);
            const znRTVector3f seen = ray.pointAt(arrays.hit(packet).t).getLane(lane);
            EXPECT_LT(distanceOf(seen, point), 1e-5);
            EXPECT_EQ(ray.origin.getLane(lane), lens.observerPosition);
            EXPECT_EQ(ray.rxDirection.getLane(lane), ray.direction.getLane(lane));
            ++hits;
        });
    });
    EXPECT_GT(hits, 900u);
}

TEST_F(ProjectionBasedARLens, FindsTheObserverInItsSettings)
{
    const osg::Ref<osg::RaytracingPBARSettings> settings = osg::RaytracingPBARSettings::create();
    const osg::Ref<osg::Transform> transform = osg::Transform::create();
    transform->setMatrix(osg::Matrix(TestView::placed(90.0, {0.0, 1.0, 0.0}, {1.0, 2.0, 3.0})));
    const osg::Ref<osg::Node> beacon = osg::Node::create(transform.get());
    settings->setObserverTrackingBeacon(beacon.get());
    settings->setUseObserverTracking(true);
    settings->setBackgroundColor(osg::Vec4f(0.25f, 0.5f, 0.75f, 1.0f));

    znRTProjectionBasedARLens lens;
    lens.setPBARSettings(settings.get(), 7);
    const znRTColorPacket background = znRTRenderUtils::s_backgroundColor;
    view.apply(lens);
    EXPECT_LANES_EQ(znRTRenderUtils::s_backgroundColor.b, 0.75f, 0.75f, 0.75f, 0.75f);
    znRTRenderUtils::s_backgroundColor = background;
    EXPECT_LT(distanceOf(lens.observerPosition, {1.0, 2.0, 3.0}), 1e-6);

    // Turned to the left about y, the beacon's x axis is the world's -z.
    settings->setStereoObserver(true);
    view.apply(lens, false);
    const osg::Vec3f right = settings->getObserverRightEyeOffset();
    EXPECT_LT(distanceOf(lens.observerPosition, {1.0, 2.0, 3.0 - right[0]}), 1e-5);

    lens.setPBARSettings({}, 7);
    view.apply(lens);
    EXPECT_LT(distanceOf(lens.observerPosition, view.position()), 1e-6);
    znRTRenderUtils::s_backgroundColor = background;
}

TEST_F(ProjectionBasedARLens, TellsOfAnObserverWithoutAPlace)
{
    const osg::Ref<osg::RaytracingPBARSettings> settings = osg::RaytracingPBARSettings::create();
    const osg::Ref<osg::Transform> transform = osg::Transform::create();
    osg::Matrix degenerate = makeTranslation(1.0f, 2.0f, 3.0f);
    degenerate[3][3] = 0.0f;
    transform->setMatrix(degenerate);
    const osg::Ref<osg::Node> beacon = osg::Node::create(transform.get());
    settings->setObserverTrackingBeacon(beacon.get());
    settings->setUseObserverTracking(true);
    znRTProjectionBasedARLens lens;
    lens.setPBARSettings(settings.get(), 1);
    const znRTColorPacket background = znRTRenderUtils::s_backgroundColor;
    std::ostringstream text;
    std::ostream* const before = osg::setLogStream(&text);
    view.apply(lens);
    osg::setLogStream(before);
    znRTRenderUtils::s_backgroundColor = background;
    EXPECT_NE(text.str().find("multFullMatrixPnt: w == 0.0f!"), std::string::npos);
    EXPECT_EQ(lens.observerPosition, znRTVector3f(0.0f, 0.0f, 0.0f));
}

TEST_F(ProjectionBasedARLens, TakesThePictureOfItsProjectorsCamera)
{
    const osg::Ref<osg::RaytracingPBARSettings> settings = osg::RaytracingPBARSettings::create();
    const osg::Ref<osg::UberCamera> projector = osg::UberCamera::create();
    projector->setFov(30.0f);
    const osg::Ref<osg::Node> node = osg::Node::create(projector.get());
    settings->setProjectorCameraNode(node.get());
    znRTProjectionBasedARLens lens;
    lens.setPBARSettings(settings.get(), 1);
    const znRTColorPacket background = znRTRenderUtils::s_backgroundColor;
    view.apply(lens);
    znRTRenderUtils::s_backgroundColor = background;

    TestView narrow;
    narrow.width = 80;
    narrow.height = 48;
    narrow.fov = 30.0;
    znRTRayPacket packet;
    lens.generateRayPacket(znFloatType<2>(3.0f), znFloatType<2>(5.0f), packet);
    EXPECT_LT(distanceOf(packet.direction.getLane(0), narrow.direction(3, 5)), 1e-5);
    EXPECT_INT_LANES(packet.type, 0xc0000000, 0xc0000000, 0xc0000000, 0xc0000000);
}

// Real surfaces are seen by the projector alone, virtual objects by the observer alone.
TEST_F(ProjectionBasedARLens, ShowsVirtualObjectsOnRealSurfaces)
{
    const osg::NodePtr wall = scene.add(makeSquare().get(), offDiagonal);
    const osg::NodePtr ghost = scene.add(makeSquare().get(), makeTranslation(0.01f, 0.0f, -1.0f));
    scene.build();
    const osg::Ref<osg::UberCamera> projector = osg::UberCamera::create();
    projector->setFov(20.0f);
    const osg::Ref<osg::Transform> transform = osg::Transform::create();
    transform->setMatrix(makeTranslation(0.0f, 0.0f, 4.0f));
    const osg::Ref<osg::Node> place = osg::Node::create(transform.get());
    projector->setBeacon(place.get());
    const osg::Ref<osg::Node> node = osg::Node::create(projector.get());
    const osg::Ref<osg::PBARGeometryAttachment> roles = osg::PBARGeometryAttachment::create();
    roles->setReceiverNodes({wall});
    roles->setVirtualNodes({ghost});
    node->addAttachment(roles.get());

    const osg::Ref<osg::RaytracingPBARSettings> settings = osg::RaytracingPBARSettings::create();
    settings->setProjectorCameraNode(node.get());
    znRTProjectionBasedARLens lens;
    lens.setPBARSettings(settings.get(), 1);
    const znRTColorPacket background = znRTRenderUtils::s_backgroundColor;
    view.cameraToWorld = TestView::placed(0.0, {0.0, 1.0, 0.0}, {0.0, 0.0, 4.0});
    view.apply(lens);
    znRTRenderUtils::s_backgroundColor = background;

    const unsigned count = arrays.trace(lens, 32, 48, 16, 32);
    ASSERT_EQ(count, 64u);
    for (unsigned i = 0; i < count; ++i) {
        EXPECT_EQ(arrays.lanes(i), 15);
        ASSERT_EQ(arrays.hit(i).hitMask, 15u);
        const znRTVector3fPacket seen = arrays.ray(i).pointAt(arrays.hit(i).t);
        EXPECT_LANES_NEAR(seen.z, -1.0f, -1.0f, -1.0f, -1.0f, 1e-5f);
    }
}
