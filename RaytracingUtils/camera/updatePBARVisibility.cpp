#include "accel/znRTAccelerator.h"
#include "camera/znRTProjectionBasedARLens.h"
#include "geometry/znRTGeometryNode.h"
#include "host/osg/Node.h"
#include "host/osg/PBARGeometryAttachment.h"
#include "render/znRTRenderUtils.h"

#include <unordered_set>

namespace {

using NodeIds = std::unordered_set<u32>;

NodeIds subtreeIds(const std::vector<osg::NodePtr>& roots)
{
    NodeIds ids;
    for (const osg::NodePtr& root : roots)
        osg::traverse(root,
                      [&](const osg::NodePtr& node) { return ids.insert(node->getId()).second; });
    return ids;
}

} // namespace

void updatePBARVisibility(const osg::NodePtr& projectorNode)
{
    const znRTAccelerator* scene = znRTRenderUtils::getCurrentAccelerator();
    if (!scene || !projectorNode)
        return;
    const auto roles = osg::PBARGeometryAttachment::getAttachment(projectorNode);
    if (!roles)
        return;
    const NodeIds virtualIds = subtreeIds(roles->getVirtualNodes());
    const NodeIds receiverIds = subtreeIds(roles->getReceiverNodes());
    const NodeIds shadowIds = subtreeIds(roles->getShadowNodes());
    for (znRTGeometryNode* node : scene->getSceneNodes()) {
        const u32 id = node->getNodeId();
        node->setPBARVisibility(virtualIds.count(id) > 0, receiverIds.count(id) > 0,
                                shadowIds.count(id) > 0);
    }
}
