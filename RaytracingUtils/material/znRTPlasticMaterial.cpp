#include "material/znRTPlasticMaterial.h"

#include "brdf/znRTBxDFAttributes.h"
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

    znRTBSDFAttributes lobes;
    lobes.setExponents(record.exponent, record.exponent);
    lobes.fresnelTable = record.fresnelTable;
    lobes.reflectance = record.reflectance;
    lobes.useSchlick = record.useSchlick;
    setupLobes(lobes);
}
