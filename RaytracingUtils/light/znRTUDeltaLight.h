#pragma once

// Lights without area: one direction per illuminated point, which only light sampling finds.

#include "light/znRTLight.h"

class znRTUDeltaLight : public znRTLight
{
public:
    static const znRTTypeId id;

    /// Nothing is read here: the lights themselves say what they need.
    bool update() override { return false; }
    /// Unit vector from a position to the light.
    virtual znRTVector3fPacket getLightVector(const znRTVector3fPacket& position) const = 0;

protected:
    znRTUDeltaLight(const znRTTypeId& typeId, const osg::NodePtr& node,
                    const osg::NodeCorePtr& core)
        : znRTLight(typeId, node, core)
    {
    }
};
