#pragma once

// What shading, photon tracing and the choice of lights know of a light.
//
// Rules that tie the operations together:
// - An illuminated point estimates  f cos(wi) * colour * intensity / pdf  for every kind of light:
//   colour is getDiffuseColor or getGlossyColor, intensity is getIntensity, pdf is getPDF. Lights
//   without area have the constant density 1/pi, so that a white Lambert surface facing a light of
//   colour 1 shows exactly 1.
// - sample_L_Out agrees with that: lights whose density is the constant 1/pi emit pi times their
//   power, so that photons and sampled light bring the same irradiance.
// - Directions of getIntensity, getPDF and shadows point from the illuminated point towards the
//   light; those of sample_L_Out leave the light. All are unit and in world space.
// - Masks are full-width lane masks; results are 0 in the other lanes.
// - update() runs between frames on the host's thread; everything const is safe on any thread.

#include "core/znRTBoundingBox.h"
#include "core/znRTColorPacket.h"
#include "core/znRTShadingState.h"
#include "core/znRTVector2fPacket.h"
#include "core/znRTVector3fPacket.h"
#include "host/osg/Image.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "host/znRTLightBase.h"

#include <memory>

class znDistribution2D;
class znRTDataBlockPacket;
class znRTLightProfile;
class znRTRayDifferentialPacket;
class znRTRayPacket;
class znRTSampler2D;

namespace osg {
class LightProfileAttachment;
class Spectrum;
} // namespace osg

class znRTLight : public znRTLightBase, public znAlignedBase16
{
public:
    static const znRTTypeId id;
    /// Density of all lights that are no area to sample, per steradian.
    static constexpr float s_constantPdf = 0.31830987f;

    // The order of the virtual operations is part of the interface.
    ~znRTLight() override;
    /// Reads colours, attachment and emission texture anew.
    /// @return true when the place or the switches of the light changed
    bool update() override;
    bool getDirectWithPhotons() const override;
    bool emitsCausticPhotons() const override;
    /// Ray of a photon.
    /// @param u, v       numbers in [0, 1]: u chooses the place or, where there is none, the
    ///                   direction; v the direction
    /// @param direction  unit, away from the light
    /// @param normal     of the light at the position; the direction for lights without area
    /// @param pdf        density of position and direction; 0 where nothing leaves the light
    /// @return radiant quantity that goes with the pdf, times the diffuse colour: the power of the
    ///         photon is  value * |cos(direction, normal)| / pdf
    virtual znRTColorPacket sample_L_Out(const znRTVector2fPacket& u, const znRTVector2fPacket& v,
                                         const znFloatType<2>& mask, znRTVector3fPacket& position,
                                         znRTVector3fPacket& direction, znRTVector3fPacket& normal,
                                         znFloatType<2>& pdf) const = 0;
    /// Balance heuristic over two densities of a direction (E. Veach, "Robust Monte Carlo Methods
    /// for Light Transport Simulation", 1997, 9.2): the weight of a sample drawn by A is
    /// pdfA times this.
    /// @return 1 / (pdfA + pdfB), 0 where both are 0
    virtual znFloatType<2> getMISWeight(const znFloatType<2>& pdfA,
                                        const znFloatType<2>& pdfB) const;
    /// Flux of the angular distribution for one unit of power; 1 without a profile.
    virtual float getProfilePower() const;
    /// Density of a direction at a point, per steradian.
    virtual float getPDF(const znRTVector3f& position, const znRTVector3f& normal,
                         const znRTVector3f& direction) const;
    virtual znFloatType<2> getPDF(const znRTVector3fPacket& position,
                                  const znRTVector3fPacket& direction,
                                  const znFloatType<2>& mask) const;
    /// Density of the direction to a point on the light, per steradian at the illuminated position.
    /// @param areaPdf  density with which the light's shape drew the point, per area
    virtual znFloatType<2> getPDF(const znRTVector3fPacket& position,
                                  const znRTVector3fPacket& normal,
                                  const znRTVector3fPacket& lightPoint,
                                  const znRTVector3fPacket& lightNormal, const znFloatType<2>& mask,
                                  const znFloatType<2>& areaPdf) const;
    /// Light along a ray that starts at an illuminated point.
    virtual znRTColorPacket getIntensity(const znRTRayDifferentialPacket& ray,
                                         znRTDataBlockPacket& data,
                                         const znFloatType<2>& mask) const;
    /// Light that arrives at a position from a point on the light.
    /// @param uv  texture coordinates of that point
    virtual znRTColorPacket getIntensity(const znRTVector3fPacket& position,
                                         const znRTVector3fPacket& direction,
                                         const znRTVector3fPacket& lightPoint,
                                         const znRTVector2fPacket& uv,
                                         const znFloatType<2>& mask) const;
    /// Light that arrives at a position from a direction, without the colour: falloff, profile and
    /// texture.
    virtual znRTColorPacket getIntensity(const znRTVector3fPacket& position,
                                         const znRTVector3fPacket& direction,
                                         const znRTVector2fPacket& uv,
                                         const znFloatType<2>& mask) const;
    /// Power that ranks the light against others; 0 when it is off.
    virtual float getPower() const;
    virtual float getLuminousIntensity() const;
    /// Where the light is; empty for lights at infinity.
    virtual znRTBoundingBox getBoundingBox() const;
    /// @return the lanes of mask that light can reach over the horizon of their surface
    virtual znFloatType<2> cullLight(const znRTVector3fPacket& position,
                                     const znRTVector3fPacket& normal,
                                     const znFloatType<2>& mask) const;
    /// Distance up to which a shadow ray looks for occluders.
    virtual znFloatType<2> getDistance(const znRTVector3fPacket& position) const;

    const znRTColor& getDiffuseColor() const { return diffuseColor; }
    const znRTColor& getGlossyColor() const { return glossyColor; }
    float getDiffusePhotometric() const { return diffusePhotometric; }
    float getGlossyPhotometric() const { return glossyPhotometric; }
    /// Largest channel of both colours, scaled by the falloff's unit.
    float getMaxIntensity() const { return maxIntensity; }
    float getShadowIntensity() const { return shadowIntensity; }
    float getGroundShadowIntensity() const { return groundShadowIntensity; }
    float getImportanceMultiplier() const { return importanceMultiplier; }
    bool getCastShadowOnShadowMaterial() const { return castShadowOnShadowMaterial; }
    bool getIlluminateShadowMaterial() const { return illuminateShadowMaterial; }

    /// Mean of the emission texture where it guides sampling, else 1.
    float getCdfAverage() const;
    /// Takes an emission texture; its distribution is made again when its image is another one.
    /// @param sampler        not owned; null for none
    /// @param useImportance  points are drawn in proportion to the texture
    void setupTexture(znRTSampler2D* sampler, bool useImportance);
    /// Makes or refreshes a profile.
    /// @param axisX, axisY, axisZ  world space, unit: azimuth counts from X towards Y, the polar
    ///                             angle from Z
    /// @param profile              in and out, owned by the light; null when there is none
    /// @return false without an attachment or when it is switched off; the profile stays
    bool setupIESProfile(const osg::LightProfileAttachment* attachment, const znRTVector3f& origin,
                         const znRTVector3f& axisX, const znRTVector3f& axisY,
                         const znRTVector3f& axisZ,
                         std::unique_ptr<znRTLightProfile>& profile) const;

    /// Colour of a light in linear sRGB, alpha 1: that of the spectrum, when there is a usable one,
    /// else (r, g, b), times the intensity.
    static znRTColor calculateLightSpectrum(const osg::Spectrum* spectrum, float intensity, float r,
                                            float g, float b);

    // Shadows, see light/shadowFactor.cpp. A factor is 1 where nothing dims the light, alpha is 0.

    /// Share of light that reaches the origins.
    /// @param ray              the ray that is being shaded: its type tells the eye
    /// @param direction        towards the light, any length
    /// @param t0, t1           interval along the unit direction, open at both ends
    /// @param visibility       class bits of the shadow ray, see shadowVisibility
    /// @param shadowIntensity  0 ignores all occluders, 1 takes them as they are
    /// @param state            of the hit; transparent occluders take decisions of their own
    static znRTColorPacket
    getShadowFactor(const znRTRayPacket& ray, const znRTVector3fPacket& origin,
                    const znRTVector3fPacket& direction, const znFloatType<2>& t0,
                    const znFloatType<2>& t1, const znIntType<2>& visibility,
                    const znFloatType<2>& mask, const znFloatType<2>& shadowIntensity,
                    const znRTShadingState& state);
    /// Up to getDistance of the origin, with the light's own shadow intensity.
    znRTColorPacket getShadowFactor(const znRTRayPacket& ray, const znRTVector3fPacket& origin,
                                    const znRTVector3fPacket& direction,
                                    const znIntType<2>& visibility, const znFloatType<2>& mask,
                                    const znRTShadingState& state) const;
    /// Up to a point on the light: its own surface does not shade it.
    znRTColorPacket
    getShadowFactorToPoint(const znRTRayPacket& ray, const znRTVector3fPacket& origin,
                           const znRTVector3fPacket& lightPoint, const znIntType<2>& visibility,
                           const znFloatType<2>& mask, const znRTShadingState& state) const;
    /// Without an end.
    /// @param flags  class bits of the shadow ray
    static znRTColorPacket
    getEnvironmentShadowFactor(const znRTRayPacket& ray, const znRTVector3fPacket& origin,
                               const znRTVector3fPacket& direction, const znFloatType<2>& t0,
                               const znFloatType<2>& mask, const znFloatType<2>& shadowIntensity,
                               const znRTShadingState& state, int flags);
    /// Classes of shadow rays that start at the hits of a ray: those seen in a reflection have
    /// their own.
    static znIntType<2> shadowVisibility(const znRTRayPacket& ray);

    znRTColor diffuseColor{1.0f, 1.0f, 1.0f};
    znRTColor glossyColor{1.0f, 1.0f, 1.0f};
    float diffusePhotometric = 1.0f, glossyPhotometric = 1.0f;
    float maxIntensity = 1.0f;
    float shadowIntensity = 1.0f, groundShadowIntensity = 1.0f;
    float importanceMultiplier = 1.0f;
    znRTSampler2D* texture = nullptr;
    std::unique_ptr<znDistribution2D> textureDistribution; ///< null unless it guides sampling
    osg::Ref<osg::Image> textureImage;                     ///< that the distribution belongs to

    /// Whether the light is a znRTUAreaLight; all others are a znRTUDeltaLight. Asked for each
    /// light and point, which a cast would be too dear for.
    bool isAreaLight() const { return hasArea; }

protected:
    znRTLight(const znRTTypeId& typeId, const osg::NodePtr& node, const osg::NodeCorePtr& core);

    bool hasArea = false; ///< for life

    void setOn(bool on) { m_isOn = on; }
    /// Photometric values and maxIntensity of the colours as they stand.
    void updatePhotometry();
    /// Shadow and importance settings of the attachment, or their defaults.
    void updateAttachmentSettings();

    bool castShadowOnShadowMaterial = true;
    bool illuminateShadowMaterial = false;
    bool textureGuides = false;

private:
    void updateEmissionTexture();

    std::unique_ptr<znRTSampler2D> ownTexture; ///< of the core's image
    u64 textureStamp = 0;
};
