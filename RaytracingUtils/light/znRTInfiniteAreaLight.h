#pragma once

// The surroundings as a light: an image or a sky on a sphere without end. The lists of lights do
// not hold it; shading samples it apart, against the lobes by multiple importance sampling.
//
// Directions point towards the environment, in world space. Radiance is absolute: the colours of
// the light are white, its intensity carries everything.
//
// In a scene with light portals, what is drawn for a position goes through their openings half of
// the time, and for an even environment always: lobes find what comes in elsewhere.

#include "core/znDynArray.h"
#include "light/znRTInfiniteBaseShape.h"
#include "light/znRTUAreaLight.h"

#include <vector>

class znRTUEnvironmentLight;

class znRTInfiniteAreaLight : public znRTUAreaLight
{
public:
    static const znRTTypeId id;

    /// @param material  a container of an environment; null leaves the light off
    explicit znRTInfiniteAreaLight(const osg::MaterialPtr& material);
    ~znRTInfiniteAreaLight() override;

    /// Reads the environment anew; without one that can shine the light is off.
    bool update() override;
    bool emitsCausticPhotons() const override { return false; }
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
    using znRTUAreaLight::getIntensity;
    znRTColorPacket getIntensity(const znRTVector3fPacket& position,
                                 const znRTVector3fPacket& direction,
                                 const znRTVector3fPacket& lightPoint, const znRTVector2fPacket& uv,
                                 const znFloatType<2>& mask) const override;
    znRTColorPacket getIntensity(const znRTVector3fPacket& position,
                                 const znRTVector3fPacket& direction, const znRTVector2fPacket& uv,
                                 const znFloatType<2>& mask) const override;
    /// Of the disk that covers the scene, in light from the whole sphere.
    float getPower() const override;
    znRTBoundingBox getBoundingBox() const override { return {}; }
    znFloatType<2> cullLight(const znRTVector3fPacket& position, const znRTVector3fPacket& normal,
                             const znFloatType<2>& mask) const override;
    znFloatType<2> getDistance(const znRTVector3fPacket& position) const override;
    /// A point far outside of the scene in a direction drawn for the origin.
    znFloatType<2> getPointOnLightAndPdf(const znRTVector3fPacket& origin,
                                         const znRTVector3fPacket& normal,
                                         const znRTVector2fPacket& u, const znFloatType<2>& mask,
                                         znRTShapePoint& point) const override;
    using znRTUAreaLight::getPointOnLightAndPdf;
    /// The mean of the whole sphere.
    znRTColorPacket getAverageIntensity(const znRTVector3fPacket& position,
                                        const znFloatType<2>& mask) const override;
    /// Radiance in the direction of a point, seen from the middle of the scene.
    znRTColorPacket evaluateTexture(const znRTVector3fPacket& lightPoint,
                                    const znRTVector2fPacket& uv,
                                    const znFloatType<2>& mask) const override;

    // Operations that only environments have.

    /// Unit vector from a position to a point on the light.
    virtual znRTVector3fPacket getLightVector(const znRTVector3fPacket& position,
                                              const znRTVector3fPacket& lightPoint,
                                              const znFloatType<2>& mask) const;
    /// Draws a direction from the upper half.
    /// @param u    numbers in [0, 1]
    /// @param pdf  out: per steradian; 0 where nothing was drawn
    virtual znRTVector3fPacket getSample(const znRTVector2fPacket& u, znFloatType<2>& pdf,
                                         const znFloatType<2>& mask) const;
    /// Draws a direction in proportion to what the ground receives: a surface that faces along the
    /// environment's axis. Without a density: it is that share of the irradiance.
    znRTVector3fPacket getGroundSample(const znRTVector2fPacket& u,
                                       const znFloatType<2>& mask) const;
    /// Irradiance of the ground, luminance.
    float getGroundIrradiance() const
    {
        return m_isOn ? infiniteShape->getGroundIrradiance() : 0.0f;
    }
    /// Draws a direction for an illuminated position, whose density getPDF answers.
    /// @param uv  out: its place in the image, for getDrawnIntensity
    znRTVector3fPacket getGuidedSample(const znRTVector3fPacket& position,
                                       const znRTVector2fPacket& u, znFloatType<2>& pdf,
                                       znRTVector2fPacket& uv, const znFloatType<2>& mask) const;
    /// Draws a direction from the full sphere by the light alone, wherever it is to shine.
    /// @param uv  out: its place in the image, for getIntensity
    znRTVector3fPacket getFullSphereSample(const znRTVector2fPacket& u, znFloatType<2>& pdf,
                                           znRTVector2fPacket& uv,
                                           const znFloatType<2>& mask) const;
    /// A world direction in the frame of the environment, z up.
    znRTVector3fPacket getLocalLightDir(const znRTVector3fPacket& direction) const;
    /// Radiance at a place in the image.
    znRTColorPacket getIntensity(const znRTVector2fPacket& uv, const znFloatType<2>& mask) const;
    /// Radiance from a direction with the density of drawing it for the position.
    znRTColorPacket getIntensity(const znRTVector3fPacket& position,
                                 const znRTVector3fPacket& direction, const znFloatType<2>& mask,
                                 znFloatType<2>& pdf) const;
    /// Radiance of a direction that was drawn, from its place in the image.
    znRTColorPacket getDrawnIntensity(const znRTVector3fPacket& direction,
                                      const znRTVector2fPacket& uv,
                                      const znFloatType<2>& mask) const;
    using znRTUAreaLight::getSeenIntensity;
    /// Radiance as somebody sees it who looks there. Beside getIntensity it has the parts that
    /// lights of their own stand for.
    znRTColorPacket getSeenIntensity(const znRTVector3fPacket& direction,
                                     const znFloatType<2>& mask) const;
    /// Mean radiance about a direction under a power lobe, for surfaces that do not sample.
    /// @param level  lobeMath::environmentLevel of the lobe
    znRTColorPacket getFilteredIntensity(const znRTVector3fPacket& direction,
                                         const znFloatType<2>& level,
                                         const znFloatType<2>& mask) const;
    /// Between frames: makes what getFilteredIntensity reads, unless it is up to date. Without it
    /// all lobes find the mean of all directions.
    void makeFiltered();
    /// Whether about the same light comes from everywhere: no directions to draw by.
    bool isEven() const { return m_isOn && infiniteShape->isEven(); }
    /// Whether directions are drawn by the light besides those that lobes draw: of an even one only
    /// through portals.
    bool isDrawnFrom() const;
    /// Lights that were taken out of the environment; empty unless it is set to use them.
    const znDynArray<znRTLight*>& getEnvironmentLights() const { return lights; }

    const znRTInfiniteBaseShape* getInfiniteShape() const { return infiniteShape; }
    const osg::MaterialPtr& getEnvironmentMaterial() const { return environmentMaterial; }

private:
    void updateLights();
    /// Density of drawing a direction for a position, from that by the light alone.
    znFloatType<2> withPortals(const znFloatType<2>& skyPdf, const znRTVector3fPacket& position,
                               const znRTVector3fPacket& direction,
                               const znFloatType<2>& mask) const;
    /// The form that the material asks for, as before where it fits.
    void chooseShape();

    osg::MaterialPtr environmentMaterial;
    znRTInfiniteBaseShape* infiniteShape = nullptr; ///< the light's shape
    std::vector<std::unique_ptr<znRTUEnvironmentLight>> ownLights;
    znDynArray<znRTLight*> lights;
};
