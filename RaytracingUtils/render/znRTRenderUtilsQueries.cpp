// What shading, copy stage and host ask of the render state.

#include "accel/znRTAccelerator.h"
#include "camera/znRTCamera.h"
#include "camera/znRTScenePlate.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracerP.h"
#include "light/znRTPortalGuide.h"
#include "render/znRTRenderUtils.h"

namespace {

/// A list of the current scene, or an empty one.
template <class T>
const znDynArray<T*>& listOf(const znDynArray<T*>& (znRTAccelerator::*getList)() const)
{
    static const znDynArray<T*> none;
    const znRTAccelerator* scene = znRTRenderUtils::s_currentAccelerator;
    return scene ? (scene->*getList)() : none;
}

template <class T>
const T& boundsOf(const T& (znRTAccelerator::*getBounds)() const)
{
    static const T none{};
    const znRTAccelerator* scene = znRTRenderUtils::s_currentAccelerator;
    return scene ? (scene->*getBounds)() : none;
}

ZN_RGBA32F evaluatePlate(const znRTScenePlate* plate, int x, int y, bool fullImage)
{
    if (!plate)
        return {0, 0, 0, 0};
    const znRTCamera* camera = znRTRenderUtils::getCamera();
    if (fullImage && camera) {
        x -= int(camera->imageOffsetX * float(camera->fullImageWidth) + 0.5f);
        y -= int(camera->imageOffsetY * float(camera->fullImageHeight) + 0.5f);
    }
    const znRTColorPacket colour = plate->evaluate(znIntType<2>(x), znIntType<2>(y));
    return {colour.r[0], colour.g[0], colour.b[0], colour.a[0]};
}

void setPlate(std::vector<znRTScenePlate*>& plates, znRTScenePlate* plate)
{
    plates.clear();
    if (plate)
        plates.push_back(plate);
}

} // namespace

znRTScenePlate* znRTRenderUtils::getBackground()
{
    return s_backgrounds.empty() ? nullptr : s_backgrounds.back();
}

znRTScenePlate* znRTRenderUtils::getForeground()
{
    return s_foregrounds.empty() ? nullptr : s_foregrounds.back();
}

void znRTRenderUtils::setBackground(znRTScenePlate* plate)
{
    setPlate(s_backgrounds, plate);
}

void znRTRenderUtils::setForeground(znRTScenePlate* plate)
{
    setPlate(s_foregrounds, plate);
}

ZN_RGBA32F znRTRenderUtils::getBackgroundColor(int x, int y, bool fullImage)
{
    return evaluatePlate(getBackground(), x, y, fullImage);
}

ZN_RGBA32F znRTRenderUtils::getForegroundColor(int x, int y, bool fullImage)
{
    return evaluatePlate(getForeground(), x, y, fullImage);
}

const znDynArray<znRTLight*>& znRTRenderUtils::getLights()
{
    return listOf(&znRTAccelerator::getLights);
}

const znDynArray<znRTLight*>& znRTRenderUtils::getRayLights()
{
    return listOf(&znRTAccelerator::getRayLights);
}

const znDynArray<znRTLight*>& znRTRenderUtils::getRayGeometryLights()
{
    return listOf(&znRTAccelerator::getRayGeometryLights);
}

const znDynArray<znRTLensFlare*>& znRTRenderUtils::getLensFlares()
{
    return listOf(&znRTAccelerator::getLensFlares);
}

const znDynArray<znRTLightPortalNode*>& znRTRenderUtils::getLightPortals()
{
    return listOf(&znRTAccelerator::getLightPortals);
}

const znDynArray<znRTClippingShape*>& znRTRenderUtils::getClippingShapes()
{
    return listOf(&znRTAccelerator::getClippingShapes);
}

const znDynArray<znRTParticipatingMedia*>& znRTRenderUtils::getParticipatingMedia()
{
    return listOf(&znRTAccelerator::getParticipatingMedia);
}

const znRTLightBVH* znRTRenderUtils::getLightHierarchy()
{
    return s_currentAccelerator ? &s_currentAccelerator->getLightHierarchy() : nullptr;
}

const znDistribution1D* znRTRenderUtils::getLightDistribution()
{
    return s_currentAccelerator ? &s_currentAccelerator->getLightDistribution() : nullptr;
}

const znDistribution1D* znRTRenderUtils::getLightDistributionWithEnv()
{
    return s_currentAccelerator ? &s_currentAccelerator->getLightDistributionWithEnv() : nullptr;
}

const znDistribution1D* znRTRenderUtils::getLightPortalDistribution()
{
    return s_currentAccelerator ? &s_currentAccelerator->getLightPortalDistribution() : nullptr;
}

const znRTPortalGuide* znRTRenderUtils::getPortalGuide()
{
    if (!s_currentAccelerator || s_currentAccelerator->getPortalGuide().isEmpty())
        return nullptr;
    return &s_currentAccelerator->getPortalGuide();
}

znRTLight* znRTRenderUtils::getEnvironmentLight()
{
    const znRTAccelerator* const scene = s_currentAccelerator;
    return scene ? scene->getEnvironmentLight() : nullptr;
}

const znRTBoundingBox& znRTRenderUtils::getFullBoundingBox()
{
    return boundsOf(&znRTAccelerator::getFullBoundingBox);
}

const znRTBoundingBox& znRTRenderUtils::getPhotonTargetsBoundingBox()
{
    return boundsOf(&znRTAccelerator::getPhotonTargetsBoundingBox);
}

const znRTBoundingSphere& znRTRenderUtils::getFullBoundingSphere()
{
    return boundsOf(&znRTAccelerator::getFullBoundingSphere);
}

const znRTBoundingSphere& znRTRenderUtils::getSceneBoundingSphere()
{
    return boundsOf(&znRTAccelerator::getSceneBoundingSphere);
}

znRTGeometryNode* znRTRenderUtils::getSceneNode(u32 geometryIndex)
{
    return s_currentAccelerator ? s_currentAccelerator->getSceneNode(geometryIndex) : nullptr;
}

void znRTRenderUtils::getReflectionQualitySettings(int& interactive, int& still)
{
    interactive = znRTRaytracingSettings::s_interactiveQuality;
    still = znRTRaytracingSettings::s_stillFrameQuality;
}

void znRTRenderUtils::getEnvironmentQualitySettings(int& interactive, int& still)
{
    interactive = znRTRaytracingSettings::s_environmentInteractiveQuality;
    still = znRTRaytracingSettings::s_environmentStillQuality;
}

void znRTRenderUtils::getMemoryUsage(float& intersectorMB, float& geometryMB, u64& primitives,
                                     u64& objects, u64& spare)
{
    intersectorMB = geometryMB = 0.0f;
    unsigned long long counts[3] = {0, 0, 0};
    if (s_currentAccelerator)
        s_currentAccelerator->getMemoryUsage(intersectorMB, geometryMB, counts[0], counts[1],
                                             counts[2]);
    primitives = counts[0];
    objects = counts[1];
    spare = counts[2];
}

void znRTRenderUtils::fillStatistics(znRTSceneStatistics& statistics)
{
    getMemoryUsage(statistics.intersectorMemory, statistics.geometryMemory, statistics.primitives,
                   statistics.objects, statistics.spare);
    statistics.lights = getLights().size;
    statistics.materials = s_currentAccelerator ? s_currentAccelerator->getMaterialCount() : 0;
    statistics.nodes = s_currentAccelerator ? s_currentAccelerator->getSceneNodesSize() : 0;
}
