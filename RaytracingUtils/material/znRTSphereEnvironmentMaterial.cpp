#include "material/znRTSphereEnvironmentMaterial.h"

#include "accel/znRTAccelerator.h"
#include "core/rayTypes.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "host/osg/Materials.h"
#include "light/znRTLight.h"
#include "render/znRTFragment.h"
#include "render/znRTRenderUtils.h"

const znRTTypeId znRTSphereEnvironmentMaterial::id("znRTSphereEnvironmentMaterial");

namespace {

constexpr int front = 1, back = 2;
/// Paths that choose directions by chance always find the environment.
constexpr u32 stochasticRays = rayType::stochasticTransmission | rayType::stochasticReflection;
static_assert(stochasticRays == 0xF0000);

} // namespace

znRTSphereEnvironmentMaterial::znRTSphereEnvironmentMaterial(const osg::MaterialPtr& material)
    : znRTMaterial(id, material)
{
    update();
}

void znRTSphereEnvironmentMaterial::update()
{
    const auto host = osg::FCPtr<osg::UEnvironmentMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    const znRTEnvironmentAttributes& record = host->getRaytracingAttributes();
    u32 visibility = stochasticRays;
    if (record.visibleInReflections)
        visibility |= rayType::mirrorReflection;
    if (record.primaryVisible)
        visibility |= rayType::camera | rayType::specularRefraction;
    materialState.visibility = int(visibility);
    materialState.sideness = record.flip ? front : back;
    materialState.materialAttributes = 1;
    materialState.shadingRequirements = 2;
    const osg::Vec4f& color = record.materialIDColor;
    for (unsigned i = 0; i < 4; ++i)
        materialIDColor[i] = color[i];
}

znRTMaterial* znRTSphereEnvironmentMaterial::getDuplicate() const
{
    return new znRTSphereEnvironmentMaterial(*this);
}

void znRTSphereEnvironmentMaterial::shade(const znRTRayDifferentialPacket& ray,
                                          znRTDataBlockPacket& data, znRTFragment& fragment,
                                          const znFloatType<2>& mask, znRTShadingState&) const
{
    znRTAccelerator* const scene = znRTRenderUtils::s_currentAccelerator;
    const znRTLight* const light = scene ? scene->getEnvironmentLight(hostMaterial) : nullptr;
    znRTColorPacket color(0.0f);
    if (light)
        color = light->getIntensity(ray.origin, ray.direction.getNormalized(),
                                    znRTVector2fPacket(0.0f, 0.0f), mask);
    fragment.updateVectorPasses(ray, data, data.coverage, mask);
    fragment.updateBackgroundColor(this, ray, data, color, 1.0f, mask);
}
