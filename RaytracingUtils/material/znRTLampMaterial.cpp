#include "material/znRTLampMaterial.h"

#include "core/rayTypes.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "light/znRTUAreaLight.h"
#include "render/znRTFragment.h"

const znRTTypeId znRTLampMaterial::id("znRTLampMaterial");

namespace {

znFloatType<2> isOfTypes(const znRTRayPacket& ray, u32 types)
{
    const znFloatType<2> isOther =
        asFloat((ray.type & znIntType<2>(int(types))) == znIntType<2>(0));
    return andNot(isOther, znFloatType<2>::allLanes());
}

znRTColorPacket tinted(const znRTColorPacket& value, const znRTColor& color)
{
    return {value.r * color.r, value.g * color.g, value.b * color.b, 1.0f};
}

} // namespace

znRTLampMaterial::znRTLampMaterial(const znRTUAreaLight& shownLight)
    : znRTMaterial(id, osg::MaterialPtr()), light(shownLight)
{
    materialState.materialAttributes = 0;
    materialState.shadingRequirements = 0;
}

znRTMaterial* znRTLampMaterial::getDuplicate() const
{
    return new znRTLampMaterial(*this);
}

void znRTLampMaterial::shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                             znRTFragment& fragment, const znFloatType<2>& mask,
                             znRTShadingState&) const
{
    constexpr u32 mirrors = rayType::mirrorReflection | rayType::stochasticReflection;
    const znRTColorPacket value =
        light.getSeenIntensity(ray.direction, data.position(), data.dg.uv, mask);
    znRTColorPacket color = tinted(value, light.getDiffuseColor());
    color.maskedUpdate(tinted(value, light.getGlossyColor()), isOfTypes(ray, mirrors));
    color &= isOfTypes(ray, rayType::seesEmission);
    fragment.updateVectorPasses(ray, data, data.coverage, mask);
    fragment.updateDiffuseColor(this, ray, data, color, 1.0f, mask);
}
