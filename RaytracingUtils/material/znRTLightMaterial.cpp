#include "material/znRTLightMaterial.h"

#include "brdf/znRTBxDFAttributes.h"
#include "host/osg/materials/utilityMaterials.h"
#include "light/znRTLight.h"

const znRTTypeId znRTLightMaterial::id("znRTLightMaterial");

znRTLightMaterial::znRTLightMaterial(const osg::MaterialPtr& material)
    : znRTPhongLobesMaterial(id, material)
{
    znRTLightMaterial::update();
}

void znRTLightMaterial::update()
{
    const auto host = osg::FCPtr<osg::ULightMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    auto& record = host->getRaytracingAttributes();
    const bool changed = setRaytracingCommonSettings(record, false);
    const znRTVector3f& color = record.emissiveComponent;
    incandescenceColor = znRTLight::calculateLightSpectrum(
        record.emissiveComponentSpectrum, record.intensity, color.x, color.y, color.z);
    incandescenceTexture.set(record.emissiveComponentSampler, record.emissiveComponentActive,
                             record.emissiveComponentAttributes);
    hasVertexEmission = record.vertexColors != 0;
    if (!changed)
        return;
    readColors(record);

    znRTBSDFAttributes lobes;
    lobes.setExponents(record.analyticShininess, record.analyticShininess);
    setupLobes(lobes);
}

bool znRTLightMaterial::isLightSource() const
{
    return luminance(znRTColorPacket(incandescenceColor))[0] > s_leastPower;
}
