#include "cleanScene.h"

#include "host/znLog.h"
#include "io/InputError.h"

#include <cmath>
#include <vector>

namespace {

bool isFinite(const aiVector3D& v)
{
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

/// @return why a mesh cannot be used; null if it can
const char* faultOf(const aiMesh& mesh, unsigned materialCount)
{
    if (!mesh.mVertices || mesh.mNumVertices == 0 || !mesh.mFaces || mesh.mNumFaces == 0)
        return "has no faces";
    if (mesh.mMaterialIndex >= materialCount)
        return "has a material that is not there";
    for (unsigned v = 0; v < mesh.mNumVertices; ++v)
        if (!isFinite(mesh.mVertices[v]))
            return "has vertices that are no finite numbers";
    for (unsigned f = 0; f < mesh.mNumFaces; ++f)
        for (unsigned i = 0; i < mesh.mFaces[f].mNumIndices; ++i)
            if (mesh.mFaces[f].mIndices[i] >= mesh.mNumVertices)
                return "has faces with vertices that are not there";
    return nullptr;
}

/// Rewrites a node's list of meshes by the new numbers; those removed have none.
void renumber(aiNode& node, const std::vector<unsigned>& numbers)
{
    unsigned kept = 0;
    for (unsigned i = 0; i < node.mNumMeshes; ++i) {
        const unsigned mesh = node.mMeshes[i];
        if (mesh < numbers.size() && numbers[mesh] != ~0u)
            node.mMeshes[kept++] = numbers[mesh];
    }
    node.mNumMeshes = kept;
}

} // namespace

unsigned removeBadMeshes(aiScene& scene)
{
    std::vector<unsigned> numbers(scene.mNumMeshes, ~0u);
    unsigned kept = 0;
    for (unsigned m = 0; m < scene.mNumMeshes; ++m) {
        aiMesh* const mesh = scene.mMeshes[m];
        if (const char* const fault = faultOf(*mesh, scene.mNumMaterials)) {
            const std::string name = io::printable(mesh->mName.C_Str());
            znLog::warning(
                ("mesh " + std::to_string(m) + " '" + name + "' " + fault + " and is left out")
                    .c_str());
            delete mesh;
            continue;
        }
        numbers[m] = kept;
        scene.mMeshes[kept++] = mesh;
    }
    scene.mNumMeshes = kept;
    std::vector<aiNode*> waiting = {scene.mRootNode};
    while (!waiting.empty()) {
        aiNode* const node = waiting.back();
        waiting.pop_back();
        renumber(*node, numbers);
        waiting.insert(waiting.end(), node->mChildren, node->mChildren + node->mNumChildren);
    }
    return kept;
}
