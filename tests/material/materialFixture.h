#pragma once

// A square in z = 0 with a host material, lights over it, and shading by hand.

#include "core/shadingRequirements.h"
#include "core/znRTDataBlockPacket.h"
#include "host/osg/Materials.h"
#include "host/znRTRaytracingSettings.h"
#include "light/lightFixture.h"
#include "material/znRTBRDFMaterial.h"
#include "material/znRTSurfaceProperties.h"
#include "render/znRTMultilayerFragment.h"
#include "render/znRTRenderUtils.h"
#include "support/lanes.h"
#include "support/meshScene.h"

#include <list>

namespace materialTest {

using Settings = znRTRaytracingSettings;
using PhongPtr = osg::FCPtr<osg::UPhongMaterial>;

inline osg::ColorComponent gray(float value)
{
    return osg::ColorComponent(osg::Vec3f(value, value, value));
}

/// Plain diffuse, of one reflectance.
inline PhongPtr makeDiffuse(float reflectance)
{
    const PhongPtr material = osg::UPhongMaterial::create();
    material->setDiffuse(gray(reflectance));
    material->setGlossy(gray(0.0f));
    return material;
}

class MaterialTest : public testing::Test
{
protected:
    /// What Initialize makes is for the next suite to make anew.
    static void TearDownTestSuite() { znRTRenderUtils::Destroy(); }

    MaterialTest()
    {
        znRTRenderUtils::Initialize();
        ensurePointTable();
        previous = znRTRenderUtils::s_currentAccelerator;
        znRTRenderUtils::s_currentAccelerator = scene.scene.get();
        Settings::s_qualityMode = Settings::interactive;
        setIllumination(1, 0);
        znRTMaterial::updateStaticSettings();
    }
    ~MaterialTest() override
    {
        setIllumination(2, 1);
        Settings::s_interactiveQuality = 1;
        Settings::s_lightOptimizationMode = 1;
        Settings::s_qualityMode = Settings::interactive;
        scene.scene->clear();
        znRTRenderUtils::updateLightDistribution(true);
        znRTRenderUtils::s_currentAccelerator = previous;
    }
    static void setIllumination(int mode, int environmentQuality)
    {
        Settings::s_interactiveQualityMode = mode;
        Settings::s_environmentInteractiveQuality = environmentQuality;
    }

    /// A square of edge 2 at a height.
    znRTMaterial& addSquare(const osg::MaterialPtr& material, float z = 0.0f)
    {
        squares.push_back(makeSquare());
        squares.back()->setMaterial(material);
        const osg::NodePtr node = scene.add(squares.back().get(), makeTranslation(0, 0, z));
        scene.scene->initMaterials();
        scene.build();
        return *scene.mesh(node).getActiveMaterial();
    }
    template <class Core>
    void addLight(PlacedCore<Core>& placed)
    {
        scene.scene->addLight(placed.node.get());
        scene.scene->updateLights();
        znRTRenderUtils::updateLightDistribution(true);
    }
    /// White, from straight above, or at an angle from the vertical toward +x.
    PlacedCore<osg::UDirectionalLight>& addSun(double degrees = 0.0)
    {
        suns.emplace_back();
        const float s = float(std::sin(degrees * testPi / 180.0));
        const float c = float(std::cos(degrees * testPi / 180.0));
        suns.back().turn({c, 0, -s}, {0, 1, 0}, {s, 0, c});
        addLight(suns.back());
        return suns.back();
    }

    struct Shaded
    {
        znRTColorPacket color;
        znRTColorPacket layer(int pass) const { return layers.layers[pass]; }
        znRTMultilayerFragment layers;
    };
    /// What rays from above see. Rays along an edge, as the diagonal x = y, may miss.
    Shaded shade(const znFloatType<2>& x = 0.2f, const znFloatType<2>& y = 0.1f, int mask = 15,
                 int sample = 0, int depth = 0)
    {
        return shade(downward(x, y), mask, sample, depth);
    }
    Shaded shade(const znRTRayDifferentialPacket& ray, int mask = 15, int sample = 0, int depth = 0)
    {
        znRTDataBlockPacket data = blockOf(ray, mask);
        Shaded shaded;
        for (znRTFragment* fragment : {&plain, static_cast<znRTFragment*>(&shaded.layers)}) {
            fragment->clear();
            znRTShadingState state = stateOf(sample, depth);
            for (u32 i = 0; i < data.materialCount; ++i)
                data.materials[i]->shade(ray, data, *fragment,
                                         data.materialLanes[i] & expandLanes(mask), state);
        }
        shaded.color = plain.colour;
        return shaded;
    }
    znRTDataBlockPacket blockOf(const znRTRayDifferentialPacket& ray, int mask = 15)
    {
        znRTDataBlockPacket data(scene.trace(ray, mask));
        scene.scene->getShadingData(ray, data, false, 0, 0);
        data.computeShadingData(ray);
        return data;
    }
    static znRTShadingState stateOf(int sample, int depth = 0)
    {
        return {
            znIntType<2>(11, 60011, 120011, 180011), znIntType<2>(0), sample, 0, 0, 0, depth, 0};
    }

    MeshScene scene;
    std::list<GeometryRef> squares;
    std::list<PlacedCore<osg::UDirectionalLight>> suns;

private:
    znRTFragment plain;
    znRTAccelerator* previous;
};

} // namespace materialTest
