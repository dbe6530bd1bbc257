#include "scene/sceneQueries.h"

#include "host/osg/Geometry.h"
#include "host/osg/UberLight.h"

#include <unordered_set>

namespace scene {

namespace {

/// Triangles that a primitive of so many vertices is cut into.
u64 triangleCount(u32 type, u64 length)
{
    switch (type) {
    case osg::Geometry::triangles:
        return length / 3;
    case osg::Geometry::triangleStrip:
    case osg::Geometry::triangleFan:
    case osg::Geometry::polygon:
        return length < 3 ? 0 : length - 2;
    case osg::Geometry::quads:
        return length / 4 * 2;
    case osg::Geometry::quadStrip:
        return length < 4 ? 0 : (length - 2) / 2 * 2;
    default:
        return 0;
    }
}

u64 triangleCount(const osg::Geometry& geometry)
{
    u64 count = 0;
    const std::size_t primitives =
        std::min(geometry.getTypes().size(), geometry.getLengths().size());
    for (std::size_t i = 0; i < primitives; ++i)
        count += triangleCount(geometry.getTypes()[i], geometry.getLengths()[i]);
    return count;
}

} // namespace

std::vector<NamedCamera> findCameras(const osg::NodePtr& root)
{
    std::vector<NamedCamera> cameras;
    osg::traverse(root, [&](const osg::NodePtr& node) {
        if (const osg::CameraPtr camera = osg::Camera::Ptr::dcast(node->getCore())) {
            const std::string& name = osg::getName(camera);
            cameras.push_back({name.empty() ? osg::getName(node) : name, camera, node});
        }
        return true;
    });
    return cameras;
}

Content countContent(const osg::NodePtr& root)
{
    Content content;
    std::unordered_set<u32> seen;
    const auto countMaterial = [&](const osg::MaterialPtr& material) {
        if (material && seen.insert(osg::FCHandle(material).getContainer()->getId()).second)
            content.materials.push_back(osg::getName(material));
    };
    osg::traverse(root, [&](const osg::NodePtr& node) {
        ++content.nodes;
        const osg::NodeCorePtr core = node->getCore();
        if (const auto geometry = osg::Geometry::Ptr::dcast(core)) {
            ++content.instances;
            content.triangles += triangleCount(*geometry);
            if (seen.insert(geometry->getId()).second) {
                ++content.meshes;
                if (geometry->getPositions())
                    content.vertices += geometry->getPositions()->getSize();
            }
            countMaterial(geometry->getMaterial());
        } else if (osg::isKindOf<osg::UberLight>(core)) {
            ++content.lights;
        } else if (osg::isKindOf<osg::Camera>(core)) {
            ++content.cameras;
        }
        return true;
    });
    if (root)
        content.box = root->getWorldBox();
    return content;
}

} // namespace scene
