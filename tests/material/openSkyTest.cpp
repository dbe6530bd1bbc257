#include "material/openSky.h"
#include "surroundedFixture.h"

#include "core/rayTypes.h"
#include "host/osg/RaytracingGeoAttachment.h"
#include "host/znRenderPasses.h"
#include "material/spawnedRays.h"

using namespace materialTest;

namespace {

/// Light of the environment on a floor below half a roof, found by rays of its own (sampled
/// environment) or by those that look for other surfaces too (full illumination).
class OpenSky : public SurroundedTest
{
protected:
    ~OpenSky() override
    {
        Settings::s_interactiveReflectionDepth = 4;
        Settings::s_clamping = false;
        znRTMaterial::updateStaticSettings();
    }

    static osg::Ref<osg::Image> uneven()
    {
        return greyEnvironment(32, 16, [](int x, int y) {
            return x == 11 && y == 4 ? 40.0f : y < 8 ? 0.3f + 0.02f * float(x) : 0.2f;
        });
    }
    static PhongPtr makeFloor()
    {
        const PhongPtr floor = makeDiffuse(0.6f);
        floor->setGlossy(gray(0.4f));
        floor->setRoughness(0.5f);
        return floor;
    }
    void addRoof(const osg::MaterialPtr& material,
                 const std::function<void(osg::RaytracingGeoAttachment&)>& change = {})
    {
        squares.push_back(makeSquare());
        squares.back()->setMaterial(material);
        const osg::NodePtr node =
            scene.add(squares.back().get(), makeTranslation(0.9f, 0.0f, 0.5f));
        if (change) {
            const auto attachment = osg::RaytracingGeoAttachment::create();
            change(*attachment);
            node->addAttachment(attachment);
        }
        scene.scene->initMaterials();
        scene.scene->updateVisibilities();
        scene.build();
    }
    struct Light
    {
        double diffuse = 0.0, glossy = 0.0;
        double others = 0.0; ///< from other surfaces
    };
    /// Mean over samples of four points beside the roof's edge, seen from below it.
    Light lightOf(int illumination, int rays, int skySamples, int depth, int samples)
    {
        setIllumination(illumination, skySamples);
        Settings::s_interactiveQuality = rays;
        Settings::s_interactiveReflectionDepth = 2;
        znRTMaterial::updateStaticSettings();
        znRTRenderUtils::getEnvironmentLight();
        scene.scene->updateMaterials();
        znRTRenderUtils::updateEnvironment();
        const znRTRayDifferentialPacket ray(znRTRayPacket(
            {0.0f, -0.2f, 0.1f, 0.3f}, {0.0f, 0.1f, 0.3f, -0.2f}, znFloatType<2>(0.4f),
            znFloatType<2>(0.0f), znFloatType<2>(0.0f), znFloatType<2>(-1.0f)));
        Light light;
        for (int i = 0; i < samples; ++i) {
            const Shaded shaded = shade(ray, 15, i, depth);
            for (int lane = 0; lane < 4; ++lane) {
                light.diffuse +=
                    double(shaded.layer(ZN_PASS_DIFFUSE_IBL).r[lane]) / (4.0 * samples);
                light.others +=
                    double(shaded.layer(ZN_PASS_DIFFUSE_INDIRECT).r[lane]) / (4.0 * samples);
                light.glossy += double(shaded.layer(ZN_PASS_GLOSSY_IBL).r[lane]) / (4.0 * samples);
            }
        }
        return light;
    }
    /// Both ways find the same, at points that are seen and at points that a ray has met.
    /// @param isSeen  the roof, by rays that look for other surfaces
    void expectSameLight(bool isSeen = true)
    {
        const Light apart = lightOf(2, 1, 1, 0, 4096);
        EXPECT_GT(apart.diffuse, 0.02);
        EXPECT_GT(apart.glossy, 0.01);
        EXPECT_EQ(apart.others, 0.0);
        const auto expectSame = [&](const Light& found, const char* what) {
            EXPECT_EQ(found.others > 0.0, isSeen) << what;
            EXPECT_NEAR(found.diffuse, apart.diffuse, 0.025 * apart.diffuse) << what;
            EXPECT_NEAR(found.glossy, apart.glossy, 0.035 * apart.glossy) << what;
        };
        expectSame(lightOf(3, 1, 1, 0, 4096), "one ray of each kind");
        expectSame(lightOf(3, 8, 4, 0, 512), "eight rays, four by the light");
        expectSame(lightOf(3, 4, 8, 0, 512), "fewer rays than samples of the environment");
        expectSame(lightOf(3, 1, 1, 1, 8192), "a point that a ray has met");
    }
};

} // namespace

TEST_F(OpenSky, IsFoundByRaysToOtherSurfaces)
{
    surround(uneven());
    addSquare(makeFloor());
    addRoof(makeDiffuse(0.5f));
    expectSameLight();
}

TEST_F(OpenSky, OfOneValueIsFoundByThemAlone)
{
    surround(white());
    ASSERT_TRUE(znRTRenderUtils::getEnvironmentLight() &&
                static_cast<const znRTInfiniteAreaLight*>(znRTRenderUtils::getEnvironmentLight())
                    ->isEven());
    addSquare(makeFloor());
    addRoof(makeDiffuse(0.5f));
    expectSameLight();
}

TEST_F(OpenSky, ShinesThroughWhatCastsNoShadow)
{
    surround(uneven());
    addSquare(makeFloor());
    addRoof(makeDiffuse(0.5f), [](auto& a) { a.setCastShadows(false); });
    expectSameLight();
}

TEST_F(OpenSky, IsHiddenByWhatIsNotReflected)
{
    surround(uneven());
    addSquare(makeFloor());
    addRoof(makeDiffuse(0.5f), [](auto& a) { a.setVisibleInReflections(false); });
    expectSameLight(false);
}

TEST_F(OpenSky, IsDimmedByPanes)
{
    surround(uneven());
    addSquare(makeFloor());
    const PhongPtr pane = makeDiffuse(0.2f);
    pane->setTransparencyColor(gray(0.5f));
    addRoof(pane);
    expectSameLight();
}

TEST_F(OpenSky, CastsShadowsOfItsStrength)
{
    surroundings = environmentOf(uneven());
    surroundings->setShadowIntensity(0.4f);
    scene.scene->addEnvironmentLight(osg::MaterialPtr(surroundings.get()));
    znRTRenderUtils::updateEnvironment();
    addSquare(makeFloor());
    addRoof(makeDiffuse(0.5f));
    expectSameLight();
}
