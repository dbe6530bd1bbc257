#pragma once

// Owner of a scene's lights: one object per node with a light core, one per mesh that emits. Lights
// keep the order in which they came; meshes follow in the order of their ids.

#include "core/znDynArray.h"
#include "host/osg/FCPtr.h"
#include "host/znAligned.h"

#include <memory>
#include <vector>

class znRTGeometryLight;
class znRTGeometryNode;
class znRTLensFlare;
class znRTLight;
class znRTUAreaLight;

class znRTSceneLights
{
public:
    znRTSceneLights();
    ~znRTSceneLights();

    void clear();
    /// Makes and updates the light of a node; one that is there stays as it is.
    /// @return false for a core that is no light
    bool add(const osg::NodePtr& node);
    /// @param id  container id of the node
    /// @return false when there is no such light
    bool remove(u64 id);
    /// Lets the lights of nodes read their cores.
    void update();

    /// Keeps one light per node, and lets each read its mesh and material.
    void updateGeometryLights(std::vector<znRTGeometryNode*> nodes);
    /// @return whether the node had a light
    bool removeGeometryLight(const znRTGeometryNode* node);

    /// Area lights of nodes.
    std::vector<const znRTUAreaLight*> getAreaLights() const;
    /// Writes the lists that shading reads.
    void list(znDynArray<znRTLight*>& lights, znDynArray<znRTLensFlare*>& flares) const;
    /// @return null without
    znRTLight* find(u64 id) const;

private:
    struct Entry
    {
        u64 id;
        std::unique_ptr<znRTLight> light;
    };

    std::vector<Entry> entries;
    std::vector<std::unique_ptr<znRTGeometryLight>> geometryLights;
};
