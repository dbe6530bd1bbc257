#pragma once

// Area light of an elliptic disk, with an optional cone.

#include "light/znRTUAreaLight.h"

class znRTUDiskLight : public znRTUAreaLight
{
public:
    static const znRTTypeId id;

    znRTUDiskLight(const osg::NodePtr& node, const osg::NodeCorePtr& core)
        : znRTUAreaLight(id, node, core)
    {
    }

    bool update() override;
    znRTColorPacket evaluateTexture(const znRTVector3fPacket& lightPoint,
                                    const znRTVector2fPacket& uv,
                                    const znFloatType<2>& mask) const override;
};
