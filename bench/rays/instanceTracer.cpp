// The core's trees over a scene: many instances of one mesh, through the accelerator.

#include "tracer.h"

#include "accel/znRTDynamicBVH.h"
#include "core/znRTRayPacketBundle.h"
#include "host/osg/Geometry.h"
#include "host/osg/Node.h"
#include "host/osg/nodeCores.h"
#include "host/znRTSceneHandler.h"

#include <limits>
#include <span>

namespace {
constexpr int s_cameraType = 12; // seen by both eyes

class SceneTracer : public Tracer
{
public:
    SceneTracer(const znRTDynamicBVH& s, bool b) : scene(s), isBundle(b) {}
    std::string getName() const override { return isBundle ? "core.bundle" : "core.packet"; }
    bool accepts(const RaySet& set) const override { return set.isBundled; }
    void trace(const RaySet& set, std::size_t begin, std::size_t end, HitRecord* out) const override
    {
        constexpr unsigned size = znRTRayPacketBundle::s_maxPackets;
        static thread_local znRTRayPacketBundle rays;
        static thread_local znRTHitInfoPacketBundle hits;
        znFloatType<2> tMin[size], tMax[size];
        int masks[size];
        for (std::size_t i = begin; i < end; i += size) {
            const unsigned count = unsigned(std::min<std::size_t>(size, end - i));
            rays.count = hits.count = count;
            for (unsigned k = 0; k < count; ++k) {
                setRay(rays.rays[k], set.packets[i + k]);
                hits.hits[k].t = tMax[k] = znFloatType<2>::load(set.packets[i + k].tFar);
                hits.hits[k].hitMask = hits.hits[k].hitFlags = 0;
                tMin[k] = 0.0f;
                masks[k] = set.packets[i + k].mask;
            }
            setCorners(rays);
            if (isBundle && rays.coherent)
                scene.intersectCO(rays, tMin, tMax, hits, masks, false);
            else
                for (unsigned k = 0; k < count; ++k)
                    scene.intersect(rays.rays[k], tMin[k], tMax[k], hits.hits[k], masks[k], false);
            for (unsigned k = 0; k < count; ++k)
                for (int lane = 0; lane < 4; ++lane) {
                    const bool isHit = (hits.hits[k].hitMask >> lane) & 1;
                    out[4 * (i - begin + k) + unsigned(lane)] = {
                        isHit ? hits.hits[k].t[lane] : std::numeric_limits<float>::infinity(), 0};
                }
        }
    }

private:
    static void setRay(znRTRayPacket& ray, const RayPacket& p)
    {
        ray.origin = {znFloatType<2>::load(p.origin[0]), znFloatType<2>::load(p.origin[1]),
                      znFloatType<2>::load(p.origin[2])};
        ray.direction = {znFloatType<2>::load(p.direction[0]), znFloatType<2>::load(p.direction[1]),
                         znFloatType<2>::load(p.direction[2])};
        ray.type = s_cameraType;
        ray.auxiliary = nullptr;
        ray.updateInverse();
    }
    /// The rays of the four corner pixels; packets stand in rows of eight.
    static void setCorners(znRTRayPacketBundle& rays)
    {
        znRTRayPacket& r = rays.getRepresentative();
        r = rays.rays[0];
        if (rays.count == 64)
            for (int lane = 0; lane < 4; ++lane)
                r.direction.setLane(
                    lane, rays.rays[(lane & 1) * 7 + (lane >> 1) * 56].direction.getLane(lane));
        r.updateInverse();
        rays.coherent = rays.count == 64 && r.isValid();
    }

    const znRTDynamicBVH& scene;
    const bool isBundle;
};

class SceneStructure : public Structure
{
public:
    SceneStructure(const Mesh& mesh, const std::vector<Instance>& instances)
        : root(osg::Node::create(osg::NodeCorePtr()))
    {
        std::vector<osg::Vec3f> positions;
        for (u32 i = 0; i < mesh.positions.size() / 3; ++i)
            positions.emplace_back(mesh.vertex(i)[0], mesh.vertex(i)[1], mesh.vertex(i)[2]);
        std::vector<u32> indices;
        for (const znRTTriangle& t : mesh.triangles)
            indices.insert(indices.end(), {t.a, t.b, t.c});
        geometry = osg::Geometry::create();
        geometry->setPositions(osg::GeoProperty::create(std::span<const osg::Vec3f>(positions)));
        geometry->setIndices(osg::GeoProperty::create(std::span<const u32>(indices)));
        geometry->setLengths({u32(indices.size())});
        geometry->setTypes({osg::Geometry::triangles});
        znRTSceneHandler::updateBuildTimeStamp();
        for (const Instance& instance : instances) {
            osg::Matrix m;
            for (int column = 0; column < 4; ++column)
                for (int row = 0; row < 4; ++row)
                    m[column][row] = instance.toWorld[column][row];
            const auto transform = osg::Transform::create();
            transform->setMatrix(m);
            const osg::NodePtr place = osg::Node::create(transform);
            const osg::NodePtr node = osg::Node::create(geometry.get());
            place->addChild(node);
            root->addChild(place);
            scene.addGeometryNode(node, geometry.get());
        }
        znRTSceneHandler::updateBuildTimeStamp();
        scene.build(100);
        tracers.push_back(std::make_unique<SceneTracer>(scene, true));
        tracers.push_back(std::make_unique<SceneTracer>(scene, false));
    }
    std::string getName() const override { return "core"; }
    u64 getMemory() const override { return u64(scene.getFigures().intersectorMB * 1048576.0f); }
    const std::vector<std::unique_ptr<Tracer>>& getTracers() const override { return tracers; }

private:
    osg::Ref<osg::Node> root;
    osg::Ref<osg::Geometry> geometry;
    znRTDynamicBVH scene;
    std::vector<std::unique_ptr<Tracer>> tracers;
};
} // namespace

std::unique_ptr<Structure> buildCoreInstances(const Mesh& mesh,
                                              const std::vector<Instance>& instances)
{
    return std::make_unique<SceneStructure>(mesh, instances);
}
