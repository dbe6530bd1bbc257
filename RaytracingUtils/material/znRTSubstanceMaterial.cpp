#include "material/znRTSubstanceMaterial.h"

#include "brdf/znRTBxDFAttributes.h"
#include "host/osg/materials/measuredMaterials.h"

#include <algorithm>

const znRTTypeId znRTSubstanceMaterial::id("znRTSubstanceMaterial");

namespace {

/// What a diffuse lobe gets of a base colour.
znRTColorPacket diffuseOf(const znRTColorPacket& base, const znFloatType<2>& metallic)
{
    const znFloatType<2> share = znFloatType<2>(1.0f) - metallic;
    return {base.r * share, base.g * share, base.b * share, 1.0f};
}

} // namespace

znRTSubstanceMaterial::znRTSubstanceMaterial(const osg::MaterialPtr& material)
    : znRTBRDFMaterial(id, material)
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
    if (record.opacity < 1.0f) {
        record.transparent = true;
        scaleOpacity(record.opacity);
    }
    if (isStale)
        readRecord(record);
}

template <class Record>
void znRTSubstanceMaterial::readRecord(const Record& record)
{
    readOcclusion(record);
    baseColor.set(record.baseColor, record.baseColorSpectrum, record.baseColorActive);
    ambient.set(record.ambient, record.ambientSpectrum, false);
    emissive.set(record.emissive, record.emissiveSpectrum, record.emissiveActive);
    metallic = record.metallic;
    roughness = record.roughness;
    specularLevel = record.specularLevel;
    anisotropyLevel = record.hasAnisotropyLevel ? record.anisotropyLevel : 0.0f;
    anisotropyAngle = record.anisotropyAngle;
    ambientOcclusion = record.ambientOcclusion;

    znRTSubstanceAttributes lobes;
    const znRTColor& base = baseColor.getUniform();
    lobes.baseColor = {base.r, base.g, base.b};
    lobes.metallic = metallic;
    lobes.roughness = roughness;
    lobes.specularLevel = specularLevel;
    lobes.anisotropyLevel = anisotropyLevel;
    lobes.anisotropyAngle = anisotropyAngle;
    setupLobes(lobes);
    setPlainRequirements();
}

void znRTSubstanceMaterial::setupLobes(const znRTSubstanceAttributes& record)
{
    blend.setup(record, unsigned(std::max(0, getEnvironmentQuality())));
    const znRTColorPacket base(
        znRTColor(record.baseColor.x, record.baseColor.y, record.baseColor.z));
    // The glossy lobe holds its reflectance itself, which the blend knows; it weighs 1.
    blend.setMix(luminance(diffuseOf(base, record.metallic))[0], 1.0f);
}

znRTSubstanceMaterial::Substance
znRTSubstanceMaterial::evaluateSubstance(const znRTDataBlockPacket& data,
                                         const znFloatType<2>& mask) const
{
    return {baseColor.fetch(data, mask),  metallic,        roughness,
            getSpecularLevel(data, mask), anisotropyLevel, anisotropyAngle};
}

znFloatType<2> znRTSubstanceMaterial::getSpecularLevel(const znRTDataBlockPacket&,
                                                       const znFloatType<2>&) const
{
    return specularLevel;
}

znFloatType<2> znRTSubstanceMaterial::getMaterialAmbientOcclusion(const znRTDataBlockPacket&,
                                                                  const znFloatType<2>&) const
{
    return ambientOcclusion;
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
    hit.transparency = evaluateTransparencyColor(data, mask);
    hit.alpha = hit.transparency.a;
    hit.ambientOcclusion = getMaterialAmbientOcclusion(data, mask);

    znRTLobeParameters& lanes = hit.useLanes()[0];
    const znRTVector2fPacket slopes =
        znRTSubstanceGGXBRDF::getSlopesOf(substance.roughness, substance.anisotropyLevel);
    lanes.setSlopes(slopes.x, slopes.y, mask);
    lanes.setRotation(substance.anisotropyAngle * lobeMath::twoPi, mask);
    lanes.setReflectance(znRTSubstanceGGXBRDF::getReflectanceOf(
                             substance.baseColor, substance.metallic, substance.specularLevel),
                         mask);
}

void znRTSubstanceMaterial::buildFrame(Hit& hit) const
{
    if (anisotropyLevel > 0.0f)
        hit.onb.set(hit.dg.shadingNormal, hit.dg.tangent, hit.dg.tangentMask);
    else
        hit.onb.set(hit.dg.shadingNormal);
}

void znRTSubstanceMaterial::addLobes(Hit& hit, const znFloatType<2>& lanes) const
{
    hit.lobes.add(diffuseLobe, hit.onb, hit.diffuse, lanes);
    hit.lobes.add(glossyLobe, hit.onb, hit.glossy, lanes);
    hit.lobes.mixture = &blend;
}

void znRTSubstanceMaterial::shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                  znRTFragment& fragment, const znFloatType<2>& mask,
                                  znRTShadingState& state) const
{
    shadeByPipeline(*this, ray, data, fragment, mask, state);
}

void znRTSubstanceMaterial::evaluateMaterial(znRTRayDifferentialPacket& ray,
                                             znRTDataBlockPacket& data,
                                             znRTSurfaceProperties& surface,
                                             const znFloatType<2>& mask, znRTShadingState&,
                                             int group, EvaluationType type) const
{
    evaluateByPipeline(*this, ray, data, surface, mask, group, type);
}
