#include "host/znRTSceneBase.h"

#include "host/osg/nodeCores.h"
#include "host/znRTGeometryNodeBase.h"
#include "settings/ancestry.h"

osg::MaterialPtr znRTSceneBase::resolveMaterialAssignment(const osg::NodePtr& node,
                                                          const osg::NodeCorePtr& core)
{
    if (const auto drawable = osg::FCPtr<osg::MaterialDrawable>::dcast(core))
        if (drawable->getMaterial())
            return drawable->getMaterial();
    for (osg::NodePtr each = node ? node->getParent() : osg::NodePtr(); each;
         each = each->getParent()) {
        const auto group = osg::FCPtr<osg::MaterialGroup>::dcast(each->getCore());
        if (group && group->getMaterial())
            return group->getMaterial();
        // A shell's material holds for the pieces without one.
        const auto shell = osg::FCPtr<osg::MaterialDrawable>::dcast(each->getCore());
        if (shell && shell->getMaterial())
            return shell->getMaterial();
    }
    return {};
}

unsigned znRTSceneBase::updateObjectMaterialAssignment(u32 id)
{
    const std::lock_guard<std::recursive_mutex> guard(lock);
    unsigned rebuilt = 0;
    for (u64 i = 0; i < getSceneNodesSize(); ++i) {
        const znRTGeometryNodeBase* object = getGeometryNodeBase(i);
        if (object && object->isAlive() && isAtOrBelow(object->getNode(), id) &&
            updateObjectMaterial(unsigned(i)))
            ++rebuilt;
    }
    return rebuilt;
}

bool znRTSceneBase::verifyObjectMaterial(u32 id)
{
    const long long index = findObject(id);
    if (index < 0)
        return false;
    const znRTGeometryNodeBase* object = getGeometryNodeBase(u64(index));
    return object->isAlive() &&
           bool(resolveMaterialAssignment(object->getNode(), object->getCore()));
}

bool znRTSceneBase::verifyObjectData(u32 id)
{
    const long long index = findObject(id);
    const auto node = osg::NodePtr::dcast(osg::FieldContainerFactory::the()->getContainer(id));
    if (index < 0 || !node || !node->getCore())
        return false;
    return getGeometryNodeBase(u64(index))->getCoreId() == node->getCore()->getId();
}

long long znRTSceneBase::findObject(u32 nodeId)
{
    for (u64 i = 0; i < getSceneNodesSize(); ++i) {
        const znRTGeometryNodeBase* object = getGeometryNodeBase(i);
        if (object && object->getNodeId() == nodeId)
            return static_cast<long long>(i);
    }
    return -1;
}
