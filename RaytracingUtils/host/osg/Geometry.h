#pragma once

// Geometry of points, lines and polygons in the primitive types of OpenGL.
//
// The primitives lie one after the other: getTypes()[i] is the type and getLengths()[i] the number
// of vertices of primitive i. Vertices take their attributes by index; without indices vertex v
// reads entry v of every property. Several indices per vertex address different properties, as the
// index mapping tells.

#include "host/osg/GeoProperty.h"
#include "host/osg/nodeCores.h"

#include <mutex>

namespace osg {

class TriangleIterator;
class LineIterator;

class Geometry : public MaterialDrawable
{
    ZN_CONTAINER(Geometry, MaterialDrawable)

    enum PrimitiveType : u32 {
        points,
        lines,
        lineLoop,
        lineStrip,
        triangles,
        triangleStrip,
        triangleFan,
        quads,
        quadStrip,
        polygon
    };
    /// Bits of an entry of the index mapping: the properties that the index addresses.
    enum Attribute : u32 {
        positionBit = 1,
        normalBit = 2,
        colorBit = 4,
        secondaryColorBit = 8,
        texCoordsBit = 16, ///< of set 0; set k is texCoordsBit << k
        allAttributes = 0xFFF
    };
    static constexpr int texCoordSetCount = 8;

    ZN_SLOT(GeoPropertyPtr, positions, Positions)
    ZN_SLOT(GeoPropertyPtr, normals, Normals)
    ZN_SLOT(GeoPropertyPtr, colors, Colors)
    ZN_SLOT(GeoPropertyPtr, secondaryColors, SecondaryColors)
    ZN_SLOT(GeoPropertyPtr, texCoords, TexCoords)
    ZN_SLOT(GeoPropertyPtr, texCoords1, TexCoords1)
    ZN_SLOT(GeoPropertyPtr, texCoords2, TexCoords2)
    ZN_SLOT(GeoPropertyPtr, texCoords3, TexCoords3)
    ZN_SLOT(GeoPropertyPtr, texCoords4, TexCoords4)
    ZN_SLOT(GeoPropertyPtr, texCoords5, TexCoords5)
    ZN_SLOT(GeoPropertyPtr, texCoords6, TexCoords6)
    ZN_SLOT(GeoPropertyPtr, texCoords7, TexCoords7)
    ZN_SLOT(GeoPropertyPtr, indices, Indices)
    /// One entry per index of a vertex; exactly one entry: one index addresses all.
    ZN_FIELD(std::vector<u32>, indexMapping, IndexMapping, std::vector<u32>{allAttributes}, "", 0,
             4294967295.0)
    ZN_SLOT(std::vector<u32>, lengths, Lengths)
    ZN_SLOT(std::vector<u32>, types, Types)
    /// The colours are baked light: rgb irradiance, alpha occlusion.
    ZN_FLAG(bakedColors, BakedColors, false)
    /// Directions along the first texture coordinate, three floats (a fourth one, the side, is not
    /// read); addressed with the normals. Null: meshes derive them from the texture coordinates.
    ZN_SLOT(GeoPropertyPtr, tangents, Tangents)

    /// @param set  0 to 7; null for others
    GeoPropertyPtr getTexCoordSet(int set) const;
    void setTexCoordSet(int set, const GeoPropertyPtr& property);

    /// Number of vertices that the indices or, without them, the positions give.
    u32 getVertexCount() const;
    /// Indices per vertex; 1 without indices.
    u32 getIndicesPerVertex() const;

    /// Rewrites indices and properties so that one index addresses all. Nothing happens when that
    /// holds already. Callers of the same core wait for each other.
    void makeSingleIndexed();

    /// All surface primitives as triangles.
    TriangleIterator beginTriangles() const;
    TriangleIterator endTriangles() const;
    /// All line primitives as segments.
    LineIterator beginLines() const;
    LineIterator endLines() const;

    Box getBox() const override;

private:
    std::mutex mutex;
};

using GeometryPtr = FCPtr<AttachmentContainerPtr, Geometry>;

/// A node whose children are pieces of one object; needs no positions of its own.
class Shell : public Geometry
{
    ZN_CONTAINER(Shell, Geometry)
    /// Both low bits, the second of which says "shell".
    u32 getGeometryType() const override { return 3; }
};

} // namespace osg

#include "host/osg/primitiveIterators.h"
