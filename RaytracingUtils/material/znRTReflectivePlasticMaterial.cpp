#include "material/znRTReflectivePlasticMaterial.h"

#include "host/osg/materials/lobeMaterials.h"

const znRTTypeId znRTReflectivePlasticMaterial::id("znRTReflectivePlasticMaterial");

znRTReflectivePlasticMaterial::znRTReflectivePlasticMaterial(const osg::MaterialPtr& material)
    : znRTPipelineKind(id, material)
{
    znRTReflectivePlasticMaterial::update();
}

void znRTReflectivePlasticMaterial::update()
{
    if (const auto* const record = getStaleRecord<osg::UReflectivePlasticMaterial>())
        readCoatedPlastic(*record);
}

void znRTReflectivePlasticMaterial::finish(const znRTBxDFAttributes& layer, bool usesVertexTangents)
{
    setupLobes(layer);
    coat.color.getTexture().addRequirements(materialState);
    if (coat.isOn())
        addMirrorRequirements(usesVertexTangents);
}

void znRTReflectivePlasticMaterial::fetchParameters(const znRTRayDifferentialPacket& ray,
                                                    const znRTDataBlockPacket& data,
                                                    const znFloatType<2>& mask, Hit& hit) const
{
    znRTPlasticLobesMaterial::fetchParameters(ray, data, mask, hit);
    coat.fetch(ray, data, mask, hit);
}

void znRTReflectivePlasticMaterial::addLobes(Hit& hit, const znFloatType<2>& lanes) const
{
    coat.addTo(hit, lanes);
    znRTPlasticLobesMaterial::addLobes(hit, lanes);
}
