// Area lights as rays see them: through tracing and shading together.

#include "host/osg/UAreaLight.h"
#include "material/materialFixture.h"
#include "material/spawnedRays.h"

using namespace materialTest;

namespace {

const osg::Vec3f lampColor(6.0f, 5.0f, 4.0f), mirroredColor(1.0f, 2.0f, 3.0f);

class SeenLamps : public MaterialTest
{
protected:
    /// A floor of z = 0, and a lamp of edge 2 or diameter 2 at z = 3 that shines down.
    template <class Light>
    PlacedCore<Light> makeLamp()
    {
        PlacedCore<Light> lamp;
        lamp.core->setDiffuse(osg::ColorComponent(lampColor));
        lamp.core->setGlossy(osg::ColorComponent(mirroredColor));
        lamp.move(0, 0, 3);
        return lamp;
    }
    PlacedCore<osg::URectangularLight> makeRectangle()
    {
        auto lamp = makeLamp<osg::URectangularLight>();
        lamp.core->setSizeX(1.0f);
        lamp.core->setSizeY(1.0f);
        return lamp;
    }
    void addFloor() { addSquare(makeDiffuse(0.0f)); }

    struct Seen
    {
        znRTColorPacket color;
        int missed;
    };
    /// What rays of a class bring that start at (x, y, z) and go along the z axis.
    Seen look(const znFloatType<2>& x, float z, float toward, u32 type = rayType::camera) const
    {
        const znRTRayDifferentialPacket rays(
            znRTRayPacket({x, 0.1f, z}, znRTVector3fPacket(0.0f, 0.0f, toward), 0, 0,
                          znRTVector3fPacket(1.0f, 1.0f, 1.0f), int(type)));
        znFloatType<2> missed;
        const znRTColorPacket color = shadeAlong(rays, everyLane4, stateOf(0), missed);
        return {color, moveMask(missed)};
    }
    static void expectColor(const Seen& seen, const osg::Vec3f& expected)
    {
        for (int c = 0; c < 3; ++c)
            EXPECT_LANES_NEAR(seen.color[c], expected[unsigned(c)], expected[unsigned(c)],
                              expected[unsigned(c)], expected[unsigned(c)], 1e-5f);
    }
};

} // namespace

TEST_F(SeenLamps, ShowTheirRadianceOnTheSideThatShines)
{
    addFloor();
    auto lamp = makeRectangle();
    addLight(lamp);
    const Seen below = look(0.2f, 1.0f, 1.0f);
    EXPECT_EQ(below.missed, 0);
    expectColor(below, lampColor);
    EXPECT_LANES_NEAR(below.color.a, 1.0f, 1.0f, 1.0f, 1.0f, 0.0f);
    // From behind the black floor is seen through it.
    const Seen above = look(0.2f, 5.0f, -1.0f);
    EXPECT_EQ(above.missed, 0);
    expectColor(above, {0, 0, 0});
}

TEST_F(SeenLamps, EndAtTheirRims)
{
    addFloor();
    auto disk = makeLamp<osg::UDiskLight>();
    disk.core->setSizeX(1.0f);
    disk.core->setSizeY(1.0f);
    addLight(disk);
    // At y = 0.1 the circle ends at x = 0.99499.
    EXPECT_EQ(look(znFloatType<2>(0.0f, 0.994f, 0.996f, -0.996f), 1.0f, 1.0f).missed, 0b1100);
}

// The lower half of the sphere is nearest at height 3 - sqrt(1 - x^2 - y^2).
TEST_F(SeenLamps, HideWhatIsBehindThem)
{
    addSquare(makeDiffuse(0.0f), 2.5f);
    auto sphere = makeLamp<osg::USphericalLight>();
    sphere.core->setRadius(1.0f);
    addLight(sphere);
    const Seen seen = look(znFloatType<2>(0.0f, 0.5f, 0.9f, 0.98f), 1.0f, 1.0f);
    EXPECT_EQ(seen.missed, 0);
    EXPECT_LANES_NEAR(seen.color.r, 6.0f, 6.0f, 0.0f, 0.0f, 1e-5f);
}

TEST_F(SeenLamps, FollowTheirSwitches)
{
    addFloor();
    auto lamp = makeRectangle();
    addLight(lamp);
    const auto sees = [&](u32 type) { return look(0.2f, 1.0f, 1.0f, type).missed == 0; };
    EXPECT_TRUE(sees(rayType::camera));
    EXPECT_TRUE(sees(rayType::mirrorReflection));
    EXPECT_TRUE(sees(rayType::specularRefraction));
    lamp.core->setPrimaryVisibility(false);
    scene.scene->updateLights();
    EXPECT_FALSE(sees(rayType::camera));
    EXPECT_TRUE(sees(rayType::mirrorReflection));
    lamp.core->setPrimaryVisibility(true);
    lamp.core->setVisibleInReflections(false);
    scene.scene->updateLights();
    EXPECT_TRUE(sees(rayType::camera));
    EXPECT_FALSE(sees(rayType::mirrorReflection));
    lamp.core->setOn(false);
    scene.scene->updateLights();
    EXPECT_FALSE(sees(rayType::camera));
    scene.scene->deleteLight(lamp.node->getId());
    EXPECT_FALSE(sees(rayType::camera));
}

// Rays that lobes with a density draw get the light by sampling: it would count twice.
TEST_F(SeenLamps, AreNotInTheWayOfScatteredRaysAndShadows)
{
    addFloor();
    auto lamp = makeRectangle();
    addLight(lamp);
    for (const u32 type : {rayType::diffuseScatter, rayType::glossyReflection,
                           rayType::glossyTransmission, rayType::photon})
        EXPECT_EQ(look(0.2f, 1.0f, 1.0f, type).missed, 15) << std::hex << type;
    const znRTRayPacket shadow({0.2f, 0.1f, 1.0f}, znRTVector3fPacket(0.0f, 0.0f, 1.0f), 0, 0,
                               znRTVector3fPacket(1.0f, 1.0f, 1.0f), int(rayType::lightShadow));
    znRTHitInfoPacket hit;
    hit.reset(znFloatType<2>(100.0f));
    znRTRenderUtils::getShadowIntersection(shadow, znFloatType<2>(0.0f), znFloatType<2>(100.0f),
                                           hit, 15);
    EXPECT_EQ(hit.hitMask, 0u);
}

TEST_F(SeenLamps, ShowMirrorsTheirGlossyColor)
{
    addFloor();
    auto lamp = makeRectangle();
    addLight(lamp);
    expectColor(look(0.2f, 1.0f, 1.0f, rayType::mirrorReflection), mirroredColor);
    expectColor(look(0.2f, 1.0f, 1.0f, rayType::specularRefraction), lampColor);
}

// The colour is the radiance whatever the falloff, and a cone dims the rim of what it lights.
TEST_F(SeenLamps, AreAsBrightFromAnyDistance)
{
    addFloor();
    for (const int kind : {0, 1, 2}) {
        auto lamp = makeRectangle();
        lamp.core->setAttenuationType(kind);
        addLight(lamp);
        expectColor(look(0.2f, 1.0f, 1.0f), lampColor);
        expectColor(look(0.2f, 2.5f, 1.0f), lampColor);
        scene.scene->deleteLight(lamp.node->getId());
    }
}

// Terms of the picture add up to it: a lamp is something that emits.
TEST_F(SeenLamps, AreEmissionInLayers)
{
    addFloor();
    auto lamp = makeRectangle();
    addLight(lamp);
    const znRTRayDifferentialPacket ray(
        znRTRayPacket({0.2f, 0.1f, 1.0f}, znRTVector3fPacket(0.0f, 0.0f, 1.0f)));
    znRTDataBlockPacket data(1e6f);
    znRTRenderUtils::getIntersection(ray, znFloatType<2>(0.0f), znFloatType<2>(1e6f), data.hit, 15);
    znRTRenderUtils::getShadingData(ray, data, false);
    data.computeShadingData(ray);
    ASSERT_EQ(data.materialCount, 1u);
    znRTMultilayerFragment fragment;
    fragment.clear();
    znRTShadingState state = stateOf(0);
    data.materials[0]->shade(ray, data, fragment, data.materialLanes[0], state);
    EXPECT_LANES_NEAR(fragment.layers[ZN_PASS_INCANDESCENCE].g, 5.0f, 5.0f, 5.0f, 5.0f, 1e-5f);
    EXPECT_LANES_NEAR(fragment.layers[ZN_PASS_POSITION].b, 3.0f, 3.0f, 3.0f, 3.0f, 1e-5f);
    EXPECT_LANES_NEAR(fragment.layers[ZN_PASS_MASK].a, 1.0f, 1.0f, 1.0f, 1.0f, 0.0f);
    EXPECT_LANES_NEAR(data.geometricNormal().z, -1.0f, -1.0f, -1.0f, -1.0f, 1e-6f);
}
