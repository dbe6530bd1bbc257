#include "geometry/znRTGeometryNode.h"

#include "accel/znRTAccelerator.h"
#include "core/rayTypes.h"
#include "host/osg/ClipPlane.h"
#include "host/osg/Node.h"
#include "host/osg/RaytracingGeoAttachment.h"
#include "host/znLog.h"
#include "material/znRTMaterial.h"

#include <atomic>

namespace {

/// Bits that a projector's mode keeps back for itself.
constexpr u32 projectedWithoutProjector = 0x3FFFFFFF;

bool isIdentity(const znMatrix4x4& m)
{
    return m == znMatrix4x4::identity();
}

} // namespace

znRTGeometryNode::znRTGeometryNode(const znRTTypeId& typeId) : znRTGeometryNodeBase(typeId) {}

znRTGeometryNode::~znRTGeometryNode()
{
    unregister();
    setIntersector(nullptr);
    znRTSharedGeometryTable::release(sharedVolume);
    delete displacementSettings;
}

void znRTGeometryNode::initialize(const osg::NodePtr& node, const osg::NodeCorePtr& core)
{
    setNode(node, core);
    visible = isVisible();
    initGeometry();
}

void znRTGeometryNode::reinit()
{
    setIntersector(nullptr);
    invalidateTree();
    initGeometry();
}

void znRTGeometryNode::invalidateTree()
{
    if (sharedVolume)
        sharedVolume->invalidate();
}

void znRTGeometryNode::setSharingKey(u64 key)
{
    if (getSharingKey() == key)
        return;
    // Tree and list go before the record that they belong to.
    setIntersector(nullptr);
    znRTSharedGeometryTable::release(sharedVolume);
    sharedVolume = key ? znRTSharedGeometryTable::acquire(key) : nullptr;
}

void znRTGeometryNode::setIntersector(znRTIntersector* newIntersector)
{
    if (newIntersector != intersector)
        delete intersector;
    intersector = newIntersector;
}

znRTIntersector* znRTGeometryNode::getOrCreateIntersector(int index)
{
    if (!intersector || intersector->getNode() != this) {
        initDisplacement();
        setIntersector(createIntersector());
        intersector->initialize();
        // The leaf comes with the sides; without one, rays would pass.
        updateVisibilityFlags();
    } else if (sharedVolume->needsBuild())
        intersector->rebuild();
    updateGeometryIndex(index);
    return intersector;
}

void znRTGeometryNode::recreateIntersector()
{
    znRTIntersector* const old = intersector;
    if (!old)
        return;
    const int sideness = old->getLeaf() ? old->getLeaf()->getSideness() : 3;
    const bool transparent = old->isTransparent();
    const int index = geometryIndex;
    intersector = nullptr;
    getIntersector(index);
    updateIntersector(sideness, transparent);
    delete old;
}

void znRTGeometryNode::updateGeometryIndex(int index)
{
    geometryIndex = index;
    if (intersector)
        intersector->setGeometryIndex(index);
}

bool znRTGeometryNode::updateGeometry(const unsigned long long&)
{
    reinit();
    return true;
}

bool znRTGeometryNode::update()
{
    // Transforms are taken over on the way.
    bool changed = znRTGeometryNodeBase::update();
    if (verifyData()) {
        updateGeometry(~0ull);
        changed = true;
    }
    const int before = visible;
    updateVisibility();
    return changed || visible != before;
}

bool znRTGeometryNode::updateTransformMatrices()
{
    changedFlag = znRTGeometryNodeBase::updateTransformMatrices();
    transformed = !isIdentity(m_toWorld);
    return changedFlag;
}

void znRTGeometryNode::setTransformMatrix(const osg::TransformationMatrix<float>& toWorld)
{
    znRTGeometryNodeBase::setTransformMatrix(toWorld);
    transformed = !isIdentity(m_toWorld);
}

void znRTGeometryNode::updateWorldVolume()
{
    worldVolume = znRTBoundingBox();
    if (!sharedVolume || !sharedVolume->localVolume.isValid())
        return;
    const znRTVector3f low = sharedVolume->localVolume.getMinimum();
    const znRTVector3f high = sharedVolume->localVolume.getMaximum();
    for (int corner = 0; corner < 8; ++corner)
        worldVolume.surround(znRTVector3f(corner & 1 ? high.x : low.x, corner & 2 ? high.y : low.y,
                                          corner & 4 ? high.z : low.z)
                                 .getTransformAsLocation(m_toWorld));
}

void znRTGeometryNode::rebuild()
{
    if (intersector)
        intersector->rebuild();
}

void znRTGeometryNode::setSelected(bool isSelected, bool isPreselected)
{
    selected = isSelected;
    preselected = isPreselected;
}

u64 znRTGeometryNode::getCount() const
{
    return intersector ? intersector->getCount() : 0;
}

u64 znRTGeometryNode::getMemoryUsage() const
{
    return sizeof(*this) + getGeometryMemoryUsage() + getIntersectorMemoryUsage();
}

u64 znRTGeometryNode::getIntersectorMemoryUsage() const
{
    return intersector ? intersector->getMemoryUsage() : 0;
}

bool znRTGeometryNode::isTraceable() const
{
    return valid && visible && intersector && intersector->isValid();
}

void znRTGeometryNode::setMaterial(znRTMaterial* newMaterial)
{
    material = newMaterial;
    activeMaterial = newMaterial;
    if (intersector)
        updateVisibilityFlags();
}

void znRTGeometryNode::updateVisibilityFlags()
{
    activeMaterial = material;
    if (!m_node || !m_core) {
        visibilityFlags = backplateVisibilityFlags = 0;
        return;
    }
    osg::RaytracingGeoAttachment* attachment = nullptr;
    osg::MaterialPtr overrideMaterial;
    getOverrides(m_node, m_core, attachment, overrideMaterial);
    if (overrideMaterial && scene)
        activeMaterial = scene->createMaterial(overrideMaterial);
    photonTarget = attachment && attachment->getPhotonTarget();
    noClipping = attachment && attachment->getNoClipping();
    if (attachment) {
        const osg::Vec3f color = attachment->getAmbientOcclusionColor();
        ambientOcclusionColor = {color[0], color[1], color[2]};
    }

    visibilityFlags = 0;
    if (visible) {
        const int sideness = activeMaterial ? activeMaterial->getSideness() : 3;
        evaluateVisibilityFlags(m_node, attachment, visible, m_roundedEdgeRadius,
                                primaryHiddenFlags, visibilityFlags, sideness);
        if (s_hideAll)
            visibilityFlags = 0;
        if (intersector) {
            updateIntersector(activeMaterial ? sideness : 3,
                              activeMaterial && activeMaterial->isTransparent());
            if (activeMaterial)
                visibilityFlags &= u32(activeMaterial->getVisibility());
        }
    }
    clipped = !noClipping && (!activeMaterial || activeMaterial->allowClipping());
    updateBackplateFlags();
    checkGeometryLight();
    checkLightPortal();
    checkParticipatingMedia();
}

void znRTGeometryNode::updateBackplateFlags()
{
    backplateVisibilityFlags = visibilityFlags;
    if (activeMaterial && activeMaterial->isEnvironment())
        backplateVisibilityFlags &= ~rayType::hiddenByBackplate;
}

bool znRTGeometryNode::updateVisibility()
{
    const int before = visible;
    visible = isVisible();
    if (visible != before)
        updateVisibilityFlags();
    if (!visible)
        return false;
    updateBackplateFlags();
    return true;
}

void znRTGeometryNode::setPBARVisibility(bool a, bool b, bool c)
{
    osg::RaytracingGeoAttachment* attachment = nullptr;
    osg::MaterialPtr ignored;
    getOverrides(m_node, m_core, attachment, ignored);

    u32 flags = projectedWithoutProjector & rayType::defaultVisibility;
    if (attachment && intersector) {
        const int sideness = attachment->getDoubleSided() && material ? material->getSideness()
                             : attachment->getDoubleSided()           ? 3
                                                                      : 1;
        updateIntersector(sideness, material && material->isTransparent());
        u32 base =
            material ? u32(material->getVisibility()) & ~0x300003u : rayType::defaultVisibility;
        const std::pair<bool, u32> switches[] = {
            {attachment->getPrimaryVisibility(), primaryBits},
            {attachment->getVisibleInReflections(), reflectionBits},
            {attachment->getVisibleInRefractions(), refractionBits},
            {attachment->getCastShadows(), shadowBits},
            {attachment->getCastShadowsOnShadowMaterial(), shadowMaterialBits},
            {attachment->getVisibleInGlossyReflections(), glossyReflectionBits},
            {attachment->getVisibleInPhotons(), photonBits}};
        for (const auto& [isOn, bits] : switches)
            if (!isOn)
                base &= ~bits;
        flags = base & projectedWithoutProjector;
    }
    flags &= u32(visible);
    activeMaterial = material;
    if (b)
        visibilityFlags = rayType::projector & u32(visible);
    else if (a)
        visibilityFlags = flags;
    else if (c) {
        static std::atomic<bool> isTold{false};
        if (!isTold.exchange(true))
            znLog::warning("Shadow catching materials are not available: objects that only catch "
                           "shadows keep their own material");
        visibilityFlags = flags;
    } else
        visibilityFlags = 0;
    updateBackplateFlags();
}

bool znRTGeometryNode::getDisplacement(znRTDisplacementSettings*& settings, bool allocate) const
{
    // No material displaces yet.
    if (allocate) {
        delete settings;
        settings = nullptr;
    }
    return false;
}

bool znRTGeometryNode::isPhotonTarget() const
{
    return photonTarget || (activeMaterial && activeMaterial->isPhotonTarget());
}

void znRTGeometryNode::getShadingDataLanes(const znRTRayDifferentialPacket& ray,
                                           znRTDataBlockPacket& data, int laneBits,
                                           u32 requirements, u32 attributes) const
{
    for (int lane = 0; lane < 4; ++lane)
        if ((laneBits >> lane) & 1)
            getShadingData(ray, data, lane, requirements, attributes);
}

znFloatType<2> znRTGeometryNode::evaluateCutout(const znRTRayPacket&, const znRTHitInfoPacket&,
                                                const znFloatType<2>& opacity,
                                                const znFloatType<2>&) const
{
    return opacity;
}

void znRTGeometryNode::updateConnectedList(const znRTAccelerator& accelerator)
{
    clippingShapes.size = 0;
    if (!m_node)
        return;
    for (osg::NodePtr node = m_node->getParent(); node; node = node->getParent()) {
        const auto plane = osg::FCPtr<osg::ClipPlane>::dcast(node->getCore());
        if (!plane || !plane->getOn())
            continue;
        if (const znRTClippingShape* shape = accelerator.getClippingShape(node->getId())) {
            clippingShapes.reserve(clippingShapes.size + 1, true);
            clippingShapes[clippingShapes.size - 1] = shape;
        }
    }
}

namespace {

/// Enters a node in a list of its scene or takes it out, and remembers which.
void setRegistered(znRTAccelerator* scene, znRTGeometryNode* node, bool& isRegistered, bool wanted,
                   void (znRTAccelerator::*add)(znRTGeometryNode*),
                   void (znRTAccelerator::*remove)(znRTGeometryNode*))
{
    if (!scene || isRegistered == wanted)
        return;
    (scene->*(wanted ? add : remove))(node);
    isRegistered = wanted;
}

} // namespace

void znRTGeometryNode::checkGeometryLight()
{
    const bool isShining = m_node && !m_node->isHidden() && activeMaterial;
    setRegistered(scene, this, isRayGeometryLight, isShining && activeMaterial->isRayLight(),
                  &znRTAccelerator::addRayGeometryLight, &znRTAccelerator::deleteRayGeometryLight);
    setRegistered(scene, this, isGeometryLight, isShining && activeMaterial->isLightSource(),
                  &znRTAccelerator::addGeometryLight, &znRTAccelerator::deleteGeometryLight);
}

void znRTGeometryNode::checkLightPortal()
{
    const bool isPortal = visible && activeMaterial && activeMaterial->getPhotonImportance() > 0.0f;
    setRegistered(scene, this, isLightPortal, isPortal, &znRTAccelerator::addLightPortal,
                  &znRTAccelerator::deleteLightPortal);
}

void znRTGeometryNode::checkParticipatingMedia()
{
    const bool isMedia = visible && activeMaterial && activeMaterial->isParticipatingMedia();
    setRegistered(scene, this, isParticipatingMedia, isMedia,
                  &znRTAccelerator::addParticipatingMedia,
                  &znRTAccelerator::deleteParticipatingMedia);
    if (isMedia)
        visibilityFlags = backplateVisibilityFlags = 0;
}

void znRTGeometryNode::unregister()
{
    setRegistered(scene, this, isRayGeometryLight, false, &znRTAccelerator::addRayGeometryLight,
                  &znRTAccelerator::deleteRayGeometryLight);
    setRegistered(scene, this, isGeometryLight, false, &znRTAccelerator::addGeometryLight,
                  &znRTAccelerator::deleteGeometryLight);
    setRegistered(scene, this, isLightPortal, false, &znRTAccelerator::addLightPortal,
                  &znRTAccelerator::deleteLightPortal);
    setRegistered(scene, this, isParticipatingMedia, false, &znRTAccelerator::addParticipatingMedia,
                  &znRTAccelerator::deleteParticipatingMedia);
}
