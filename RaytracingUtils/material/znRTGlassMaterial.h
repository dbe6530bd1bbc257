#pragma once

// Clear and frosted dielectrics. The light of a hit is that of two traced rays, one reflected and
// one refracted, weighed by the exact Fresnel equations; frosted glass reflects by a glossy lobe
// outside, and spreads what it refracts. No radiance is scaled by the indices: camera paths and
// paths of light treat a surface alike.
//
// A body is solid: rays bend where they enter and leave, and its colour counts once at each
// surface, or, with an attenuation distance, by the way inside. Without use of the index it is a
// thin pane: rays go straight on, and the reflections between both faces are summed up.
//
// Shadows are coloured: shadow rays go straight on through the glass, and surfaces gather no light
// source nor surroundings through it besides. With opaque shadows nothing passes to shadow rays,
// and what comes through the glass is gathered along the refracted way.

#include "brdf/analytic/znRTIsotropicASBRDF.h"
#include "brdf/analytic/znRTPhongBTDF.h"
#include "brdf/analytic/znRTSpecularBRDF.h"
#include "brdf/analytic/znRTSpecularBTDF.h"
#include "host/osg/materials/glassMaterials.h"
#include "material/colorAttribute.h"
#include "material/glossinessTexture.h"
#include "material/shadePipeline.h"

struct znRTGlassHit : znRTHitSurface
{
    using znRTHitSurface::znRTHitSurface;

    znRTColorPacket transmitted{0.0f}; ///< share of the light from behind, with the colour
    znFloatType<2> isInside;           ///< mask: the ray comes out of the body
    znFloatType<2> way{0.0f};          ///< that the ray has come inside of an absorbing body
};

class znRTGlassMaterial : public znRTBRDFMaterial
{
public:
    using Hit = znRTGlassHit;
    static const znRTTypeId id;

    explicit znRTGlassMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTGlassMaterial(hostMaterial); }
    bool hasTextureProjection() const override { return projectsTextures; }
    using znRTBRDFMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override;
    void evaluateMaterial(znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                          znRTSurfaceProperties& surface, const znFloatType<2>& mask,
                          znRTShadingState& state, int group, EvaluationType type) const override;
    /// Absorption counts from the block's volumeEntry to the hit, where the ray leaves the body.
    znRTColorPacket getTransparency(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                    const znFloatType<2>& mask,
                                    znRTShadingState& state) const override;
    bool isTransparent() const override { return true; }
    void update() override;
    void update(osg::UGlassMaterial::RaytracingAttributes& record);

    /// Whether indices come from a spectrum.
    bool isDispersive() const { return dispersive; }
    bool isFrosted() const { return frosted; }
    bool hasOpaqueShadow() const { return opaqueShadow; }
    /// Rays that a refraction takes: one, or one for each colour.
    int getRefractedRays() const { return splitsColors ? 3 : 1; }

    // For the pipeline.

    void fetchParameters(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                         const znFloatType<2>& mask, Hit& hit) const;
    void buildFrame(Hit& hit) const;
    void addLobes(Hit& hit, const znFloatType<2>& lanes) const;

private:
    using Record = osg::UGlassMaterial::RaytracingAttributes;

    void readColors(const Record& record);
    void readStructure(const Record& record);
    void setupLobes(const Record& record);
    void setupRefraction(const Record& record);
    void addRequirements(const Record& record);

    const znRTBRDF& getRoughReflection() const;
    const znRTBRDF& getRoughRefraction() const;

    /// Reflected share per channel; alpha 1.
    /// @param cosine   between ray and normal, [0, 1]
    /// @param fromOutside  mask: the ray comes from the side of the stored normal
    znRTColorPacket evaluateFresnel(const znFloatType<2>& cosine,
                                    const znFloatType<2>& fromOutside) const;
    /// Share of the light that a body leaves over a way, per channel.
    znRTColorPacket getTransmittance(const znFloatType<2>& distance) const;
    /// Of the power lobes that frosted glass spreads light by.
    znFloatType<2> getInvExponentPlusOne(const Hit& hit) const;

    // Tracing, in znRTGlassMaterialLight.cpp.

    /// Which of its two rays a lane sends, and what each then counts.
    struct Branches
    {
        znFloatType<2> reflects, refracts; ///< masks
        znFloatType<2> reflectedScale, refractedScale;
    };
    /// What is seen in glass.
    struct Seen
    {
        znRTColorPacket color{0.0f};
        znFloatType<2> open{0.0f}; ///< share of the surroundings that is seen through
    };
    Branches chooseBranches(const znRTLitHit& lit, const Hit& hit) const;
    znRTColorPacket traceReflection(const znRTLitHit& lit, const Hit& hit,
                                    const znRTColorPacket& share, const znFloatType<2>& lanes,
                                    const znRTVector2fPacket& u) const;
    /// @param channel  0 to 2: light of this colour alone; -1 all
    /// @return alpha: opacity of what is behind
    znRTColorPacket traceRefraction(const znRTLitHit& lit, const Hit& hit,
                                    const znRTColorPacket& share, const znFloatType<2>& lanes,
                                    int channel, int ray, int rays) const;
    Seen trace(const znRTLitHit& lit, const Hit& hit, const znFloatType<2>& share) const;
    int getDepthLimit() const;

    znRTColorAttribute reflectionColor, transmissionColor;
    znRTNumberAttribute roughness;
    znRTGlossinessTexture glossiness;
    float absorption[3] = {0.0f, 0.0f, 0.0f}; ///< one over scene units, by channel
    bool absorbs = false;
    bool dispersive = false, splitsColors = false;
    bool useMultipleSamples = false;
    bool frosted = false;
    bool opaqueShadow = false;
    bool useIor = true;
    bool hasReflectance = false; ///< colour at normal incidence instead of the indices
    bool isPerLane = false;      ///< widths come from a texture
    bool projectsTextures = false;
    int depthLimit = 10;

    znRTRefractionRatios ratios; ///< of the surface, whether rays bend or not
    znRTFresnelSchlick fresnelSchlick;
    znRTFresnelApprox fresnelApprox;
    znRTIsotropicASBRDF<0> roughReflection0;
    znRTIsotropicASBRDF<1> roughReflection1;
    znRTPhongBTDF2<0> roughRefraction0;
    znRTPhongBTDF2<1> roughRefraction1;
    znRTSpecularBRDF mirrorReflection;
    znRTSpecularBTDF mirrorRefraction;
};
