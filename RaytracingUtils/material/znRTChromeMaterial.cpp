#include "material/znRTChromeMaterial.h"

#include "brdf/znRTBxDFAttributes.h"
#include "host/osg/materials/metalMaterials.h"

#include <algorithm>
#include <cmath>

const znRTTypeId znRTChromeMaterial::id("znRTChromeMaterial");

znRTChromeMaterial::znRTChromeMaterial(const osg::MaterialPtr& material)
    : znRTChromeMaterial(id, material)
{
    znRTChromeMaterial::update();
}

znRTChromeMaterial::znRTChromeMaterial(const znRTTypeId& typeId, const osg::MaterialPtr& material)
    : znRTBRDFMaterial(typeId, material)
{
}

void znRTChromeMaterial::update()
{
    const auto host = osg::FCPtr<osg::UChromeMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    auto& record = host->getRaytracingAttributes();
    if (!readCommon(record))
        return;
    color.set(record.reflection, record.reflectionSpectrum, record.reflectionSampler,
              record.reflectionActive, record.reflectionAttributes);
    readMetal(record, record.exponent);
}

bool znRTChromeMaterial::readCommon(znRTCommonAttributes& record)
{
    const bool isStale = setRaytracingCommonSettings(record, true);
    constexpr int leastDepth = 2;
    if (getTraceDepth() >= leastDepth && getIndirectQuality() >= 1)
        materialState.traceIndirect = true;
    return isStale;
}

void znRTChromeMaterial::setupMetal(float exponent, u32 table, float reflectance, bool useSchlick,
                                    bool usesVertexTangents)
{
    constexpr float perfect = 1e-4f;
    isMirror = !(std::abs(reflectance - 1.0f) < perfect);
    hasFresnel = isMirror || table != znRTBSDFAttributes::noTable;
    smooth = exponent >= sharpestExponent;
    znRTBSDFAttributes lobes;
    lobes.setExponents(exponent, exponent);
    lobes.fresnelTable = table;
    lobes.reflectance = reflectance;
    lobes.useSchlick = useSchlick;
    glossyLobe.setup(lobes, unsigned(std::max(0, getEnvironmentQuality())));
    setPlainRequirements();
    addMirrorRequirements(usesVertexTangents);
    color.getTexture().addRequirements(materialState);
}

void znRTChromeMaterial::fetchParameters(const znRTRayDifferentialPacket&,
                                         const znRTDataBlockPacket& data,
                                         const znFloatType<2>& mask, Hit& hit) const
{
    (smooth ? hit.specular : hit.glossy) = color.fetch(data, mask);
    hit.emission = evaluateEmissionColor(data, mask);
    hit.transparency = evaluateTransparencyColor(data, mask);
    hit.alpha = hit.transparency.a;
}

void znRTChromeMaterial::addLobes(Hit& hit, const znFloatType<2>& lanes) const
{
    if (!smooth) {
        hit.lobes.add(glossyLobe, hit.onb, hit.glossy, lanes);
        return;
    }
    if (hasFresnel)
        hit.specular *= glossyLobe.getFresnel()->conductorColor(clamp01(dot(hit.wo, hit.onb.n)));
    hit.lobes.add(mirrorLobe, hit.onb, hit.specular, lanes);
}

void znRTChromeMaterial::shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                               znRTFragment& fragment, const znFloatType<2>& mask,
                               znRTShadingState& state) const
{
    shadeByPipeline(*this, ray, data, fragment, mask, state);
}

void znRTChromeMaterial::evaluateMaterial(znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                          znRTSurfaceProperties& surface,
                                          const znFloatType<2>& mask, znRTShadingState&, int group,
                                          EvaluationType type) const
{
    evaluateByPipeline(*this, ray, data, surface, mask, group, type);
}
