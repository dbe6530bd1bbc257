#include "render/rayObservation.h"

#include "integratorFixture.h"
#include "renderFixture.h"

#include "render/integrators/znRTAORenderingIntegrator.h"

#include <algorithm>

namespace {

class Recorder : public znRTRayObserver
{
public:
    Recorder(int x, int y)
    {
        pixelX = x;
        pixelY = y;
        s_current = this;
    }
    ~Recorder() override { s_current = nullptr; }
    void onRay(const znRTObservedRay& ray) override { rays.push_back(ray); }

    std::vector<znRTObservedRay> rays;
};

using RayObservation = IntegratorTest;
using RayObservationInFrames = renderTest::RenderTest;

} // namespace

TEST_F(RayObservation, TellsTheRaysOfOnePixelAlone)
{
    ScriptedMaterial material;
    const osg::NodePtr node = add(makeSquare(), material);
    scene.build();
    znRTRayDifferentialPacket ray = downwardPixels({-0.5f, 0.25f, 0.5f, 4.0f}, -0.5f, 0.1f);
    ray.weight = znRTVector3fPacket(0.5f, 0.25f, 1.0f);
    znRTHitInfoPacket hit;
    hit.reset(100.0f);

    const Recorder recorder(1, 5);
    znRTRenderUtils::getIntersection(ray, 0.0f, 100.0f, hit, 15);
    ASSERT_EQ(recorder.rays.size(), 1u);
    const znRTObservedRay& seen = recorder.rays[0];
    EXPECT_EQ(seen.query, znRTObservedRay::nearest);
    EXPECT_EQ(seen.type, rayType::camera);
    EXPECT_EQ(seen.origin.x, 0.25f);
    EXPECT_EQ(seen.tMax, 100.0f);
    EXPECT_EQ(seen.weight.y, 0.25f);
    EXPECT_TRUE(seen.isHit);
    EXPECT_NEAR(seen.t, 5.0f, 1e-5f);
    EXPECT_NEAR(seen.position.z, 0.0f, 1e-5f);
    EXPECT_EQ(seen.nodeId, node->getId());
    EXPECT_STREQ(seen.materialClass, "ScriptedMaterial");
    EXPECT_EQ(seen.primitive, u32(hit.primitive[1]));
}

TEST_F(RayObservation, TellsWhatMissesAndWhatWasNotAsked)
{
    ScriptedMaterial material;
    add(makeSquare(), material);
    scene.build();
    znRTRayDifferentialPacket ray = downwardPixels({-0.5f, 0.25f, 0.5f, 4.0f}, 0.0f, 0.1f);
    znRTHitInfoPacket hit;
    hit.reset(100.0f);
    const Recorder recorder(3, 5);
    znRTRenderUtils::getIntersection(ray, 0.0f, 100.0f, hit, 7); // without the lane
    EXPECT_TRUE(recorder.rays.empty());
    znRTRenderUtils::getIntersection(ray, 0.0f, 100.0f, hit, 8);
    ASSERT_EQ(recorder.rays.size(), 1u);
    EXPECT_FALSE(recorder.rays[0].isHit);
    EXPECT_EQ(recorder.rays[0].nodeId, 0u);
}

// The occlusion display: shadow rays that start where the camera ray hit.
TEST_F(RayObservation, TellsTheRaysThatIntegratorsSend)
{
    ScriptedMaterial material;
    add(makeSquare(), material);
    osg::Matrix upright = makeTranslation(0.7f, 0.0f, 0.0f);
    upright[0] = {0.0f, 0.0f, 1.0f, 0.0f};
    upright[2] = {-1.0f, 0.0f, 0.0f, 0.0f};
    add(makeSquare(), material, upright);
    scene.build();
    const Recorder recorder(2, 5);
    integrate<znRTAORenderingIntegrator>(downwardPixels({-0.5f, 0.25f, 0.5f, 4.0f}, 0.0f, 0.1f));
    ASSERT_EQ(recorder.rays.size(), 8u);
    bool isAnyBlocked = false;
    for (const znRTObservedRay& seen : recorder.rays) {
        EXPECT_EQ(seen.query, znRTObservedRay::shadow);
        EXPECT_EQ(seen.type & ~rayType::environmentShadow, 0u);
        EXPECT_NEAR(seen.origin.x, 0.5f, 1e-4f);
        EXPECT_GT(seen.direction.z, 0.0f);
        EXPECT_EQ(seen.nodeId, 0u);
        isAnyBlocked |= seen.isHit;
    }
    EXPECT_TRUE(isAnyBlocked);
}

// A frame: the bundle of the pixel's block tells of its camera ray, once per sample.
TEST_F(RayObservationInFrames, TellTheCameraRay)
{
    resize(64, 48);
    const osg::NodePtr node = add(renderTest::makeSquare(10.0f));
    begin();
    {
        const Recorder recorder(33, 21);
        ASSERT_FALSE(trace());
        ASSERT_EQ(recorder.rays.size(), 1u);
        EXPECT_EQ(recorder.rays[0].nodeId, node->getId());
        EXPECT_NEAR(recorder.rays[0].position.z, 0.0f, 1e-4f);
        EXPECT_GT(recorder.rays[0].position.x, 0.0f);
        EXPECT_LT(recorder.rays[0].position.y, 0.0f);
    }
    const Recorder outside(64, 21);
    ASSERT_FALSE(trace());
    EXPECT_TRUE(outside.rays.empty());
}
