#include "host/osg/RayFileAttachment.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "host/osg/UberLight.h"
#include "host/znSceneDataManager.h"

#include <gtest/gtest.h>

using namespace osg;

namespace {

/// Scene in millimetres for the length of a test.
struct MillimetreScene
{
    float before = znSceneDataManager::getUnitsPerMetre();
    MillimetreScene() { znSceneDataManager::getSceneData(0)->setUnitsPerMetre(1000.0f); }
    ~MillimetreScene() { znSceneDataManager::getSceneData(0)->setUnitsPerMetre(before); }
};

// A candela gives the same illuminance at a metre whatever the unit: E = I / d^2 with d in scene
// units needs I in candela times the square of the units per metre.
TEST(UPointLight, ScalesCandelaBySceneUnitsSquared)
{
    const MillimetreScene scene;
    const Ref<UPointLight> light = UPointLight::create();
    light->setDiffuse(ColorComponent(Vec3f(1, 1, 1), 3.0f));
    light->setIntensity(2.0f);
    EXPECT_FLOAT_EQ(light->getDiffuse().intensity, 6e6f);
    EXPECT_FLOAT_EQ(light->getStoredDiffuse().intensity, 3.0f);
    light->setAttenuationType(0);
    EXPECT_FLOAT_EQ(light->getDiffuse().intensity, 6.0f);
}

TEST(UberLight, LeavesLuxAndRadianceUnscaled)
{
    const MillimetreScene scene;
    EXPECT_FLOAT_EQ(Ref<UDirectionalLight>(UDirectionalLight::create())->getDiffuse().intensity, 1);
    EXPECT_FLOAT_EQ(Ref<UDiskLight>(UDiskLight::create())->getGlossy().intensity, 1);
}

TEST(UHeadLight, StartsSwitchedOff)
{
    EXPECT_FALSE(Ref<UHeadLight>(UHeadLight::create())->getOn());
    EXPECT_TRUE(Ref<USpotLight>(USpotLight::create())->getOn());
}

TEST(RayFileAttachment, CountsCompleteRaysAndCoversThemWithAGrid)
{
    const Ref<RayFileAttachment> file = RayFileAttachment::create();
    EXPECT_EQ(file->getNumRays(), 0u);
    file->setRays(std::vector<float>(33), std::vector<float>(33), std::vector<float>(12));
    EXPECT_EQ(file->getNumRays(), 11u);
    EXPECT_EQ(file->getGridSizeU(), 4u);
    EXPECT_EQ(file->getGridSizeV(), 3u);
    file->setSpectralInformation(1);
    EXPECT_EQ(file->getNumRays(), 4u);
}

int s_released = 0;

TEST(RayFileAttachment, DropsItsSearchTreeWhenTheRaysChange)
{
    s_released = 0;
    int tree = 0;
    {
        const Ref<RayFileAttachment> file = RayFileAttachment::create();
        file->setRays({0, 0, 0}, {0, 0, 1}, {1});
        file->setRayMap(&tree, [](void*) { ++s_released; });
        file->setUseRandomSampling(true);
        EXPECT_EQ(file->getRayMap(), &tree);
        file->setRays({0, 0, 1}, {0, 0, 1}, {1});
        EXPECT_EQ(file->getRayMap(), nullptr);
        EXPECT_EQ(s_released, 1);
        file->setRayMap(&tree, [](void*) { ++s_released; });
    }
    EXPECT_EQ(s_released, 2);
}

} // namespace
