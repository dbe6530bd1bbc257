#include "material/znRTSubstanceMaterial.h"

#include "brdf/znRTBxDFAttributes.h"
#include "host/osg/materials/measuredMaterials.h"
#include "texture/structures/projectedBumpTextures.h"

#include <algorithm>

const znRTTypeId znRTSubstanceMaterial::id("znRTSubstanceMaterial");

namespace {

/// Of the formats of normal maps: the second axis points down the image.
constexpr int pointsDown = 1;

/// What a diffuse lobe gets of a base colour.
znRTColorPacket diffuseOf(const znRTColorPacket& base, const znFloatType<2>& metallic)
{
    const znFloatType<2> share = znFloatType<2>(1.0f) - metallic;
    return {base.r * share, base.g * share, base.b * share, 1.0f};
}

} // namespace

znRTSubstanceMaterial::znRTSubstanceMaterial(const osg::MaterialPtr& material)
    : znRTPipelineKind(id, material)
{
    znRTSubstanceMaterial::update();
}

void znRTSubstanceMaterial::update()
{
    const auto host = osg::FCPtr<osg::USubstanceMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    auto& record = host->getRaytracingAttributes();
    const bool isStale = setRaytracingCommonSettings(record, true);
    surfaceOpacity.set(record.opacity, record.opacitySampler, record.opacityActive,
                       record.opacityAttributes);
    record.transparent |= surfaceOpacity.getTexture().isActive() || record.opacity < 1.0f;
    if (isStale)
        readRecord(record);
}

template <class Record>
void znRTSubstanceMaterial::readRecord(const Record& record)
{
    readOcclusion(record);
    // Facets take their share of filtered surroundings before the diffuse lobe gets any.
    environmentFresnelScale = 1.0f;
    ambient.set(record.ambient, record.ambientSpectrum);
#define ZN_SET(name)                                                                               \
    name.set(record.name, record.name##Sampler, record.name##Active, record.name##Attributes)
#define ZN_SET_COLOR(name)                                                                         \
    name.set(record.name, record.name##Spectrum, record.name##Sampler, record.name##Active,        \
             record.name##Attributes)
    ZN_SET_COLOR(baseColor);
    ZN_SET_COLOR(emissive);
    baseColor.useVertexColors(record.vertexColors != 0);
    ZN_SET(metallic);
    ZN_SET(roughness);
    ZN_SET(specularLevel);
    ZN_SET(ambientOcclusion);
    ZN_SET(anisotropyLevel);
    ZN_SET(anisotropyAngle);
#undef ZN_SET
#undef ZN_SET_COLOR
    if (!record.hasAnisotropyLevel)
        anisotropyLevel = {};
    if (record.normalActive)
        surfaceStructure.set(makeBumpTexture(*record.normalSampler, record.normalAttributes,
                                             znRTBumpTexture::normalMap, record.bumpAmplitude,
                                             record.normalFormat == pointsDown));
    else
        setStructure(record);
    setupLobes();
    setPlainRequirements();
    addTextureRequirements();
}

void znRTSubstanceMaterial::setupLobes()
{
    // What holds on the whole: the blend weighs its lobes by it.
    znRTSubstanceAttributes record;
    const znRTColor base = baseColor.getMean();
    record.baseColor = {base.r, base.g, base.b};
    record.metallic = metallic.getMean();
    record.roughness = roughness.getMean();
    record.specularLevel = specularLevel.getMean();
    record.anisotropyLevel = anisotropyLevel.getMean();
    record.anisotropyAngle = anisotropyAngle.getMean();
    blend.setup(record, unsigned(std::max(0, getEnvironmentQuality())));
    // The glossy lobe holds its reflectance itself, which the blend knows; it weighs 1.
    blend.setMix(luminance(diffuseOf(znRTColorPacket(base), record.metallic))[0], 1.0f);
}

void znRTSubstanceMaterial::addTextureRequirements()
{
    for (const znRTColorAttribute* color : {&baseColor, &emissive})
        color->addRequirements(materialState);
    for (const znRTNumberAttribute* number :
         {&metallic, &roughness, &specularLevel, &ambientOcclusion, &surfaceOpacity,
          &anisotropyLevel, &anisotropyAngle})
        number->getTexture().addRequirements(materialState);
    surfaceOpacity.getTexture().addShadowRequirements(materialState);
}

int znRTSubstanceMaterial::getVisibility() const
{
    const bool isTextured = surfaceOpacity.getTexture().isActive();
    return isTextured || isSeenAt(surfaceOpacity.getUniform()) ? znRTBRDFMaterial::getVisibility()
                                                               : 0;
}

bool znRTSubstanceMaterial::isAnisotropic() const
{
    return anisotropyLevel.getTexture().isActive() || anisotropyLevel.getUniform() > 0.0f;
}

znRTSubstanceMaterial::Substance
znRTSubstanceMaterial::evaluateSubstance(const znRTDataBlockPacket& data,
                                         const znFloatType<2>& mask) const
{
    return {baseColor.fetch(data, mask),          clamp01(metallic.fetch(data, mask)),
            clamp01(roughness.fetch(data, mask)), getSpecularLevel(data, mask),
            anisotropyLevel.fetch(data, mask),    anisotropyAngle.fetch(data, mask)};
}

znFloatType<2> znRTSubstanceMaterial::getSpecularLevel(const znRTDataBlockPacket& data,
                                                       const znFloatType<2>& mask) const
{
    return specularLevel.fetch(data, mask);
}

znFloatType<2> znRTSubstanceMaterial::getMaterialAmbientOcclusion(const znRTDataBlockPacket& data,
                                                                  const znFloatType<2>& mask) const
{
    return ambientOcclusion.fetch(data, mask);
}

znRTColorPacket znRTSubstanceMaterial::evaluatePassed(const znRTDataBlockPacket& data,
                                                      const znFloatType<2>& mask) const
{
    const znFloatType<2> one(1.0f), share = clamp01(surfaceOpacity.fetch(data, mask));
    const znRTColorPacket passed = evaluateTransparencyColor(data, mask);
    return {one - share * (one - passed.r), one - share * (one - passed.g),
            one - share * (one - passed.b), share * passed.a};
}

znRTColorPacket znRTSubstanceMaterial::getTransparency(const znRTRayDifferentialPacket&,
                                                       znRTDataBlockPacket& data,
                                                       const znFloatType<2>& mask,
                                                       znRTShadingState&) const
{
    znRTColorPacket passed = evaluatePassed(data, mask) & mask;
    passed.a = 1.0f;
    return passed;
}

znRTColorPacket znRTSubstanceMaterial::evaluateEmission(const znRTRayDifferentialPacket&,
                                                        znRTDataBlockPacket& data,
                                                        const znFloatType<2>& mask) const
{
    return evaluateEmissionColor(data, mask) + (emissive.fetch(data, mask) & mask);
}

void znRTSubstanceMaterial::fetchParameters(const znRTRayDifferentialPacket&,
                                            const znRTDataBlockPacket& data,
                                            const znFloatType<2>& mask, Hit& hit) const
{
    const Substance substance = evaluateSubstance(data, mask);
    hit.diffuse = diffuseOf(substance.baseColor, substance.metallic);
    hit.glossy = znRTColorPacket(1.0f);
    hit.ambient = ambient.fetch(data, mask);
    hit.emission = evaluateEmissionColor(data, mask);
    hit.emission += emissive.fetch(data, mask) & mask;
    hit.transparency = evaluatePassed(data, mask);
    hit.alpha = hit.transparency.a;
    hit.ambientOcclusion = getMaterialAmbientOcclusion(data, mask);

    znRTLobeParameters& lanes = hit.useLanes()[0];
    const znRTVector2fPacket slopes =
        znRTSubstanceGGXBRDF::getSlopesOf(substance.roughness, substance.anisotropyLevel);
    lanes.setSlopes(slopes.x, slopes.y, mask);
    if (isAnisotropic())
        lanes.setRotation(substance.anisotropyAngle * lobeMath::twoPi, mask);
    lanes.setReflectance(znRTSubstanceGGXBRDF::getReflectanceOf(
                             substance.baseColor, substance.metallic, substance.specularLevel),
                         mask);
}

void znRTSubstanceMaterial::buildFrame(Hit& hit) const
{
    if (isAnisotropic())
        hit.onb = surfaceStructure->getFrameAt(hit.dg, znFloatType<2>::allLanes());
    else
        hit.onb.set(hit.dg.shadingNormal);
}

void znRTSubstanceMaterial::addLobes(Hit& hit, const znFloatType<2>& lanes) const
{
    hit.lobes.add(diffuseLobe, hit.onb, hit.diffuse, lanes);
    hit.lobes.add(glossyLobe, hit.onb, hit.glossy, lanes);
    hit.lobes.mixture = &blend;
}
