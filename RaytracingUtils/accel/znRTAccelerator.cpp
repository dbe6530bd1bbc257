#include "accel/znRTAccelerator.h"

#include "accel/sceneLamps.h"
#include "accel/sceneLights.h"
#include "geometry/znRTGeometryNode.h"
#include "geometry/znRTMesh.h"
#include "host/osg/ClipPlane.h"
#include "host/osg/Geometry.h"
#include "host/osg/Surface.h"
#include "host/znLog.h"
#include "light/znRTInfiniteAreaLight.h"
#include "light/znRTLightBVH.h"
#include "light/znRTLightPortalNode.h"
#include "light/znRTPortalGuide.h"
#include "material/znRTMaterial.h"
#include "render/znRTRenderUtils.h"

#include <atomic>

namespace {

constexpr unsigned defaultQuality = 100;
constexpr u32 shellBit = 2; ///< of the geometry type

/// Writes a line once in the life of the process.
void tellOnce(std::atomic<bool>& isTold, const char* text)
{
    if (!isTold.exchange(true))
        znLog::warning(text);
}

bool isAlive(u64 id)
{
    return bool(osg::FieldContainerFactory::the()->getContainer(u32(id)));
}

/// Control points with three numbers get the weight 1, so that all surfaces are rational.
void makeHomogeneous(osg::Surface& surface)
{
    const osg::GeoPropertyPtr points = surface.getControlPoints();
    if (!points || points->getDimension() != 3)
        return;
    std::vector<osg::Vec4f> weighted;
    weighted.reserve(points->size());
    for (u32 i = 0; i < points->size(); ++i)
        weighted.push_back(points->getVector(i));
    surface.setControlPoints(osg::GeoProperty::create(std::span<const osg::Vec4f>(weighted)));
}

} // namespace

znRTAccelerator::znRTAccelerator()
    : sceneLights(std::make_unique<znRTSceneLights>()), lamps(std::make_unique<znRTSceneLamps>()),
      lightHierarchy(std::make_unique<znRTLightBVH>()),
      portalGuide(std::make_unique<znRTPortalGuide>())
{
}

znRTAccelerator::~znRTAccelerator()
{
    znRTAccelerator::clear();
}

void znRTAccelerator::clear()
{
    const std::lock_guard lock(getLock());
    for (const auto& [id, node] : geometryNodes)
        delete node;
    geometryNodes.clear();
    sceneNodes.clear();
    releaseMaterials();
    lamps->clear();
    sceneLights->clear();
    headlightId = 0;
    lights.clear();
    clearEnvironmentLights();
    lightHierarchy->clear();
    hierarchyIsCurrent = false;
    lightPowers.clear();
    lightDistribution.clear();
    lightDistributionWithEnv.clear();
    lightPortalDistribution.clear();
    rayLights.clear();
    rayGeometryLights.clear();
    lensFlares.clear();
    lightPortals.clear();
    portals.clear();
    portalGuide->clear();
    clippingShapesByNode.clear();
    clippingShapes.clear();
    participatingMedia.clear();
    imageQuads.clear();
    fullBox = photonTargetsBox = znRTBoundingBox({0, 0, 0}, {0, 0, 0});
    fullSphere = sceneSphere = znRTBoundingSphere();
    figures = znRTSceneFigures();
    objectsChanged = false;
}

// Objects

znRTGeometryNode* znRTAccelerator::createGeometryNode(const osg::NodeCorePtr& core) const
{
    static std::atomic<bool> shellTold{false}, lineTold{false}, pointTold{false}, nurbsTold{false};
    const auto drawable = osg::FCPtr<osg::MaterialDrawable>::dcast(core);
    if (drawable && (drawable->getGeometryType() & shellBit)) {
        tellOnce(shellTold, "Shells are not available: their pieces are rendered one by one");
        return nullptr;
    }
    const auto geometry = osg::FCPtr<osg::Geometry>::dcast(core);
    if (!geometry)
        return new znRTMesh; // which reports the core
    if (const auto surface = osg::FCPtr<osg::Surface>::dcast(core)) {
        makeHomogeneous(*surface);
        if (znRTRenderUtils::s_nurbsMode)
            tellOnce(nurbsTold, "Exact surfaces are not available: tessellations are rendered");
    }
    if (!geometry->getPositions() || geometry->getPositions()->empty())
        return nullptr;
    const auto& types = geometry->getTypes();
    if (!osg::isKindOf<osg::Surface>(core) && !types.empty() &&
        types[0] <= osg::Geometry::lineStrip) {
        if (types[0] == osg::Geometry::points)
            tellOnce(pointTold, "Points are not rendered yet");
        else
            tellOnce(lineTold, "Lines are not rendered yet");
        return nullptr;
    }
    return new znRTMesh;
}

void znRTAccelerator::addGeometryNode(const osg::NodePtr& node, const osg::NodeCorePtr& core)
{
    if (!node || !core) {
        znLog::error("Bad Geometry");
        return;
    }
    const std::lock_guard lock(getLock());
    if (geometryNodes.contains(node->getId()))
        return;
    const osg::TransformationMatrix<float> toWorld = node->getToWorld();
    znRTGeometryNode* const geometry = createGeometryNode(core);
    if (!geometry)
        return;
    geometryNodes.emplace(node->getId(), geometry);
    geometry->setScene(this);
    geometry->updateGeometryIndex(int(sceneNodes.size));
    // Appending one by one: grown by half so that many nodes do not copy the list each time.
    if (sceneNodes.size == sceneNodes.capacity)
        sceneNodes.reserve(sceneNodes.size + sceneNodes.size / 2 + 16, false);
    sceneNodes.reserve(sceneNodes.size + 1, true);
    sceneNodes[sceneNodes.size - 1] = geometry;
    geometry->initialize(node, core);
    geometry->setTransformMatrix(toWorld);
    setActiveMaterial(resolveMaterialAssignment(node, core), node, core, geometry);
    geometry->updateConnectedList(*this);
    // From here on update() tells what is new.
    geometry->update();
    objectsChanged = true;
}

bool znRTAccelerator::deleteGeometry(unsigned long long id)
{
    const std::lock_guard lock(getLock());
    const auto found = geometryNodes.find(id);
    if (found == geometryNodes.end())
        return false;
    // Until the next build nothing may walk to the intersector that goes with the node.
    dropTrees();
    for (znRTGeometryNode*& entry : sceneNodes)
        if (entry == found->second)
            entry = nullptr;
    delete found->second;
    geometryNodes.erase(found);
    objectsChanged = true;
    return true;
}

void znRTAccelerator::updateGeometryList()
{
    const std::lock_guard lock(getLock());
    sceneNodes.size = 0;
    sceneNodes.reserve(geometryNodes.size(), false);
    for (const auto& [id, node] : geometryNodes) {
        if (!isAlive(id))
            continue;
        node->updateGeometryIndex(int(sceneNodes.size));
        sceneNodes[sceneNodes.size++] = node;
    }
}

bool znRTAccelerator::updateObjects()
{
    const std::lock_guard lock(getLock());
    for (const auto& [id, node] : geometryNodes) {
        if (!isAlive(id))
            continue;
        // The core in force: the one that was read may have been replaced, and be gone.
        const osg::NodeCorePtr core = node->getActiveGeometryCore();
        const osg::MaterialPtr material = resolveMaterialAssignment(node->getNode(), core);
        if (!node->getMaterial() || node->getMaterial()->getHostMaterial() != material) {
            setActiveMaterial(material, node->getNode(), core, node);
            objectsChanged = true;
        }
        if (node->update())
            objectsChanged = true;
    }
    if (!objectsChanged)
        return false;
    updateGeometryList();
    build(defaultQuality);
    return true;
}

void znRTAccelerator::updateVisibilities()
{
    for (const auto& [id, node] : geometryNodes) {
        node->updateVisibility();
        node->updateVisibilityFlags();
    }
}

void znRTAccelerator::initGeometries()
{
    for (const auto& [id, node] : geometryNodes)
        if (!node->isValid())
            node->initGeometry();
}

znRTGeometryNode* znRTAccelerator::getObject(unsigned long long id)
{
    const auto found = geometryNodes.find(id);
    return found != geometryNodes.end() ? found->second : nullptr;
}

znRTGeometryNodeBase* znRTAccelerator::getGeometryNodeBase(unsigned long long index)
{
    return getSceneNode(index);
}

bool znRTAccelerator::setMaterial(unsigned int index, const osg::MaterialPtr& material)
{
    if (znRTGeometryNode* const node = getSceneNode(index))
        setActiveMaterial(material, node->getNode(), node->getActiveGeometryCore(), node);
    // No material displaces yet, so trees stay.
    return false;
}

bool znRTAccelerator::updateObjectMaterial(unsigned int index)
{
    znRTGeometryNode* const node = getSceneNode(index);
    if (!node)
        return false;
    const osg::MaterialPtr material =
        resolveMaterialAssignment(node->getNode(), node->getActiveGeometryCore());
    // An object whose material is gone shows the fallback, which has no container either: it gets
    // the default material all the same.
    if (material && node->getMaterial() && node->getMaterial()->getHostMaterial() == material)
        return false;
    return setMaterial(index, material);
}

bool znRTAccelerator::updateObject(unsigned int index)
{
    znRTGeometryNode* const node = getSceneNode(index);
    if (!node)
        return false;
    const znRTIntersector* const before = node->getCurrentIntersector();
    const bool needsTree = node->updateGeometry(node->takeChangedFields());
    // With another core the intersector goes: trees must not lead to it.
    if (node->getCurrentIntersector() != before)
        dropTrees();
    return needsTree;
}

bool znRTAccelerator::reinitObject(unsigned int index)
{
    znRTGeometryNode* const node = getSceneNode(index);
    if (!node)
        return false;
    // The intersector goes: trees must not lead to it.
    dropTrees();
    node->reinit();
    return true;
}

// Clipping shapes, image quads: their containers stand, their objects do not exist yet.

bool znRTAccelerator::updateClippingShape(const osg::NodePtr& node, unsigned int& flags)
{
    static std::atomic<bool> isTold{false};
    flags = 0;
    if (!node || !node->getCore())
        znLog::error("Bad Clipping Node");
    else if (!osg::isKindOf<osg::ClipPlane>(node->getCore()))
        znLog::error("Bad Clipping Plane");
    else
        tellOnce(isTold, "Clipping planes do not cut yet");
    return false;
}

bool znRTAccelerator::deleteClippingShape(unsigned long long)
{
    return false;
}

znRTClippingShape* znRTAccelerator::getClippingShape(u32 nodeId) const
{
    const auto found = clippingShapesByNode.find(nodeId);
    return found != clippingShapesByNode.end() ? found->second : nullptr;
}

void znRTAccelerator::applyImageQuadChanges()
{
    static std::atomic<bool> isTold{false};
    tellOnce(isTold, "Image quads are not drawn yet");
}

void znRTAccelerator::updateRayGeometryLights() {}

void znRTAccelerator::setListed(std::vector<znRTGeometryNode*>& list, znRTGeometryNode* node,
                                bool isListed)
{
    // Nodes come here from parallel passes.
    const std::lock_guard lock(registryLock);
    std::erase(list, node);
    if (isListed)
        list.push_back(node);
}

void znRTAccelerator::addRayGeometryLight(znRTGeometryNode* node)
{
    setListed(rayEmittingNodes, node, true);
}

void znRTAccelerator::deleteRayGeometryLight(znRTGeometryNode* node)
{
    setListed(rayEmittingNodes, node, false);
}

void znRTAccelerator::addParticipatingMedia(znRTGeometryNode* node)
{
    if (!node || !node->getNode())
        znLog::error("Bad Participating Media Node");
    else if (!node->getCore())
        znLog::error("Bad Participating Media Geometry");
    else
        setListed(mediaNodes, node, true);
}

void znRTAccelerator::deleteParticipatingMedia(znRTGeometryNode* node)
{
    setListed(mediaNodes, node, false);
}
