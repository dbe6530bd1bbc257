#include "material/znRTLuxMaterial.h"

#include "materialFixture.h"

#include "host/osg/RaytracingLightAttachment.h"
#include "host/osg/UPointLight.h"

using namespace materialTest;

namespace {

class LuxMaterial : public MaterialTest
{
protected:
    /// What it reads on the surface that rays from above hit.
    znRTColorPacket measure(const znFloatType<2>& x, const znFloatType<2>& y,
                            const znRTMaterial& lux)
    {
        const znRTRayDifferentialPacket ray = downward(x, y);
        znRTDataBlockPacket data(scene.trace(ray, 15));
        scene.scene->getShadingData(ray, data, false, lux.getMaterialAttributes(),
                                    lux.getShadingRequirements());
        data.computeShadingData(ray);
        znRTFragment fragment;
        fragment.clear();
        znRTShadingState state = stateOf(0);
        lux.shade(ray, data, fragment, znFloatType<2>::allLanes(), state);
        return fragment.colour;
    }
};

} // namespace

// E = I cos / d^2 of a point light, whatever the surface reflects.
TEST_F(LuxMaterial, ReadsTheIlluminanceOfAPointLightOnAnySurface)
{
    znRTLuxMaterial lux;
    addSquare(makeDiffuse(0.05f));
    PlacedCore<osg::UPointLight> lamp;
    lamp.move(0, 0, 2);
    lamp.core->setDiffuse(osg::ColorComponent(osg::Vec3f(1, 1, 1), 12.0f));
    addLight(lamp);
    const znRTColorPacket read = measure(znFloatType<2>(0.0f, 0.3f, 0.6f, 0.9f), -0.1f, lux);
    for (int lane = 0; lane < 4; ++lane) {
        const double x = 0.3 * lane, d2 = x * x + 0.01 + 4.0;
        EXPECT_NEAR(read.r[lane], 12.0 * (2.0 / std::sqrt(d2)) / d2, 2e-5);
        EXPECT_EQ(read.a[lane], 1.0f);
    }
    scene.scene->clear();
}

TEST_F(LuxMaterial, StandsReadyWithTheRenderState)
{
    ASSERT_NE(znRTRenderUtils::getLuxMaterial(), nullptr);
    EXPECT_TRUE(znRTRenderUtils::getLuxMaterial()->isOfType(znRTLuxMaterial::id));
}

// Which light is gathered follows the settings of the frame, once they were read.
TEST_F(LuxMaterial, FollowsTheQualityOfTheFrame)
{
    setIllumination(2, 1);
    znRTLuxMaterial lux;
    EXPECT_TRUE(lux.getState().sampleEnvironment);
    setIllumination(0, 1);
    lux.update();
    EXPECT_FALSE(lux.getState().sampleEnvironment);
    EXPECT_FALSE(lux.getState().traceIndirect);
}
