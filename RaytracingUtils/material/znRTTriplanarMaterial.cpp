#include "material/znRTTriplanarMaterial.h"

#include "host/osg/materials/lobeMaterials.h"

const znRTTypeId znRTTriplanarMaterial::id("znRTTriplanarMaterial");
const znRTTypeId znRTReflectiveTriplanarMaterial::id("znRTReflectiveTriplanarMaterial");

znRTTriplanarMaterial::znRTTriplanarMaterial(const osg::MaterialPtr& material)
    : znRTPlasticMaterial(id, material)
{
    znRTTriplanarMaterial::update();
}

void znRTTriplanarMaterial::update()
{
    const auto host = osg::FCPtr<osg::UTriplanarMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    auto& record = host->getRaytracingAttributes();
    if (!setRaytracingCommonSettings(record, true))
        return;
    readColors(record);
    setupLobes(plasticLayerOf(record));
}

znRTReflectiveTriplanarMaterial::znRTReflectiveTriplanarMaterial(const osg::MaterialPtr& material)
    : znRTReflectivePlasticMaterial(id, material)
{
    znRTReflectiveTriplanarMaterial::update();
}

void znRTReflectiveTriplanarMaterial::update()
{
    const auto host = osg::FCPtr<osg::UReflectiveTriplanarMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    auto& record = host->getRaytracingAttributes();
    if (!setRaytracingCommonSettings(record, true))
        return;
    readColors(record);
    readCoat(record);
    finish(plasticLayerOf(record), record.usesVertexTangents);
}
