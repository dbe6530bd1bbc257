#pragma once

// Container for refined geometry: vertices with all attributes, and triangles over them.

#include "host/znAligned.h"
#include "host/znRTVector.h"

#include <array>
#include <map>
#include <vector>

/// A vertex of a refined mesh. Attributes that the mesh does not have stay zero.
struct znGeoSubdivisionVertex
{
    znRTVector3f position, normal;
    znRTVector4f color, secondaryColor;
    std::array<znRTVector2f, 8> texCoords;

    bool operator==(const znGeoSubdivisionVertex&) const = default;
};

class znGeoSubdivisionList
{
public:
    using Triangle = std::array<u32, 3>;
    static constexpr u32 noVertex = 0xffffffffu;

    /// What the vertices carry beside positions; set by who fills the list.
    bool hasNormals = false, hasColors = false, hasSecondaryColors = false;
    std::array<bool, 8> hasTexCoords{};

    /// @return index of the new vertex
    u32 addVertex(const znGeoSubdivisionVertex& vertex);
    /// Vertex that splits an edge: made once, however many triangles meet at the edge.
    /// @param a, b  ends of the edge in any order
    u32 addVertex(u32 a, u32 b, const znGeoSubdivisionVertex& vertex);
    const znGeoSubdivisionVertex& getVertex(u32 index) const { return vertices[index]; }
    /// @return index of the vertex that splits the edge, noVertex when it is whole
    u32 getVertexID(u32 a, u32 b) const;

    /// @return index of the new triangle; indices of the others stay
    u32 addTriangle(u32 a, u32 b, u32 c);
    /// Takes the triangle out; its index is not used again. Unknown indices are ignored.
    void removeTriangle(u32 index);
    /// @return the triangles that were not removed, in order
    std::vector<Triangle> getTriangles() const;

    const std::vector<znGeoSubdivisionVertex>& getVertices() const { return vertices; }
    void clear();

private:
    std::vector<znGeoSubdivisionVertex> vertices;
    std::vector<Triangle> triangles;
    std::vector<bool> removed;
    std::map<std::array<u32, 2>, u32> splits;
};
