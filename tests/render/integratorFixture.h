#pragma once

// Packets that are integrated by hand, over a small scene with materials of the tests.

#include "camera/znRTCamera.h"
#include "core/znRTShadingState.h"
#include "host/znRTRaytracingSettings.h"
#include "material/znRTMaterial.h"
#include "render/pixelScramble.h"
#include "render/znRTMultilayerFragment.h"
#include "render/znRTRenderUtils.h"
#include "support/lanes.h"
#include "support/meshScene.h"

#include <functional>
#include <optional>

inline const znRTTypeId scriptedTypeId("ScriptedMaterial");

/// A material that does what a test says, and remembers how it was called.
class ScriptedMaterial : public znRTMaterial
{
public:
    explicit ScriptedMaterial(const znRTColor& shadedColor = {})
        : znRTMaterial(scriptedTypeId, nullptr), color(shadedColor)
    {
    }
    znRTMaterial* getDuplicate() const override { return new ScriptedMaterial(color); }
    bool isEnvironment() const override { return environment; }
    bool isTransparent() const override { return passed.has_value(); }
    znRTColorPacket getTransparency(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                    const znFloatType<2>& mask,
                                    znRTShadingState& state) const override
    {
        return passed ? znRTColorPacket(*passed)
                      : znRTMaterial::getTransparency(ray, data, mask, state);
    }
    using znRTMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override
    {
        masks.push_back(moveMask(mask));
        if (order)
            order->push_back(this);
        states.push_back(state);
        state.fetchAndIncrementDimension(); // as shading that draws random numbers does
        if (script)
            script(ray, data, fragment, mask, state);
        else
            fragment.updateFragmentColor(znRTColorPacket(color), color.a, mask);
    }
    using znRTMaterial::shadeAnalytic;
    void shadeAnalytic(const znRTRayDifferentialPacket&, znRTDataBlockPacket&,
                       znRTFragment& fragment, const znFloatType<2>& mask,
                       znRTShadingState&) const override
    {
        fragment.updateFragmentColor(znRTColorPacket(analyticColor), 1.0f, mask);
    }

    znRTColor color, analyticColor;
    bool environment = false;
    std::optional<znRTColor> passed; ///< what shadow rays keep behind the surface
    std::function<void(const znRTRayDifferentialPacket&, znRTDataBlockPacket&, znRTFragment&,
                       const znFloatType<2>&, znRTShadingState&)>
        script;
    std::vector<const ScriptedMaterial*>* order = nullptr;
    mutable std::vector<int> masks;
    mutable std::vector<znRTShadingState> states;
};

class IntegratorTest : public testing::Test
{
protected:
    /// What Initialize makes is for the next suite to make anew.
    static void TearDownTestSuite() { znRTRenderUtils::Destroy(); }

    IntegratorTest() : previous(znRTRenderUtils::s_currentAccelerator)
    {
        znRTRenderUtils::Initialize();
        previous = znRTRenderUtils::s_currentAccelerator;
        znRTRenderUtils::s_currentAccelerator = scene.scene.get();
        camera.nearClip = 0.001f;
        camera.farClip = 1e6f;
        resetFragment();
    }
    ~IntegratorTest() override
    {
        znRTRenderUtils::s_currentAccelerator = previous;
        znRTDataBlockPacket::s_worldToViewMatrix = znMatrix4x4Packet(znMatrix4x4::identity());
    }
    void resetFragment()
    {
        fragment.colour = znRTColorPacket(background);
        fragment.coverage = znFloatType<2>(7.0f);
    }
    void resetLayers()
    {
        layers.clear();
        layers.updateFragmentColor(znRTColorPacket(background), background.a,
                                   znFloatType<2>::allLanes());
        layers.coverage = znFloatType<2>(7.0f);
    }
    /// A node with a material of the test, which has to outlive the scene's use.
    osg::NodePtr add(const GeometryRef& mesh, znRTMaterial& material,
                     const osg::Matrix& matrix = {})
    {
        const osg::NodePtr node = scene.add(mesh.get(), matrix);
        scene.mesh(node).setMaterial(&material);
        return node;
    }
    /// Traces the rays and hands their hits to an integrator.
    template <template <class> class I>
    void integrate(znRTRayDifferentialPacket ray, u32 sampleOffset = 0)
    {
        resetFragment();
        I<znRTFragment>().integrate(fragment, &camera, ray, trace(ray), sampleOffset);
        rayAfter = ray;
    }
    template <template <class> class I>
    void integrateLayers(znRTRayDifferentialPacket ray)
    {
        resetLayers();
        I<znRTMultilayerFragment>().integrate(layers, &camera, ray, trace(ray), 0);
    }
    znRTDataBlockPacket& trace(const znRTRayPacket& ray)
    {
        block = std::make_unique<znRTDataBlockPacket>(scene.trace(ray));
        return *block;
    }
    /// Rays down onto a row of places, one pixel each, with the footprint of a pixel of that width.
    static znRTRayDifferentialPacket downwardPixels(const znFloatType<2>& x,
                                                    const znFloatType<2>& y, float pixelWidth)
    {
        znRTRayDifferentialPacket ray = downward(x, y);
        ray.pixelX = znIntType<2>(0, 1, 2, 3);
        ray.pixelY = znIntType<2>(5);
        ray.hasDifferentials = 1;
        ray.rxOrigin = ray.origin + znRTVector3fPacket(pixelWidth, 0.0f, 0.0f);
        ray.ryOrigin = ray.origin + znRTVector3fPacket(0.0f, pixelWidth, 0.0f);
        ray.rxDirection = ray.ryDirection = ray.direction;
        return ray;
    }

    const znRTColor background{0.1f, 0.2f, 0.3f, 0.0f};
    MeshScene scene;
    znRTCamera camera;
    znRTFragment fragment;
    znRTMultilayerFragment layers;
    std::unique_ptr<znRTDataBlockPacket> block;
    znRTRayDifferentialPacket rayAfter;

private:
    znRTAccelerator* previous;
};
