#pragma once

// Area light of a rectangle, with an optional cone.

#include "light/znRTUAreaLight.h"

class znRTURectangularLight : public znRTUAreaLight
{
public:
    static const znRTTypeId id;

    znRTURectangularLight(const osg::NodePtr& node, const osg::NodeCorePtr& core)
        : znRTUAreaLight(id, node, core)
    {
    }

    bool update() override;
    znRTColorPacket evaluateTexture(const znRTVector3fPacket& lightPoint,
                                    const znRTVector2fPacket& uv,
                                    const znFloatType<2>& mask) const override;
};
