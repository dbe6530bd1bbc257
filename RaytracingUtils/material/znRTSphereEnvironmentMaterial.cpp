#include "material/znRTSphereEnvironmentMaterial.h"

#include "accel/znRTAccelerator.h"
#include "core/rayTypes.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "host/osg/Materials.h"
#include "host/osg/materials/znRTMaterialSlots.h"
#include "light/znRTInfiniteAreaLight.h"
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
    : znRTSphereEnvironmentMaterial(id, material)
{
}

znRTSphereEnvironmentMaterial::znRTSphereEnvironmentMaterial(const znRTTypeId& typeId,
                                                             const osg::MaterialPtr& material)
    : znRTMaterial(typeId, material)
{
    znRTSphereEnvironmentMaterial::update();
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

znRTInfiniteAreaLight* znRTSphereEnvironmentMaterial::getLight() const
{
    znRTAccelerator* const scene = znRTRenderUtils::s_currentAccelerator;
    return scene ? static_cast<znRTInfiniteAreaLight*>(scene->getEnvironmentLight(hostMaterial))
                 : nullptr;
}

znRTColorPacket
znRTSphereEnvironmentMaterial::environmentLookup(const znRTVector3fPacket& direction,
                                                 const znFloatType<2>& mask) const
{
    const znRTInfiniteAreaLight* const light = getLight();
    znRTColorPacket color =
        light ? light->getSeenIntensity(direction, mask) : znRTColorPacket(0.0f);
    color.a = mask & znFloatType<2>(1.0f);
    return color;
}

void znRTSphereEnvironmentMaterial::shade(const znRTRayDifferentialPacket& ray,
                                          znRTDataBlockPacket& data, znRTFragment& fragment,
                                          const znFloatType<2>& mask, znRTShadingState&) const
{
    const znRTColorPacket color = environmentLookup(ray.direction.getNormalized(), mask);
    fragment.updateVectorPasses(ray, data, data.coverage, mask);
    fragment.updateBackgroundColor(this, ray, data, color, 1.0f, mask);
}

osg::ImagePtr znRTSphereEnvironmentMaterial::getOSGImage() const
{
    const auto host = osg::FCPtr<osg::UEnvironmentMaterial>::dcast(hostMaterial);
    return host ? host->getImage() : osg::ImagePtr();
}

void znRTSphereEnvironmentMaterial::setUpdatedOSGImage(const osg::ImagePtr& image)
{
    const auto host = osg::FCPtr<osg::UEnvironmentMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    if (image && host->getImage() == image) {
        znRTMaterialSlots::reloadImage(image->getId());
        host->refill();
    } else
        host->setImage(image);
    imageIsUpdated = true;
}

void znRTSphereEnvironmentMaterial::updateLightsources()
{
    if (znRTInfiniteAreaLight* const light = getLight()) {
        light->update();
        imageIsUpdated = false;
    }
}
