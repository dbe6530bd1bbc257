#include "camera/znRTCamera.h"

#include "camera/znRTBlendingMapFragmentShader.h"
#include "camera/znRTEnvironmentLens.h"
#include "camera/znRTFishEyeLens.h"
#include "camera/znRTFragmentShader.h"
#include "camera/znRTOrthographicLens.h"
#include "camera/znRTPerspectivePinholeLens.h"
#include "camera/znRTProjectionMatrixLens.h"
#include "camera/znRTVignetteFragmentShader.h"
#include "core/znRTDataBlockPacket.h"
#include "host/osg/OffsetCameraDecorator.h"
#include "host/osg/TileCameraDecorator.h"
#include "host/osg/Transform.h"
#include "host/osg/UberCamera.h"
#include "host/znLog.h"
#include "lensFixture.h"
#include "support/lanes.h"

namespace {

class Camera : public LensTest
{
protected:
    Camera()
    {
        source = osg::UberCamera::create();
        settings = osg::TonemappingSettings::create();
        source->setTonemappingSettings(settings.get());
        source->setFov(60.0f);
        source->setNear(0.5f);
        source->setFar(200.0f);
        oldSink = znLog::setSink([this](znLog::Level, const char* text) { log.push_back(text); });
    }
    ~Camera() override { znLog::setSink(oldSink); }

    void update(unsigned width = 96, unsigned height = 64, unsigned iteration = 0)
    {
        camera.update(&*source, width, height, width, height, iteration);
    }
    void updateBy(osg::Camera* decorator, unsigned width, unsigned height)
    {
        camera.update(decorator, width, height, width, height, 0);
    }

    osg::Ref<osg::UberCamera> source;
    osg::Ref<osg::TonemappingSettings> settings;
    znRTCamera camera;
    LensArrays arrays;
    std::vector<std::string> log;
    znLog::Sink oldSink;
};

} // namespace

TEST_F(Camera, ChoosesTheLensByProjectionMode)
{
    const auto lensFor = [&](int mode) {
        source->setProjectionMode(mode);
        update();
        return camera.getLensShader();
    };
    EXPECT_TRUE(lensFor(0)->isOfType(znRTPerspectivePinholeLens::s_typeId));
    EXPECT_TRUE(lensFor(1)->isOfType(znRTOrthographicLens::s_typeId));
    for (int mode = 2; mode <= 6; ++mode) {
        ASSERT_TRUE(lensFor(mode)->isOfType(znRTEnvironmentLens::s_typeId));
        EXPECT_EQ(static_cast<znRTEnvironmentLens*>(camera.getLensShader())->lensType, mode - 2);
    }
    EXPECT_TRUE(lensFor(7)->isOfType(znRTProjectionMatrixLens::s_typeId));
}

TEST_F(Camera, KeepsALensOfTheRightTypeAndOneFromOutside)
{
    update();
    const znRTLensShader* own = camera.getLensShader();
    update();
    EXPECT_EQ(camera.getLensShader(), own);

    auto* const external = new znRTFishEyeLens;
    camera.setLensShader(external);
    source->setProjectionMode(osg::UberCamera::orthographic);
    update();
    EXPECT_EQ(camera.getLensShader(), external);
    EXPECT_TRUE(camera.isExternalLens);
    EXPECT_EQ(external->viewWidth, 96u);

    camera.setLensShader(nullptr);
    EXPECT_EQ(camera.getLensShader(), nullptr);
    EXPECT_FALSE(camera.isExternalLens);
    update();
    EXPECT_TRUE(camera.getLensShader()->isOfType(znRTOrthographicLens::s_typeId));
}

TEST_F(Camera, KeepsItsOwnLensWhenThatIsSet)
{
    update();
    znRTLensShader* const own = camera.getLensShader();
    camera.setLensShader(own);
    EXPECT_TRUE(camera.isExternalLens);
    source->setProjectionMode(osg::UberCamera::omniDirectionalStereo);
    update();
    EXPECT_EQ(camera.getLensShader(), own);
    EXPECT_NE(camera.stereoOffset, 31.5f);
}

TEST_F(Camera, HasNoRaysWithoutALens)
{
    znRTCamera empty;
    znRTRayPacketBundle* rays = new znRTRayPacketBundle;
    znRTHitInfoPacketBundle* hits = new znRTHitInfoPacketBundle;
    znFloatType<2> tMin[64], tMax[64];
    int lanes[64];
    EXPECT_EQ(
        empty.trace_eye_rays(0, 16, 0, 16, *rays, *hits, tMin, tMax, lanes, 0, 1, 1.0f, nullptr),
        0u);
    empty.update(nullptr, 4, 4, 4, 4, 0);
    EXPECT_EQ(empty.getLensShader(), nullptr);
    delete rays;
    delete hits;
}

TEST_F(Camera, SwitchesToStillFramesForAShiftedCamera)
{
    update();
    EXPECT_EQ(Settings::s_qualityMode, int(Settings::interactive));
    const osg::Ref<osg::OffsetCameraDecorator> shifted = osg::OffsetCameraDecorator::create();
    shifted->setDecoratee(source.get());
    updateBy(&*shifted, 96, 64);
    EXPECT_EQ(Settings::s_qualityMode, int(Settings::stillFrame));
    update();
    EXPECT_EQ(Settings::s_qualityMode, int(Settings::interactive));

    Settings::s_qualityMode = Settings::ambientOcclusion;
    update();
    EXPECT_EQ(Settings::s_qualityMode, int(Settings::ambientOcclusion));
}

// A shift of a whole half pixel to the right looks at the pixel's right border.
TEST_F(Camera, LooksAtTheSamplesPlaceInAStillFrame)
{
    const osg::Ref<osg::OffsetCameraDecorator> shifted = osg::OffsetCameraDecorator::create();
    shifted->setDecoratee(source.get());
    shifted->setOffsetX(1.0f);
    shifted->setOffsetY(-0.5f);
    updateBy(&*shifted, 96, 64);
    TestView view;
    view.width = 96;
    view.height = 64;
    const unsigned count = arrays.trace(*camera.getLensShader(), 32, 48, 16, 32);
    EXPECT_EQ(count, 16u);
    arrays.forEachRay(count, [&](const auto& ray, int lane, int x, int y) {
        EXPECT_LT(distanceOf(ray.direction.getLane(lane), view.direction(x + 0.5, y - 0.25)), 1e-6);
    });
    // The filter's table stands about the same place.
    EXPECT_TRUE(camera.pixelFilterSet.isBox());
}

TEST_F(Camera, TakesTheFramesNumberForThePlacesOfStillLanes)
{
    const osg::Ref<osg::OffsetCameraDecorator> shifted = osg::OffsetCameraDecorator::create();
    shifted->setDecoratee(source.get());
    for (unsigned iteration : {0u, 1u, 2u, 3u, 6u}) {
        camera.update(&*shifted, 96, 64, 96, 64, iteration);
        const unsigned firstRow[4] = {0, 3, 2, 1};
        EXPECT_EQ(camera.getLensShader()->getPixelOffsets().y[0], firstRow[iteration & 3]);
    }
}

TEST_F(Camera, SeesInATileWhatTheWholeImageShowsThere)
{
    TestView whole;
    whole.width = 96;
    whole.height = 64;
    const osg::Ref<osg::TileCameraDecorator> tile = osg::TileCameraDecorator::create();
    tile->setDecoratee(source.get());
    tile->setLeft(0.25f);
    tile->setRight(0.75f);
    tile->setBottom(0.5f);
    tile->setTop(1.0f);
    for (int mode : {0, 7, 2}) {
        source->setProjectionMode(mode);
        osg::Matrix4d projection = whole.projection();
        source->setProjectionMatrix(osg::Matrix(projection));
        update(96, 64);
        znRTRayPacket expected;
        camera.generateRayPacket(znFloatType<2>(24.0f, 40.0f, 30.0f, 71.0f),
                                 znFloatType<2>(32.0f, 50.0f, 63.0f, 40.0f), expected);
        updateBy(&*tile, 48, 32);
        znRTRayPacket seen;
        camera.generateRayPacket(znFloatType<2>(0.0f, 16.0f, 6.0f, 47.0f),
                                 znFloatType<2>(0.0f, 18.0f, 31.0f, 8.0f), seen);
        for (int lane = 0; lane < 4; ++lane)
            EXPECT_LT((seen.direction - expected.direction).getLane(lane).getLength(), 5e-6f)
                << "mode " << mode << " lane " << lane;
    }
}

TEST_F(Camera, PublishesItsMatrices)
{
    const osg::Ref<osg::Transform> transform = osg::Transform::create();
    transform->setMatrix(osg::Matrix(TestView::placed(50.0, {1.0, 1.0, 0.0}, {4.0, 5.0, 6.0})));
    const osg::Ref<osg::Node> beacon = osg::Node::create(transform.get());
    source->setBeacon(beacon.get());
    update();
    const znRTVector3fPacket eye(camera.getLensShader()->eyePosition);
    EXPECT_LANES_NEAR(eye.y, 5.0f, 5.0f, 5.0f, 5.0f, 1e-6f);
    const znRTVector3fPacket inView =
        znRTVectorMath::transformAsLocation(eye, znRTDataBlockPacket::s_worldToViewMatrix);
    EXPECT_LANES_NEAR(inView.getLength(), 0.0f, 0.0f, 0.0f, 0.0f, 1e-5f);
    const znRTVector3fPacket back = znRTVectorMath::transformAsLocation(
        znRTVector3fPacket(0.0f, 0.0f, 0.0f), znRTDataBlockPacket::s_viewToWorldMatrix);
    EXPECT_LANES_NEAR(back.x, 4.0f, 4.0f, 4.0f, 4.0f, 1e-5f);
}

TEST_F(Camera, ChoosesTheFragmentShaderByBlendMode)
{
    update();
    EXPECT_EQ(camera.getFragmentShader(), &znRTCamera::s_dummyFragmentShader);
    settings->setBlendMode(1);
    update();
    EXPECT_TRUE(camera.getFragmentShader()->isOfType(znRTVignetteFragmentShader::s_typeId));
    const znRTFragmentShader* vignette = camera.getFragmentShader();
    update();
    EXPECT_EQ(camera.getFragmentShader(), vignette);
    settings->setBlendMode(2);
    update();
    EXPECT_TRUE(camera.getFragmentShader()->isOfType(znRTBlendingMapFragmentShader::s_typeId));
    settings->setBlendMode(0);
    update();
    EXPECT_EQ(camera.getFragmentShader(), &znRTCamera::s_dummyFragmentShader);

    camera.setFragmentShader(new znRTFragmentShader);
    EXPECT_NE(camera.getFragmentShader(), &znRTCamera::s_dummyFragmentShader);
    camera.setFragmentShader(nullptr);
    EXPECT_EQ(camera.getFragmentShader(), &znRTCamera::s_dummyFragmentShader);
}

TEST_F(Camera, LeavesColoursAloneWithThePlainShader)
{
    const __m128 colour = _mm_setr_ps(0.1f, 2.0f, -3.0f, 0.5f);
    const znFloatType<2> result(camera.applyFragmentShader(colour, 3, 4));
    EXPECT_LANES_EQ(result, 0.1f, 2.0f, -3.0f, 0.5f);
}

TEST_F(Camera, UsesItsOwnEyeDistanceForStereoPanoramas)
{
    source->setProjectionMode(osg::UberCamera::omniDirectionalStereo);
    source->setTonemappingSettings({});
    update();
    EXPECT_EQ(camera.stereoOffset, 31.5f);
    EXPECT_EQ(camera.getLensShader()->stereoOffset, 31.5f);
}

TEST_F(Camera, TracesLonePacketsBetweenItsClipDistances)
{
    update();
    znRTRayDifferentialPacket ray;
    znRTDataBlockPacket block;
    camera.tracePacket(znFloatType<2>(48.0f), znFloatType<2>(32.0f), ray, block);
    EXPECT_EQ(block.hit.hitMask, 0u);
    EXPECT_LANES_EQ(block.hit.t, 200.0f, 200.0f, 200.0f, 200.0f);
    EXPECT_EQ(ray.hasDifferentials, 0u);
}

// Threads of the host do not flush denormals; their reciprocals would be NaN.
TEST_F(Camera, FlushesDenormalsWhileItTracesLonePackets)
{
    update();
    znRTLensShader& lens = *camera.getLensShader();
    lens.frustumOrigin = {1e-39f, -1e-39f, -1.0f};
    lens.pixelDX = lens.pixelDY = {0.0f, 0.0f, 0.0f};
    const unsigned before = _mm_getcsr();
    znRTRayDifferentialPacket ray;
    znRTDataBlockPacket block;
    camera.tracePacket(znFloatType<2>(1.0f), znFloatType<2>(1.0f), ray, block);
    EXPECT_FALSE(anyLane(isNaN(ray.invDirection.x) | isNaN(ray.invDirection.y)));
    EXPECT_EQ(_mm_getcsr() & 0xffc0, before & 0xffc0);
}
