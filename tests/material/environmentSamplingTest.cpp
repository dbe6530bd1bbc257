#include "light/environmentFixture.h"
#include "materialFixture.h"

using namespace materialTest;

namespace {

class EnvironmentOnSurfaces : public MaterialTest
{
protected:
    /// A scene lit by an environment that is sampled.
    void surround(const osg::Ref<osg::Image>& image)
    {
        surroundings = environmentOf(image);
        setIllumination(2, 1);
        znRTMaterial::updateStaticSettings();
        scene.scene->addEnvironmentLight(osg::MaterialPtr(surroundings.get()));
        znRTRenderUtils::updateEnvironment();
    }
    ~EnvironmentOnSurfaces() override
    {
        scene.scene->clear();
        znRTRenderUtils::updateEnvironment();
    }
    double mean(int samples)
    {
        double sum = 0.0;
        for (int i = 0; i < samples; ++i) {
            const znRTColorPacket c = shade(0.2f, 0.1f, 15, i).color;
            for (int lane = 0; lane < 4; ++lane)
                sum += double(c.r[lane]);
        }
        return sum / (4.0 * samples);
    }

    osg::Ref<osg::USphereEnvironmentMaterial> surroundings;
};

} // namespace

// A white surface under white surroundings shows white: the cosine integrates to pi, over pi.
TEST_F(EnvironmentOnSurfaces, ShowTheirReflectanceUnderWhiteSurroundings)
{
    surround(greyEnvironment(32, 16, [](int, int) { return 1.0f; }));
    addSquare(makeDiffuse(0.5f));
    EXPECT_NEAR(mean(4096), 0.5, 0.005);
}

// One bright texel over black: the irradiance by a fine grid of directions, over pi.
TEST_F(EnvironmentOnSurfaces, ShowOneBrightTexelWithoutBias)
{
    surround(
        greyEnvironment(64, 32, [](int x, int y) { return x == 40 && y == 9 ? 500.0f : 0.0f; }));
    addSquare(makeDiffuse(1.0f));
    const znRTLight& light = *znRTRenderUtils::getEnvironmentLight();
    const double irradiance = overSphere([&](const znRTVector3f& d) {
        const auto c = light.getIntensity(inAllLanes(0, 0, 0), znRTVector3fPacket(d),
                                          znRTVector2fPacket(0.0f, 0.0f), everyLane4);
        return double(c.r[0]) * std::max(0.0f, d.z);
    });
    const double expected = irradiance / testPi;
    EXPECT_NEAR(mean(4096), expected, 0.01 * expected);
}

// A large square above hides all but a rim: a square of edge 2 at 0.05 leaves well under a tenth.
TEST_F(EnvironmentOnSurfaces, LieInTheShadowOfWhatIsAbove)
{
    surround(greyEnvironment(32, 16, [](int, int) { return 1.0f; }));
    addSquare(makeDiffuse(1.0f), 0.0f);
    addSquare(makeDiffuse(1.0f), 0.05f);
    const znRTRayDifferentialPacket below(znRTRayPacket(znRTVector3fPacket(0.2f, 0.1f, 0.04f),
                                                        znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    double sum = 0.0;
    for (int i = 0; i < 256; ++i)
        sum += shade(below, 15, i).color.r[0];
    EXPECT_LT(sum / 256, 0.1);
}

// The dome is seen by the camera, and its surface casts no shadow on what it surrounds.
TEST_F(EnvironmentOnSurfaces, AreSurroundedByWhatIsSeen)
{
    surround(greyEnvironment(32, 16, [](int, int y) { return y < 8 ? 3.0f : 1.0f; }));
    addSquare(makeDiffuse(0.5f));
    addSquare(osg::MaterialPtr(surroundings.get()), 4.0f);
    EXPECT_NEAR(mean(1024), 1.5, 0.03) << "half of 3 from above";
    const znRTRayDifferentialPacket upward(
        znRTRayPacket(znRTVector3fPacket(0.2f, 0.1f, 1.0f), znRTVector3fPacket(0.0f, 0.0f, 1.0f)));
    const znRTColorPacket seen = shade(upward).color;
    EXPECT_LANES_NEAR(seen.r, 3.0f, 3.0f, 3.0f, 3.0f, 1e-5f);
}

TEST_F(EnvironmentOnSurfaces, AreLitByTheEnvironmentOfAnObject)
{
    surroundings = environmentOf(greyEnvironment(8, 4, [](int, int) { return 1.0f; }));
    const osg::MaterialPtr material(surroundings.get());
    addSquare(material, 4.0f);
    EXPECT_EQ(znRTRenderUtils::getEnvironmentLight(), nullptr);
    znRTRenderUtils::updateEnvironment();
    ASSERT_NE(znRTRenderUtils::getEnvironmentLight(), nullptr);
    EXPECT_EQ(znRTRenderUtils::getEnvironmentLight(), scene.scene->getEnvironmentLight(material));
    EXPECT_EQ(znRTRenderUtils::getEnvironmentLight(), znRTMaterial::s_environmentLight);
}

TEST_F(EnvironmentOnSurfaces, AreLitByTheEnvironmentThatWasChosen)
{
    const auto image = greyEnvironment(8, 4, [](int, int) { return 1.0f; });
    const auto first = environmentOf(image), second = environmentOf(image);
    addSquare(osg::MaterialPtr(first.get()), 4.0f);
    znRTMaterial& chosen = addSquare(osg::MaterialPtr(second.get()), 5.0f);
    const auto idInForce = [] {
        znRTRenderUtils::updateEnvironment();
        return znRTRenderUtils::getEnvironmentLight()->getId();
    };
    EXPECT_EQ(idInForce(), first->getId());
    znRTRenderUtils::setActiveEnvironment(nullptr, &chosen);
    EXPECT_EQ(idInForce(), second->getId());
    znRTRenderUtils::setActiveEnvironment(nullptr, nullptr);
}
