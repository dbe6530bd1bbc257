#pragma once

// Who refers to whom below a root, by reflection: the way from a changed container to the nodes and
// materials that show the change.

#include "host/osg/FieldContainer.h"

#include <unordered_map>
#include <vector>

class SceneOwners
{
public:
    /// Visits everything that can be reached from the root; links are not followed.
    explicit SceneOwners(const osg::NodePtr& root);

    /// Whether the container can be reached from the root.
    bool contains(u32 id) const { return owners.count(id) != 0; }
    /// Ids of the containers with a field that refers to this one.
    const std::vector<u32>& getOwners(u32 id) const;
    /// Calls use(id) for everything below the root, in no order.
    template <class Use>
    void each(Use&& use) const
    {
        for (const auto& [id, list] : owners)
            use(id);
    }

private:
    std::unordered_map<u32, std::vector<u32>> owners;
};
