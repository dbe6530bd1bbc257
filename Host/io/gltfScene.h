#pragma once

// Builds the tree of a glTF scene: nodes, instances of meshes, cameras and lights.

#include "io/SceneFile.h"
#include "io/gltfMaterials.h"
#include "io/gltfMeshes.h"

namespace io {

class GltfScene
{
public:
    explicit GltfScene(GltfDocument& document);

    /// @throws InputError when nothing that could be shown is left
    SceneFile read();

private:
    std::vector<u64> rootNodes() const;
    void createNodes(SceneFile& scene);
    osg::Ref<osg::Node> createNode(const Json& description, u64 index);
    void fillNode(SceneFile& scene, u64 index);
    void addMesh(const Json& description, u64 index);
    void addParts(const osg::NodePtr& parent, const std::vector<GltfMeshes::Part>& parts);
    void addInstances(const Json& instancing, const osg::NodePtr& parent,
                      const std::vector<GltfMeshes::Part>& parts);
    void addCamera(const Json& description, u64 index);
    void addLight(SceneFile& scene, const Json& description, u64 index);
    void countInstances(u64 count);

    GltfDocument& document;
    GltfTextures textures;
    GltfMaterials materials;
    GltfMeshes meshes;
    std::vector<osg::NodePtr> nodes; ///< by their number; null where not in the scene
    std::vector<u64> inScene;        ///< numbers in tree order
    u64 instances = 0;
};

} // namespace io
