#include "render/cryptomatteIds.h"

#include "accel/znRTAccelerator.h"
#include "geometry/znRTGeometryNode.h"
#include "host/nodePaths.h"
#include "host/osg/Material.h"
#include "host/osg/Node.h"
#include "host/znRTCryptomatte.h"
#include "host/znRTSceneHandler.h"
#include "material/znRTMaterial.h"

const znRTCryptomatteIds::Ids znRTCryptomatteIds::none{znRTCryptomatte::noHit,
                                                       znRTCryptomatte::noHit};

namespace {

/// Names of materials. One without a name is numbered in the order of the objects, so that two
/// renders of a scene agree.
class MaterialNames
{
public:
    std::string operator()(const znRTGeometryNode& node)
    {
        const znRTMaterial* const shown =
            node.getActiveMaterial() ? node.getActiveMaterial()->getFirstActiveMaterial() : nullptr;
        if (!shown || !shown->getHostMaterial())
            return "default";
        const std::string& name = osg::getName(shown->getHostMaterial());
        if (!name.empty())
            return name;
        const auto number = numbers.try_emplace(shown->getMaterialId(), numbers.size() + 1);
        return "material#" + std::to_string(number.first->second);
    }

private:
    std::unordered_map<u32, std::size_t> numbers;
};

} // namespace

void znRTCryptomatteIds::update(znRTCryptomatte& matte, const znRTAccelerator& scene)
{
    const u64 stamp = znRTSceneHandler::getBuildTimeStamp();
    if (namedMatte == &matte && namedScene == &scene && buildTimeStamp == stamp)
        return;
    namedMatte = &matte;
    namedScene = &scene;
    buildTimeStamp = stamp;

    const auto paths = getNodePaths(znRTSceneHandler::getRoot());
    MaterialNames materialName;
    const znDynArray<znRTGeometryNode*>& nodes = scene.getSceneNodes();
    ids.assign(nodes.size, none);
    for (u64 i = 0; i < nodes.size; ++i) {
        const znRTGeometryNode* const node = nodes.data[i];
        if (!node || !node->isAlive())
            continue;
        const auto path = paths.find(node->resolveToObjectNodeId(0));
        const std::string name = path != paths.end() ? path->second : node->getName();
        ids[i].object = matte.addName(znRTCryptomatte::objects, name);
        ids[i].material = matte.addName(znRTCryptomatte::materials, materialName(*node));
    }
}
