#pragma once

// An opening through which light enters a room: an object whose material says so.

#include "light/portalOpenings.h"

class znRTGeometryNode;

class znRTLightPortalNode
{
public:
    /// Reads the place of the object, which stands until the portals are listed again.
    /// @param newGeometryNode  outlives the portal
    explicit znRTLightPortalNode(znRTGeometryNode* newGeometryNode);

    znRTGeometryNode* getGeometryNode() const { return geometryNode; }
    /// Strength of the material times the area of the openings, by which portals are ranked; 0
    /// without a material and for what is no mesh.
    float getPower() const;
    /// Empty for what is no mesh.
    const std::vector<znRTPortalOpening>& getOpenings() const { return openings; }

private:
    znRTGeometryNode* geometryNode;
    std::vector<znRTPortalOpening> openings;
};
