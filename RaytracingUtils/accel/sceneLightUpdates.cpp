// How lights enter a scene, follow their containers and leave.

#include "accel/sceneLamps.h"
#include "accel/sceneLights.h"
#include "accel/znRTAccelerator.h"
#include "host/osg/Node.h"
#include "host/osg/UberLight.h"
#include "host/znLog.h"
#include "light/znRTLightBVH.h"

#include <algorithm>
#include <atomic>

void znRTAccelerator::addLight(const osg::NodePtr& node)
{
    const std::lock_guard lock(getLock());
    if (node && osg::isKindOf<osg::URayLight>(node->getCore())) {
        static std::atomic<bool> isTold{false};
        if (!isTold.exchange(true))
            znLog::warning("Lights made of measured rays do not shine yet");
        return;
    }
    if (!sceneLights->add(node)) {
        znLog::error("Bad Light");
        return;
    }
    listLights();
}

bool znRTAccelerator::deleteLight(unsigned long long id)
{
    const std::lock_guard lock(getLock());
    if (!sceneLights->remove(id))
        return false;
    if (headlightId == id)
        headlightId = 0;
    listLights();
    return true;
}

void znRTAccelerator::setHeadlight(const osg::NodePtr& node)
{
    if (!node)
        return;
    const std::lock_guard lock(getLock());
    addLight(node);
    if (sceneLights->find(node->getId()))
        headlightId = node->getId();
}

znRTLight* znRTAccelerator::getHeadlight() const
{
    return headlightId ? sceneLights->find(headlightId) : nullptr;
}

void znRTAccelerator::updateLights()
{
    const std::lock_guard lock(getLock());
    sceneLights->update();
    listLights();
}

void znRTAccelerator::updateGeometryLights()
{
    const std::lock_guard lock(getLock());
    sceneLights->updateGeometryLights(emittingNodes);
    listLights();
}

void znRTAccelerator::listLights()
{
    const std::vector<znRTLight*> before(lights.begin(), lights.end());
    sceneLights->list(lights, lensFlares);
    lamps->list(sceneLights->getAreaLights());
    if (std::equal(lights.begin(), lights.end(), before.begin(), before.end()))
        return;
    // The tree must not lead to lights that are gone.
    lightHierarchy->clear();
    hierarchyIsCurrent = false;
}

void znRTAccelerator::addGeometryLight(znRTGeometryNode* node)
{
    setListed(emittingNodes, node, true);
}

void znRTAccelerator::deleteGeometryLight(znRTGeometryNode* node)
{
    setListed(emittingNodes, node, false);
    // The node may be about to go, and it comes from parallel passes.
    const std::lock_guard lock(registryLock);
    if (sceneLights->removeGeometryLight(node))
        listLights();
}
