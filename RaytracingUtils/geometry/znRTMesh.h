#pragma once

// Geometry node of triangles. Attributes stay in the arrays of the core, which are read in place;
// a mesh costs three indices per triangle and its tree, shared by all nodes of a core, and tangents
// if its material asks for them.
//
// Barycentrics of a hit: u belongs to the second corner, v to the third, 1 - u - v to the first.
// Normals go through the inverse transposed matrix, also those that come from edges, so that the
// front of a mirrored instance is the front of its triangles as stored.

#include "geometry/vertexAttributes.h"
#include "geometry/znRTGeometryNode.h"
#include "host/osg/Geometry.h"

class znRTMesh : public znRTGeometryNode
{
public:
    static const znRTTypeId id;
    static constexpr int s_textureSets = 8;

    znRTMesh();
    ~znRTMesh() override;

    void initGeometry() override;
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
    void getShadingDataLanes(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                             int laneBits, u32 requirements, u32 attributes) const override;
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
    /// Makes vertex tangents along the first texture set, shared by all nodes of the core; takes
    /// those that the core has, unless a skin moves the vertices.
    /// @return false without positions, or when neither the core's tangents nor normals and texture
    ///         coordinates are there
    bool calculateTangents();

    // Attributes of hits, in the lanes of a mask or in one lane with its vertices; false, and
    // nothing is written, when the mesh has no such attribute.

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
    const float* getNormals() const { return normals; } ///< null without
    /// Triples per vertex, not unit where a vertex has none; null without.
    const float* getTangents() const;
    u32 getVertexCount() const { return vertexCount; }
    bool hasTextureCoordinates(unsigned set) const { return bool(texCoords[set]); }
    znRTVector2f getTextureCoordinate(unsigned set, u32 vertex) const
    {
        return texCoords[set].getVector2f(vertex);
    }
    osg::Geometry* getGeometry() const;
    /// Fingerprint of everything that list and tree are built from; never 0.
    u64 getGeometryVersion() const;

protected:
    znRTIntersector* createIntersector() override;

private:
    /// Vertex numbers of the triangles that were hit; 0 in other lanes.
    struct Corners
    {
        u32 vertex[3][4] = {};
        int lanes = 0;                  ///< bits of lanes that have a triangle
        znRTVector3fPacket position[3]; ///< object space
        znRTVector2fPacket uv[3];       ///< of set 0, where the mesh has one
    };

    bool readPositions(const osg::Geometry& geometry);
    bool hasOwnTangents() const;
    void copyTangents(std::vector<float>& tangents) const;
    void calculateTangent(const unsigned int& i0, const unsigned int& i1, const unsigned int& i2,
                          float* tangents) const;
    void accumulateTangents(const osg::Geometry& geometry, std::vector<float>& tangents) const;
    Corners fetchCorners(const znRTHitInfoPacket& hit, int laneBits) const;
    znRTVector3fPacket gather(const float* array, const Corners& corners, int corner) const;
    znRTVector2fPacket gatherUV(unsigned set, const Corners& corners, int corner) const;

    // The steps of shading data, each for the lanes of some corners.
    void fillShadingData(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                         int laneBits, u32 requirements, u32 attributes) const;
    void fillSurface(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                     const Corners& corners) const;
    void fillTexCoords(unsigned set, znRTDataBlockPacket& data, const Corners& corners) const;
    void fillTangents(znRTDataBlockPacket& data, const Corners& corners) const;
    void fillColors(znRTDataBlockPacket& data, const Corners& corners, u32 attributes) const;
    /// White where the mesh has no colours.
    znRTColorPacket interpolateColor(const znRTHitInfoPacket& hit, const Corners& corners) const;
    void fillEdges(znRTDataBlockPacket& data, const Corners& corners) const;
    znRTVector3fPacket normalAt(const Corners& corners, int corner) const;

    /// Differences along the two edges from the first corner, world space.
    struct Edges
    {
        znRTVector3fPacket position[2];
        znRTVector2fPacket uv[2];          ///< of set 0; 0 without
        znRTVector2fPacket alongU, alongV; ///< steps of the barycentrics per texture coordinate

        /// Steps of the barycentrics for offsets on the plane.
        void project(const znRTVector3fPacket& dPdx, const znRTVector3fPacket& dPdy,
                     znRTVector2fPacket& alongX, znRTVector2fPacket& alongY) const;
    };

    Edges edgesOf(const Corners& corners) const;
    /// From three places of a texture.
    static void setTexture(Edges& edges, const znRTVector2fPacket (&uv)[3]);
    void fillFurtherSets(znRTDataBlockPacket& data, const Corners& corners, const Edges& edges,
                         const znRTVector2fPacket& alongX, const znRTVector2fPacket& alongY) const;
    void fillDerivatives(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                         const Corners& corners, u32 requirements, u32 attributes) const;
    void fillTextureTangents(znRTDataBlockPacket& data, const Edges& edges,
                             const znFloatType<2>& mask) const;
    void fillTextureFootprint(znRTDataBlockPacket& data, const Edges& edges,
                              const znRTVector2fPacket& alongX, const znRTVector2fPacket& alongY,
                              const znFloatType<2>& mask) const;
    void fillNormalDerivatives(znRTDataBlockPacket& data, const Corners& corners,
                               const Edges& edges, const znRTVector2fPacket& alongX,
                               const znRTVector2fPacket& alongY) const;
    void computeDifferentials(znRTDataBlockPacket& data, const Corners& corners) const;
    void computeNormalDifferentials(znRTDataBlockPacket& data, const Corners& corners) const;

    const float* positions = nullptr;
    const float* normals = nullptr;
    const float* undeformedPositions = nullptr; ///< as the core has them, before skinning
    const float* undeformedNormals = nullptr;
    u32 vertexCount = 0;
    bool bakedColors = false; ///< vertex colours are baked light
    znRTVertexAttribute vertexColors;
    znRTVertexAttribute ownTangents; ///< of the core
    znRTVertexAttribute texCoords[s_textureSets];
    znRTPropertyStamp positionStamp, normalStamp, tangentStamp, indexStamp, colorStamp;
    znRTPropertyStamp texCoordStamps[s_textureSets];
    bool usesTangents = false;
};
