// Integrators read of a shading block what they asked for: whatever stood in the block before, the
// result is the same.

#include "integratorFixture.h"
#include "render/integrators/znRTAORenderingIntegrator.h"
#include "render/integrators/znRTAnalyticRenderingIntegrator.h"
#include "render/integrators/znRTDebugIntegrator.h"
#include "render/integrators/znRTDiscontinuityRenderingIntegrator.h"
#include "render/integrators/znRTDistributedIntegrator.h"
#include "render/integrators/znRTIlluminanceIntegrator.h"
#include "render/integrators/znRTIndirectIllumRenderingIntegrator.h"
#include "render/integrators/znRTLightAnalyzingIntegrator.h"
#include "render/integrators/znRTNormalRenderingIntegrator.h"
#include "support/poison.h"

namespace {

/// Asks for nothing by itself.
class FrugalMaterial : public ScriptedMaterial
{
public:
    explicit FrugalMaterial(const znRTColor& shadedColor) : ScriptedMaterial(shadedColor)
    {
        materialState.shadingRequirements = materialState.shadowShadingRequirements = 0;
        materialState.materialAttributes = materialState.transparencyAttributes = 0;
        analyticColor = shadedColor;
    }
};

class UnaskedData : public IntegratorTest
{
protected:
    UnaskedData()
    {
        osg::Matrix tilt = makeTranslation(4.0f, 0.0f, 0.5f);
        tilt[0][2] = 0.3f;
        tilt[1][1] = 0.8f;
        add(makeSquare(), first);
        add(makeSquare(), second, tilt);
        scene.build();
    }
    /// Colours of all lanes, after the block was filled with a word.
    template <class I, class G>
    std::vector<u32> run(G& target, znRTRayDifferentialPacket ray, u32 word)
    {
        znRTDataBlockPacket& data = trace(ray);
        EXPECT_NE(data.hit.hitMask, 0u);
        poison(data, word);
        I().integrate(target, &camera, ray, data, 3);
        std::vector<u32> bits;
        for (int lane = 0; lane < 4; ++lane) {
            for (int channel = 0; channel < 4; ++channel)
                bits.push_back(bitsOf(target.colour[channel], lane));
            bits.push_back(bitsOf(target.coverage, lane));
        }
        return bits;
    }
    template <template <class> class I>
    void expectTheSame(const char* name)
    {
        SCOPED_TRACE(name);
        constexpr u32 words[] = {poisonBits, 0, 0x3f9d70a4, 0xff800000};
        // Both objects and a miss in one packet, and one object in all lanes.
        for (const znFloatType<2>& x :
             {znFloatType<2>(0.2f, 4.1f, 0.5f, 20.0f), znFloatType<2>(3.7f, 4.1f, 4.2f, 4.4f)}) {
            const znRTRayDifferentialPacket ray = downwardPixels(x, 0.3f, 0.01f);
            resetFragment();
            const std::vector<u32> plain = run<I<znRTFragment>>(fragment, ray, 0);
            resetLayers();
            const std::vector<u32> layered = run<I<znRTMultilayerFragment>>(layers, ray, 0);
            const znRTMultilayerFragment layersBefore = layers;
            for (const u32 word : words) {
                SCOPED_TRACE(word);
                resetFragment();
                EXPECT_EQ(run<I<znRTFragment>>(fragment, ray, word), plain);
                resetLayers();
                EXPECT_EQ(run<I<znRTMultilayerFragment>>(layers, ray, word), layered);
                for (u32 i = 0; i < znRenderPassCount; ++i)
                    for (int channel = 0; channel < 4; ++channel)
                        for (int lane = 0; lane < 4; ++lane)
                            EXPECT_EQ(bitsOf(layers.layers[i][channel], lane),
                                      bitsOf(layersBefore.layers[i][channel], lane))
                                << znRenderPassNames[i] << ", lane " << lane;
            }
        }
    }

    FrugalMaterial first{znRTColor(1.0f, 0.5f, 0.25f, 1.0f)};
    FrugalMaterial second{znRTColor(0.25f, 0.5f, 1.0f, 1.0f)};
};

} // namespace

TEST_F(UnaskedData, IsNotReadByAnyIntegrator)
{
    expectTheSame<znRTDistributedIntegrator>("distributed");
    expectTheSame<znRTNormalRenderingIntegrator>("normals");
    expectTheSame<znRTDiscontinuityRenderingIntegrator>("discontinuities");
    expectTheSame<znRTDebugIntegrator>("debug");
    expectTheSame<znRTLightAnalyzingIntegrator>("light analysis");
    expectTheSame<znRTAnalyticRenderingIntegrator>("surface analysis");
    expectTheSame<znRTIlluminanceIntegrator>("illuminance");
    expectTheSame<znRTAORenderingIntegrator>("occlusion");
    expectTheSame<znRTIndirectIllumRenderingIntegrator>("indirect light");
}

// The same for what is seen behind a pane: its materials ask for themselves.
TEST_F(UnaskedData, IsNotReadBehindPanes)
{
    first.script = second.script = [this](const znRTRayDifferentialPacket& ray,
                                          znRTDataBlockPacket& data, znRTFragment& f,
                                          const znFloatType<2>& mask, znRTShadingState& state) {
        znRTThroughput half;
        half.surfaceAlpha = znFloatType<2>(0.5f);
        half.hitLanes = mask;
        f.updateToColor(ray, data, znRTColorPacket(first.color), znRTColorPacket(0.0f), state, half,
                        mask);
    };
    add(makeSquare(), second, makeTranslation(0.0f, 0.0f, -1.0f));
    add(makeSquare(), first, makeTranslation(4.0f, 0.0f, -2.0f));
    scene.build();
    expectTheSame<znRTDistributedIntegrator>("distributed");
}

namespace {

/// Shows a derivative that nobody asked for.
template <class G>
struct CarelessIntegrator
{
    void integrate(G& fragment, const znRTCamera*, znRTRayDifferentialPacket& ray,
                   znRTDataBlockPacket& block, u32)
    {
        znRTRenderUtils::getShadingData(ray, block, false);
        fragment.colour.r = block.dg.dPdu.x;
    }
};

} // namespace

TEST_F(UnaskedData, ShowsWhenItIsRead)
{
    const znRTRayDifferentialPacket ray = downwardPixels(0.2f, 0.3f, 0.01f);
    resetFragment();
    const std::vector<u32> plain = run<CarelessIntegrator<znRTFragment>>(fragment, ray, 0);
    EXPECT_NE(run<CarelessIntegrator<znRTFragment>>(fragment, ray, poisonBits), plain);
}
