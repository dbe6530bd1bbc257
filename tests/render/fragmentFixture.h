#pragma once

// Fragments that are updated by hand, in front of panes that materials of the tests shade.

#include "core/rayTypes.h"
#include "core/znRTShadingState.h"
#include "material/znRTMaterial.h"
#include "render/znRTFragment.h"
#include "render/znRTRenderUtils.h"
#include "support/lanes.h"
#include "support/meshScene.h"

#include <cmath>

inline const znRTTypeId paneTypeId("PaneMaterial");

/// A pane of one colour and opacity; counts how often it is shaded, and keeps the rays.
class PaneMaterial : public znRTMaterial
{
public:
    PaneMaterial(const znRTColor& paneColor, float paneAlpha)
        : znRTMaterial(paneTypeId, nullptr), color(paneColor), alpha(paneAlpha)
    {
    }
    znRTMaterial* getDuplicate() const override { return new PaneMaterial(color, alpha); }
    using znRTMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override
    {
        ++shadeCount;
        rays.push_back(ray);
        states.push_back(state);
        state.increaseDimension(1); // as shading that draws random numbers does
        znRTThroughput throughput;
        throughput.surfaceAlpha = znFloatType<2>(alpha);
        if (alpha < 1.0f)
            throughput.hitLanes = mask;
        fragment.updateToColor(ray, data, znRTColorPacket(color), white, state, throughput, mask);
    }

    const znRTColorPacket white{znRTColor(1.0f, 1.0f, 1.0f, 0.0f)};
    znRTColor color;
    float alpha;
    mutable int shadeCount = 0;
    mutable std::vector<znRTRayDifferentialPacket> rays;
    mutable std::vector<znRTShadingState> states;
};

/// Panes below each other, a block of hits above them, and terms for the updates.
class FragmentFixture : public testing::Test
{
protected:
    FragmentFixture()
        : previous(znRTRenderUtils::s_currentAccelerator),
          background(znRTRenderUtils::s_backgroundColor)
    {
        znRTRenderUtils::s_currentAccelerator = scene.scene.get();
        znRTRenderUtils::s_backgroundColor = znRTColorPacket(znRTColor(0.2f, 0.4f, 0.6f, 0.0f));
        fragment.clear();
        for (int i = 0; i < surfaceTermCount; ++i)
            surface[i] = znRTColorPacket(0.0f);
        for (int i = 0; i < 4; ++i)
            ibl[i] = light[i] = indirect[i] = znRTColorPacket(0.0f);
    }
    ~FragmentFixture() override
    {
        znRTRenderUtils::s_currentAccelerator = previous;
        znRTRenderUtils::s_backgroundColor = background;
    }

    /// Panes below each other at z = -1, -2, ...
    void addPanes(int count, const PaneMaterial& pane)
    {
        for (int i = 1; i <= count; ++i) {
            const osg::NodePtr node =
                scene.add(makeSquare().get(), makeTranslation(0.0f, 0.0f, float(-i)));
            scene.mesh(node).setMaterial(const_cast<PaneMaterial*>(&pane));
        }
        scene.build();
    }
    /// The block of a hit at z = 0 that rays from above reach.
    void makeBlock()
    {
        ray = downward(znFloatType<2>(0.1f, 0.3f, -0.2f, -0.5f), 0.4f);
        ray.hasDifferentials = 0;
        block.reset(znFloatType<2>(5.0f));
        block.dg.position = ray.pointAt(block.hit.t);
        block.dg.geometricNormal = block.dg.shadingNormal = znRTVector3fPacket(0.0f, 0.0f, 1.0f);
    }
    void expectColor(float r, float g, float b, float a, float tolerance = 1e-6f)
    {
        EXPECT_LANES_NEAR(fragment.colour.r, r, r, r, r, tolerance);
        EXPECT_LANES_NEAR(fragment.colour.g, g, g, g, g, tolerance);
        EXPECT_LANES_NEAR(fragment.colour.b, b, b, b, b, tolerance);
        EXPECT_LANES_NEAR(fragment.colour.a, a, a, a, a, tolerance);
    }

    const znFloatType<2> all = expandLanes(15);
    MeshScene scene;
    znRTRayDifferentialPacket ray;
    znRTDataBlockPacket block;
    znRTFragment fragment;
    znRTShadingState state;
    znRTThroughput throughput;
    znRTColorPacket surface[surfaceTermCount], ibl[4], light[4], indirect[4];
    znRTLightTerms terms{ibl, light, indirect};

private:
    znRTAccelerator* previous;
    znRTColorPacket background;
};
