#pragma once

// Parallel light from infinitely far away.

#include "light/znRTUDeltaLight.h"

class znRTUDirectionalLight : public znRTUDeltaLight
{
public:
    static const znRTTypeId id;

    znRTUDirectionalLight(const osg::NodePtr& node, const osg::NodeCorePtr& core)
        : znRTUDirectionalLight(id, node, core)
    {
    }

    bool update() override;
    /// Photons start on a disk that covers the scene, outside of it.
    znRTColorPacket sample_L_Out(const znRTVector2fPacket& u, const znRTVector2fPacket& v,
                                 const znFloatType<2>& mask, znRTVector3fPacket& position,
                                 znRTVector3fPacket& photonDirection, znRTVector3fPacket& normal,
                                 znFloatType<2>& pdf) const override;
    float getPower() const override;
    float getLuminousIntensity() const override;
    znRTVector3fPacket getLightVector(const znRTVector3fPacket& position) const override;

    const znRTVector3f& getDirection() const { return direction; }

protected:
    znRTUDirectionalLight(const znRTTypeId& typeId, const osg::NodePtr& node,
                          const osg::NodeCorePtr& core);
    /// Completes a frame around the direction of the light.
    void setAxes(const znRTVector3f& newDirection, const znRTVector3f& newTangent,
                 const znRTVector3f& newBitangent);

    znRTVector3f direction{0, 0, -1}; ///< in which the light travels; unit, as the two below
    znRTVector3f tangent{1, 0, 0}, bitangent{0, 1, 0};
    znRTVector3fPacket directionPacket, tangentPacket, bitangentPacket;
    float unit = 1.0f; ///< scene units per metre
};
