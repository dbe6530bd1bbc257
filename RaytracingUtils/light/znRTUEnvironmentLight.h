#pragma once

// A light that stands for a bright part of an environment: parallel light from a direction that
// turns with the environment.

#include "host/osg/UEnvironmentChunk.h"
#include "light/znRTUDeltaLight.h"

class znRTUEnvironmentLight : public znRTUDeltaLight
{
public:
    static const znRTTypeId id;

    znRTUEnvironmentLight(const osg::FCPtr<osg::UEnvironmentChunk>& newChunk,
                          const osg::FCPtr<osg::UEnvironmentLight>& newLight);

    /// Reads the light's container anew.
    bool update() override;
    /// Photons start on a disk that covers the scene, outside of it.
    znRTColorPacket sample_L_Out(const znRTVector2fPacket& u, const znRTVector2fPacket& v,
                                 const znFloatType<2>& mask, znRTVector3fPacket& position,
                                 znRTVector3fPacket& photonDirection, znRTVector3fPacket& normal,
                                 znFloatType<2>& pdf) const override;
    float getPower() const override;
    znRTVector3fPacket getLightVector(const znRTVector3fPacket& position) const override;

    /// @param toLight  unit, world space
    void setWorldDirection(const znRTVector3f& toLight);
    /// In the frame of the environment, unit.
    znRTVector3f getLocalDirection() const;
    const osg::FCPtr<osg::UEnvironmentLight>& getContainer() const { return light; }

private:
    osg::FCPtr<osg::UEnvironmentChunk> chunk;
    osg::FCPtr<osg::UEnvironmentLight> light;
    znRTVector3fPacket toLight{0.0f, 0.0f, 1.0f};
};
