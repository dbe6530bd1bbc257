// Shadows on what is not there: what of the background they leave.

#include "material/surroundedFixture.h"

#include "host/osg/RaytracingGeoAttachment.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "material/znRTShadowMaterial.h"

using namespace materialTest;

namespace {

using ShadowPtr = osg::FCPtr<osg::UShadowMaterial>;

constexpr float background[3] = {0.8f, 0.6f, 0.4f};

class CaughtShadows : public SurroundedTest
{
protected:
    CaughtShadows() : before(znRTRenderUtils::s_backgroundColor)
    {
        znRTRenderUtils::s_backgroundColor = {background[0], background[1], background[2], 0.0f};
    }
    ~CaughtShadows() override { znRTRenderUtils::s_backgroundColor = before; }

    ShadowPtr addCatcher()
    {
        const ShadowPtr material = osg::UShadowMaterial::create();
        addSquare(material);
        return material;
    }
    /// A square of edge 2 above the middle.
    GeometryRef addRoof(float height = 2.0f)
    {
        addSquare(makeDiffuse(0.5f), height);
        return squares.back();
    }
    void update()
    {
        scene.scene->updateMaterials();
        scene.scene->updateLights();
        znRTRenderUtils::updateLightDistribution(true);
    }
    static znRTRayDifferentialPacket belowRoof(float x = 0.0f, float y = 0.01f)
    {
        return znRTRayDifferentialPacket(
            znRTRayPacket({x, y, 1.0f}, znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    }
    /// Mean over the samples: red, green, blue over those of the background, and alpha.
    std::array<double, 4> left(int samples = 1, float x = 0.0f)
    {
        std::array<double, 4> sum{};
        for (int i = 0; i < samples; ++i) {
            const znRTColorPacket c = shade(belowRoof(x), 15, i).color;
            for (int k = 0; k < 4; ++k)
                for (int lane = 0; lane < 4; ++lane)
                    sum[std::size_t(k)] +=
                        double(c[k][lane]) / (4.0 * samples * (k < 3 ? background[k] : 1.0f));
        }
        return sum;
    }
    static void setTint(const ShadowPtr& material, const osg::Vec3f& tint)
    {
        material->setShadowColor(osg::ColorComponent(tint));
        material->setEnvironmentShadowColor(osg::ColorComponent(tint));
    }

private:
    const znRTColorPacket before;
};

double luminanceOf(const osg::Vec3f& c)
{
    return 0.2125 * c[0] + 0.7154 * c[1] + 0.0721 * c[2];
}

void expectLeft(const std::array<double, 4>& found, const osg::Vec3f& expected)
{
    for (unsigned c = 0; c < 3; ++c)
        EXPECT_NEAR(found[c], expected[c], 1e-5) << c;
    EXPECT_NEAR(found[3], 1.0 - luminanceOf(expected), 1e-5);
}

/// Share of a sky of one radiance that a square of edge 2 hides from the point below its middle:
/// four times the factor of a corner (J. Howell, "A Catalog of Radiation Configuration Factors",
/// B-4).
double hiddenShare(double height)
{
    const double x = 1.0 / height, root = std::sqrt(1.0 + x * x);
    return 4.0 / (2.0 * testPi) * 2.0 * x / root * std::atan(x / root);
}

} // namespace

TEST_F(CaughtShadows, LeaveTheBackgroundWholeInTheLight)
{
    addCatcher();
    addSun();
    expectLeft(left(), {1, 1, 1});
}

TEST_F(CaughtShadows, LeaveTheTintInTheUmbra)
{
    const ShadowPtr material = addCatcher();
    addRoof();
    addSun();
    expectLeft(left(), {0, 0, 0});
    const osg::Vec3f tint(0.3f, 0.2f, 0.4f);
    setTint(material, tint);
    update();
    expectLeft(left(), tint);
    expectLeft(left(1, 0.95f), tint);
}

TEST_F(CaughtShadows, AreAsStrongAsLightAndMaterialSay)
{
    const ShadowPtr material = addCatcher();
    addRoof();
    const auto& sun = addSun();
    const auto attachment = osg::RaytracingLightAttachment::create();
    attachment->setGroundShadowIntensity(0.5f);
    attachment->setShadowIntensity(0.1f); // for other surfaces
    sun.node->addAttachment(attachment);
    material->setShadowIntensity(0.6f);
    update();
    expectLeft(left(), {0.7f, 0.7f, 0.7f});
}

TEST_F(CaughtShadows, DoNotComeFromLightsAndObjectsThatThrowNoneThere)
{
    addCatcher();
    const GeometryRef roof = addRoof();
    const auto& sun = addSun();
    const auto ofObject = osg::RaytracingGeoAttachment::create();
    ofObject->setCastShadowsOnShadowMaterial(false);
    roof->addAttachment(ofObject);
    scene.scene->updateVisibilities();
    scene.build();
    expectLeft(left(), {1, 1, 1});
    roof->subAttachment(ofObject);
    scene.scene->updateVisibilities();
    scene.build();
    expectLeft(left(), {0, 0, 0});
    const auto ofLight = osg::RaytracingLightAttachment::create();
    ofLight->setCastShadowOnShadowMaterial(false);
    sun.node->addAttachment(ofLight);
    update();
    expectLeft(left(), {1, 1, 1});
}

// A sun overhead, which the roof hides, and one from the side, at 60 degrees, which it does not:
// the second brings half of what the first would.
TEST_F(CaughtShadows, OfOneLightLeaveTheShareOfTheOthers)
{
    const ShadowPtr material = addCatcher();
    addRoof();
    addSun();
    addSun(60.0);
    const double drawn = left(2048)[0];
    EXPECT_NEAR(drawn, 1.0 / 3.0, 0.01);
    material->setLightMode(-1);
    update();
    EXPECT_NEAR(left()[0], 1.0 / 3.0, 1e-5);
}

TEST_F(CaughtShadows, OfAnEvenSkyLeaveTheShareThatIsSeen)
{
    addCatcher();
    addRoof(1.5f);
    surround(white());
    update();
    EXPECT_NEAR(left(1024)[0], 1.0 - hiddenShare(1.5), 0.01);
}

// Brighter to one side. What the roof hides of it, weighted with the cosine, by a fine grid.
TEST_F(CaughtShadows, OfAnUnevenSkyWeighItsLight)
{
    addCatcher();
    scene.add(
        makeMesh({{0, -9, 0.5f}, {9, -9, 0.5f}, {9, 9, 0.5f}, {0, 9, 0.5f}}, {0, 1, 2, 0, 2, 3})
            .get());
    scene.scene->initMaterials();
    scene.build();
    const auto radiance = [](double x) { return 1.0 + 0.8 * x; };
    surround(greyEnvironment(64, 32, [&](int x, int y) {
        const double u = 2.0 * testPi * (x + 0.5) / 64, v = testPi * (y + 0.5) / 32;
        return float(radiance(std::sin(v) * std::sin(u)));
    }));
    update();
    double all = 0.0, seen = 0.0;
    constexpr int steps = 400;
    for (int i = 0; i < steps; ++i)
        for (int j = 0; j < steps; ++j) { // points of the disk below the hemisphere
            const double px = (2.0 * i + 1.0) / steps - 1.0, py = (2.0 * j + 1.0) / steps - 1.0;
            const double z = std::sqrt(std::max(0.0, 1.0 - px * px - py * py));
            if (z == 0.0)
                continue;
            all += radiance(px);
            const double hx = 0.5 * px / z, hy = 0.5 * py / z;
            seen += hx > 0.0 && hx < 9.0 && std::abs(hy) < 9.0 ? 0.0 : radiance(px);
        }
    const auto ray = znRTRayDifferentialPacket(
        znRTRayPacket({0.0f, 0.01f, 0.3f}, znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    double sum = 0.0;
    for (int i = 0; i < 1024; ++i) {
        const znRTColorPacket c = shade(ray, 15, i).color;
        for (int lane = 0; lane < 4; ++lane)
            sum += double(c.r[lane]) / (4096.0 * background[0]);
    }
    EXPECT_NEAR(sum, seen / all, 0.015);
}

TEST_F(CaughtShadows, AreTracedWhereTheSkyIsLookedUp)
{
    addCatcher();
    addRoof(1.5f);
    surround(white(), 1, 16);
    update();
    EXPECT_NEAR(left(256)[0], 1.0 - hiddenShare(1.5), 0.01);
    setIllumination(0, 1);
    znRTMaterial::updateStaticSettings();
    update();
    expectLeft(left(), {1, 1, 1});
}

TEST_F(CaughtShadows, LieOnASurfaceThatThrowsNone)
{
    const ShadowPtr material = osg::UShadowMaterial::create();
    znRTMaterial& shading = addSquare(material);
    EXPECT_TRUE(shading.isTransparent());
    EXPECT_TRUE(shading.isPhotonTarget());
    const znRTRayDifferentialPacket ray = belowRoof();
    znRTDataBlockPacket data = blockOf(ray);
    znRTShadingState state = stateOf(0);
    const znRTColorPacket passed = shading.getTransparency(ray, data, everyLane4, state);
    EXPECT_LANES_NEAR(passed.g, 1.0f, 1.0f, 1.0f, 1.0f, 0.0f);
}

// White light from everywhere and a white background: whatever the colours of its own reflect is
// missing from what is seen through them.
TEST_F(CaughtShadows, KeepTheEnergyOfAReflectingSurface)
{
    znRTRenderUtils::s_backgroundColor = {1.0f, 1.0f, 1.0f, 0.0f};
    const ShadowPtr material = addCatcher();
    material->setDiffuse(gray(0.6f));
    surround(white());
    update();
    double sum = 0.0;
    for (int i = 0; i < 512; ++i)
        sum += double(shade(belowRoof(), 15, i).color.g[0]) / 512.0;
    EXPECT_NEAR(sum, 1.0, 0.05);
}

TEST_F(CaughtShadows, AreOnWhiteWithoutAlpha)
{
    const ShadowPtr material = addCatcher();
    material->setAlphaFromShadow(false);
    addSun();
    update();
    const znRTColorPacket lit = shade(belowRoof()).color;
    EXPECT_LANES_NEAR(lit.g, 1.0f, 1.0f, 1.0f, 1.0f, 1e-5f);
    EXPECT_LANES_NEAR(lit.a, 1.0f, 1.0f, 1.0f, 1.0f, 0.0f);
}
