#pragma once

// Area light of an elliptic disk, with an optional cone.

#include "light/znRTUFlatLight.h"

class znRTUDiskLight : public znRTUFlatLight
{
public:
    static const znRTTypeId id;

    znRTUDiskLight(const osg::NodePtr& node, const osg::NodeCorePtr& core)
        : znRTUFlatLight(id, node, core)
    {
    }

    bool update() override;
};
