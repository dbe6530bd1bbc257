#pragma once

// Geometry node of triangles. Attributes stay in the arrays of the core, which are read in place;
// a mesh costs three indices per triangle and its tree, shared by all nodes of a core, and tangents
// if its material asks for them.

#include "geometry/vertexAttributes.h"
#include "geometry/znRTGeometryNode.h"

namespace osg {
class Geometry;
}

class znRTMesh : public znRTGeometryNode
{
public:
    static const znRTTypeId id;

    znRTMesh();
    ~znRTMesh() override;

    void initGeometry() override;
    void reinit() override;
    bool updateGeometry(const unsigned long long& mask) override;
    bool verifyData() override;
    u64 getMemoryUsage() const override;
    u64 getGeometryMemoryUsage() const override;
    void updateIntersector(int sideness, bool transparent) override;
    znRTIntersector* getIntersector(int index) override { return getOrCreateIntersector(index); }
    void getAmbientOcclusionData(znRTDataBlockPacket& data, int lane) const override;
    void getShadingDataFull(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                            u32 requirements, u32 attributes) const override;
    void getShadingData(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data, int lane,
                        u32 requirements, u32 attributes) const override;
    void computeDifferentials(znRTDataBlockPacket& data, int lane) const override;
    void computeDifferentials(znRTDataBlockPacket& data) const override;
    void computeNormalDifferentials(znRTDataBlockPacket& data, int lane) const override;
    void computeNormalDifferentials(znRTDataBlockPacket& data) const override;
    znRTVector2fPacket getUVs(unsigned int set, znRTHitInfoPacket& hit) const override;
    znFloatType<2> evaluateCutout(const znRTRayPacket& ray, const znRTHitInfoPacket& hit,
                                  const znFloatType<2>& opacity,
                                  const znFloatType<2>& mask) const override;

    /// Takes the deformed arrays of an enabled skin, or the plain ones.
    void calculateDeformer();
    /// Makes vertex tangents along the first texture set, shared by all nodes of the core.
    /// @return false without positions, normals or texture coordinates
    bool calculateTangents();

    // Attributes of hits in world space, in the lanes of a mask or in one lane; false, and nothing
    // is written, when the mesh has no such attribute.

    bool getTexCoordData(unsigned set, znRTDataBlockPacket& data, int laneBits) const;
    bool getTexCoordData(unsigned set, znRTDataBlockPacket& data, int lane, u32 a, u32 b,
                         u32 c) const;
    bool getVertexTangentData(znRTDataBlockPacket& data, int laneBits) const;
    bool getVertexTangentData(znRTDataBlockPacket& data, int lane, u32 a, u32 b, u32 c) const;
    bool getVertexColorData(znRTDataBlockPacket& data, int laneBits) const;
    bool getVertexColorData(znRTDataBlockPacket& data, int lane, u32 a, u32 b, u32 c) const;

    void setTextureCoordArray(unsigned set, const osg::GeoProperty* property);
    void setVertexColorArray(const osg::GeoProperty* property);
    bool hasTextureCoordinateChanged(unsigned set) const;
    bool hasVertexColorsChanged() const;

    const float* getPositions() const { return positions; }
    const float* getNormals() const { return normals; }
    const float* getTangents() const;
    u32 getVertexCount() const { return vertexCount; }
    bool hasTextureCoordinates(unsigned set) const { return texCoords[set].data != nullptr; }
    osg::Geometry* getGeometry() const;
    /// Fingerprint of everything that list and tree are built from.
    u64 getGeometryVersion() const;

protected:
    znRTIntersector* createIntersector() override;

private:
    /// Vertices of the triangles hit, one triangle per lane.
    struct Corners;

    void readAttributes(const osg::Geometry& geometry);
    void calculateTangent(const unsigned int& i0, const unsigned int& i1, const unsigned int& i2,
                          float* tangents) const;
    Corners fetchCorners(const znRTHitInfoPacket& hit, int laneBits) const;
    void fillShadingData(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                         int laneBits, u32 requirements, u32 attributes) const;

    const float* positions = nullptr;
    const float* normals = nullptr;
    const float* undeformedPositions = nullptr; ///< as the core has them, before skinning
    const float* undeformedNormals = nullptr;
    u32 vertexCount = 0;
    znRTVertexAttribute vertexColors;
    znRTVertexAttribute texCoords[8];
    znRTPropertyStamp positionStamp, normalStamp, colorStamp, texCoordStamps[8], indexStamp;
    u64 tangentsUsed = 0; ///< fingerprint under which this node uses the shared tangents, 0 none
};
