#include "material/znRTBRDFMaterial.h"

#include "core/rayTypes.h"
#include "core/shadingRequirements.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "core/znRTSpectralData.h"
#include "gi/randomDecisions.h"
#include "host/osg/Spectrum.h"
#include "host/osg/materials/UBRDFMaterial.h"
#include "host/znRTTextureAttributes.h"
#include "light/usableColor.h"
#include "light/znRTLight.h"
#include "material/mirrorLight.h"
#include "material/shadePipeline.h"
#include "material/surroundingLight.h"
#include "render/znRTMultilayerFragment.h"
#include "texture/structures/projectedBumpTextures.h"

#include <algorithm>

namespace {

/// Share of the light at the camera below which a surface is left out.
constexpr float leastShare = 0.0005f;
/// Opacity from which a surface lets nothing pass.
constexpr float opaque = 0.99999f;
/// Opacity below which nothing of a surface is left to see.
constexpr float invisible = 0.0001f;
/// Value of a cutout from which a surface is there.
constexpr float solidFrom = 0.5f;
/// Of the uses of vertex colours: their alpha counts, too.
constexpr int vertexColorsAndOpacity = 2;

znFloatType<2> weightOf(const znRTRayPacket& ray)
{
    return luminance(znRTColorPacket(ray.weight.x, ray.weight.y, ray.weight.z, 1.0f));
}

float photometricValue(const znRTColor& color)
{
    return luminance(znRTColorPacket(color))[0];
}

float within01(float x)
{
    return std::clamp(x, 0.0f, 1.0f);
}

} // namespace

void znRTBRDFMaterial::shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                             znRTMultilayerFragment& fragment, const znFloatType<2>& mask,
                             znRTShadingState& state) const
{
    // The layer of occlusion is on its own: nothing else changes when somebody asks for it.
    if (s_enableOcclusionPass && getOcclusionSamples() >= 1 && state.counterC == 0)
        fragment.updateOcclusionColor(
            evaluateOcclusion(ray, data, data.dg, getOcclusionSamples(), mask, state), mask);
    shade(ray, data, static_cast<znRTFragment&>(fragment), mask, state);
}

znRTColor znRTBRDFMaterial::getSpectrum(const osg::Spectrum* spectrum, const znRTVector3f& color)
{
    if (!spectrum || !spectrum->isUsable())
        return usableColor(color.x, color.y, color.z);
    const znRTColor reflected =
        znRTSpectralData::Instance().getReflectedColor(znRTSpectrum(*spectrum, 1.0f));
    // Saturated spectra lie outside of sRGB, where a channel would be negative.
    return {std::max(reflected.r, 0.0f), std::max(reflected.g, 0.0f), std::max(reflected.b, 0.0f),
            1.0f};
}

bool znRTBRDFMaterial::setRaytracingCommonSettings(znRTCommonAttributes& attributes,
                                                   bool withIncandescenceTexture)
{
    transparencyTexture.set(attributes.transparencySampler, attributes.transparencyActive,
                            attributes.transparencyAttributes);
    cutoutTexture.set(attributes.cutoutSampler, attributes.cutoutActive,
                      attributes.cutoutAttributes);
    const znRTTextureSampler* const emission =
        withIncandescenceTexture && attributes.incandescenceActive ? attributes.incandescenceSampler
                                                                   : nullptr;
    incandescenceTexture.set(emission, emission && emission->isValid(),
                             attributes.incandescenceAttributes);

    const znRTColor color =
        getSpectrum(attributes.transparencyColorSpectrum, attributes.transparencyColor);
    // A surface brings no light of its own to what passes.
    transparencyColor = {within01(color.r), within01(color.g), within01(color.b), 1.0f};
    opacity = std::max(0.0f, 1.0f - photometricValue(transparencyColor));
    hasVertexOpacity = attributes.vertexColors == vertexColorsAndOpacity;
    attributes.transparent = opacity < opaque || hasVertexOpacity;

    const znRTColor light = znRTLight::calculateLightSpectrum(
        attributes.incandescenceSpectrum, attributes.incandescenceIntensity,
        attributes.incandescenceUnitA, attributes.incandescenceUnitB,
        attributes.incandescenceUnitC);
    incandescenceColor = attributes.incandescenceActive ? light : znRTColor();
    return znRTMaterial::setRaytracingCommonSettings(attributes);
}

void znRTBRDFMaterial::readOcclusion(const znRTBRDFMaterialAttributes& attributes)
{
    const osg::Vec4f& tint = attributes.occlusionColor;
    occlusionTexture.set(attributes.occlusionSampler, attributes.occlusionActive,
                         attributes.occlusionAttributes);
    environmentF0 = attributes.environmentF0;
    environmentFresnelScale = attributes.environmentFresnelScale;
    occlusionSamplesInteractive = int(attributes.occlusionSamplesInteractive);
    occlusionSamplesStill = int(attributes.occlusionSamplesStill);
    occlusionIntensity = attributes.occlusionIntensity;
    occlusionColor = {tint[0], tint[1], tint[2], tint[3]};
}

void znRTBRDFMaterial::setPlainRequirements()
{
    using namespace shadingRequirement;
    const bool spawns = materialState.sampleEnvironment || materialState.traceIndirect;
    materialState.shadingRequirements =
        shadingFrame | surfaceStructure->getRequirements() | (spawns ? spawnData | footprint : 0u);
    materialState.shadowShadingRequirements = 0;

    const bool readsOcclusion =
        !materialState.sampleEnvironment && !materialState.traceEnvironmentShadows;
    const bool readsIrradiance = !materialState.traceIndirect;
    materialState.materialAttributes =
        vertexAttribute::positionAndNormal |
        (readsOcclusion || readsIrradiance ? vertexAttribute::bakedIrradiance : 0u) |
        (materialState.useBaking ? vertexAttribute::bakedColor : 0u);
    materialState.transparencyAttributes = 0;

    for (const znRTAttributeTexture* texture : {&transparencyTexture, &cutoutTexture}) {
        texture->addRequirements(materialState);
        texture->addShadowRequirements(materialState);
    }
    incandescenceTexture.addRequirements(materialState);
    occlusionTexture.addRequirements(materialState);
    if (hasVertexOpacity)
        materialState.transparencyAttributes |= vertexAttribute::vertexColor;
    if (hasVertexOpacity || hasVertexEmission)
        materialState.materialAttributes |= vertexAttribute::vertexColor;
    if (surfaceStructure->getRequirements() != 0 && !surfaceStructure->is(liesInObject))
        materialState.materialAttributes |= vertexAttribute::bumpDefault;
    if (readsOwnCoordinates(surfaceStructure->getTextureAttributes())) {
        materialState.materialAttributes |= vertexAttribute::textureCoordinates;
        materialState.shadingRequirements |= surfaceDefault;
    }
}

void znRTBRDFMaterial::fetchShared(const znRTDataBlockPacket& data, const znFloatType<2>& mask,
                                   znRTHitSurface& hit) const
{
    hit.emission = evaluateEmissionColor(data, mask);
    hit.transparency = evaluateTransparencyColor(data, mask);
    hit.alpha = hit.transparency.a;
    if (occlusionTexture.isActive()) {
        const znFloatType<2> one(1.0f), open = clamp01(occlusionTexture.fetch(data, mask).r);
        hit.ambientOcclusion = one - (one - open) * occlusionIntensity;
    }
}

void znRTBRDFMaterial::addMirrorRequirements(bool usesVertexTangents)
{
    using namespace shadingRequirement;
    materialState.shadingRequirements |= surfaceDefault | (usesVertexTangents ? 0u : derivatives);
}

int znRTBRDFMaterial::getVisibility() const
{
    // A texture may leave something.
    return hasTransparencyTexture() || isSeenAt(opacity) ? materialState.visibility : 0;
}

bool znRTBRDFMaterial::isSeenAt(float share) const
{
    return share >= invisible || !incandescenceColor.isZero();
}

znRTColorPacket znRTBRDFMaterial::evaluateTransparencyColor(const znRTDataBlockPacket& data,
                                                            const znFloatType<2>& mask) const
{
    const znFloatType<2> zero(0.0f), one(1.0f);
    znRTColorPacket passed(transparencyColor.r, transparencyColor.g, transparencyColor.b, opacity);
    if (transparencyTexture.isActive()) {
        passed *= transparencyTexture.fetch(data, mask);
        passed.clampRGB(zero, one);
        passed.a = maximum(one - luminance(passed), zero);
    }
    if (hasVertexOpacity) {
        const znFloatType<2> share = clamp01(data.vertexColor.a);
        const auto behind = [&](const znFloatType<2>& x) { return one - share * (one - x); };
        passed = {behind(passed.r), behind(passed.g), behind(passed.b), share * passed.a};
    }
    if (cutoutTexture.isActive())
        passed = select(findSolid(data, mask), passed, znRTColorPacket(one, one, one, zero));
    return passed;
}

znFloatType<2> znRTBRDFMaterial::evaluateCutout(const znRTRayPacket&,
                                                const znRTDifferentialGeometry& dg,
                                                const znFloatType<2>& mask) const
{
    if (!cutoutTexture.isActive())
        return mask;
    return mask & (cutoutTexture.fetch(dg, mask).r >= znFloatType<2>(solidFrom));
}

znFloatType<2> znRTBRDFMaterial::findSolid(const znRTDataBlockPacket& data,
                                           const znFloatType<2>& mask) const
{
    if (!cutoutTexture.isActive())
        return mask;
    return mask & (cutoutTexture.fetchFinest(data, mask).r >= znFloatType<2>(solidFrom));
}

znRTColorPacket znRTBRDFMaterial::getTransparency(const znRTRayDifferentialPacket&,
                                                  znRTDataBlockPacket& data,
                                                  const znFloatType<2>& mask,
                                                  znRTShadingState&) const
{
    znRTColorPacket passed = evaluateTransparencyColor(data, mask) & mask;
    passed.a = 1.0f;
    return passed;
}

namespace {

/// A colour as the factor on it says; alpha is the colour's.
znRTColorPacket colored(const znRTColor& color, const znRTColorPacket& factor,
                        const znFloatType<2>& mask)
{
    znRTColorPacket emission = znRTColorPacket(color) * factor;
    emission.a = color.a;
    return emission & mask;
}

} // namespace

znRTColorPacket znRTBRDFMaterial::evaluateIncandescenceColor(const znRTDataBlockPacket& data,
                                                             const znFloatType<2>& mask) const
{
    if (!incandescenceTexture.isActive())
        return znRTColorPacket(incandescenceColor) & mask;
    return colored(incandescenceColor, incandescenceTexture.fetch(data, mask), mask);
}

znRTColorPacket znRTBRDFMaterial::evaluateIncandescenceColor(const znRTDifferentialGeometry& dg,
                                                             const znFloatType<2>& mask) const
{
    if (!incandescenceTexture.isActive())
        return znRTColorPacket(incandescenceColor) & mask;
    const znRTTextureAttributes* const lies = commonAttributes->incandescenceAttributes;
    const bool isByFirstSet = !incandescenceTexture.isProjected() && !(lies && lies->uvSet > 0);
    return colored(
        incandescenceColor,
        isByFirstSet ? incandescenceTexture.fetch(dg, mask) : znRTColorPacket(1.0f) & mask, mask);
}

znRTColorPacket znRTBRDFMaterial::evaluateEmissionColor(const znRTDataBlockPacket& data,
                                                        const znFloatType<2>& mask) const
{
    znRTColorPacket emission = evaluateIncandescenceColor(data, mask);
    if (hasVertexEmission) {
        emission.r *= data.vertexColor.r;
        emission.g *= data.vertexColor.g;
        emission.b *= data.vertexColor.b;
    }
    return emission;
}

znRTColorPacket znRTBRDFMaterial::evaluateEmission(const znRTRayDifferentialPacket&,
                                                   znRTDataBlockPacket& data,
                                                   const znFloatType<2>& mask) const
{
    return evaluateEmissionColor(data, mask);
}

znRTAlphaSplit znRTBRDFMaterial::handleTransparency(const znRTRayDifferentialPacket& ray,
                                                    const znFloatType<2>& alpha,
                                                    const znFloatType<2>& mask,
                                                    const znRTShadingState& state) const
{
    const znFloatType<2> zero(0.0f), one(1.0f);
    znRTAlphaSplit split{mask & (alpha > zero), mask & (alpha < one), one};
    if (!anyLane(split.passing))
        return split;
    split.surfaceAlpha = select(split.passing, alpha, one);
    const znIntType<2> flags = ray.type & znIntType<2>(int(rayType::passThrough));
    const znFloatType<2> decides = mask & asFloat(flags == znIntType<2>(0));
    if (!anyLane(decides))
        return split;

    if (materialState.sampleEnvironment || materialState.traceIndirect || state.counterC > 0) {
        const znFloatType<2> u =
            drawPair(state, RandomDecision::transparency, 1, 0, moveMask(decides)).x;
        const znFloatType<2> passes = decides & split.passing & (alpha < u);
        split.shaded = andNot(passes, split.shaded);
        split.passing = select(decides, passes, split.passing);
        split.surfaceAlpha = select(decides, andNot(passes, one), split.surfaceAlpha);
        return split;
    }
    const znFloatType<2> negligible =
        decides & split.passing & (alpha * weightOf(ray) <= znFloatType<2>(leastShare));
    split.shaded = andNot(negligible, split.shaded);
    split.surfaceAlpha = andNot(negligible, split.surfaceAlpha);
    return split;
}

znFloatType<2> znRTBRDFMaterial::getAmbientOcclusion(const znRTDataBlockPacket& data) const
{
    return data.bakedIrradiance.a * occlusionIntensity;
}

znRTColorPacket znRTBRDFMaterial::getEnvironmentOcclusion(const znRTDataBlockPacket& data) const
{
    if (materialState.sampleEnvironment)
        return znRTColorPacket(1.0f);
    const znFloatType<2> occlusion = getAmbientOcclusion(data);
    const auto channel = [&](float tint) {
        return znFloatType<2>(1.0f) - occlusion * (1.0f - tint);
    };
    return {channel(occlusionColor.r), channel(occlusionColor.g), channel(occlusionColor.b),
            occlusionColor.a};
}
