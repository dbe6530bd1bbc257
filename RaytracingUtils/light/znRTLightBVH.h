#pragma once

// Tree over the lights that have a place, with the power below each branch, for a choice of lights
// by position: who descends takes a branch with a probability that follows from box and power.
// Lights without a place are kept apart, to be evaluated always. The lights are not owned.

#include "core/znDynArray.h"
#include "light/znRTLightBVHNode.h"

#include <memory>

/// Build record of one light.
struct znRTLightAcceleratorNode
{
    znRTBoundingBox box;
    float power;
    znRTLight* light;
};

class znRTLightBVH : public znAlignedBase32
{
public:
    znRTLightBVH();
    // The order of the virtual operations is part of the interface.
    virtual ~znRTLightBVH();
    virtual void clear();
    /// Takes the lights that are on, are no environments or measured rays, and bring their light
    /// themselves and not by photons. Fewer than two make no tree.
    virtual void build(const znDynArray<znRTLight*>& lights);
    /// @param nodes     reordered
    /// @param box       around all of them
    /// @param count     of nodes; 0 gives a root without lights
    /// @param maxPower  largest power of one light; 0 makes all lights count alike
    virtual void buildTreeIterative(znDynArray<znRTLightAcceleratorNode>& nodes,
                                    znRTBoundingBox& box, unsigned long long count, float maxPower);

    /// Null before a tree was built.
    const znRTLightBVHNode* getRoot() const { return nodes.get(); }
    const znDynArray<znRTLight*>& getAlwaysEvalLights() const { return alwaysEvalLights; }
    /// Whether there is a tree with lights.
    bool isValid() const { return treeCount > 0; }
    /// Lights in the tree and beside it.
    u64 getActiveLightCount() const { return treeCount + alwaysEvalLights.size; }

private:
    struct Work;
    class Builder;

    std::unique_ptr<znRTLightBVHNode[]> nodes; ///< the root first, then pairs of children
    znDynArray<znRTLight*> alwaysEvalLights;
    u64 treeCount = 0;
};
