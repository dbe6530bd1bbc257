#pragma once

// Meshes and scenes of them for tests of geometry and acceleration.

#include "accel/znRTDynamicBVH.h"
#include "core/znRTRayPacketBundle.h"
#include "geometry/znRTMesh.h"
#include "geometry/znRTMeshIntersector.h"
#include "host/osg/Geometry.h"
#include "host/osg/Node.h"
#include "host/osg/nodeCores.h"
#include "host/znLog.h"
#include "host/znRTSceneHandler.h"

#include <memory>
#include <random>
#include <string>
#include <vector>

using GeometryRef = osg::Ref<osg::Geometry>;

/// Triangles of the given vertices and indices.
inline GeometryRef makeMesh(const std::vector<osg::Vec3f>& positions,
                            const std::vector<u32>& indices,
                            const std::vector<osg::Vec3f>& normals = {},
                            const std::vector<osg::Vec2f>& uvs = {})
{
    const GeometryRef geometry = osg::Geometry::create();
    geometry->setPositions(osg::GeoProperty::create(std::span<const osg::Vec3f>(positions)));
    geometry->setIndices(osg::GeoProperty::create(std::span<const u32>(indices)));
    if (!normals.empty())
        geometry->setNormals(osg::GeoProperty::create(std::span<const osg::Vec3f>(normals)));
    if (!uvs.empty())
        geometry->setTexCoords(osg::GeoProperty::create(std::span<const osg::Vec2f>(uvs)));
    geometry->setLengths({u32(indices.size())});
    geometry->setTypes({osg::Geometry::triangles});
    return geometry;
}

/// Square from -1 to 1 in the plane z = 0, front toward +z, uv from 0 to 1.
inline GeometryRef makeSquare()
{
    return makeMesh({{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}}, {0, 1, 2, 0, 2, 3},
                    {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}}, {{0, 0}, {1, 0}, {1, 1}, {0, 1}});
}

/// Triangles at random places of the cube from -1 to 1.
inline GeometryRef makeRandomMesh(u32 triangles, unsigned seed)
{
    std::mt19937 engine(seed);
    std::uniform_real_distribution<float> place(-1.0f, 1.0f), edge(-0.2f, 0.2f);
    std::vector<osg::Vec3f> positions;
    std::vector<u32> indices;
    for (u32 t = 0; t < triangles; ++t) {
        const osg::Vec3f center(place(engine), place(engine), place(engine));
        for (int k = 0; k < 3; ++k) {
            indices.push_back(u32(positions.size()));
            positions.push_back(center + osg::Vec3f(edge(engine), edge(engine), edge(engine)));
        }
    }
    return makeMesh(positions, indices);
}

inline osg::Matrix makeTranslation(float x, float y, float z)
{
    osg::Matrix m;
    m[3][0] = x;
    m[3][1] = y;
    m[3][2] = z;
    return m;
}

/// An accelerator with a scene graph below it. Log lines are collected.
class MeshScene
{
public:
    MeshScene()
        : root(osg::Node::create(osg::NodeCorePtr())), scene(new znRTDynamicBVH),
          sink(znLog::setSink([this](znLog::Level, const char* text) { log.push_back(text); }))
    {
        znRTSceneHandler::updateBuildTimeStamp();
    }
    ~MeshScene()
    {
        scene.reset();
        znLog::setSink(sink);
    }

    /// Adds a node under a transform of its own.
    osg::NodePtr add(const osg::NodeCorePtr& core, const osg::Matrix& matrix = {})
    {
        const auto transform = osg::Transform::create();
        transform->setMatrix(matrix);
        const osg::NodePtr place = osg::Node::create(transform);
        const osg::NodePtr node = osg::Node::create(core);
        place->addChild(node);
        root->addChild(place);
        scene->addGeometryNode(node, core);
        return node;
    }
    void build()
    {
        znRTSceneHandler::updateBuildTimeStamp();
        scene->build(100);
    }
    znRTMesh& mesh(const osg::NodePtr& node)
    {
        return static_cast<znRTMesh&>(*scene->getObject(node->getId()));
    }
    znRTMeshIntersector& intersector(const osg::NodePtr& node)
    {
        return static_cast<znRTMeshIntersector&>(*mesh(node).getCurrentIntersector());
    }
    /// Traces four rays, or those of a mask.
    znRTHitInfoPacket trace(const znRTRayPacket& rays, int mask = 15)
    {
        znRTHitInfoPacket hit;
        hit.reset(1e10f);
        scene->intersect(rays, 0.0f, 1e10f, hit, mask, false);
        return hit;
    }
    bool hasLogged(const std::string& text) const
    {
        for (const std::string& line : log)
            if (line.find(text) != std::string::npos)
                return true;
        return false;
    }

    std::vector<std::string> log;
    osg::Ref<osg::Node> root;
    std::unique_ptr<znRTDynamicBVH> scene;

private:
    znLog::Sink sink;
};

/// Rays straight down along -z through four points of the plane z = 5.
inline znRTRayDifferentialPacket downward(znFloatType<2> x, znFloatType<2> y)
{
    return znRTRayDifferentialPacket(
        znRTRayPacket({x, y, 5.0f}, znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
}
