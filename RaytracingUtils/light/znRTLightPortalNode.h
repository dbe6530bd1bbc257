#pragma once

// An opening through which light enters a room: an object whose material says so.

class znRTGeometryNode;

class znRTLightPortalNode
{
public:
    /// @param newGeometryNode  outlives the portal
    explicit znRTLightPortalNode(znRTGeometryNode* newGeometryNode) : geometryNode(newGeometryNode)
    {
    }

    znRTGeometryNode* getGeometryNode() const { return geometryNode; }
    /// Strength of the material times the size of the opening, by which portals are ranked; 0
    /// without a material.
    float getPower() const;

private:
    znRTGeometryNode* geometryNode;
};
