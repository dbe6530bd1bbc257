#pragma once

// A point light that shines into a cone with a soft rim. Angles are measured from the axis: inside
// the cone angle the light is full, outside cone plus penumbra there is none. An emission texture
// is projected: it fills the square around the cone.

#include "light/lightCone.h"
#include "light/znRTUPointLight.h"

class znRTUSpotLight : public znRTUPointLight
{
public:
    static const znRTTypeId id;

    znRTUSpotLight(const osg::NodePtr& node, const osg::NodeCorePtr& core)
        : znRTUPointLight(id, node, core)
    {
    }

    bool update() override;
    znRTColorPacket sample_L_Out(const znRTVector2fPacket& u, const znRTVector2fPacket& v,
                                 const znFloatType<2>& mask, znRTVector3fPacket& samplePosition,
                                 znRTVector3fPacket& direction, znRTVector3fPacket& normal,
                                 znFloatType<2>& pdf) const override;
    using znRTLight::getIntensity;
    znRTColorPacket getIntensity(const znRTVector3fPacket& from,
                                 const znRTVector3fPacket& direction, const znRTVector2fPacket& uv,
                                 const znFloatType<2>& mask) const override;
    float getPower() const override;

    const znRTVector3f& getLightDirection() const { return lightDirection; }
    float getOuterCos() const { return cone.outerCos; }
    float getInnerCos() const { return cone.innerCos; }
    float getFocus() const { return focus; }
    float getSolidAngle() const { return cone.solidAngle; }

private:
    znRTColorPacket evaluateProjection(const znRTVector3fPacket& direction,
                                       const znFloatType<2>& mask) const;

    znRTVector3f lightDirection; ///< unit, away from the light
    znRTLightCone cone;
    float focus = 1.0f; ///< 1 / tan of the whole half angle
};
