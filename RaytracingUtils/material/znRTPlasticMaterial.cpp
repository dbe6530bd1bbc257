#include "material/znRTPlasticMaterial.h"

#include "host/osg/materials/lobeMaterials.h"

const znRTTypeId znRTPlasticMaterial::id("znRTPlasticMaterial");

znRTPlasticMaterial::znRTPlasticMaterial(const osg::MaterialPtr& material)
    : znRTPlasticLobesMaterial(id, material)
{
    znRTPlasticMaterial::update();
}

void znRTPlasticMaterial::update()
{
    const auto host = osg::FCPtr<osg::UPlasticMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    auto& record = host->getRaytracingAttributes();
    if (!setRaytracingCommonSettings(record, true))
        return;
    readColors(record);
    setupLobes(plasticLayerOf(record));
}
