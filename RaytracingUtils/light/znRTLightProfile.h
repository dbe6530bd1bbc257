#pragma once

// A measured distribution of a point light's intensity over directions. The map's u is the azimuth
// over 360 degrees from the X axis towards Y, v the polar angle from 0 to 180 degrees from the Z
// axis. Values are divided by their integral over the sphere, so that a profile brings one unit of
// flux and the light's colour alone says how much; lights that ask for the map's own candela get
// them as they are.

#include "core/znRTColorPacket.h"
#include "core/znRTVector2fPacket.h"
#include "core/znRTVector3fPacket.h"
#include "host/osg/Image.h"
#include "host/osg/LightProfileAttachment.h"
#include "host/znDistribution2D.h"
#include "host/znRTTextureSampler.h"

class znRTLightProfile : public znAlignedBase16
{
public:
    explicit znRTLightProfile(const osg::LightProfileAttachment* newAttachment)
        : attachment(newAttachment)
    {
    }

    /// @param axisX, axisY, axisZ  unit, world space
    void setTransform(const znRTVector3f& newOrigin, const znRTVector3f& axisX,
                      const znRTVector3f& axisY, const znRTVector3f& axisZ);
    /// Reads wrap modes and, if the map changed, the map of the attachment.
    void update();

    const osg::LightProfileAttachment* getAttachment() const { return attachment; }
    bool hasMap() const { return mapPresent; }
    /// Largest value over all directions.
    float getMaxIntensity() const { return maxIntensity; }
    /// Integral of the values over the sphere: 1 unless the map's candela count.
    float getPower() const { return power; }

    /// Value in a direction, per steradian; 1 / (4 pi) without a map.
    /// @param direction  unit, away from the light, world space
    znFloatType<2> evaluate(const znRTVector3fPacket& direction, const znFloatType<2>& mask) const;
    /// Draws a direction.
    /// @param pdf  per steradian
    /// @return the value in that direction
    znFloatType<2> sample(const znRTVector2fPacket& u, const znFloatType<2>& mask,
                          znRTVector3fPacket& direction, znFloatType<2>& pdf) const;
    /// Density with which sample draws a direction.
    znFloatType<2> getPdf(const znRTVector3fPacket& direction, const znFloatType<2>& mask) const;

private:
    znRTVector2fPacket toMap(const znRTVector3fPacket& direction) const;
    znFloatType<2> readMap(const znRTVector2fPacket& uv) const;
    void calculateDistributions();

    znRTSampler2D sampler;
    const osg::LightProfileAttachment* attachment; ///< it was built from; not owned
    osg::Ref<osg::Image> map;
    u64 mapStamp = 0;
    znDistribution2D distribution; ///< of value times sin of the polar angle
    float maxIntensity = 0.07957747f;
    float power = 1.0f;
    float scale = 1.0f; ///< from map values to values
    bool usesCandela = false;
    bool mapPresent = false;
    znRTVector3f origin;
    znRTVector3fPacket axes[3];
};
