#pragma once

// Light from a point, the same in all directions or as a measured profile says. An emission texture
// is laid around it like the profile: u is the azimuth from the light's x axis, v the polar angle
// from its -z.

#include "light/lightAttenuation.h"
#include "light/znRTLightProfile.h"
#include "light/znRTUDeltaLight.h"

class znRTUPointLight : public znRTUDeltaLight
{
public:
    static const znRTTypeId id;

    znRTUPointLight(const osg::NodePtr& node, const osg::NodeCorePtr& core)
        : znRTUPointLight(id, node, core)
    {
    }

    bool update() override;
    znRTColorPacket sample_L_Out(const znRTVector2fPacket& u, const znRTVector2fPacket& v,
                                 const znFloatType<2>& mask, znRTVector3fPacket& samplePosition,
                                 znRTVector3fPacket& direction, znRTVector3fPacket& normal,
                                 znFloatType<2>& pdf) const override;
    float getProfilePower() const override;
    using znRTLight::getIntensity;
    znRTColorPacket getIntensity(const znRTVector3fPacket& from,
                                 const znRTVector3fPacket& direction, const znRTVector2fPacket& uv,
                                 const znFloatType<2>& mask) const override;
    float getPower() const override;
    float getLuminousIntensity() const override;
    /// The position, widened so that it is no empty box.
    znRTBoundingBox getBoundingBox() const override;
    znFloatType<2> cullLight(const znRTVector3fPacket& from, const znRTVector3fPacket& normal,
                             const znFloatType<2>& mask) const override;
    znFloatType<2> getDistance(const znRTVector3fPacket& from) const override;
    znRTVector3fPacket getLightVector(const znRTVector3fPacket& from) const override;

    /// Takes the place of a camera, for the light that goes with it. It lasts until update().
    void followCamera(const osg::TransformationMatrix<float>& worldToCamera);

    const znRTVector3f& getPosition() const { return position; }
    const znRTLightAttenuation& getAttenuation() const { return attenuation; }
    const znRTLightProfile* getProfile() const { return hasProfile ? profile.get() : nullptr; }

protected:
    znRTUPointLight(const znRTTypeId& typeId, const osg::NodePtr& node,
                    const osg::NodeCorePtr& core);

    /// Colour, attachment, place, falloff and profile.
    /// @return false when the core is no point light: nothing has changed then
    bool updatePointLight();
    /// Position, axes and profile by the transform in force.
    void readPlace();
    /// Profile, or the value without one, per channel.
    znRTColorPacket directionalValue(const znRTVector3fPacket& direction,
                                     const znFloatType<2>& mask, znFloatType<2> value) const;
    znRTColorPacket attenuated(znRTColorPacket value, const znRTVector3fPacket& from,
                               const znFloatType<2>& mask) const;
    znRTColorPacket evaluateTexture(const znRTVector3fPacket& direction,
                                    const znFloatType<2>& mask) const;
    /// Diffuse colour of photons, with the falloff's scale.
    znRTColorPacket photonColor() const;
    /// Photon of a profile, without the texture.
    znRTColorPacket sampleProfile(const znRTVector2fPacket& u, const znFloatType<2>& mask,
                                  znRTVector3fPacket& samplePosition, znRTVector3fPacket& direction,
                                  znRTVector3fPacket& normal, znFloatType<2>& pdf) const;

    znRTVector3f position;
    znRTVector3fPacket positionPacket;
    znRTVector3fPacket axisForward, axisUp, axisRight; ///< of -z, y and x, unit, world space
    znRTLightAttenuation attenuation;
    float unit = 1.0f; ///< scene units per metre
    std::unique_ptr<znRTLightProfile> profile;
    bool hasProfile = false;
};
