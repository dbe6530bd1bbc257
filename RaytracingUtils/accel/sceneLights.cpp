#include "accel/sceneLights.h"

#include "geometry/znRTGeometryNode.h"
#include "host/osg/Node.h"
#include "host/znRTLensFlare.h"
#include "light/lightTable.h"
#include "light/znRTGeometryLight.h"

#include <algorithm>

znRTSceneLights::znRTSceneLights() = default;
znRTSceneLights::~znRTSceneLights() = default;

void znRTSceneLights::clear()
{
    entries.clear();
    geometryLights.clear();
}

znRTLight* znRTSceneLights::find(u64 id) const
{
    for (const Entry& entry : entries)
        if (entry.id == id)
            return entry.light.get();
    return nullptr;
}

bool znRTSceneLights::add(const osg::NodePtr& node)
{
    if (node && find(node->getId()))
        return true;
    std::unique_ptr<znRTLight> light(createLight(node));
    if (!light)
        return false;
    light->update();
    entries.push_back({node->getId(), std::move(light)});
    return true;
}

bool znRTSceneLights::remove(u64 id)
{
    return std::erase_if(entries, [id](const Entry& entry) { return entry.id == id; }) > 0;
}

void znRTSceneLights::update()
{
    for (const Entry& entry : entries)
        entry.light->update();
}

void znRTSceneLights::updateGeometryLights(std::vector<znRTGeometryNode*> nodes)
{
    // Nodes register from parallel passes: their order would change from run to run.
    std::sort(nodes.begin(), nodes.end(),
              [](const auto* a, const auto* b) { return a->getNodeId() < b->getNodeId(); });
    std::vector<std::unique_ptr<znRTGeometryLight>> before;
    before.swap(geometryLights);
    for (znRTGeometryNode* node : nodes) {
        const auto known = std::find_if(before.begin(), before.end(), [&](const auto& light) {
            return light && light->getGeometryNode() == node && light->getCore() == node->getCore();
        });
        geometryLights.push_back(known != before.end() ? std::move(*known)
                                                       : std::make_unique<znRTGeometryLight>(node));
        geometryLights.back()->update();
    }
}

bool znRTSceneLights::removeGeometryLight(const znRTGeometryNode* node)
{
    return std::erase_if(geometryLights, [node](const auto& light) {
               return light->getGeometryNode() == node;
           }) > 0;
}

std::vector<const znRTUAreaLight*> znRTSceneLights::getAreaLights() const
{
    std::vector<const znRTUAreaLight*> found;
    for (const Entry& entry : entries)
        if (const auto* const light = dynamic_cast<const znRTUAreaLight*>(entry.light.get()))
            found.push_back(light);
    return found;
}

void znRTSceneLights::list(znDynArray<znRTLight*>& lights, znDynArray<znRTLensFlare*>& flares) const
{
    lights.size = flares.size = 0;
    lights.reserve(entries.size() + geometryLights.size(), false);
    flares.reserve(entries.size(), false);
    for (const Entry& entry : entries) {
        lights[lights.size++] = entry.light.get();
        znRTLensFlare* const flare = entry.light->getLensFlare();
        if (flare && flare->isEnabled())
            flares[flares.size++] = flare;
    }
    for (const auto& light : geometryLights)
        lights[lights.size++] = light.get();
}
