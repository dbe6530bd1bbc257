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
    : znRTPipelineKind(typeId, material)
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
    color.useVertexColors(record.vertexColors != 0);
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
    smooth = !glossiness.isActive() && exponent >= sharpestExponent;
    znRTBSDFAttributes lobes;
    lobes.setExponents(exponent, exponent);
    lobes.fresnelTable = table;
    lobes.reflectance = reflectance;
    lobes.useSchlick = useSchlick;
    const auto samples = unsigned(std::max(0, getEnvironmentQuality()));
    uniformGlossyLobe.setup(lobes, samples);
    texturedGlossyLobe.setup(lobes, samples);
    texturedGlossyLobe.setSamplePower(znRTGlossinessTexture::exponentPower);
    setPlainRequirements();
    addMirrorRequirements(usesVertexTangents);
    color.addRequirements(materialState);
    glossiness.getTexture().addRequirements(materialState);
}

void znRTChromeMaterial::fetchParameters(const znRTRayDifferentialPacket&,
                                         const znRTDataBlockPacket& data,
                                         const znFloatType<2>& mask, Hit& hit) const
{
    (smooth ? hit.specular : hit.glossy) = color.fetch(data, mask);
    fetchShared(data, mask, hit);
    if (glossiness.isActive())
        glossiness.prepare(texturedGlossyLobe, data, mask, hit.useLanes()[0]);
}

void znRTChromeMaterial::addLobes(Hit& hit, const znFloatType<2>& lanes) const
{
    if (!smooth) {
        hit.lobes.add(getGlossyLobe(), hit.onb, hit.glossy, lanes);
        return;
    }
    if (hasFresnel)
        hit.specular *=
            getGlossyLobe().getFresnel()->conductorColor(clamp01(dot(hit.wo, hit.onb.n)));
    hit.lobes.add(mirrorLobe, hit.onb, hit.specular, lanes);
}
