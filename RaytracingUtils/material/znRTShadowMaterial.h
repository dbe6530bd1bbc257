#pragma once

// A surface that is not there itself: it shows what lies behind it, darkened by the shadows that
// objects throw on it, so that a model stands on the picture of its surroundings.
//
// What stays of the background is a mean over all light that would arrive without shadows: where a
// light comes through it stays whole, in a full shadow the tint is left of it. Objects behind are
// seen through the surface, and its alpha is what the shadow takes, so that a plate shows through
// where it is lit. Colours of its own, which are black unless they are set, reflect light on top.

#include "material/znRTTwoLobeMaterial.h"

class znRTInfiniteAreaLight;
class znRTLight;
struct LightEvalSample;
struct znRTLitHit;

class znRTShadowMaterial : public znRTPlasticLobesMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTShadowMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTShadowMaterial(hostMaterial); }
    void update() override;
    using znRTPlasticLobesMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override;
    bool isTransparent() const override { return true; }
    /// All that the colours of its own leave: the surface throws no shadow.
    znRTColorPacket getTransparency(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                    const znFloatType<2>& mask,
                                    znRTShadingState& state) const override;
    bool catchesShadows() const override { return true; }

    /// Share of the background that the shadows on the hits leave, per channel.
    /// @return 1 in lanes that no light would reach anyway; alpha 1
    znRTColorPacket evaluateShadows(const znRTLitHit& hit) const;

private:
    /// Enters a shadow: tint where nothing passed, white where all did.
    /// @param isLight  mask: lanes with the tint of lights; others have that of the environment
    /// @param weight   light that would arrive, luminance
    /// @param passed   share that did
    void evaluateShadowBRDF(const znFloatType<2>& isLight, const znFloatType<2>& mask,
                            const znFloatType<2>& weight, const znRTColorPacket& passed,
                            znRTColorPacket& result) const;
    /// Follows a sample's way to its light.
    void evaluateLightShadow(const znRTLitHit& hit, const LightEvalSample& sample,
                             const znFloatType<2>& weight, znRTColorPacket& result) const;
    void evaluateAllLights(const znRTLitHit& hit, const znDynArray<znRTLight*>& lights,
                           znRTColorPacket& result) const;
    /// One light per lane, drawn by what each would bring.
    void evaluateDrawnLight(const znRTLitHit& hit, const znDynArray<znRTLight*>& lights,
                            znRTColorPacket& result) const;
    void evaluateEnvironmentShadow(const znRTLitHit& hit, const znRTInfiniteAreaLight& light,
                                   znRTColorPacket& result) const;
    /// Opacity of the colours of its own.
    znFloatType<2> ownOpacity(const Hit& hit) const;

    znRTColor shadowTint{0.0f, 0.0f, 0.0f, 1.0f}, environmentTint{0.0f, 0.0f, 0.0f, 1.0f};
    float strength = 1.0f; ///< of all shadows
    float reflectivity = 0.0f;
    bool evaluatesAllLights = false;
    bool usesExtractedLights = true;
    bool hasAlpha = true; ///< else the surface is white, and opaque
};
