// The update operations of the fragment with layers: which product goes to which layer.

#include "core/znRTShadingState.h"
#include "material/znRTMaterial.h"
#include "render/surfaceTransparency.h"
#include "render/znRTMultilayerFragment.h"

namespace {

constexpr int lobeCount = surfaceEmission;

/// Layers of one kind of light: its product with the lobe's colour, and the light alone.
struct LightLayers
{
    znRenderPass term;
    znRenderPass illumination;
};

const LightLayers iblLayers[] = {{ZN_PASS_DIFFUSE_IBL, ZN_PASS_DIFFUSE_IBL_ILLUMINATION},
                                 {ZN_PASS_GLOSSY_IBL, ZN_PASS_GLOSSY_IBL_ILLUMINATION}};
const LightLayers lightLayers[] = {{ZN_PASS_DIFFUSE_LIGHT, ZN_PASS_DIFFUSE_LIGHT_ILLUMINATION},
                                   {ZN_PASS_GLOSSY_LIGHT, ZN_PASS_GLOSSY_LIGHT_ILLUMINATION}};
const LightLayers indirectLayers[] = {
    {ZN_PASS_DIFFUSE_INDIRECT, ZN_PASS_DIFFUSE_INDIRECT_ILLUMINATION},
    {ZN_PASS_GLOSSY_INDIRECT, ZN_PASS_GLOSSY_INDIRECT_ILLUMINATION}};

} // namespace

template <int... Lobes>
void znRTMultilayerFragment::updateLobes(const znRTRayDifferentialPacket& ray,
                                         znRTDataBlockPacket& block, const znRTColorPacket* surface,
                                         const znRTLightTerms& terms, znRTShadingState& state,
                                         const znRTThroughput& throughput,
                                         const znFloatType<2>& mask)
{
    const znRTColorPacket scratch(0.0f);
    const znRTColorPacket *color[lobeCount], *ibl[lobeCount], *light[lobeCount],
        *indirect[lobeCount];
    for (int lobe = 0; lobe < lobeCount; ++lobe)
        color[lobe] = ibl[lobe] = light[lobe] = indirect[lobe] = &scratch;
    ((color[Lobes] = surface + Lobes, ibl[Lobes] = terms.ibl + Lobes,
      light[Lobes] = terms.light + Lobes, indirect[Lobes] = terms.indirect + Lobes),
     ...);
    updateDGST(ray, block, color, ibl, light, indirect, surface, state, throughput, mask);
}

#define ZN_DEFINE_UPDATE(name, ...)                                                                \
    void znRTMultilayerFragment::name(                                                             \
        const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,                          \
        const znRTColorPacket* surface, const znRTLightTerms& terms, znRTShadingState& state,      \
        const znRTThroughput& throughput, const znFloatType<2>& mask)                              \
    {                                                                                              \
        updateLobes<__VA_ARGS__>(ray, block, surface, terms, state, throughput, mask);             \
    }
ZN_FOR_EACH_LOBE_UPDATE(ZN_DEFINE_UPDATE)
#undef ZN_DEFINE_UPDATE

void znRTMultilayerFragment::updateDGST(
    const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
    const znRTColorPacket* const* color, const znRTColorPacket* const* ibl,
    const znRTColorPacket* const* light, const znRTColorPacket* const* indirect,
    const znRTColorPacket* surface, znRTShadingState& state, const znRTThroughput& throughput,
    const znFloatType<2>& mask)
{
    const auto set = [&](const LightLayers& to, const znRTColorPacket& brought,
                         const znRTColorPacket& lobeColor) {
        setLayer(to.term, brought * lobeColor, mask);
        setLayer(to.illumination, brought, mask);
    };
    znRTColorPacket sum = surface[surfaceEmission];
    const auto total = [&](int lobe) {
        const znRTColorPacket term = (*ibl[lobe] + *light[lobe] + *indirect[lobe]) * *color[lobe];
        sum += term;
        return term;
    };
    for (int lobe : {surfaceDiffuse, surfaceGlossy}) {
        total(lobe);
        set(iblLayers[lobe], *ibl[lobe], *color[lobe]);
        set(lightLayers[lobe], *light[lobe], *color[lobe]);
        set(indirectLayers[lobe], *indirect[lobe], *color[lobe]);
    }
    // A mirror's light is traced: one layer has all of it.
    setLayer(ZN_PASS_SPECULAR_REFLECTION, total(surfaceSpecular), mask);
    setLayer(ZN_PASS_SPECULAR_INDIRECT_ILLUMINATION, *indirect[surfaceSpecular], mask);
    setLayer(ZN_PASS_TRANSLUCENCY, total(surfaceTranslucent), mask);
    setLayer(ZN_PASS_TRANSLUCENCY_IBL_ILLUMINATION, *ibl[surfaceTranslucent], mask);
    setLayer(ZN_PASS_TRANSLUCENCY_LIGHT_ILLUMINATION, *light[surfaceTranslucent], mask);
    setLayer(ZN_PASS_TRANSLUCENCY_INDIRECT_ILLUMINATION, *indirect[surfaceTranslucent], mask);

    setLayer(ZN_PASS_INCANDESCENCE, surface[surfaceEmission], mask);
    setLayer(ZN_PASS_DIFFUSE_COLOR, *color[surfaceDiffuse], mask);
    setLayer(ZN_PASS_GLOSSY_COLOR, *color[surfaceGlossy], mask);
    setLayer(ZN_PASS_SPECULAR_COLOR, *color[surfaceSpecular], mask);
    setLayer(ZN_PASS_TRANSLUCENCY_COLOR, *color[surfaceTranslucent], mask);
    finishSurface(ray, block, sum, 1.0f, surface[surfaceTransparency], state, throughput, mask);
}

void znRTMultilayerFragment::clearTerms(const znFloatType<2>& mask)
{
    for (u32 i = ZN_PASS_DIFFUSE_IBL; i <= ZN_PASS_FOG; ++i)
        layers[i].maskedClear(mask);
}

void znRTMultilayerFragment::updateToColor(const znRTRayDifferentialPacket& ray,
                                           znRTDataBlockPacket& block, const znRTColorPacket& color,
                                           const znRTColorPacket& transparencyColor,
                                           znRTShadingState& state,
                                           const znRTThroughput& throughput,
                                           const znFloatType<2>& mask)
{
    clearTerms(mask);
    setLayer(ZN_PASS_INCANDESCENCE, color, mask);
    finishSurface(ray, block, color, 1.0f, transparencyColor, state, throughput, mask);
}

void znRTMultilayerFragment::updateDiffuseColor(const znRTMaterial* material,
                                                const znRTRayDifferentialPacket& ray,
                                                const znRTDataBlockPacket& block,
                                                const znRTColorPacket& color,
                                                const znFloatType<2>& alpha,
                                                const znFloatType<2>& mask)
{
    clearTerms(mask);
    setLayer(ZN_PASS_INCANDESCENCE, color, mask);
    setLayer(ZN_PASS_DIFFUSE_COLOR, color, mask);
    finishReady(material, ray, block, color, alpha, mask);
}

void znRTMultilayerFragment::updateBackgroundColor(const znRTMaterial* material,
                                                   const znRTRayDifferentialPacket& ray,
                                                   const znRTDataBlockPacket& block,
                                                   const znRTColorPacket& color,
                                                   const znFloatType<2>& alpha,
                                                   const znFloatType<2>& mask)
{
    clearTerms(mask);
    setLayer(ZN_PASS_BACKGROUND_COLOR, color, mask);
    finishReady(material, ray, block, color, alpha, mask);
}

void znRTMultilayerFragment::finishReady(const znRTMaterial* material,
                                         const znRTRayDifferentialPacket& ray,
                                         const znRTDataBlockPacket& block,
                                         const znRTColorPacket& color, const znFloatType<2>& alpha,
                                         const znFloatType<2>& mask)
{
    znRTThroughput opaque;
    opaque.material = material;
    writeSurface(ray, block, color, alpha, opaque, mask);
}

void znRTMultilayerFragment::updateGlass(const znRTRayDifferentialPacket& ray,
                                         znRTDataBlockPacket& block, const znRTGlassTerms& terms,
                                         const znRTColorPacket& transparencyColor,
                                         znRTShadingState& state, const znRTThroughput& throughput,
                                         const znFloatType<2>& mask)
{
    clearTerms(mask);
    setLayer(ZN_PASS_SPECULAR_REFLECTION, terms.traced * terms.tracedColor, mask);
    setLayer(ZN_PASS_SPECULAR_COLOR, terms.tracedColor, mask);
    setLayer(ZN_PASS_SPECULAR_INDIRECT_ILLUMINATION, terms.traced, mask);
    finishGlass(ray, block, terms, transparencyColor, state, throughput, mask);
}

void znRTMultilayerFragment::updateFrostedGlass(
    const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block, const znRTGlassTerms& terms,
    const znRTColorPacket& transparencyColor, znRTShadingState& state,
    const znRTThroughput& throughput, const znFloatType<2>& mask)
{
    clearTerms(mask);
    setLayer(ZN_PASS_TRANSLUCENCY, terms.traced * terms.tracedColor, mask);
    setLayer(ZN_PASS_TRANSLUCENCY_COLOR, terms.tracedColor, mask);
    setLayer(ZN_PASS_TRANSLUCENCY_INDIRECT_ILLUMINATION, terms.traced, mask);
    finishGlass(ray, block, terms, transparencyColor, state, throughput, mask);
}

void znRTMultilayerFragment::finishGlass(const znRTRayDifferentialPacket& ray,
                                         znRTDataBlockPacket& block, const znRTGlassTerms& terms,
                                         const znRTColorPacket& transparencyColor,
                                         znRTShadingState& state, const znRTThroughput& throughput,
                                         const znFloatType<2>& mask)
{
    setLayer(ZN_PASS_GLOSSY_LIGHT, terms.direct * terms.glossyColor, mask);
    setLayer(ZN_PASS_GLOSSY_LIGHT_ILLUMINATION, terms.direct, mask);
    setLayer(ZN_PASS_GLOSSY_IBL, terms.environment * terms.glossyColor, mask);
    setLayer(ZN_PASS_GLOSSY_IBL_ILLUMINATION, terms.environment, mask);
    setLayer(ZN_PASS_GLOSSY_COLOR, terms.glossyColor, mask);
    setLayer(ZN_PASS_INCANDESCENCE, terms.emission, mask);
    finishSurface(ray, block, combine(terms), terms.tracedColor.a, transparencyColor, state,
                  throughput, mask);
}

void znRTMultilayerFragment::finishSurface(
    const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block, const znRTColorPacket& color,
    const znFloatType<2>& opacity, const znRTColorPacket& transparencyColor,
    znRTShadingState& state, const znRTThroughput& throughput, const znFloatType<2>& mask)
{
    setLayer(ZN_PASS_TRANSPARENCY_COLOR, transparencyColor, mask);
    if (showsBehind(ray, throughput))
        finishOver(ray, block, color, opacity, transparencyColor, state, throughput, mask);
    else
        writeSurface(ray, block, color,
                     anyLane(throughput.hitLanes) ? throughput.surfaceAlpha : opacity, throughput,
                     mask);
}

// Apart from finishSurface, so that opaque surfaces keep no second set of layers on the stack.
void znRTMultilayerFragment::finishOver(const znRTRayDifferentialPacket& ray,
                                        znRTDataBlockPacket& block, znRTColorPacket color,
                                        const znFloatType<2>& opacity,
                                        const znRTColorPacket& transparencyColor,
                                        znRTShadingState& state, const znRTThroughput& throughput,
                                        const znFloatType<2>& mask)
{
    znRTMultilayerFragment behind;
    computePassThroughColor(ray, block, znFloatType<2>(1.0f) - throughput.surfaceAlpha,
                            throughput.hitLanes, state, behind);
    const znFloatType<2> behindOpacity = behind.colour.a;
    behind.weightFragment(tintOfBehind(transparencyColor, throughput));

    const BehindMix mix(throughput);
    mix.addBehind(color, behind.colour);
    for (u32 i = ZN_PASS_DIFFUSE_IBL; i <= ZN_PASS_OCCLUSION; ++i) {
        znRTColorPacket mixed = layers[i];
        mix.addBehind(mixed, behind.layers[i]);
        layers[i].maskedUpdateNoAlpha(mixed, mask);
    }
    writeSurface(ray, block, color, mix.opacity(opacity, behindOpacity), throughput, mask);
    const znFloatType<2> ownShare = mix.ownShare();
    dataShare = select(mask, ownShare, dataShare);
    takeData(behind, behind.dataShare * (znFloatType<2>(1.0f) - ownShare),
             mask & throughput.hitLanes);
}

void znRTMultilayerFragment::writeSurface(const znRTRayDifferentialPacket& ray,
                                          const znRTDataBlockPacket& block,
                                          const znRTColorPacket& color,
                                          const znFloatType<2>& opacity,
                                          const znRTThroughput& throughput,
                                          const znFloatType<2>& mask)
{
    for (u32 i = ZN_PASS_DIFFUSE_IBL; i <= ZN_PASS_OCCLUSION; ++i)
        layers[i].a = select(mask, opacity, layers[i].a);
    updateFragmentColor(color, opacity, mask);
    updateVectorPasses(ray, block, opacity, mask);
    if (throughput.shadingNormal)
        layers[ZN_PASS_NORMAL].maskedUpdateNoAlpha({throughput.shadingNormal->x,
                                                    throughput.shadingNormal->y,
                                                    throughput.shadingNormal->z, 0.0f},
                                                   mask);
    if (throughput.material)
        updateMaterialIDColor(throughput.material->getMaterialIDColor(), mask);
}
