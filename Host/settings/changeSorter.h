#pragma once

// Sorts the records of a change list into znRTSceneChanges.

#include "host/osg/ChangeList.h"
#include "host/znRTSceneChanges.h"
#include "settings/sceneOwners.h"

#include <optional>

class znRTSceneBase;

class ChangeSorter
{
public:
    /// @param scene  may be null; tells which nodes have objects already
    ChangeSorter(znRTSceneBase* scene, znRTSceneChanges& changes);

    void sort(const osg::ChangeList& list, u64 mask);

private:
    void sortCreated(const osg::ChangeList& list);
    void sortChanged(const osg::FieldContainerPtr& container, u64 mask);
    bool sortView(const osg::FieldContainerPtr& container, u64 mask);
    void sortNode(const osg::NodePtr& node, u64 mask);
    void sortChildren(const osg::NodePtr& node);
    void sortCore(const osg::FieldContainerPtr& core, u64 mask);
    void sortMaterial(const osg::FieldContainerPtr& material);
    bool sortAttachment(const osg::FieldContainerPtr& attachment);
    void sortLightNode(u32 nodeId, u32 flag);
    void sortLightsBelow(const osg::NodePtr& node);
    void addCreated(const osg::NodePtr& node);
    void addLost(const osg::NodePtr& node);
    void mark(std::set<u32>& ids, u32 id, u32 flag);
    void findLostNodes();
    void findFollowers();
    void copySelection();
    void dropDestroyed();

    template <class Use>
    void eachOwner(u32 id, Use&& use);
    /// Nodes that have the core.
    template <class Use>
    void eachNodeOf(u32 coreId, Use&& use);
    const SceneOwners& getOwners();

    znRTSceneBase* scene;
    znRTSceneChanges& changes;
    std::optional<SceneOwners> owners; ///< made when it is first needed
    std::optional<std::set<u32>> knownNodes;
    bool childrenChanged = false;
    std::set<u32> visited; ///< containers whose owners were told already
};
