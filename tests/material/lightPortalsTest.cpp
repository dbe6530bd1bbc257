// A closed room with one window under surroundings, with and without a portal in the window.

#include "surroundedFixture.h"

#include "core/rayTypes.h"
#include "light/znRTLightPortalNode.h"
#include "light/znRTPortalGuide.h"
#include "material/znRTLightPortalMaterial.h"

using namespace materialTest;

namespace {

class LightPortals : public SurroundedTest
{
protected:
    static constexpr float half = 2.0f, height = 2.5f; ///< of the room
    /// Opening in the wall at x = half: y and z.
    static constexpr float low = 1.0f, high = 1.6f, left = -0.4f, right = 0.5f;

    /// Floor, ceiling and walls; the wall at x = half in four pieces around the window.
    void addRoom(float reflectance)
    {
        std::vector<osg::Vec3f> p;
        std::vector<u32> indices;
        const auto add = [&](const osg::Vec3f& a, const osg::Vec3f& b, const osg::Vec3f& c,
                             const osg::Vec3f& d) {
            const u32 first = u32(p.size());
            p.insert(p.end(), {a, b, c, d});
            for (const u32 i : {0, 1, 2, 0, 2, 3})
                indices.push_back(first + i);
        };
        const float a = half, h = height;
        add({-a, -a, 0}, {a, -a, 0}, {a, a, 0}, {-a, a, 0});
        add({-a, -a, h}, {-a, a, h}, {a, a, h}, {a, -a, h});
        add({-a, -a, 0}, {-a, a, 0}, {-a, a, h}, {-a, -a, h});
        add({-a, -a, 0}, {-a, -a, h}, {a, -a, h}, {a, -a, 0});
        add({-a, a, 0}, {a, a, 0}, {a, a, h}, {-a, a, h});
        const auto piece = [&](float y0, float y1, float z0, float z1) {
            add({a, y0, z0}, {a, y0, z1}, {a, y1, z1}, {a, y1, z0});
        };
        piece(-a, left, 0, h);
        piece(right, a, 0, h);
        piece(left, right, 0, low);
        piece(left, right, high, h);
        squares.push_back(makeMesh(p, indices));
        squares.back()->setMaterial(makeDiffuse(reflectance));
        scene.add(squares.back().get());
        finish();
    }
    osg::NodePtr addPortal(float strength = 1.0f)
    {
        portalMaterial = osg::ULightPortalMaterial::create();
        portalMaterial->setStrength(strength);
        squares.push_back(makeMesh(
            {{half, left, low}, {half, right, low}, {half, right, high}, {half, left, high}},
            {0, 1, 2, 0, 2, 3}));
        squares.back()->setMaterial(osg::MaterialPtr(portalMaterial.get()));
        const osg::NodePtr node = scene.add(squares.back().get());
        finish();
        return node;
    }
    void finish()
    {
        scene.scene->initMaterials();
        scene.scene->updateVisibilities();
        scene.build();
        scene.scene->updateLightPortals();
    }
    struct Estimate
    {
        double mean = 0.0, variance = 0.0;
    };
    /// Of single samples on the floor.
    Estimate onFloor(int samples)
    {
        const znRTRayDifferentialPacket ray(znRTRayPacket(
            {0.2f, -0.7f, 0.9f, -0.3f}, {0.1f, 0.4f, -0.2f, -0.6f}, znFloatType<2>(1.0f),
            znFloatType<2>(0.0f), znFloatType<2>(0.0f), znFloatType<2>(-1.0f)));
        double sum = 0.0, squareSum = 0.0;
        for (int i = 0; i < samples; ++i) {
            const znRTColorPacket c = shade(ray, 15, i).color;
            for (int lane = 0; lane < 4; ++lane) {
                sum += double(c.r[lane]);
                squareSum += double(c.r[lane]) * double(c.r[lane]);
            }
        }
        const double count = 4.0 * samples, mean = sum / count;
        return {mean, squareSum / count - mean * mean};
    }
    /// @param gain  by which the portal divides the variance at least
    void expectLessNoise(int samples, double gain)
    {
        const Estimate plain = onFloor(16 * samples);
        ASSERT_GT(plain.mean, 0.0);
        addPortal();
        ASSERT_NE(znRTRenderUtils::getPortalGuide(), nullptr);
        const Estimate guided = onFloor(samples);
        const double deviation =
            std::sqrt(plain.variance / (64.0 * samples) + guided.variance / (4.0 * samples));
        EXPECT_NEAR(guided.mean, plain.mean, 3.5 * deviation);
        EXPECT_LT(deviation, 0.05 * plain.mean) << "the means tell little";
        EXPECT_LT(guided.variance * gain, plain.variance);
    }

    osg::Ref<osg::ULightPortalMaterial> portalMaterial;
};

} // namespace

// Directions to the floor's points come from the window, under 1 % of the hemisphere.
TEST_F(LightPortals, LeaveTheLightOfASkyAndTakeItsNoise)
{
    surround(greyEnvironment(64, 32, [](int x, int y) { return 0.5f + float((x + y) % 3); }));
    addRoom(0.6f);
    expectLessNoise(1024, 10.0);
}

TEST_F(LightPortals, LeaveTheLightOfEvenSurroundings)
{
    surround(white());
    addRoom(0.6f);
    expectLessNoise(1024, 10.0);
}

// With rays to other surfaces, which also find the surroundings.
TEST_F(LightPortals, LeaveTheLightOfRoomsWithBouncesOfLight)
{
    surround(greyEnvironment(64, 32, [](int x, int y) { return 0.5f + float((x + y) % 3); }), 3);
    Settings::s_interactiveReflectionDepth = 2;
    znRTMaterial::updateStaticSettings();
    scene.scene->updateMaterials();
    addRoom(0.6f);
    expectLessNoise(512, 2.0);
    Settings::s_interactiveReflectionDepth = 4;
}

// A window seen in full: the irradiance of a polygon of radiance 1 by the contour of its edges
// (J. H. Lambert, "Photometria", 1760).
TEST_F(LightPortals, BringTheIrradianceOfTheirWindow)
{
    surround(white());
    addRoom(1.0f);
    addPortal();
    const double p[3] = {0.2, 0.1, 0.0};
    const double corners[4][3] = {
        {half, right, low}, {half, left, low}, {half, left, high}, {half, right, high}};
    double expected = 0.0;
    for (int i = 0; i < 4; ++i) {
        double a[3], b[3], lengthA = 0.0, lengthB = 0.0, cosine = 0.0;
        for (int k = 0; k < 3; ++k) {
            a[k] = corners[i][k] - p[k];
            b[k] = corners[(i + 1) % 4][k] - p[k];
            lengthA += a[k] * a[k], lengthB += b[k] * b[k], cosine += a[k] * b[k];
        }
        const double across[3] = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2],
                                  a[0] * b[1] - a[1] * b[0]};
        const double sine =
            std::sqrt(across[0] * across[0] + across[1] * across[1] + across[2] * across[2]);
        const double angle = std::acos(cosine / std::sqrt(lengthA * lengthB));
        expected += 0.5 / testPi * angle * across[2] / sine;
    }
    const znRTRayDifferentialPacket ray(
        znRTRayPacket(znRTVector3fPacket(0.2f, 0.1f, 1.0f), znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    EXPECT_NEAR(mean(ray, 2048), std::fabs(expected), 0.01 * std::fabs(expected));
}

// Photons from white surroundings: 4 pi of directions over the disk that covers the scene, and half
// of them and more through the window.
TEST_F(LightPortals, AreWherePhotonsGo)
{
    surround(white());
    addRoom(0.5f);
    addPortal();
    const auto& light = *znRTRenderUtils::getEnvironmentLight();
    const double radius = double(znRTRenderUtils::getSceneBoundingSphere().radius);
    const double flux = 4.0 * testPi * testPi * radius * radius;
    EXPECT_NEAR(sampledFlux(light, 1 << 16), flux, 0.02 * flux);
    int inside = 0;
    constexpr int samples = 4096;
    for (int i = 0; i < samples; i += 4) {
        znRTVector3fPacket position, direction, normal;
        znFloatType<2> pdf;
        light.sample_L_Out(tablePoints(i), tablePoints(i, 1), everyLane4, position, direction,
                           normal, pdf);
        for (int lane = 0; lane < 4; ++lane) {
            const float t = (half - position.x[lane]) / direction.x[lane];
            const float y = position.y[lane] + direction.y[lane] * t;
            const float z = position.z[lane] + direction.z[lane] * t;
            inside += pdf[lane] > 0.0f && y > left && y < right && z > low && z < high;
        }
    }
    EXPECT_GT(double(inside) / samples, 0.48);
    EXPECT_LT(double(inside) / samples, 0.56);
}

TEST_F(LightPortals, AreSeenByNoRayButThatOfTheCamera)
{
    addPortal();
    const auto sees = [&](u32 type) {
        znRTRayDifferentialPacket ray(znRTRayPacket(znRTVector3fPacket(0.0f, 0.1f, 1.3f),
                                                    znRTVector3fPacket(1.0f, 0.0f, 0.0f)));
        ray.type = znIntType<2>(int(type));
        return scene.trace(ray, 15).hitMask == 15;
    };
    EXPECT_TRUE(sees(rayType::camera));
    for (const u32 type : {rayType::diffuseScatter, rayType::glossyReflection,
                           rayType::mirrorReflection, rayType::specularRefraction,
                           rayType::lightShadow, rayType::environmentShadow, rayType::photon})
        EXPECT_FALSE(sees(type)) << type;
}

// The camera looks through a window at a wall behind it.
TEST_F(LightPortals, ShowWhatLiesBehind)
{
    addSun();
    addPortal();
    const auto look = [&] {
        return shade(znRTRayDifferentialPacket(
            znRTRayPacket(znRTVector3fPacket(1.5f, 0.1f, 1.3f),
                          znRTVector3fPacket(1.0f, 0.0f, -1.0f).getNormalized())));
    };
    const znRTColorPacket open = look().color;
    EXPECT_LANES_EQ(open.r, 0.0f, 0.0f, 0.0f, 0.0f);
    EXPECT_LANES_EQ(open.a, 0.0f, 0.0f, 0.0f, 0.0f);
    squares.push_back(makeSquare());
    squares.back()->setMaterial(makeDiffuse(0.5f));
    scene.add(squares.back().get(), makeTranslation(half + 0.5f, 0.0f, 0.3f));
    finish();
    const Shaded seen = look();
    EXPECT_LANES_NEAR(seen.color.r, 0.5f, 0.5f, 0.5f, 0.5f, 1e-5f);
    EXPECT_LANES_NEAR(seen.color.a, 1.0f, 1.0f, 1.0f, 1.0f, 1e-5f);
    EXPECT_LANES_NEAR(seen.layers.colour.r, 0.5f, 0.5f, 0.5f, 0.5f, 1e-5f);
}

// Straight continuations end somewhere.
TEST_F(LightPortals, ShowBlackBehindThirtyTwoOfThem)
{
    addSun();
    const auto portal = osg::ULightPortalMaterial::create();
    for (int i = 0; i < 40; ++i)
        addSquare(osg::MaterialPtr(portal), 1.0f + 0.05f * float(i));
    addSquare(makeDiffuse(0.5f));
    EXPECT_LANES_EQ(shade().color.r, 0.0f, 0.0f, 0.0f, 0.0f);
    EXPECT_LANES_EQ(shade().color.a, 1.0f, 1.0f, 1.0f, 1.0f);
}

TEST_F(LightPortals, ShowWhatLiesBehindThirtyOfThem)
{
    addSun();
    const auto portal = osg::ULightPortalMaterial::create();
    for (int i = 0; i < 30; ++i)
        addSquare(osg::MaterialPtr(portal), 1.0f + 0.05f * float(i));
    addSquare(makeDiffuse(0.5f));
    EXPECT_LANES_NEAR(shade().color.r, 0.5f, 0.5f, 0.5f, 0.5f, 1e-5f);
}

TEST_F(LightPortals, ArePickedThrough)
{
    addPortal();
    const znRTRayDifferentialPacket ray(
        znRTRayPacket(znRTVector3fPacket(0.0f, 0.1f, 1.3f), znRTVector3fPacket(1.0f, 0.0f, 0.0f)));
    znRTDataBlockPacket data = blockOf(ray);
    ASSERT_EQ(data.materialCount, 1u);
    znRTShadingState state = stateOf(0);
    const auto passed = data.materials[0]->getPickedTransparency(ray, data, expandLanes(7), state);
    EXPECT_LANES_EQ(passed.r, 1.0f, 1.0f, 1.0f, 0.0f);
}

TEST_F(LightPortals, AreRankedByStrengthAndArea)
{
    addPortal(2.0f);
    const auto& portals = znRTRenderUtils::getLightPortals();
    ASSERT_EQ(portals.size, 1u);
    EXPECT_NEAR(portals[0]->getPower(), 2.0f * (high - low) * (right - left), 1e-5f);
    EXPECT_NEAR(znRTRenderUtils::getLightPortalDistribution()->getAverage(),
                2.0f * (high - low) * (right - left), 1e-5f);
}

TEST_F(LightPortals, AreNoneWithoutStrength)
{
    addPortal(0.0f);
    EXPECT_EQ(znRTRenderUtils::getLightPortals().size, 0u);
    EXPECT_EQ(znRTRenderUtils::getPortalGuide(), nullptr);
    portalMaterial->setStrength(1.0f);
    unsigned flags = 0;
    scene.scene->updateMaterial(osg::MaterialPtr(portalMaterial.get()), flags);
    EXPECT_NE(flags, 0u) << "its objects have to register";
}

TEST_F(LightPortals, MoveWithTheirObject)
{
    const osg::NodePtr node = addPortal();
    const auto center = [] { return znRTRenderUtils::getPortalGuide()->getOpenings()[0].center; };
    EXPECT_NEAR(center().x, half, 1e-5f);
    const auto transform = osg::FCPtr<osg::Transform>::dcast(node->getParent()->getCore());
    transform->setMatrix(makeTranslation(1, 0, 0));
    scene.mesh(node).updateTransformMatrices();
    scene.scene->updateLightPortals();
    EXPECT_NEAR(center().x, half + 1.0f, 1e-5f);
    scene.scene->deleteGeometry(node->getId());
    EXPECT_EQ(znRTRenderUtils::getPortalGuide(), nullptr);
}
