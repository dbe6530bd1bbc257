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
    if (const auto* const record = getStaleRecord<osg::UPlasticMaterial>())
        readPlastic(*record);
}
