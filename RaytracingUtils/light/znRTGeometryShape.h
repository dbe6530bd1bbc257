#pragma once

// The triangles of a mesh as a light. Triangles are drawn in proportion to their world areas,
// points on them uniformly (P. Shirley, C. Wang, K. Zimmerman, "Monte Carlo Techniques for Direct
// Lighting Calculations", ACM Transactions on Graphics 15(1), 1996, 3.2.1).
//
// An emission texture guides the choice of triangles by its mean on each of them.
//
// Points carry the normal of their triangle, not one interpolated between vertices: it is the one
// that turns densities per area into densities per steradian.

#include "host/znDistribution1D.h"
#include "light/znRTShape.h"

#include <vector>

class znRTGeometryNode;
class znRTMesh;
class znRTTextureSampler;

class znRTGeometryShape : public znRTShape
{
public:
    static const znRTTypeId id;

    explicit znRTGeometryShape(const znRTGeometryNode* geometryNode)
        : znRTGeometryShape(id, geometryNode)
    {
    }

    /// Reads the node's triangles anew, in world space. Nodes that are no meshes have none.
    /// @param newSideness  1 the front emits, 2 the back, 3 both
    /// @param emission     texture on the triangles' coordinates; null for one value all over
    void update(int newSideness, const znRTTextureSampler* emission = nullptr);

    bool isValid() const override { return totalArea > 0.0f; }
    void samplePoint(znFloatType<2>& mask, const znFloatType<2>& u, const znFloatType<2>& v,
                     znRTShapePoint& point) const override;
    znRTColorPacket sampleForLight(const znRTVector2fPacket& u, const znRTVector2fPacket& v,
                                   const znFloatType<2>& mask, int flag,
                                   znRTShapeEmission& emission) const override;
    znFloatType<2> getPdf(const znRTVector3fPacket& origin, const znRTVector3fPacket& point,
                          const znRTVector3fPacket& normal, const znFloatType<2>& areaPdf,
                          const znFloatType<2>& mask) const override;
    float getArea() const override { return totalArea; }
    /// Tests all triangles.
    znFloatType<2> intersectOrEvaluate(const znRTVector3fPacket& origin,
                                       const znRTVector3fPacket& direction,
                                       const znFloatType<2>& mask, znFloatType<2>& t,
                                       znRTShapePoint& point) const override;
    znRTBoundingBox getBoundingBoxInner() const override;
    znRTBoundingBox getBoundingBox() const override { return worldBox; }
    /// Keeps lanes whose horizon the box reaches over.
    znFloatType<2> cullLight(const znRTVector3fPacket& position, const znRTVector3fPacket& normal,
                             const znFloatType<2>& mask) const override;
    znRTVector3f getAveragePoint(const znRTVector3f& point) const override;

    bool isTwoSided() const { return sideness == 3; }
    std::size_t getTriangleCount() const { return triangles.size(); }
    const znDistribution1D& getAreaDistribution() const { return areaDistribution; }

protected:
    znRTGeometryShape(const znRTTypeId& typeId, const znRTGeometryNode* geometryNode)
        : znRTShape(typeId), node(geometryNode)
    {
    }

private:
    /// World space.
    struct Triangle
    {
        znRTVector3f corner, edge1, edge2;
        znRTVector3f normal; ///< unit, on the side that emits
        znRTVector2f uv, uvEdge1, uvEdge2;
        float pdf; ///< of its points, per area
    };

    void readTriangles(const znRTMesh& mesh, std::vector<float>& areas);
    /// Makes the distribution over the triangles.
    void chooseBy(const std::vector<float>& areas, const znRTTextureSampler* emission);
    znFloatType<2> meetOneByOne(const znRTVector3fPacket& origin,
                                const znRTVector3fPacket& direction, const znFloatType<2>& mask,
                                znFloatType<2>& t, znRTShapePoint& point) const;
    /// @param v  chooses the triangle; what is left of it, with u, the point on it
    void drawPoint(int lane, float u, float v, znRTShapePoint& point) const;
    void setPoint(int lane, const Triangle& triangle, float b1, float b2,
                  znRTShapePoint& point) const;

    const znRTGeometryNode* node;
    std::vector<Triangle> triangles;
    znDistribution1D areaDistribution;
    float totalArea = 0.0f, invTotalArea = 0.0f;
    int sideness = 1;
    znRTVector3f centroid;
    znRTBoundingBox worldBox;
};
