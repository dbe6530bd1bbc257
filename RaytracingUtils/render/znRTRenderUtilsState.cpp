// Statics, life cycle and scenes of the render state.

#include "accel/znRTDynamicBVH.h"
#include "camera/znRTCamera.h"
#include "gi/znRTPoisson.h"
#include "host/znPixelfilter.h"
#include "host/znRTGeometryNodeBase.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTSceneHandler.h"
#include "material/znRTLuxMaterial.h"
#include "render/znRTRenderUtils.h"

#include <map>
#include <tbb/enumerable_thread_specific.h>

znRTAccelerator* znRTRenderUtils::s_currentAccelerator = nullptr;
znRTCamera* znRTRenderUtils::s_camera = nullptr;
znRTColorPacket znRTRenderUtils::s_backgroundColor(0.0f, 0.0f, 0.0f, 0.0f);
std::vector<znRTScenePlate*> znRTRenderUtils::s_backgrounds, znRTRenderUtils::s_foregrounds;
osg::NodePtr znRTRenderUtils::s_activeEnvironment;
znRTMaterial* znRTRenderUtils::s_activeEnvironmentMaterial = nullptr;
znRTSPPhotonMap* znRTRenderUtils::s_currentPhotonMap = nullptr;
znRTSPPhotonMap* znRTRenderUtils::s_interactivePhotonMap = nullptr;
znRTSPPhotonMap* znRTRenderUtils::s_stillFramePhotonMap = nullptr;
bool znRTRenderUtils::s_isActive = false;
bool znRTRenderUtils::s_forceRebuild = true;
bool znRTRenderUtils::s_photonMapUpdateEnable = true;
bool znRTRenderUtils::s_wireframeMode = false;
bool znRTRenderUtils::s_pbarMode = false;
bool znRTRenderUtils::s_materialIconRendering = false;
float znRTRenderUtils::s_minDistance = 0.0f;
float znRTRenderUtils::s_maxDistance = 1e6f;
int znRTRenderUtils::s_maxLightEvaluations = 1;
znRTParticipatingMedia* znRTRenderUtils::s_atmosphere = nullptr;
znRTMaterial* znRTRenderUtils::s_luxMaterial = nullptr;
int znRTRenderUtils::s_nurbsMode = 1;
std::atomic<u64> znRTRenderUtils::s_nurbsCacheSize{0};

namespace {

/// Owner of the scenes. The host's registry holds the same names without owning them.
std::map<std::string, znRTAccelerator*>& scenes()
{
    static std::map<std::string, znRTAccelerator*> registry;
    return registry;
}

std::string& currentName()
{
    static std::string name = znRTRenderUtils::defaultScene;
    return name;
}

/// A scene that the host has heard nothing of yet.
void forgetUpdates()
{
    znRTRenderUtils::s_isActive = false;
    znRTRenderUtils::s_forceRebuild = true;
}

void makeCurrent(znRTAccelerator* scene, const std::string& name)
{
    znRTRenderUtils::s_currentAccelerator = scene;
    currentName() = name;
    znRTSceneHandler::setCurrentScene(name);
}

tbb::enumerable_thread_specific<znDynArray<float>>& nurbsCaches()
{
    static tbb::enumerable_thread_specific<znDynArray<float>> caches;
    return caches;
}

} // namespace

void znRTRenderUtils::Initialize()
{
    initPhotonMap(256, 256);
    znRTPoisson::init(u32(znRTRaytracingSettings::s_imageSamples), 8);
    s_activeEnvironment = nullptr;
    s_activeEnvironmentMaterial = nullptr;
    if (scenes().empty()) {
        addAccelerator(new znRTDynamicBVH, defaultScene);
        makeCurrent(getAccelerator(defaultScene), defaultScene);
        forgetUpdates();
    }
    if (!s_camera) {
        s_camera = new znRTCamera;
        s_camera->setImageFilter(
            znPixelfilterFactory::getPixelfilter(znPixelfilterFactory::box, 1.0f, 1.0f));
    }
    if (!s_luxMaterial)
        s_luxMaterial = new znRTLuxMaterial;
}

void znRTRenderUtils::Destroy()
{
    deleteAllAccelerators();
    deletePhotonMap();
    znRTPoisson::destroy();
    delete s_camera;
    s_camera = nullptr;
    delete s_luxMaterial;
    s_luxMaterial = nullptr;
    s_backgrounds.clear();
    s_foregrounds.clear();
    s_activeEnvironment = nullptr;
    s_activeEnvironmentMaterial = nullptr;
    s_atmosphere = nullptr;
    s_backgroundColor = znRTColorPacket(0.0f, 0.0f, 0.0f, 0.0f);
    s_maxLightEvaluations = 1;
    clearLightEvaluationCache();
    nurbsCaches().clear();
    s_nurbsCacheSize = 0;
    forgetUpdates();
}

void znRTRenderUtils::clear()
{
    if (s_currentAccelerator)
        s_currentAccelerator->clear();
    s_activeEnvironment = nullptr;
    s_activeEnvironmentMaterial = nullptr;
    forgetUpdates();
}

void znRTRenderUtils::addAccelerator(znRTAccelerator* accelerator, const std::string& name)
{
    deleteAccelerator(name);
    scenes()[name] = accelerator;
    znRTSceneHandler::addScene(name, accelerator);
}

bool znRTRenderUtils::deleteAccelerator(const std::string& name)
{
    const auto found = scenes().find(name);
    if (found == scenes().end())
        return false;
    znRTSceneHandler::deleteScene(name);
    if (s_currentAccelerator == found->second)
        s_currentAccelerator = nullptr;
    delete found->second;
    scenes().erase(found);
    return true;
}

void znRTRenderUtils::deleteAllAccelerators()
{
    while (!scenes().empty())
        deleteAccelerator(scenes().begin()->first);
    currentName() = defaultScene;
}

znRTAccelerator* znRTRenderUtils::getAccelerator(const std::string& name)
{
    const auto found = scenes().find(name);
    return found == scenes().end() ? nullptr : found->second;
}

bool znRTRenderUtils::setCurrentAccelerator(const std::string& name)
{
    znRTAccelerator* const scene = getAccelerator(name);
    if (scene)
        makeCurrent(scene, name);
    return scene != nullptr;
}

void znRTRenderUtils::setAccelerator(znRTAccelerator* accelerator)
{
    const std::string name = currentName();
    addAccelerator(accelerator, name);
    makeCurrent(accelerator, name);
    forgetUpdates();
}

void znRTRenderUtils::setWireframeMode(bool on)
{
    s_wireframeMode = on;
    znRTGeometryNodeBase::s_wireframeRenderMode = on;
}

void znRTRenderUtils::forceNURBSRebuild(bool rayTraced)
{
    s_nurbsMode = rayTraced;
    s_forceRebuild = true;
}

void znRTRenderUtils::enableOcclusionPass(bool on)
{
    znRTMaterial::enableOcclusionPass(on);
}

void znRTRenderUtils::setActiveEnvironment(osg::NodePtr node, znRTMaterial* material)
{
    s_activeEnvironment = node;
    s_activeEnvironmentMaterial = material;
}

void znRTRenderUtils::setRange(float minDistance, float maxDistance)
{
    s_minDistance = minDistance;
    s_maxDistance = maxDistance;
}

void znRTRenderUtils::updatePixelFilter()
{
    if (s_camera)
        s_camera->setImageFilter(znPixelfilterFactory::getPixelfilter(
            s_camera->filterType, s_camera->filterSizeX, s_camera->filterSizeY));
}

float* znRTRenderUtils::getNURBSCache()
{
    znDynArray<float>& cache = nurbsCaches().local();
    const u64 needed = s_nurbsCacheSize / sizeof(float);
    if (cache.capacity < needed)
        cache.reserve(2 * needed, true);
    return cache.data;
}
