#pragma once

// Sky of a clear day with the sun's disk as a source of light. The sky is an image made from a
// model; the sun is drawn and looked up on its own, since no texel is as small.
//
// Levels: a white floor under a sky of intensity 1 shows 1 without the sun. A sun of brightness 1
// brings to a surface that faces it five times that, as on a clear day about noon. Below the
// horizon the sun is gone, and the sky fades as twilight does.

#include "host/znRTTextureSampler.h"
#include "light/znRTInfiniteHemisphereShape.h"

class znRTInfiniteSunSkyShape : public znRTInfiniteBaseShape
{
public:
    static const znRTTypeId id;
    /// Solid angle of the sun of scale 1: pi (0.6957 / 149.6)^2, steradians.
    static constexpr float s_sunSolidAngle = 6.79408e-5f;

    znRTInfiniteSunSkyShape() : znRTInfiniteBaseShape(id) {}

    bool isValid() const override { return sky.isValid(); }
    unsigned getSampleCount() const override { return sky.getSampleCount(); }
    /// Directions of the sun come with its place in the image.
    znFloatType<2> sample(const znRTVector2fPacket& u, const znFloatType<2>& mask, bool upperOnly,
                          znRTVector3fPacket& direction, znRTVector2fPacket& uv) const override;
    znRTColorPacket evaluate(const znRTVector3fPacket& direction,
                             const znFloatType<2>& mask) const override;
    /// With the sun where the place lies on its disk.
    znRTColorPacket evaluateAt(const znRTVector2fPacket& uv,
                               const znFloatType<2>& mask) const override;
    float getAveragePower() const override { return getPower(); }
    znFloatType<2> pdf(const znRTVector3fPacket& direction,
                       const znFloatType<2>& mask) const override;
    float getPower() const override { return sky.getPower() + sunPower; }
    bool setAttributes(const osg::MaterialPtr& material) override;
    znRTColor getAverageColor() const override;
    znRTColorPacket evaluateDrawn(const znRTVector3fPacket& direction, const znRTVector2fPacket& uv,
                                  const znFloatType<2>& mask) const override;
    znRTColorPacket evaluateWithPdf(const znRTVector3fPacket& direction, const znFloatType<2>& mask,
                                    znFloatType<2>& pdf) const override;
    znRTColorPacket evaluateSeen(const znRTVector3fPacket& direction,
                                 const znFloatType<2>& mask) const override
    {
        return evaluate(direction, mask);
    }
    znRTColorPacket evaluateFiltered(const znRTVector3fPacket& direction,
                                     const znFloatType<2>& level,
                                     const znFloatType<2>& mask) const override;
    void makeFiltered() override { sky.makeFiltered(); }
    bool isEven() const override { return !(pSun > 0.0f) && sky.isEven(); }
    znRTVector3fPacket sampleOnGround(const znRTVector2fPacket& u,
                                      const znFloatType<2>& mask) const override;
    float getGroundIrradiance() const override { return sky.getGroundIrradiance() + sunOnGround(); }

    /// Sets the sun apart from a material, for a given sky.
    /// @param color      radiance of the disk
    /// @param direction  towards the sun, in the environment's frame
    /// @param scale      of the disk's radius
    void setSun(const znRTColor& color, const znRTVector3f& direction, float scale);

    /// Lanes of directions that lead to the disk.
    znFloatType<2> isOnSun(const znRTVector3fPacket& direction) const;
    /// Radiance of the disk in the lanes that look at it, 0 in all others.
    znRTColorPacket lookupSun(const znRTVector3fPacket& direction,
                              const znFloatType<2>& mask) const;
    float getSunProbability() const { return pSun; }
    float getSunPower() const { return sunPower; }
    float getCosSunCone() const { return cosSunCone; }
    const znRTInfiniteHemisphereShape& getSky() const { return sky; }

private:
    /// What the image of the sky depends on.
    struct SkySettings
    {
        float turbidity = 0.0f, skyIntensity = 0.0f, horizonBlur = 0.0f;
        osg::Vec3f groundColor;
        osg::Vec3f sunOnGround; ///< what the sun brings to the ground, over pi
        znRTVector3f sunDirection;
        bool operator==(const SkySettings&) const = default;
    };

    void makeSky(const SkySettings& newSettings);
    /// Irradiance that the sun brings to the ground, luminance.
    float sunOnGround() const
    {
        return pSun > 0.0f && sunDirection.z > 0.0f ? sunPower * sunDirection.z : 0.0f;
    }
    znRTVector3fPacket drawSun(const znRTVector2fPacket& u) const;
    /// Density of the mixture of sun and sky.
    znFloatType<2> density(const znRTVector3fPacket& direction, const znFloatType<2>& mask,
                           bool upperOnly) const;
    /// The sun's part of it.
    znFloatType<2> sunDensity(const znRTVector3fPacket& direction,
                              const znFloatType<2>& mask) const;

    znRTInfiniteHemisphereShape sky;
    bool hasSky = false;
    SkySettings settings;
    znRTSampler2D skyImage;

    znRTColor sunColor{0.0f, 0.0f, 0.0f}; ///< radiance
    float sunPower = 0.0f;
    znRTVector3f sunDirection{0.0f, 0.0f, 1.0f}; ///< in the environment's frame
    znRTVector3fPacket sunWorld{0.0f, 0.0f, 1.0f};
    float sunSolidAngle = s_sunSolidAngle;
    float pSky = 1.0f, pSun = 0.0f;
    float cosSunCone = 1.0f;
    float coneHeight = 0.0f; ///< 1 - cosine of the cone, which the float cosine has no digits for
};
