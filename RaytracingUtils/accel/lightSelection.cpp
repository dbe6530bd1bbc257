// What the choice among the scene's lights and openings reads: powers as tables, and a tree over
// the lights.

#include "accel/znRTAccelerator.h"
#include "geometry/znRTGeometryNode.h"
#include "host/znSceneDataManager.h"
#include "light/znRTLight.h"
#include "light/znRTLightBVH.h"
#include "light/znRTLightPortalNode.h"
#include "light/znRTPortalGuide.h"

#include <algorithm>

void znRTAccelerator::updateLightDistribution(bool rebuildHierarchy)
{
    const std::lock_guard lock(getLock());
    const float unit = znSceneDataManager::getUnitsPerMetre();
    const float scale = 1.0f / (unit * unit);
    lightPowers.size = 0;
    lightPowers.reserve(lights.size + 1, false);
    for (const znRTLight* light : lights)
        lightPowers[lightPowers.size++] =
            light->getPower() * scale * light->getImportanceMultiplier();
    if (rebuildHierarchy || !hierarchyIsCurrent)
        lightHierarchy->build(lights);
    hierarchyIsCurrent = true;
    const int count = int(lightPowers.size);
    lightDistribution.setFunction(lightPowers.data, count, nullptr, nullptr);
    // The environment comes last, so that both tables have the same indices.
    if (environmentLight)
        lightPowers[lightPowers.size++] = scale * environmentLight->getPower();
    lightDistributionWithEnv.setFunction(lightPowers.data, int(lightPowers.size), nullptr, nullptr);
}

void znRTAccelerator::addLightPortal(znRTGeometryNode* node)
{
    setListed(portalNodes, node, true);
}

void znRTAccelerator::deleteLightPortal(znRTGeometryNode* node)
{
    setListed(portalNodes, node, false);
    // The node may be about to go, and it comes from parallel passes.
    const std::lock_guard lock(registryLock);
    if (std::erase_if(portals,
                      [node](const auto& portal) { return portal->getGeometryNode() == node; }) > 0)
        listPortals();
}

void znRTAccelerator::updateLightPortals()
{
    const std::lock_guard lock(getLock());
    portals.clear();
    for (znRTGeometryNode* node : portalNodes)
        portals.push_back(std::make_unique<znRTLightPortalNode>(node));
    // Nodes register from parallel passes: their order would change from run to run.
    std::sort(portals.begin(), portals.end(), [](const auto& a, const auto& b) {
        return a->getGeometryNode()->getNodeId() < b->getGeometryNode()->getNodeId();
    });
    listPortals();
}

void znRTAccelerator::listPortals()
{
    lightPortals.size = 0;
    lightPortals.reserve(portals.size(), false);
    std::vector<float> powers;
    std::vector<znRTPortalOpening> openings;
    for (const auto& portal : portals) {
        lightPortals[lightPortals.size++] = portal.get();
        powers.push_back(portal->getPower());
        const auto& own = portal->getOpenings();
        openings.insert(openings.end(), own.begin(), own.end());
    }
    portalGuide->set(std::move(openings));
    lightPortalDistribution.setFunction(powers.data(), int(powers.size()), nullptr, nullptr);
}
