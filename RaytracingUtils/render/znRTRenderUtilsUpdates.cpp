// How changes of the scene graph reach the scene of the render state.

#include "accel/znRTAccelerator.h"
#include "core/znRTSpectralData.h"
#include "geometry/znRTGeometryNode.h"
#include "host/osg/Node.h"
#include "host/osg/RenderOptions.h"
#include "host/znLog.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTSceneHandler.h"
#include "host/znRTSelectionSettings.h"
#include "host/znSceneDataManager.h"
#include "light/znRTInfiniteAreaLight.h"
#include "light/znRTLight.h"
#include "material/znRTMaterial.h"
#include "render/notAvailable.h"
#include "render/selectionOverlay.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <tbb/parallel_for_each.h>
#include <tbb/task_arena.h>

namespace {

constexpr unsigned buildQuality = 100;
/// From this many new nodes on, and when they outnumber those that are there, reading the whole
/// scene graph is faster than adding node by node.
constexpr std::size_t manyNodes = 101;
constexpr int rebuildFlag = 1;

/// Changes after which the tree over the objects is another one. Geometry and destroyed containers
/// are not among them: vertex attributes change and properties go without that any triangle moves.
constexpr u32 treeChanges = znChangeNodesCreated | znChangeTransforms | znChangeVisibility |
                            znChangeSelection | znChangeMaterialAssignment | znChangeMaterials |
                            znChangeEnvironment | znChangeClipping;

/// Changes after which another environment may be in force: it comes with an object's material.
constexpr u32 environmentChanges = znChangeNodesCreated | znChangeMaterialAssignment |
                                   znChangeMaterials | znChangeEnvironment |
                                   znChangeSettings; // how many samples it takes

/// Takes over settings and attachments.
/// @return true when materials have to look at the settings again
bool updateSettings()
{
    const auto settings = znRTSceneHandler::getRaytracingSettingsAttachment();
    znRTSceneHandler::s_currentRaytracingSettings.updateSettings(settings.get());
    const auto analysis = znRTSceneHandler::getSurfaceAnalysisAttachment();
    znRTSceneHandler::s_currentSurfaceAnalysisSettings.updateSettings(analysis.get());
    znRTSpectralData::Instance().setIlluminant(u32(znRTRaytracingSettings::s_illuminant));
    if (znRTRenderUtils::s_nurbsMode != znRTRaytracingSettings::s_nurbsMode)
        znRTRenderUtils::forceNURBSRebuild(znRTRaytracingSettings::s_nurbsMode != 0);
    return znRTMaterial::updateStaticSettings();
}

/// Adds what was created, applies what changed, and rebuilds the objects that need it.
/// @return whether an object came or was built anew
bool updateIncrementally(znRTAccelerator& scene, const znRTSceneChanges& changes,
                         const std::vector<osg::NodePtr>& geometries,
                         const std::vector<osg::NodePtr>& lights)
{
    const u64 objectsBefore = scene.getObjectListSize();
    znRTRenderUtils::createNodes(geometries, lights);
    scene.updateGeometryList();
    znRTRebuildMap rebuild;
    znRTSceneHandler::applyMaterialAssignmentChanges(changes, rebuild);
    znRTSceneHandler::applyChanges(changes, rebuild);
    scene.updateGeometryList(); // objects may have come or gone with their cores
    if (changes.flags & znChangeClipping) {
        znRTRenderUtils::updateClippingShapes();
        znRTRenderUtils::updateParticipatingMedia();
    }
    znRTSceneHandler::updateLights();
    znRTSceneHandler::applyNodeUpdates(changes);
    znRTRenderUtils::rebuildNodes(rebuild);
    znRTRebuildMap rebuildForMaterials;
    znRTSceneHandler::applyMaterialUpdates(changes, rebuildForMaterials);
    znRTRenderUtils::rebuildNodes(rebuildForMaterials);
    return !rebuild.empty() || !rebuildForMaterials.empty() ||
           scene.getObjectListSize() != objectsBefore;
}

void updateLighting(u32 changeFlags)
{
    znRTSceneHandler::updateGeometryLights();
    znRTSceneHandler::updateRayGeometryLights();
    znRTSceneHandler::updateLightPortals();
    znRTRenderUtils::updateLightDistribution((changeFlags & znLightChanges) != 0);
    znRTRenderUtils::updateLocalLights();
}

/// Marks the objects that the scene data names.
void applySelection()
{
    const znSceneData* const data = znSceneDataManager::getSceneData(0);
    const std::vector<u32>&selected = data->getSelectedNodes(),
          &preselected = data->getPreselectedNodes();
    znRTRenderUtils::setSelection({selected.begin(), selected.end()},
                                  {preselected.begin(), preselected.end()});
}

void updateFromChangeList(znRTAccelerator& scene, const osg::ChangeList* changeList, u32 mask,
                          int flags)
{
    const std::lock_guard lock(scene.getLock());
    znRTSceneHandler::updateBuildTimeStamp();
    const bool settingsChanged = updateSettings();
    u32 changeFlags = znRTRenderUtils::updateRenderOptions();

    znRTSceneChanges changes;
    if (changeList)
        znRTSceneHandler::filterChanges(*changeList, mask, changes);
    changeFlags |= changes.flags;
    const u64 objectsBefore = scene.getObjectListSize();
    znRTSceneHandler::deleteNodes(changes);
    bool needsTree = scene.getObjectListSize() != objectsBefore; // it went with the object
    std::vector<osg::NodePtr> geometries, lights;
    znRTRenderUtils::getCreatedNodes(changes.created, geometries, lights);

    const std::size_t created = geometries.size() + lights.size();
    const bool hasManyNewNodes = created >= manyNodes && created > scene.getObjectListSize();
    const bool rebuildsAll =
        znRTRenderUtils::s_forceRebuild || (flags & rebuildFlag) || hasManyNewNodes;
    if (rebuildsAll) {
        znRTRenderUtils::rebuildEverything();
        changeFlags |= znLightChanges | znChangeSelection;
    } else {
        needsTree |= updateIncrementally(scene, changes, geometries, lights);
        if (changeFlags & znChangeVisibility)
            znRTRenderUtils::updateVisibilities();
    }

    const znRTLight* const environmentBefore = znRTMaterial::s_environmentLight;
    if (rebuildsAll || settingsChanged || (changeFlags & environmentChanges))
        znRTRenderUtils::updateEnvironment();
    const bool hasOtherEnvironment = znRTMaterial::s_environmentLight != environmentBefore;
    if (settingsChanged || hasOtherEnvironment ||
        (changeFlags & (znChangeSettings | znChangeEnvironment))) {
        znRTSceneHandler::updateMaterials();
        if (znRTRenderUtils::s_luxMaterial) // belongs to no scene
            znRTRenderUtils::s_luxMaterial->update();
    }
    if (changeFlags & znChangeSelection)
        applySelection();
    if (needsTree || (changeFlags & treeChanges))
        scene.build(buildQuality);
    // Behind the build: it tells which meshes emit and how large the scene is.
    updateLighting(changeFlags);
}

} // namespace

void znRTRenderUtils::setChangeList(osg::ChangeList* changeList, u32 mask, int flags)
{
    try {
        if (s_currentAccelerator) {
            updateFromChangeList(*s_currentAccelerator, changeList, mask, flags);
            s_forceRebuild = false;
            s_isActive = true;
        }
    } catch (...) {
        znLog::error("Raytracing update crashed, disabled raytracing!\n");
        s_isActive = false;
        s_forceRebuild = true; // nobody knows how far the update came
    }
    if (changeList)
        changeList->clear();
    znRTSceneHandler::clearChangeList();
}

void znRTRenderUtils::buildAccelerationStructure(std::vector<osg::NodePtr>& geometries,
                                                 std::vector<osg::NodePtr>& lights)
{
    rebuild(geometries, lights);
}

void znRTRenderUtils::rebuild(std::vector<osg::NodePtr>& geometries,
                              std::vector<osg::NodePtr>& lights)
{
    if (!s_currentAccelerator)
        return;
    const std::lock_guard lock(s_currentAccelerator->getLock());
    znRTSceneHandler::updateBuildTimeStamp();
    updateSettings();
    s_currentAccelerator->clear();
    createNodes(geometries, lights);
    s_currentAccelerator->updateGeometryList();
    znRTSceneHandler::updateLights();
    rebuildAll();
    updateLighting(znLightChanges);
    s_forceRebuild = false;
    s_isActive = true;
}

void znRTRenderUtils::rebuildEverything()
{
    if (!s_currentAccelerator)
        return;
    std::vector<osg::NodePtr> geometries, lights;
    if (const osg::NodePtr root = znRTSceneHandler::getRoot()) {
        znRTSceneHandler::getGeometries(root, geometries);
        znRTSceneHandler::getLightsources(root, lights);
    }
    s_currentAccelerator->clear();
    createNodes(geometries, lights);
    s_currentAccelerator->updateGeometryList();
    updateClippingShapes();
    updateParticipatingMedia();
    znRTSceneHandler::updateLights();
    rebuildAll();
}

void znRTRenderUtils::rebuildAll()
{
    if (s_currentAccelerator)
        s_currentAccelerator->build(buildQuality);
}

void znRTRenderUtils::rebuildNodes(const znRTRebuildMap& nodes)
{
    // Isolated: a thread that waits for a tree must not start on another object that waits for the
    // same shared tree.
    tbb::this_task_arena::isolate([&] {
        tbb::parallel_for_each(nodes.begin(), nodes.end(), [](const auto& entry) {
            if (entry.second)
                static_cast<znRTGeometryNode*>(entry.second)->rebuild();
        });
    });
}

void znRTRenderUtils::getCreatedNodes(const std::set<u32>& created,
                                      std::vector<osg::NodePtr>& geometries,
                                      std::vector<osg::NodePtr>& lights)
{
    for (const u32 id : created) {
        const auto container = osg::FieldContainerFactory::the()->getContainer(id);
        const osg::NodePtr node = osg::NodePtr::dcast(container);
        if (!node)
            continue;
        // What lies below a created node comes with the topmost of them.
        const osg::NodePtr parent = node->getParent();
        if (parent && created.count(parent->getId()))
            continue;
        znRTSceneHandler::getGeometries(node, geometries);
        znRTSceneHandler::getLightsources(node, lights);
    }
}

void znRTRenderUtils::createNodes(const std::vector<osg::NodePtr>& geometries,
                                  const std::vector<osg::NodePtr>& lights)
{
    znRTSceneHandler::addGeometries(geometries);
    znRTSceneHandler::addLightsources(lights);
}

bool znRTRenderUtils::updateObjects()
{
    if (!s_currentAccelerator)
        return false;
    bool changed = false;
    tbb::this_task_arena::isolate([&] { changed = s_currentAccelerator->updateObjects(); });
    return changed;
}

void znRTRenderUtils::updateEnvironment()
{
    if (s_currentAccelerator)
        s_currentAccelerator->updateEnvironmentLights();
    updateEnvironmentLight();
}

void znRTRenderUtils::updateEnvironmentLight()
{
    znRTMaterial::s_environmentLight =
        static_cast<const znRTInfiniteAreaLight*>(getEnvironmentLight());
}

void znRTRenderUtils::updateVisibilities()
{
    if (s_currentAccelerator)
        s_currentAccelerator->updateVisibilities();
}

namespace {

/// Whether a node is another one or lies below it.
bool isAtOrBelow(osg::NodePtr node, const osg::NodePtr& above)
{
    while (node && node != above)
        node = node->getParent();
    return bool(node);
}

} // namespace

void znRTRenderUtils::updateLocalLights()
{
    if (!s_currentAccelerator)
        return;
    for (znRTGeometryNode* node : s_currentAccelerator->getSceneNodes()) {
        if (!node)
            continue;
        znDynArray<const znRTLight*>& list = node->getLocalLights();
        list.size = 0;
        for (const znRTLight* light : getLights()) {
            if (!light->getLocalLighting() || !light->getNode())
                continue;
            const osg::NodePtr parent = light->getNode()->getParent();
            if (!parent || !isAtOrBelow(node->getNode(), parent))
                continue;
            list.reserve(list.size + 1, true);
            list[list.size - 1] = light;
        }
    }
}

void znRTRenderUtils::updateLightDistribution(bool rebuildHierarchy)
{
    if (s_currentAccelerator)
        s_currentAccelerator->updateLightDistribution(rebuildHierarchy);
    s_maxLightEvaluations = countLightEvaluations(getLights().size);
}

int znRTRenderUtils::countLightEvaluations(u64 lights)
{
    constexpr int most = 16;
    return std::clamp(int(std::sqrt(float(lights)) * 0.5f), 1, most);
}

void znRTRenderUtils::updateClippingShapes()
{
    if (!s_currentAccelerator)
        return;
    for (znRTGeometryNode* node : s_currentAccelerator->getSceneNodes())
        if (node)
            node->updateConnectedList(*s_currentAccelerator);
}

void znRTRenderUtils::updateParticipatingMedia()
{
    if (!s_currentAccelerator)
        return;
    for (znRTGeometryNode* node : s_currentAccelerator->getSceneNodes())
        if (node)
            node->checkParticipatingMedia();
}

u32 znRTRenderUtils::updateRenderOptions()
{
    const auto options = znSceneDataManager::getSceneData(0)->getRenderOptions();
    if (!options)
        return 0;
    u32 changes = 0;
    if (znRTGeometryNodeBase::s_showASides != options->getShowASides() ||
        znRTGeometryNodeBase::s_showBSides != options->getShowBSides())
        changes |= znChangeVisibility;
    znRTGeometryNodeBase::s_showASides = options->getShowASides();
    znRTGeometryNodeBase::s_showBSides = options->getShowBSides();

    if (znRTSelectionSettings::current().update(options.get()))
        changes |= znChangeSelection;
    return changes;
}

namespace {

/// Whether a set names the node or something that it belongs to.
bool isMarked(const znRTGeometryNode& object, const std::set<u32>& ids)
{
    if (ids.empty())
        return false;
    for (osg::NodePtr node = object.getNode(); node; node = node->getParent())
        if (ids.count(node->getId()))
            return true;
    return false;
}

} // namespace

void znRTRenderUtils::setSelection(const std::set<u32>& selected, const std::set<u32>& preselected)
{
    s_hasSelection = false;
    if (!s_currentAccelerator)
        return;
    for (znRTGeometryNode* node : s_currentAccelerator->getSceneNodes())
        if (node && node->isAlive()) {
            node->setSelected(isMarked(*node, selected), isMarked(*node, preselected));
            s_hasSelection = s_hasSelection || node->hasAnyWireframeSelection();
        }
}

void znRTRenderUtils::initMaterialIcon(osg::NodePtr node)
{
    znRTSceneHandler::setMaterialBallRoot(node);
}
