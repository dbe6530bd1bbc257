#include "material/materialTable.h"

#include "host/osg/Material.h"
#include "material/znRTDummyMaterial.h"

namespace {

struct MaterialRow
{
    bool (*matches)(const osg::FCHandle& material);
    znRTMaterial* (*create)(const osg::MaterialPtr& material);
};

template <class Shading>
znRTMaterial* create(const osg::MaterialPtr& material)
{
    return new Shading(material);
}

// The first row wins whose type is the container's own or one of its ancestors: keep a derived
// type above its base, and the fallback last.
const MaterialRow materialTable[] = {
    {&osg::isKindOf<osg::Material>, &create<znRTDummyMaterial>},
};

} // namespace

znRTMaterial* createMaterialObject(const osg::MaterialPtr& material)
{
    for (const MaterialRow& row : materialTable)
        if (row.matches(material))
            return row.create(material);
    return new znRTDummyMaterial(material);
}
