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
    if (const auto* const record = getStaleRecord<osg::UTriplanarMaterial>())
        readPlastic(*record);
}

znRTReflectiveTriplanarMaterial::znRTReflectiveTriplanarMaterial(const osg::MaterialPtr& material)
    : znRTReflectivePlasticMaterial(id, material)
{
    znRTReflectiveTriplanarMaterial::update();
}

void znRTReflectiveTriplanarMaterial::update()
{
    if (const auto* const record = getStaleRecord<osg::UReflectiveTriplanarMaterial>())
        readCoatedPlastic(*record);
}
