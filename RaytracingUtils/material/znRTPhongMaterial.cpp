#include "material/znRTPhongMaterial.h"

#include "brdf/znRTBxDFAttributes.h"
#include "host/osg/materials/lobeMaterials.h"

const znRTTypeId znRTPhongMaterial::id("znRTPhongMaterial");

znRTPhongMaterial::znRTPhongMaterial(const osg::MaterialPtr& material)
    : znRTPhongLobesMaterial(id, material)
{
    znRTPhongMaterial::update();
}

void znRTPhongMaterial::update()
{
    const auto host = osg::FCPtr<osg::UPhongMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    auto& record = host->getRaytracingAttributes();
    if (!setRaytracingCommonSettings(record, true))
        return;
    readColors(record);

    znRTBSDFAttributes lobes;
    lobes.setExponents(record.exponent, record.exponent);
    setupLobes(lobes);
}
