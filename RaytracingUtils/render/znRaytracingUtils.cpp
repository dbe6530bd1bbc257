// Factory, life cycle, and what goes on to the render state.

#include "render/znRaytracingUtils.h"

#include "accel/znRTDynamicBVH.h"
#include "camera/znRTCamera.h"
#include "host/znLog.h"
#include "host/znRTGeometryNodeBase.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTSceneHandler.h"
#include "host/znRaytracerP.h"
#include "host/znRaytracingManager.h"
#include "render/znRTRenderTask.h"
#include "render/znRTRenderUtils.h"

#include <string_view>

std::atomic<u64> znRaytracingUtils::s_taskRuntime{0};

const u32 znRaytracingUtilsAbi = znRaytracingUtilsAbiVersion;

znRaytracingUtilsBase* CreateRaytracingInstance()
{
    return new znRaytracingUtils;
}

namespace {

constexpr u32 dynamicHierarchy = 2; ///< there is one kind of scene; the number is kept for callers

/// What an instance sets up by itself goes through the one that the manager holds, so that an
/// application may stand in between.
znRaytracingUtilsBase& currentInstance(znRaytracingUtilsBase& self)
{
    znRaytracingUtilsBase* const managed = znRaytracingManager::getRaytracingUtils();
    return managed ? *managed : self;
}

/// A preview scene takes its environment from the scene that is being edited.
void updatePreviewScene(znRTAccelerator& scene)
{
    znRTSceneHandler::updateBuildTimeStamp();
    scene.initMaterials();
    znRTRenderUtils::updateEnvironment();
    scene.initGeometries();
    scene.updateObjects();
    znRTRenderUtils::updateEnvironment();
    scene.updateMaterials();
    scene.updateLights();
    scene.updateGeometryLights();
    scene.updateLightPortals();
    znRTRenderUtils::updateLightDistribution(true);
    znRTRenderUtils::updateLocalLights();
}

} // namespace

znRaytracingUtils::~znRaytracingUtils() = default;

void znRaytracingUtils::initialize()
{
    znRTSceneHandler::setRaytracingLibraryThreadsafe(true);
    znRTRenderUtils::Initialize();
}

void znRaytracingUtils::destroy(znRaytracerP* view)
{
    if (view) {
        terminateTasks(view);
        delete view->m_renderTask;
        view->m_renderTask = nullptr;
        view->m_pixelBuffer.release();
        view->m_pixelBuffer2.release();
        view->m_frameTexture.clearTexture();
    }
    znRTRenderUtils::Destroy();
}

void znRaytracingUtils::reset(bool keep)
{
    znRTRaytracingSettings::s_qualityMode = znRTRaytracingSettings::interactive;
    znRTGeometryNodeBase::enableMaterialColorOverride(false);
    if (keep)
        currentInstance(*this).setAcceleratorType(dynamicHierarchy);
    else
        znRTRenderUtils::Destroy();
}

void znRaytracingUtils::initAmbientOcclusion(bool colorBleeding, bool materialOverride,
                                             const float* color)
{
    znRTRaytracingSettings::s_qualityMode = znRTRaytracingSettings::ambientOcclusion;
    znRTGeometryNodeBase::enableColorBleeding(colorBleeding);
    znRTGeometryNodeBase::enableMaterialColorOverride(materialOverride);
    if (color)
        znRTGeometryNodeBase::setMaterialColorOverride({color[0], color[1], color[2]});
    znRTRenderUtils::Initialize();
    currentInstance(*this).setAcceleratorType(dynamicHierarchy);
}

void znRaytracingUtils::setAcceleratorType(u32)
{
    znRTRenderUtils::setAccelerator(new znRTDynamicBVH);
}

void znRaytracingUtils::setCurrentAccelerator(std::string name)
{
    constexpr std::string_view previewPrefix = "MaterialBall";
    znRTRenderUtils::setCurrentAccelerator(name);
    if (name.starts_with(previewPrefix))
        if (znRTAccelerator* const scene = znRTRenderUtils::getAccelerator(name))
            updatePreviewScene(*scene);
    znRTRenderUtils::updateEnvironment();
}

bool znRaytracingUtils::getHitPoint(const znRTVector3f& origin, const znRTVector3f& direction,
                                    znRTVector3f& position, znRTVector3f& normal,
                                    osg::NodePtr& node)
{
    return znRTRenderUtils::getHitPoint(origin, direction, position, normal, node);
}

void znRaytracingUtils::applyChangeList(int flags)
{
    setChangeList(znRTSceneHandler::getChangeList(), 0xffffffff, flags);
}

void znRaytracingUtils::setChangeList(osg::ChangeList* changeList, u32 mask, int flags)
{
    znRTRenderUtils::setChangeList(changeList, mask, flags);
}

void znRaytracingUtils::buildAccelerationStructure(std::vector<osg::NodePtr>& geometries,
                                                   std::vector<osg::NodePtr>& lights)
{
    znRTRenderUtils::rebuild(geometries, lights);
}

bool znRaytracingUtils::updateObjects()
{
    return znRTRenderUtils::updateObjects();
}

void znRaytracingUtils::initMaterialIcon(osg::NodePtr node)
{
    znRTRenderUtils::initMaterialIcon(node);
}

void znRaytracingUtils::setMaterialIconRendering(bool on)
{
    znRTRenderUtils::setMaterialIconRendering(on);
}

bool znRaytracingUtils::getMaterialIconRendering()
{
    return znRTRenderUtils::getMaterialIconRendering();
}

void znRaytracingUtils::setPhotonMapUpdate(bool on)
{
    znRTRenderUtils::setPhotonMapUpdate(on);
}

znRTCameraBase* znRaytracingUtils::getCurrentCamera()
{
    return znRTRenderUtils::getCamera();
}

void znRaytracingUtils::clearAccelerationStructure()
{
    znRTRenderUtils::clear();
}

void znRaytracingUtils::initPhotonMap(u64 width, u64 height)
{
    znRTRenderUtils::initPhotonMap(int(width), int(height));
}

void znRaytracingUtils::enableOcclusionPass(bool on)
{
    znRTRenderUtils::enableOcclusionPass(on);
}

bool znRaytracingUtils::isActive()
{
    return znRTRenderUtils::isActive();
}

void znRaytracingUtils::forceNURBSRebuild(bool rayTraced)
{
    znRTRenderUtils::forceNURBSRebuild(rayTraced);
}

double znRaytracingUtils::getTaskRuntime()
{
    constexpr double unitsPerSecond = 1e7;
    return double(s_taskRuntime) / unitsPerSecond;
}

void znRaytracingUtils::resetTaskRuntime()
{
    s_taskRuntime = 0;
}

void znRaytracingUtils::updatePixelFilter()
{
    znRTRenderUtils::updatePixelFilter();
}

void znRaytracingUtils::setAmbientOcclusionParameters(u32, u32, float minRange, float maxRange)
{
    znRTRenderUtils::setRange(minRange, maxRange);
}

ZN_RGBA32F znRaytracingUtils::getBackgroundColor(int x, int y, bool fullImage)
{
    return znRTRenderUtils::getBackgroundColor(x, y, fullImage);
}

ZN_RGBA32F znRaytracingUtils::getForegroundColor(int x, int y, bool fullImage)
{
    return znRTRenderUtils::getForegroundColor(x, y, fullImage);
}

void znRaytracingUtils::setWireframeMode(bool on)
{
    znRTRenderUtils::setWireframeMode(on);
}

bool znRaytracingUtils::getWireframeMode()
{
    return znRTRenderUtils::getWireframeMode();
}
