#pragma once

// Meshes of a glTF file as geometry cores, one per primitive. Cores and their arrays are shared by
// all that use the same ones.

#include "host/osg/Geometry.h"
#include "io/gltfDocument.h"

#include <map>

namespace io {

class GltfMeshes
{
public:
    explicit GltfMeshes(GltfDocument& document_) : document(document_) {}

    /// One primitive of a mesh.
    struct Part
    {
        osg::Ref<osg::Geometry> geometry;
        const Json* primitive; ///< lives as long as the document
    };

    /// The parts of a mesh in the pose that the weights of its morph targets describe. Primitives
    /// that cannot be read are left out with a warning.
    /// @param weights  of a node; empty: those of the mesh
    const std::vector<Part>& get(u64 mesh, const std::vector<double>& weights);

    u64 getTriangleCount() const { return triangles; }

private:
    using PropertyKey = std::pair<u64, int>; ///< accessor and the role it plays

    Part readPrimitive(const Json& primitive, const std::vector<double>& weights);
    void readAttributes(osg::Geometry& geometry, const Json& primitive,
                        const std::vector<double>& weights);
    osg::Ref<osg::GeoProperty> property(const Json& primitive, const char* attribute, u32 dimension,
                                        int role, const std::vector<double>& weights);
    osg::Ref<osg::GeoProperty> colors(const Json& primitive);
    void readIndices(osg::Geometry& geometry, const Json& primitive);
    void dropBadVertices(osg::Geometry& geometry);
    u32 countTriangles(const osg::Geometry& geometry);

    GltfDocument& document;
    std::map<std::pair<u64, std::vector<double>>, std::vector<Part>> meshes;
    std::map<PropertyKey, osg::Ref<osg::GeoProperty>> properties;
    u64 triangles = 0;
};

/// The weights of the morph targets of a node or mesh; empty without.
std::vector<double> morphWeights(const Json& object);

} // namespace io
