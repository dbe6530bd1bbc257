#include "settings/overrideMaterial.h"

#include "host/osg/Material.h"

#include <mutex>

osg::MaterialPtr getOverrideMaterial(const znRTVector3f& color)
{
    static std::mutex mutex;
    // Never released: the registry of containers may go first when the process ends.
    static auto* material = new osg::Ref<osg::Material>;
    const std::lock_guard<std::mutex> guard(mutex);

    if (!*material)
        *material = osg::MaterialPtr::dcast(
            osg::FieldContainerFactory::the()->createContainer("UPhongMaterial"));
    if (!*material)
        return {};
    const osg::FieldContainerType& type = (*material)->getType();
    const osg::EditScope edit(material->get());
    type.findField("diffuse")->set(**material, ColorComponent(osg::Vec3f(color)));
    type.findField("glossy")->set(**material, ColorComponent(0.0f));
    return *material;
}
