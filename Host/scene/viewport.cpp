#include "host/osg/Viewport.h"
#include "host/osg/RenderOptions.h"

namespace osg {

ZN_ABSTRACT_CONTAINER_BODY(Background)
ZN_CONTAINER_BODY(SolidBackground)
ZN_CONTAINER_BODY(ImageBackground)
ZN_CONTAINER_BODY(Sceneplate)
ZN_CONTAINER_BODY(Viewport)
ZN_CONTAINER_BODY(RenderOptions)

Vec2f Sceneplate::getCorner(int i) const
{
    const Vec2f corners[4] = {getCorner0(), getCorner1(), getCorner2(), getCorner3()};
    return corners[i & 3];
}

Vec2f Sceneplate::getTexCoord(int i) const
{
    const Vec2f coords[4] = {getTexCoord0(), getTexCoord1(), getTexCoord2(), getTexCoord3()};
    return coords[i & 3];
}

} // namespace osg
