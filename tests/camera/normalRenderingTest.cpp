// Normals as they are shown, and the block's view of its nodes.

#include "camera/znRTCamera.h"
#include "host/osg/UberCamera.h"
#include "lensFixture.h"
#include "render/znRTFragment.h"
#include "render/integrators/znRTNormalRenderingIntegrator.h"
#include "render/znRTRenderUtils.h"
#include "support/lanes.h"
#include "support/meshScene.h"

namespace {

class NormalRendering : public LensTest
{
protected:
    NormalRendering() : previous(znRTRenderUtils::s_currentAccelerator)
    {
        znRTRenderUtils::s_currentAccelerator = scene.scene.get();
        fragment.colour = znRTColorPacket(znRTColor(0.1f, 0.2f, 0.3f, 0.0f));
        fragment.coverage = znFloatType<2>(7.0f);
    }
    ~NormalRendering() override
    {
        znRTRenderUtils::s_currentAccelerator = previous;
        znRTDataBlockPacket::s_worldToViewMatrix = znMatrix4x4Packet(znMatrix4x4::identity());
    }
    void integrate(znRTRayDifferentialPacket ray)
    {
        ray.pixelX = ray.pixelY = znIntType<2>(0);
        ray.hasDifferentials = 0;
        znRTDataBlockPacket block(scene.trace(ray));
        znRTNormalRenderingIntegrator<znRTFragment>().integrate(fragment, &camera, ray, block, 0);
        weight = ray.weight;
        alpha = ray.alpha;
    }

    MeshScene scene;
    znRTCamera camera;
    znRTFragment fragment;
    znRTVector3fPacket weight{0.0f, 0.0f, 0.0f}; ///< of the ray after integrate
    znFloatType<2> alpha{0.0f};

private:
    znRTAccelerator* previous;
};

using DataBlockNodes = NormalRendering;

} // namespace

TEST_F(NormalRendering, ShowsTheHueOfTheNormalInViewSpace)
{
    scene.add(makeSquare().get());
    scene.build();
    integrate(downward(znFloatType<2>(0.0f, 0.5f, -0.5f, 3.0f), 0.1f));
    // The fourth ray passes the square and keeps the background.
    EXPECT_LANES_NEAR(fragment.colour.r, 0.5f, 0.5f, 0.5f, 0.1f, 1e-5f);
    EXPECT_LANES_NEAR(fragment.colour.b, 1.0f, 1.0f, 1.0f, 0.3f, 1e-5f);
    EXPECT_LANES_EQ(fragment.colour.a, 1.0f, 1.0f, 1.0f, 0.0f);
    EXPECT_LANES_EQ(fragment.coverage, 1.0f, 1.0f, 1.0f, 0.0f);

    // Seen by a camera that is turned by 90 degrees about x, world z is its y axis.
    znMatrix4x4 toView = znMatrix4x4::identity();
    toView[1] = {0.0f, 0.0f, -1.0f, 0.0f};
    toView[2] = {0.0f, 1.0f, 0.0f, 0.0f};
    znRTDataBlockPacket::s_worldToViewMatrix = znMatrix4x4Packet(toView);
    integrate(downward(0.0f, 0.1f));
    EXPECT_LANES_NEAR(fragment.colour.g, 1.0f, 1.0f, 1.0f, 1.0f, 1e-5f);
    EXPECT_LANES_NEAR(fragment.colour.b, 0.5f, 0.5f, 0.5f, 0.5f, 1e-5f);
}

TEST_F(NormalRendering, GetsDarkerTowardTheEdge)
{
    scene.add(makeSquare().get());
    scene.build();
    const auto brightness = [&](float slope) {
        integrate(znRTRayDifferentialPacket(znRTRayPacket(znRTVector3fPacket(-slope, 0.1f, 1.0f),
                                                          znRTVector3fPacket(slope, 0.0f, -1.0f))));
        return fragment.colour.b[0];
    };
    EXPECT_NEAR(brightness(0.0f), 1.0f, 1e-5f);
    EXPECT_NEAR(brightness(1.0f), 0.25f + 0.75f * std::sqrt(0.5f), 1e-5f);
    EXPECT_GT(brightness(10.0f), 0.25f);
}

TEST_F(NormalRendering, KeepsTheBackgroundWithoutASurface)
{
    scene.add(makeSquare().get());
    scene.build();
    integrate(downward(4.0f, 0.0f));
    EXPECT_LANES_EQ(fragment.colour.g, 0.2f, 0.2f, 0.2f, 0.2f);
    EXPECT_LANES_EQ(fragment.coverage, 0.0f, 0.0f, 0.0f, 0.0f);
}

// Hits on an object that is gone have no surface.
TEST_F(NormalRendering, KeepsTheBackgroundWhereHitsAreNotCovered)
{
    scene.add(makeSquare().get());
    scene.build();
    znRTRayDifferentialPacket ray = downward(0.0f, 0.1f);
    ray.hasDifferentials = 0;
    znRTHitInfoPacket hit = scene.trace(ray);
    ASSERT_EQ(hit.hitMask, 15u);
    hit.geometry = znIntType<2>(1000000);
    znRTDataBlockPacket block(hit);
    znRTNormalRenderingIntegrator<znRTFragment>().integrate(fragment, &camera, ray, block, 0);
    EXPECT_LANES_EQ(fragment.colour.r, 0.1f, 0.1f, 0.1f, 0.1f);
    EXPECT_LANES_EQ(fragment.colour.a, 0.0f, 0.0f, 0.0f, 0.0f);
    EXPECT_LANES_EQ(fragment.coverage, 0.0f, 0.0f, 0.0f, 0.0f);
}

TEST_F(NormalRendering, SendsPathsOnWithFullWeightAndNoAlpha)
{
    scene.add(makeSquare().get());
    scene.build();
    integrate(downward(0.0f, 0.1f));
    EXPECT_LANES_EQ(weight.x, 1.0f, 1.0f, 1.0f, 1.0f);
    EXPECT_LANES_EQ(weight.z, 1.0f, 1.0f, 1.0f, 1.0f);
    EXPECT_LANES_EQ(alpha, 0.0f, 0.0f, 0.0f, 0.0f);
}

// Bit for bit: a lane does not know what is in the others.
TEST_F(NormalRendering, GivesEachLaneTheSameWhateverItsPlaceInThePacket)
{
    scene.add(makeRandomMesh(200, 11).get());
    scene.add(makeSquare().get(), makeTranslation(0.0f, 0.0f, -1.5f));
    scene.build();
    const float xs[4] = {-0.7f, 0.2f, 0.55f, 4.0f};
    const auto colours = [&](int first) {
        znFloatType<2> x;
        for (int lane = 0; lane < 4; ++lane)
            x.set(lane, xs[(first + lane) & 3]);
        fragment.colour = znRTColorPacket(znRTColor(0.1f, 0.2f, 0.3f, 0.0f));
        integrate(downward(x, 0.13f));
        return fragment.colour;
    };
    const znRTColorPacket straight = colours(0);
    for (int first = 1; first < 4; ++first) {
        const znRTColorPacket turned = colours(first);
        for (int lane = 0; lane < 4; ++lane)
            EXPECT_EQ(turned.getComponent(lane), straight.getComponent((first + lane) & 3))
                << "turned by " << first << ", lane " << lane;
    }
}

TEST_F(DataBlockNodes, GiveEachLaneItsOwnMatrices)
{
    osg::Matrix stretched = makeTranslation(3.0f, 0.0f, 1.0f);
    stretched[0][0] = 0.5f;
    const osg::NodePtr plain = scene.add(makeSquare().get());
    const osg::NodePtr moved = scene.add(makeSquare().get(), stretched);
    scene.build();
    znRTRayDifferentialPacket ray = downward(znFloatType<2>(0.0f, 3.25f, 0.5f, 9.0f), 0.25f);
    ray.hasDifferentials = 0;
    znRTDataBlockPacket block(scene.trace(ray));
    znRTRenderUtils::getShadingData(ray, block, false);
    ASSERT_EQ(block.hit.hitMask, 7u);
    block.computeShadingData(ray);
    EXPECT_LANES_EQ(block.nodeToWorld[0][0], 1.0f, 0.5f, 1.0f, 1.0f);
    EXPECT_LANES_EQ(block.nodeToWorld[3][0], 0.0f, 3.0f, 0.0f, 0.0f);
    EXPECT_LANES_EQ(block.worldToNode[0][0], 1.0f, 2.0f, 1.0f, 1.0f);
    EXPECT_NEAR(block.objectPosition.x[1], 0.5f, 1e-5f);
    EXPECT_NEAR(block.objectPosition.z[1], 0.0f, 1e-5f);
    EXPECT_NEAR(block.objectPosition.x[2], 0.5f, 1e-5f);
    EXPECT_NEAR(block.objectNormal.z[1], 1.0f, 1e-5f);
    EXPECT_NEAR(block.cosIncidence[0], 1.0f, 1e-5f);
    const znIntType<2> ids = block.resolveToNodeId(0);
    EXPECT_INT_LANES(ids, plain->getId(), moved->getId(), plain->getId(), 0);

    block.hasNodeTransforms = 0;
    block.computeShadingData(ray);
    EXPECT_LANES_EQ(block.nodeToWorld[0][0], 1.0f, 1.0f, 1.0f, 1.0f);
    EXPECT_EQ(block.objectPosition.x[1], block.dg.position.x[1]);
}
