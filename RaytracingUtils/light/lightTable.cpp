#include "light/lightTable.h"

#include "host/osg/Node.h"
#include "host/osg/UberLight.h"
#include "light/znRTUDirectionalLight.h"
#include "light/znRTUDiskLight.h"
#include "light/znRTURectangularLight.h"
#include "light/znRTUSphericalLight.h"
#include "light/znRTUSpotLight.h"

namespace {

struct LightRow
{
    bool (*matches)(const osg::FCHandle& core);
    znRTLight* (*create)(const osg::NodePtr& node);
};

template <class Light>
znRTLight* create(const osg::NodePtr& node)
{
    return new Light(node, node->getCore());
}

// The first row wins whose type is the core's own or one of its ancestors: keep a derived type
// above its base.
const LightRow lightTable[] = {
    {&osg::isKindOf<osg::USpotLight>, &create<znRTUSpotLight>},
    {&osg::isKindOf<osg::UPointLight>, &create<znRTUPointLight>},
    {&osg::isKindOf<osg::UDirectionalLight>, &create<znRTUDirectionalLight>},
    {&osg::isKindOf<osg::UDiskLight>, &create<znRTUDiskLight>},
    {&osg::isKindOf<osg::URectangularLight>, &create<znRTURectangularLight>},
    {&osg::isKindOf<osg::USphericalLight>, &create<znRTUSphericalLight>},
};

} // namespace

znRTLight* createLight(const osg::NodePtr& node)
{
    if (!node || !node->getCore())
        return nullptr;
    for (const LightRow& row : lightTable)
        if (row.matches(node->getCore()))
            return row.create(node);
    return nullptr;
}
