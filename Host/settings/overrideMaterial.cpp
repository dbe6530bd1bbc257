#include "settings/overrideMaterial.h"

#include "host/osg/materials/lobeMaterials.h"

#include <mutex>

osg::MaterialPtr getOverrideMaterial(const znRTVector3f& color)
{
    static std::mutex mutex;
    // Never released: the registry of containers may go first when the process ends.
    static auto* material = new osg::Ref<osg::UPhongMaterial>;
    const std::lock_guard<std::mutex> guard(mutex);

    if (!*material)
        *material = osg::Ref<osg::UPhongMaterial>(osg::UPhongMaterial::create());
    const osg::EditScope edit(material->get());
    (*material)->setDiffuse(ColorComponent(osg::Vec3f(color)));
    (*material)->setGlossy(ColorComponent(0.0f));
    return material->get();
}
