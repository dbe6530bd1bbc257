#include "host/znRTLightBase.h"

#include "host/osg/RaytracingLightAttachment.h"
#include "host/osg/UberLight.h"
#include "host/znRTGeometryNodeBase.h"
#include "host/znRTLensFlare.h"

#include <tuple>

znRTLightBase::znRTLightBase(const znRTTypeId& typeId, const osg::NodePtr& node,
                             const osg::NodeCorePtr& core)
    : znRTNode(typeId), m_node(node), m_core(core), m_id(node   ? node->getId()
                                                         : core ? core->getId()
                                                                : 0)
{
    if (node)
        m_attachment = osg::RaytracingLightAttachment::getAttachment(node);
}

namespace {

/// Ray classes that see a light: the bits of its switches, cleared as for geometry.
u32 rayVisibilityOf(const osg::RaytracingLightAttachment* attachment,
                    const osg::UAreaLight* areaLight)
{
    using Base = znRTGeometryNodeBase;
    u32 hidden = 0;
    if (attachment) {
        hidden |= attachment->getPrimaryVisibility() ? 0u : u32(Base::primaryBits);
        hidden |= attachment->getVisibleInReflections() ? 0u : u32(Base::reflectionBits);
        hidden |= attachment->getVisibleInRefractions() ? 0u : u32(Base::refractionBits);
    }
    if (areaLight) {
        hidden |= areaLight->getPrimaryVisibility() ? 0u : u32(Base::primaryBits);
        hidden |= areaLight->getVisibleInReflections() ? 0u : u32(Base::reflectionBits);
    }
    return ~hidden;
}

} // namespace

bool znRTLightBase::update()
{
    const auto before = std::make_tuple(m_isOn, m_localLighting, m_rayVisibility, m_transforms,
                                        m_worldToLight, m_lensFlare);

    m_attachment = osg::RaytracingLightAttachment::getAttachment(m_node);
    if (!m_attachment)
        m_attachment = osg::RaytracingLightAttachment::getAttachment(m_core);
    const auto light = osg::FCPtr<osg::UberLight>::dcast(m_core);
    const auto areaLight = osg::FCPtr<osg::UAreaLight>::dcast(m_core);

    m_isOn = light ? light->getOn() : bool(m_core);
    m_localLighting = light && light->getLocalLighting();
    m_lensFlare = light ? light->getLensFlare() : nullptr;
    m_rayVisibility = rayVisibilityOf(getLightAttachment(), areaLight.get());

    // The place is the beacon's if there is one; whether it lights is a matter of the light's node.
    m_transforms.clear();
    const osg::NodePtr place = light && light->getBeacon() ? light->getBeacon() : m_node;
    if (place && m_node && m_node->isVisibleInTree())
        m_transforms.push_back(place->getToWorld());
    if (!m_transforms.empty()) {
        osg::TransformationMatrix<float> inverse;
        if (m_transforms.front().inverse(inverse))
            m_worldToLight = inverse;
        if (m_lensFlare)
            m_lensFlare->setToWorldMatrix(m_transforms.front());
    }
    return before != std::make_tuple(m_isOn, m_localLighting, m_rayVisibility, m_transforms,
                                     m_worldToLight, m_lensFlare);
}

bool znRTLightBase::getDirectWithPhotons() const
{
    return m_attachment && m_attachment->getDirectWithPhotons();
}

bool znRTLightBase::emitsCausticPhotons() const
{
    return !m_attachment || m_attachment->getEmitCausticPhotons();
}

void znRTLightBase::setWorldToLightMatrix(const osg::TransformationMatrix<float>& worldToLight)
{
    m_worldToLight = worldToLight;
    osg::TransformationMatrix<float> lightToWorld;
    if (!worldToLight.inverse(lightToWorld))
        return;
    m_transforms.assign(1, lightToWorld);
    if (m_lensFlare)
        m_lensFlare->setToWorldMatrix(lightToWorld);
}
