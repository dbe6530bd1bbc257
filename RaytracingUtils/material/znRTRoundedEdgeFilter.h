#pragma once

// Which surfaces bend the normals near an edge: the short rays that look around a hit for its
// neighbours see only what belongs to the hit, as the material says.

#include "core/znIntType.h"
#include "core/znRTRayFilter.h"

#include <array>

class znRTGeometryNode;

class znRTRoundedEdgeFilter : public znRTRayFilter
{
public:
    enum Mode {
        allGeometry = 0,
        sameObject = 1,
        sameGeometry = 2,
        sameMaterial = 3 ///< and every other number
    };

    using Nodes = std::array<const znRTGeometryNode*, 4>;

    /// What belongs to four hits.
    /// @param hitMode      a Mode
    /// @param hitObjects   id of each hit's object, as resolveToObjectNodeId(level) gives it
    /// @param level        steps up from a node to its object
    /// @param hitNodes     node of each hit; null in lanes without
    /// @param hitMaterial  id of the hits' material; 0 lets every material pass
    znRTRoundedEdgeFilter(int hitMode, const znIntType<2>& hitObjects, int level,
                          const Nodes& hitNodes, u32 hitMaterial)
        : objectIds(hitObjects), nodes(hitNodes), mode(hitMode), objectLevel(level),
          materialId(hitMaterial)
    {
    }

    /// @return no lane for an object without a node
    int filter(const znRTIntersector* const object, int laneMask) const override;
    bool filterSingle(const znRTIntersector* const object, int lane) const override;

private:
    int lanesOn(const znRTGeometryNode* node) const;

    znIntType<2> objectIds;
    Nodes nodes;
    int mode;
    int objectLevel;
    u32 materialId;
};
