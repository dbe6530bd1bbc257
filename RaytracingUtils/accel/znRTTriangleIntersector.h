#pragma once

// Leaf test of triangles: one ray against up to four triangles, one triangle per lane. Nothing is
// precomputed: edges and normal come from the vertices at each visit, so a mesh costs three
// indices per triangle. The test is the one by T. Moeller and B. Trumbore ("Fast, Minimum Storage
// Ray/Triangle Intersection", 1997), arranged around the unscaled normal; see triangleTest.h.
//
// Sides are those of the stored winding, in object space: the front is where A, B, C run
// counter-clockwise. The tolerance of the single-sided tests is absolute, so coordinates should be
// such that edges are longer than 1e-2.

#include "accel/znRTLeafIntersector.h"
#include "accel/znRTTriangle.h"
#include "core/znDynArray.h"

class znRTTriangleIntersector : public znRTLeafIntersector
{
public:
    /// @param vertexPositions  three floats per vertex
    /// @param triangleArray    shared by all nodes of a core
    /// Both must outlive the leaf and are read at every test.
    znRTTriangleIntersector(const float* vertexPositions,
                            const znDynArray<znRTTriangle>& triangleArray, u32 index)
        : positions(vertexPositions), triangles(&triangleArray)
    {
        geometryIndex = index;
    }

    const float* getPositions() const { return positions; }
    const znDynArray<znRTTriangle>& getTriangles() const { return *triangles; }

protected:
    const float* positions;
    const znDynArray<znRTTriangle>* triangles;
};

/// The four operations of a plain triangle leaf.
/// @tparam Sideness  1 front, 2 back, 3 both
template <int Sideness>
class znRTPlainTriangleIntersector : public znRTTriangleIntersector
{
public:
    znRTPlainTriangleIntersector(const float* vertexPositions,
                                 const znDynArray<znRTTriangle>& triangleArray, u32 index)
        : znRTTriangleIntersector(vertexPositions, triangleArray, index)
    {
        plainTriangles = true;
    }

    int getSideness() const override { return Sideness; }
    void intersect(const znRTRayPacket& ray, znRTHitInfoPacket& hit, const znFloatType<2>& tMin,
                   int laneMask, u32 first, u32 count) const override;
    void intersect(const znRTRayPacket& ray, znRTHitInfoPacket& hit, int lane,
                   const znFloatType<2>& tMin, u32 first, u32 count) const override;
    void intersectShadow(const znRTRayPacket& ray, znRTHitInfoPacket& hit,
                         const znFloatType<2>& tMin, int laneMask, u32 first,
                         u32 count) const override;
    void intersectShadow(const znRTRayPacket& ray, znRTHitInfoPacket& hit, int lane,
                         const znFloatType<2>& tMin, u32 first, u32 count) const override;
};

extern template class znRTPlainTriangleIntersector<1>;
extern template class znRTPlainTriangleIntersector<2>;
extern template class znRTPlainTriangleIntersector<3>;

/// @tparam Front  1 hits the front, 0 the back (second and third vertex exchanged on load)
template <int Front>
class znRTSingleSidedTriangleIntersector : public znRTPlainTriangleIntersector<Front ? 1 : 2>
{
public:
    using znRTPlainTriangleIntersector<Front ? 1 : 2>::znRTPlainTriangleIntersector;
};

class znRTDoubleSidedTriangleIntersector : public znRTPlainTriangleIntersector<3>
{
public:
    using znRTPlainTriangleIntersector<3>::znRTPlainTriangleIntersector;
};
