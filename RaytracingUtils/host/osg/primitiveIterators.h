#pragma once

// Walks over the primitives of a geometry as triangles or as line segments. Incomplete primitives
// at the end, and those whose position index lies outside the positions, are left out.

#include "host/osg/Geometry.h"

namespace osg {

/// Place in the list of primitives, common to both iterators.
class PrimitiveCursor
{
public:
    bool operator==(const PrimitiveCursor& other) const
    {
        return primitive == other.primitive && part == other.part;
    }

protected:
    PrimitiveCursor(const Geometry* geometry, bool atEnd);

    /// Type and vertex count of the current primitive, clipped to the vertices there are.
    u32 currentType() const;
    u32 currentLength() const;
    bool isAtEnd() const { return primitive >= primitiveCount; }
    void nextPrimitive();
    /// Index of an attribute at a vertex of the whole vertex list.
    u32 attributeIndex(u32 vertex, u32 attributeBit) const;

    const Geometry* geometry = nullptr;
    const GeoProperty* indices = nullptr;
    u32 primitiveCount = 0, vertexCount = 0, positionCount = 0, indicesPerVertex = 1;
    u32 primitive = 0;   ///< in the list of types
    u32 part = 0;        ///< triangle or segment within the primitive
    u32 firstVertex = 0; ///< of the primitive
};

class TriangleIterator : public PrimitiveCursor
{
public:
    TriangleIterator(const Geometry* geometry, bool atEnd);

    TriangleIterator& operator++();

    /// @param corner  0 to 2, counter-clockwise as the front side is seen
    u32 getPositionIndex(int corner) const { return index(corner, Geometry::positionBit); }
    u32 getNormalIndex(int corner) const { return index(corner, Geometry::normalBit); }
    u32 getColorIndex(int corner) const { return index(corner, Geometry::colorBit); }
    u32 getSecondaryColorIndex(int corner) const
    {
        return index(corner, Geometry::secondaryColorBit);
    }
    u32 getTexCoordsIndex(int corner, int set = 0) const
    {
        return index(corner, u32(Geometry::texCoordsBit) << set);
    }
    Pnt3f getPosition(int corner) const;
    u32 getPrimitiveIndex() const { return primitive; }
    /// Triangles before this one in the walk.
    u32 getIndex() const { return triangle; }

private:
    u32 index(int corner, u32 bit) const { return attributeIndex(corners[corner], bit); }
    bool load();
    void settle();

    u32 corners[3] = {};
    u32 triangle = 0;
};

class LineIterator : public PrimitiveCursor
{
public:
    LineIterator(const Geometry* geometry, bool atEnd);

    LineIterator& operator++();

    /// @param end  0 or 1
    u32 getPositionIndex(int end) const { return attributeIndex(ends[end], Geometry::positionBit); }
    u32 getColorIndex(int end) const { return attributeIndex(ends[end], Geometry::colorBit); }
    u32 getTexCoordsIndex(int end, int set = 0) const
    {
        return attributeIndex(ends[end], u32(Geometry::texCoordsBit) << set);
    }
    Pnt3f getPosition(int end) const;
    u32 getPrimitiveIndex() const { return primitive; }
    u32 getIndex() const { return segment; }

private:
    bool load();
    void settle();

    u32 ends[2] = {};
    u32 segment = 0;
};

} // namespace osg
