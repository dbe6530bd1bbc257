#pragma once

// Light from a surface: the light holds colour, falloff and quality, its shape the geometry.
//
// Inverse square falloff is that of a radiating surface: the colour is a radiance, the density of a
// sample turns it into irradiance, and nothing is divided by the distance besides. The other
// falloffs treat the points of the surface as lights without area: colour over falloff, with the
// constant density, whatever the size of the surface.

#include "light/lightAttenuation.h"
#include "light/lightCone.h"
#include "light/znRTLight.h"
#include "light/znRTShape.h"

class znRTUAreaLight : public znRTLight
{
public:
    static const znRTTypeId id;
    static constexpr int physicalKind = 2; ///< lightKind whose density is the shape's

    ~znRTUAreaLight() override;

    bool update() override;
    znRTColorPacket sample_L_Out(const znRTVector2fPacket& u, const znRTVector2fPacket& v,
                                 const znFloatType<2>& mask, znRTVector3fPacket& position,
                                 znRTVector3fPacket& direction, znRTVector3fPacket& normal,
                                 znFloatType<2>& pdf) const override;
    float getPDF(const znRTVector3f& position, const znRTVector3f& normal,
                 const znRTVector3f& direction) const override;
    znFloatType<2> getPDF(const znRTVector3fPacket& position, const znRTVector3fPacket& direction,
                          const znFloatType<2>& mask) const override;
    znFloatType<2> getPDF(const znRTVector3fPacket& position, const znRTVector3fPacket& normal,
                          const znRTVector3fPacket& lightPoint,
                          const znRTVector3fPacket& lightNormal, const znFloatType<2>& mask,
                          const znFloatType<2>& areaPdf) const override;
    using znRTLight::getIntensity;
    znRTColorPacket getIntensity(const znRTVector3fPacket& position,
                                 const znRTVector3fPacket& direction,
                                 const znRTVector3fPacket& lightPoint, const znRTVector2fPacket& uv,
                                 const znFloatType<2>& mask) const override;
    /// Of the point on the shape that the direction leads to; 0 where it leads to none.
    znRTColorPacket getIntensity(const znRTVector3fPacket& position,
                                 const znRTVector3fPacket& direction, const znRTVector2fPacket& uv,
                                 const znFloatType<2>& mask) const override;
    float getPower() const override;
    float getLuminousIntensity() const override;
    znRTBoundingBox getBoundingBox() const override;
    znFloatType<2> cullLight(const znRTVector3fPacket& position, const znRTVector3fPacket& normal,
                             const znFloatType<2>& mask) const override;
    /// To the middle of the shape.
    znFloatType<2> getDistance(const znRTVector3fPacket& position) const override;

    // Operations that only area lights have.

    /// Draws a point on the light for an illuminated position.
    /// @param u  numbers in [0, 1]
    /// @return density per steradian, 0 where the point brings nothing; 1/pi for the kinds that
    ///         are treated as lights without area
    virtual znFloatType<2>
    getPointOnLightAndPdf(const znRTVector3fPacket& origin, const znRTVector3fPacket& normal,
                          znRTVector3fPacket& lightPoint, znRTVector3fPacket& lightNormal,
                          const znRTVector2fPacket& u, const znFloatType<2>& mask) const;
    /// The same with texture coordinates and the density per area.
    virtual znFloatType<2> getPointOnLightAndPdf(const znRTVector3fPacket& origin,
                                                 const znRTVector3fPacket& normal,
                                                 const znRTVector2fPacket& u,
                                                 const znFloatType<2>& mask,
                                                 znRTShapePoint& point) const;
    /// What arrives at a position from the middle of the light, with the mean of its texture.
    virtual znRTColorPacket getAverageIntensity(const znRTVector3fPacket& position,
                                                const znFloatType<2>& mask) const;
    /// Emission texture at a point of the surface; 1 on all channels without one.
    /// @param uv  coordinates as the shape gave them
    virtual znRTColorPacket evaluateTexture(const znRTVector3fPacket& lightPoint,
                                            const znRTVector2fPacket& uv,
                                            const znFloatType<2>& mask) const;
    /// What rays see that meet the light: its texture and cone, to be multiplied with one of its
    /// colours, which is a radiance here whatever the falloff.
    /// @param direction   unit, toward the light
    /// @param lightPoint  where the rays meet it
    /// @param uv          coordinates as the shape gave them
    virtual znRTColorPacket getSeenIntensity(const znRTVector3fPacket& direction,
                                             const znRTVector3fPacket& lightPoint,
                                             const znRTVector2fPacket& uv,
                                             const znFloatType<2>& mask) const;
    /// Share of light that a limited cone lets through.
    /// @param direction  away from the light
    virtual znFloatType<2> getConeFactor(const znRTVector3fPacket& direction) const;
    /// Unit vector to the middle of the light.
    virtual znRTVector3fPacket getAverageLightVector(const znRTVector3fPacket& position) const;
    /// Points on the light per illuminated point, at least 1.
    virtual unsigned getNumSamples() const { return numQualitySamples; }

    znRTShape* getShape() const { return shape.get(); }
    int getLightKind() const { return lightKind; }
    float getAreaScale() const { return areaScale; }
    bool isVisibleInReflections() const { return visibleInReflections; }
    bool hasPrimaryVisibility() const { return primaryVisibility; }
    /// Whether all that it brings to a point comes along directions in which a ray from there
    /// meets it first: then directions may be drawn by others, too.
    bool isMetByRays() const { return metByRays && lightKind == physicalKind && shape; }
    /// Whether points on it are drawn the same for positions near and far.
    bool isDrawnByArea() const { return drawnByArea; }

protected:
    znRTUAreaLight(const znRTTypeId& typeId, const osg::NodePtr& node,
                   const osg::NodeCorePtr& core);

    /// Colours, falloff, quality and visibility of an area light's core.
    /// @return false when the core is another one: the light is as it was
    bool updateAreaLight();
    /// Cone of disks and rectangles.
    void readCone();
    /// Hands place and texture to the shape, and turns the light off without a valid one.
    void updateShape();

    znRTVector3fPacket middle() const;

    std::unique_ptr<znRTShape> shape;
    unsigned numQualitySamples = 1;
    znRTLightAttenuation attenuation;
    float strength = 1.0f; ///< that maxIntensity and photons are scaled by, see attenuation
    int lightKind = physicalKind;
    float areaScale = 3.1415927f; ///< flux of a square unit of radiance 1
    bool visibleInReflections = true;
    bool primaryVisibility = true;
    bool metByRays = false, drawnByArea = false;
    bool usesCone = false;
    znRTLightCone cone;
    znRTVector3fPacket coneAxis; ///< unit, world
};
