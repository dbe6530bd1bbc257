#include "buildScene.h"

#include "host/osg/Geometry.h"
#include "host/osg/nodeCores.h"
#include "materials.h"

#include <assimp/mesh.h>
#include <cmath>

namespace {

osg::Matrix matrixOf(const aiMatrix4x4& source)
{
    osg::Matrix matrix;
    for (unsigned row = 0; row < 4; ++row)
        for (unsigned column = 0; column < 4; ++column)
            if (std::isfinite(source[row][column]))
                matrix[int(column)][row] = source[row][column];
    return matrix;
}

osg::NodeCorePtr coreOf(const osg::Matrix& matrix)
{
    if (matrix.isIdentity())
        return osg::Group::create();
    const auto transform = osg::Transform::create();
    transform->setMatrix(matrix);
    return transform;
}

/// Unit vectors stay as they are; what is no direction at all becomes the z axis, so that one bad
/// normal does not cost the mesh.
osg::GeoPropertyPtr normalsOf(const aiMesh& mesh)
{
    std::vector<osg::Vec3f> values(mesh.mNumVertices);
    for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
        const aiVector3D& n = mesh.mNormals[i];
        const bool isUsable = std::isfinite(n.x + n.y + n.z) && n.SquareLength() > 1e-20f;
        values[i] = isUsable ? osg::Vec3f(n.x, n.y, n.z) : osg::Vec3f(0, 0, 1);
    }
    return osg::GeoProperty::create(values);
}

float finiteOrZero(float value)
{
    return std::isfinite(value) ? value : 0.0f;
}

void addTextureCoordinates(osg::Geometry& geometry, const aiMesh& mesh)
{
    for (unsigned set = 0; set < AI_MAX_NUMBER_OF_TEXTURECOORDS && mesh.mTextureCoords[set];
         ++set) {
        std::vector<osg::Vec2f> values(mesh.mNumVertices);
        for (unsigned i = 0; i < mesh.mNumVertices; ++i)
            values[i] = osg::Vec2f(finiteOrZero(mesh.mTextureCoords[set][i].x),
                                   finiteOrZero(mesh.mTextureCoords[set][i].y));
        geometry.setTexCoordSet(int(set), osg::GeoProperty::create(values));
    }
}

void addColors(osg::Geometry& geometry, const aiMesh& mesh)
{
    if (!mesh.mColors[0])
        return;
    std::vector<osg::Vec4f> values(mesh.mNumVertices);
    for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
        const aiColor4D& c = mesh.mColors[0][i];
        values[i] =
            osg::Vec4f(finiteOrZero(c.r), finiteOrZero(c.g), finiteOrZero(c.b), finiteOrZero(c.a));
    }
    geometry.setColors(osg::GeoProperty::create(values));
}

/// Indices of all faces with as many vertices as the first.
void addFaces(osg::Geometry& geometry, const aiMesh& mesh)
{
    const u32 types[] = {0, osg::Geometry::points, osg::Geometry::lines, osg::Geometry::triangles};
    const unsigned size = std::min(mesh.mFaces[0].mNumIndices, 3u);
    std::vector<u32> indices;
    indices.reserve(std::size_t(mesh.mNumFaces) * size);
    for (unsigned f = 0; f < mesh.mNumFaces; ++f)
        if (mesh.mFaces[f].mNumIndices == size)
            indices.insert(indices.end(), mesh.mFaces[f].mIndices, mesh.mFaces[f].mIndices + size);
    geometry.setTypes({types[size]});
    geometry.setLengths({u32(indices.size())});
    geometry.setIndices(osg::GeoProperty::create(indices));
}

osg::Ref<osg::Geometry> geometryOf(const aiMesh& mesh)
{
    const osg::Ref<osg::Geometry> geometry = osg::Geometry::create();
    const osg::EditScope edit(geometry.get());
    std::vector<osg::Pnt3f> positions(mesh.mNumVertices);
    for (unsigned i = 0; i < mesh.mNumVertices; ++i)
        positions[i] = osg::Pnt3f(mesh.mVertices[i].x, mesh.mVertices[i].y, mesh.mVertices[i].z);
    geometry->setPositions(osg::GeoProperty::create(positions));
    if (mesh.mNormals && (mesh.mPrimitiveTypes & aiPrimitiveType_TRIANGLE))
        geometry->setNormals(normalsOf(mesh));
    addTextureCoordinates(*geometry, mesh);
    addColors(*geometry, mesh);
    addFaces(*geometry, mesh);
    return geometry;
}

/// Counts against the limits while the graph grows.
class Builder
{
public:
    Builder(const aiScene& scene, const io::SceneFolder& folder)
        : m_scene(scene), m_folder(folder), m_materials(scene, folder),
          m_geometries(scene.mNumMeshes)
    {
    }

    void addTree(osg::Node& root)
    {
        struct Step
        {
            const aiNode* source;
            osg::Node* parent;
        };
        std::vector<Step> waiting = {{m_scene.mRootNode, &root}};
        while (!waiting.empty()) {
            const Step step = waiting.back();
            waiting.pop_back();
            count(&io::Limits::importEntities, ++m_entities, "number of imported entities:");
            const osg::NodePtr node = osg::Node::create(
                coreOf(matrixOf(step.source->mTransformation)), step.source->mName.C_Str());
            addMeshes(*step.source, *node);
            step.parent->insertChild(0, node); // the last child comes out of the list first
            for (unsigned i = 0; i < step.source->mNumChildren; ++i)
                waiting.push_back({step.source->mChildren[i], node.get()});
        }
    }

private:
    void count(u64 io::Limits::*limit, u64 number, const char* subject) const
    {
        m_folder.getLimits().check(limit, number, m_folder.getSceneFile(), subject);
    }

    void addMeshes(const aiNode& source, osg::Node& node)
    {
        for (unsigned i = 0; i < source.mNumMeshes; ++i) {
            const unsigned number = source.mMeshes[i];
            count(&io::Limits::instances, ++m_instances, "number of instances:");
            node.addChild(
                osg::Node::create(geometry(number).get(), m_scene.mMeshes[number]->mName.C_Str()));
        }
    }

    osg::Ref<osg::Geometry> geometry(unsigned number)
    {
        osg::Ref<osg::Geometry>& entry = m_geometries[number];
        if (entry)
            return entry;
        const aiMesh& mesh = *m_scene.mMeshes[number];
        m_triangles += mesh.mNumFaces;
        count(&io::Limits::triangles, m_triangles, "number of faces:");
        count(&io::Limits::importEntities, ++m_entities, "number of imported entities:");
        entry = geometryOf(mesh);
        entry->setMaterial(m_materials.get(mesh.mMaterialIndex));
        return entry;
    }

    const aiScene& m_scene;
    const io::SceneFolder& m_folder;
    MaterialBuilder m_materials;
    std::vector<osg::Ref<osg::Geometry>> m_geometries; ///< made when first used, then shared
    u64 m_entities = 0, m_instances = 0, m_triangles = 0;
};

} // namespace

osg::Ref<osg::Node> buildScene(const aiScene& scene, const osg::Matrix& toHost,
                               const io::SceneFolder& folder)
{
    const std::string& file = folder.getSceneFile();
    const osg::Ref<osg::Node> root =
        osg::Node::create(coreOf(toHost), file.substr(file.rfind('/') + 1));
    Builder(scene, folder).addTree(*root);
    return root;
}
