#include "host/osg/primitiveIterators.h"

#include <algorithm>

namespace osg {

PrimitiveCursor::PrimitiveCursor(const Geometry* geometry_, bool atEnd)
    : geometry(geometry_), indices(geometry_->getIndices().get()),
      vertexCount(geometry_->getVertexCount()), indicesPerVertex(geometry_->getIndicesPerVertex())
{
    // Without lists of primitives all vertices are one primitive, of triangles unless told.
    const std::size_t types = geometry->getTypes().size(), lengths = geometry->getLengths().size();
    primitiveCount = lengths == 0 ? 1 : u32(std::max<std::size_t>(std::min(types, lengths), 1));
    positionCount = geometry->getPositions() ? geometry->getPositions()->size() : 0;
    if (atEnd || positionCount == 0)
        primitive = primitiveCount;
}

u32 PrimitiveCursor::currentType() const
{
    return primitive < geometry->getTypes().size() ? geometry->getTypes()[primitive]
                                                   : u32(Geometry::triangles);
}

u32 PrimitiveCursor::currentLength() const
{
    const u32 left = firstVertex < vertexCount ? vertexCount - firstVertex : 0;
    return primitive < geometry->getLengths().size()
               ? std::min(geometry->getLengths()[primitive], left)
               : left;
}

void PrimitiveCursor::nextPrimitive()
{
    firstVertex += currentLength();
    ++primitive;
    part = 0;
}

u32 PrimitiveCursor::attributeIndex(u32 vertex, u32 attributeBit) const
{
    if (!indices)
        return vertex;
    const std::vector<u32>& mapping = geometry->getIndexMapping();
    u32 column = 0;
    for (u32 k = 0; k < indicesPerVertex && indicesPerVertex > 1; ++k)
        if (mapping[k] & attributeBit) {
            column = k;
            break;
        }
    return indices->getValue(vertex * indicesPerVertex + column);
}

TriangleIterator::TriangleIterator(const Geometry* geometry_, bool atEnd)
    : PrimitiveCursor(geometry_, atEnd)
{
    settle();
}

/// Corners of the current part; false when the primitive has no such part.
bool TriangleIterator::load()
{
    const u32 n = currentLength(), i = part;
    u32 count = 0, a = 0, b = 0, c = 0;
    switch (currentType()) {
    case Geometry::triangles:
        count = n / 3;
        a = 3 * i, b = a + 1, c = a + 2;
        break;
    case Geometry::triangleStrip:
        // Every second triangle of a strip runs the other way round.
        count = n < 3 ? 0 : n - 2;
        a = i + (i & 1), b = i + 1 - (i & 1), c = i + 2;
        break;
    case Geometry::triangleFan:
    case Geometry::polygon:
        count = n < 3 ? 0 : n - 2;
        a = 0, b = i + 1, c = i + 2;
        break;
    case Geometry::quads: {
        count = 2 * (n / 4);
        const u32 first = 4 * (i / 2);
        a = first, b = first + 1 + (i & 1), c = first + 2 + (i & 1);
        break;
    }
    case Geometry::quadStrip: {
        // Corners of quad q in order around it: 2q, 2q + 1, 2q + 3, 2q + 2.
        count = n < 4 ? 0 : 2 * ((n - 2) / 2);
        const u32 first = 2 * (i / 2);
        a = first, b = i & 1 ? first + 3 : first + 1, c = i & 1 ? first + 2 : first + 3;
        break;
    }
    default:
        return false;
    }
    if (i >= count)
        return false;
    corners[0] = firstVertex + a;
    corners[1] = firstVertex + b;
    corners[2] = firstVertex + c;
    return true;
}

/// Moves on until a triangle with valid positions is loaded.
void TriangleIterator::settle()
{
    while (!isAtEnd()) {
        if (!load())
            nextPrimitive();
        else if (getPositionIndex(0) < positionCount && getPositionIndex(1) < positionCount &&
                 getPositionIndex(2) < positionCount)
            return;
        else
            ++part;
    }
}

TriangleIterator& TriangleIterator::operator++()
{
    ++part;
    ++triangle;
    settle();
    return *this;
}

Pnt3f TriangleIterator::getPosition(int corner) const
{
    return geometry->getPositions()->getVec3(getPositionIndex(corner));
}

LineIterator::LineIterator(const Geometry* geometry_, bool atEnd)
    : PrimitiveCursor(geometry_, atEnd)
{
    settle();
}

bool LineIterator::load()
{
    const u32 n = currentLength(), i = part;
    u32 count = 0, a = i, b = i + 1;
    switch (currentType()) {
    case Geometry::lines:
        count = n / 2;
        a = 2 * i, b = a + 1;
        break;
    case Geometry::lineStrip:
        count = n < 2 ? 0 : n - 1;
        break;
    case Geometry::lineLoop:
        count = n < 2 ? 0 : n;
        b = i + 1 == n ? 0 : i + 1;
        break;
    default:
        return false;
    }
    if (i >= count)
        return false;
    ends[0] = firstVertex + a;
    ends[1] = firstVertex + b;
    return true;
}

void LineIterator::settle()
{
    while (!isAtEnd()) {
        if (!load())
            nextPrimitive();
        else if (getPositionIndex(0) < positionCount && getPositionIndex(1) < positionCount)
            return;
        else
            ++part;
    }
}

LineIterator& LineIterator::operator++()
{
    ++part;
    ++segment;
    settle();
    return *this;
}

Pnt3f LineIterator::getPosition(int end) const
{
    return geometry->getPositions()->getVec3(getPositionIndex(end));
}

} // namespace osg
