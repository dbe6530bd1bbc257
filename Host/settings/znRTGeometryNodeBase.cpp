#include "host/znRTGeometryNodeBase.h"

#include "host/osg/Geometry.h"
#include "host/osg/RaytracingGeoAttachment.h"
#include "settings/overrideMaterial.h"

namespace {

constexpr u32 shellBit = 2;

/// Tells when a core's arrays were replaced. Edits in place are reported by the change list.
u64 stampOf(const osg::NodeCorePtr& core)
{
    const auto geometry = osg::GeometryPtr::dcast(core);
    if (!geometry)
        return 0;
    u64 stamp = 14695981039346656037u; // FNV-1a over addresses and sizes
    const auto add = [&](u64 value) { stamp = (stamp ^ value) * 1099511628211u; };
    for (const osg::GeoPropertyPtr& property : {geometry->getPositions(), geometry->getNormals(),
                                                geometry->getIndices(), geometry->getTexCoords()}) {
        add(property ? u64(reinterpret_cast<std::uintptr_t>(property->getData())) : 0);
        add(property ? property->size() : 0);
    }
    return stamp;
}

} // namespace

void znRTGeometryNodeBase::setNode(const osg::NodePtr& node, const osg::NodeCorePtr& core)
{
    m_node = node;
    m_core = core;
    m_nodeId = node ? node->getId() : 0;
    m_coreId = core ? core->getId() : 0;
}

bool znRTGeometryNodeBase::isAlive() const
{
    const osg::FieldContainerFactory* factory = osg::FieldContainerFactory::the();
    return factory->getContainer(m_nodeId) && factory->getContainer(u32(m_coreId));
}

bool znRTGeometryNodeBase::update()
{
    const osg::NodeCorePtr core = getActiveGeometryCore();
    const State state{core ? core->getId() : 0, stampOf(core), isVisible()};
    const bool transformChanged = updateTransformMatrices();
    const bool changed = !m_wasUpdated || transformChanged || !(state == m_lastState);
    m_lastState = state;
    m_wasUpdated = true;
    return changed;
}

bool znRTGeometryNodeBase::updateTransformMatrices()
{
    if (!m_node)
        return false;
    const osg::TransformationMatrix<float> toWorld = m_node->getToWorld();
    if (znMatrix4x4(toWorld) == m_toWorld)
        return false;
    setTransformMatrix(toWorld);
    return true;
}

void znRTGeometryNodeBase::setTransformMatrix(const osg::TransformationMatrix<float>& toWorld)
{
    m_toWorld = znMatrix4x4(toWorld);
    m_toObject = m_toWorld.inverted();
}

std::string znRTGeometryNodeBase::getName() const
{
    return osg::getName(m_node);
}

int znRTGeometryNodeBase::isVisible() const
{
    constexpr int bothEyes = -1;
    return m_node && m_node->isVisibleInTree() ? bothEyes : 0;
}

void znRTGeometryNodeBase::getOverrides(const osg::NodePtr& node, const osg::NodeCorePtr& core,
                                        osg::RaytracingGeoAttachment*& attachment,
                                        osg::MaterialPtr& overrideMaterial)
{
    attachment = osg::RaytracingGeoAttachment::getAttachment(node).get();
    if (!attachment)
        attachment = osg::RaytracingGeoAttachment::getAttachment(core).get();
    overrideMaterial = attachment ? attachment->getOverrideMaterial() : osg::MaterialPtr();
    if (!overrideMaterial && s_overrideMaterialColor)
        overrideMaterial = getOverrideMaterial(s_materialColorOverride);
}

void znRTGeometryNodeBase::evaluateVisibilityFlags(const osg::NodePtr&,
                                                   const osg::RaytracingGeoAttachment* attachment,
                                                   int visible, float& value,
                                                   int& primaryHiddenFlags, u32& visibilityFlags,
                                                   int sideness)
{
    u32 hidden = 0;
    value = 0.0f;
    primaryHiddenFlags = 0;
    if (attachment) {
        const auto hideUnless = [&](bool on, u32 bits) { hidden |= on ? 0u : bits; };
        hideUnless(attachment->getPrimaryVisibility(), primaryBits);
        primaryHiddenFlags = int(hidden);
        hideUnless(attachment->getVisibleInReflections(), reflectionBits);
        hideUnless(attachment->getVisibleInRefractions(), refractionBits);
        hideUnless(attachment->getCastShadows(), shadowBits);
        hideUnless(attachment->getCastShadowsOnShadowMaterial(), shadowMaterialBits);
        hideUnless(attachment->getVisibleInGlossyReflections(), glossyReflectionBits);
        hideUnless(attachment->getVisibleInPhotons(), photonBits);
        value = attachment->getRoundedEdgeRadius();
    }
    constexpr int front = 1, back = 2;
    if ((sideness == front && !s_showASides) || (sideness == back && !s_showBSides))
        visible = 0;
    visibilityFlags = ~hidden & u32(visible);
}

osg::NodeCorePtr znRTGeometryNodeBase::getActiveGeometryCore() const
{
    // A node whose core was replaced goes on with the new one if that is geometry too.
    if (m_node && osg::isKindOf<osg::MaterialDrawable>(m_node->getCore()))
        return m_node->getCore();
    return m_core;
}

u32 znRTGeometryNodeBase::getShellFieldcontainerId() const
{
    for (osg::NodePtr node = m_node ? m_node->getParent() : osg::NodePtr(); node;
         node = node->getParent()) {
        const auto drawable = osg::FCPtr<osg::MaterialDrawable>::dcast(node->getCore());
        if (drawable && (drawable->getGeometryType() & shellBit))
            return node->getId();
    }
    return 0;
}

u32 znRTGeometryNodeBase::resolveToObjectNodeId(int level) const
{
    if (!m_node)
        return 0;
    if (const u32 shell = getShellFieldcontainerId())
        return shell;
    osg::NodePtr node = m_node;
    for (int i = 0; i < level && node->getParent(); ++i)
        node = node->getParent();
    return node->getId();
}

void znRTGeometryNodeBase::setMaterialColorOverride(const znRTVector3f& color)
{
    s_materialColorOverride = color;
}
