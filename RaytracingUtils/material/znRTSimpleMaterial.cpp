#include "material/znRTSimpleMaterial.h"

#include "host/osg/materials/compositeMaterials.h"

const znRTTypeId znRTSimpleMaterial::id("znRTSimpleMaterial");

znRTSimpleMaterial::znRTSimpleMaterial(const osg::MaterialPtr& material)
    : znRTSimpleMaterial(id, material)
{
    znRTSimpleMaterial::update();
}

znRTSimpleMaterial::znRTSimpleMaterial(const znRTTypeId& typeId, const osg::MaterialPtr& material)
    : znRTPlainMaterial(typeId, material)
{
}

void znRTSimpleMaterial::update()
{
    if (const auto host = osg::FCPtr<osg::SimpleMaterial>::dcast(hostMaterial))
        updateFromFields(*host);
}
