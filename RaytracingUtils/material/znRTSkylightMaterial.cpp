#include "material/znRTSkylightMaterial.h"

#include "brdf/lobeMath.h"
#include "light/znRTInfiniteAreaLight.h"
#include "light/znRTInfiniteSunSkyShape.h"

#include <cmath>

const znRTTypeId znRTSkylightMaterial::id("znRTSkylightMaterial");

namespace {

const znRTInfiniteSunSkyShape* skyOf(const znRTInfiniteAreaLight* light)
{
    const znRTInfiniteBaseShape* const shape = light ? light->getInfiniteShape() : nullptr;
    return shape && shape->isOfType(znRTInfiniteSunSkyShape::id)
               ? static_cast<const znRTInfiniteSunSkyShape*>(shape)
               : nullptr;
}

} // namespace

znRTSkylightMaterial::znRTSkylightMaterial(const osg::MaterialPtr& material)
    : znRTSphereEnvironmentMaterial(id, material)
{
}

znRTMaterial* znRTSkylightMaterial::getDuplicate() const
{
    return new znRTSkylightMaterial(*this);
}

znRTColorPacket znRTSkylightMaterial::lookupSun(const znRTVector3fPacket& direction,
                                                const znFloatType<2>& mask) const
{
    const znRTInfiniteSunSkyShape* const shape = skyOf(getLight());
    return shape ? shape->lookupSun(direction, mask) : znRTColorPacket(0.0f);
}

std::vector<znRTColor> znRTSkylightMaterial::getPetersMap(int width, int height) const
{
    std::vector<znRTColor> map;
    const znRTInfiniteSunSkyShape* const shape = skyOf(getLight());
    if (!shape || width < 1 || height < 1)
        return map;
    map.reserve(std::size_t(width) * height);
    for (int y = 0; y < height; ++y) {
        const float z = 1.0f - 2.0f * (float(y) + 0.5f) / float(height);
        const float v = std::acos(z) * lobeMath::invPi;
        for (int x = 0; x < width; ++x) {
            const float u = (float(x) + 0.5f) / float(width);
            map.push_back(
                shape->getSky().evaluateAt({u, v}, znFloatType<2>::allLanes()).getComponent(0));
        }
    }
    return map;
}
