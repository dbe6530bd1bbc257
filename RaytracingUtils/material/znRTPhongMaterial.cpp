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
    if (const auto* const record = getStaleRecord<osg::UPhongMaterial>()) {
        readColors(*record);
        znRTBSDFAttributes lobes;
        lobes.setExponents(record->exponent, record->exponent);
        setupLobes(lobes);
    }
}
