// How sorted changes reach the objects of the current scene.

#include "host/osg/Geometry.h"
#include "host/osg/Material.h"
#include "host/osg/RaytracingGeoAttachment.h"
#include "host/osg/UberLight.h"
#include "host/znRTGeometryNodeBase.h"
#include "host/znRTSceneBase.h"
#include "host/znRTSceneHandler.h"
#include "settings/ancestry.h"
#include "settings/changeSorter.h"

namespace {

/// Calls use(index, object) for the objects of the scene whose node and core still exist.
template <class Use>
void eachObject(znRTSceneBase& scene, Use&& use)
{
    const u64 count = scene.getSceneNodesSize();
    for (u64 i = 0; i < count; ++i) {
        znRTGeometryNodeBase* object = scene.getGeometryNodeBase(i);
        if (object && object->isAlive())
            use(unsigned(i), *object);
    }
}

/// Changes of these fields make another list of primitives.
constexpr u64 primitiveFields = osg::Geometry::IndicesFieldMask |
                                osg::Geometry::IndexMappingFieldMask |
                                osg::Geometry::LengthsFieldMask | osg::Geometry::TypesFieldMask;

} // namespace

void znRTSceneHandler::filterChanges(const osg::ChangeList& list, u32 mask, znRTSceneChanges& out)
{
    out = {};
    // The mask is a word of 32 bits while types have more fields; all ones let every field pass.
    const u64 wide = mask == 0xffffffffu ? ~u64(0) : u64(mask);
    ChangeSorter(s_currentScene, out).sort(list, wide);
}

void znRTSceneHandler::deleteNodes(const znRTSceneChanges& changes)
{
    if (!s_currentScene)
        return;
    const std::lock_guard<std::recursive_mutex> guard(s_currentScene->getLock());
    for (const u32 id : changes.destroyed) {
        s_currentScene->deleteGeometry(id);
        s_currentScene->deleteLight(id);
        s_currentScene->deleteEnvironmentLight(static_cast<unsigned long long>(id));
        s_currentScene->deleteClippingShape(id);
        s_currentScene->deleteMaterial(id);
    }
}

void znRTSceneHandler::applyMaterialAssignmentChanges(const znRTSceneChanges& changes,
                                                      znRTRebuildMap& rebuild)
{
    if (!s_currentScene || changes.materialAssignments.empty())
        return;
    eachObject(*s_currentScene, [&](unsigned index, znRTGeometryNodeBase& object) {
        if (isAtOrBelowOne(object.getNode(), changes.materialAssignments) &&
            s_currentScene->updateObjectMaterial(index))
            rebuild[object.getNodeId()] = &object;
    });
}

void znRTSceneHandler::applyChanges(const znRTSceneChanges& changes, znRTRebuildMap& rebuild)
{
    if (!s_currentScene)
        return;
    const std::lock_guard<std::recursive_mutex> guard(s_currentScene->getLock());
    znRTSceneBase& scene = *s_currentScene;

    std::set<u32> known, shown;
    eachObject(scene, [&](unsigned index, znRTGeometryNodeBase& object) {
        known.insert(object.getNodeId());
        if (changes.structure.count(object.getNodeId()))
            return; // replaced below
        const auto core = changes.cores.find(u32(object.getCoreId()));
        if (core == changes.cores.end())
            return;
        shown.insert(core->first);
        object.setChangedFields(core->second);
        const bool rebuilt =
            core->second & primitiveFields ? scene.reinitObject(index) : scene.updateObject(index);
        if (rebuilt)
            rebuild[object.getNodeId()] = &object;
    });

    // Nodes with another core start anew.
    std::vector<osg::NodePtr> geometries, lights;
    for (const u32 id : changes.structure) {
        rebuild.erase(id);
        scene.deleteGeometry(id);
        scene.deleteLight(id);
        scene.deleteClippingShape(id);
        const auto node = osg::NodePtr::dcast(osg::FieldContainerFactory::the()->getContainer(id));
        if (!node || isAuxiliaryNode(node))
            continue;
        if (osg::isKindOf<osg::MaterialDrawable>(node->getCore()))
            geometries.push_back(node);
        else if (osg::isKindOf<osg::UberLight>(node->getCore()))
            lights.push_back(node);
    }
    // Geometry without positions has no object; it may have some now.
    bool hasHidden = false;
    for (const auto& [id, mask] : changes.cores)
        hasHidden |= shown.count(id) == 0;
    if (hasHidden) {
        std::vector<osg::NodePtr> candidates;
        getGeometries(getRoot(), candidates);
        for (const osg::NodePtr& node : candidates)
            if (changes.cores.count(node->getCore()->getId()) && !known.count(node->getId()))
                geometries.push_back(node);
    }
    addGeometries(geometries);
    addLightsources(lights);
    for (const u32 id : changes.clipPlanes) {
        const auto node = osg::NodePtr::dcast(osg::FieldContainerFactory::the()->getContainer(id));
        unsigned flags = 0;
        if (node && !isAuxiliaryNode(node))
            scene.updateClippingShape(node, flags);
    }
}

unsigned znRTSceneHandler::applyNodeUpdates(const znRTSceneChanges& changes)
{
    unsigned changed = 0;
    if (!s_currentScene ||
        (changes.transforms.empty() && changes.visibility.empty() && changes.structure.empty()))
        return 0;
    eachObject(*s_currentScene, [&](unsigned, znRTGeometryNodeBase& object) {
        const osg::NodePtr& node = object.getNode();
        if ((isAtOrBelowOne(node, changes.transforms) || isAtOrBelowOne(node, changes.visibility) ||
             isAtOrBelowOne(node, changes.structure)) &&
            object.update())
            ++changed;
    });
    return changed;
}

void znRTSceneHandler::applyMaterialUpdates(const znRTSceneChanges& changes,
                                            znRTRebuildMap& rebuild)
{
    if (!s_currentScene || changes.materials.empty())
        return;
    std::set<u32> displaced;
    bool visibilityChanged = false;
    for (const u32 id : changes.materials) {
        const auto material =
            osg::MaterialPtr::dcast(osg::FieldContainerFactory::the()->getContainer(id));
        unsigned flags = 0;
        if (!material || !s_currentScene->updateMaterial(material, flags))
            continue;
        visibilityChanged |=
            (flags & (znMaterialVisibilityChanged | znMaterialSidenessChanged)) != 0;
        if (flags & znMaterialDisplacementChanged)
            displaced.insert(id);
    }
    if (visibilityChanged)
        s_currentScene->applyMaterialChanges();
    if (displaced.empty())
        return;
    eachObject(*s_currentScene, [&](unsigned index, znRTGeometryNodeBase& object) {
        osg::RaytracingGeoAttachment* attachment = nullptr;
        osg::MaterialPtr material;
        znRTGeometryNodeBase::getOverrides(object.getNode(), object.getCore(), attachment,
                                           material);
        if (!material)
            material = znRTSceneBase::resolveMaterialAssignment(object.getNode(), object.getCore());
        if (material && displaced.count(material->getId()) &&
            s_currentScene->updateObjectMaterial(index))
            rebuild[object.getNodeId()] = &object;
    });
}
