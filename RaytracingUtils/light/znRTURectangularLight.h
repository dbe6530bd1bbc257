#pragma once

// Area light of a rectangle, with an optional cone.

#include "light/znRTUFlatLight.h"

class znRTURectangularLight : public znRTUFlatLight
{
public:
    static const znRTTypeId id;

    znRTURectangularLight(const osg::NodePtr& node, const osg::NodeCorePtr& core)
        : znRTUFlatLight(id, node, core)
    {
    }

    bool update() override;
};
