#pragma once

// What a surface does with rays: the interface that integrators, geometry and lights see. One
// object per host material, shared by all scenes of the process.
//
// Rules that tie the operations together:
// - update() and the setters run between frames; everything const runs on all render threads at
//   once and touches no member.
// - The geometry fills of the shading block what the four requirement masks ask for, so a material
//   asks only for what it reads (shadingRequirements.h).
// - isTransparent() decides whether shadow rays stop at the surface. A material with a cutout must
//   say yes: leaves do not look at textures.
// - getVisibility() and getSideness() are baked into the object's flags and leaf; a change of
//   either calls for updateVisibilityFlags() of its nodes.

#include "core/znRTColorPacket.h"
#include "core/znRTShadingState.h"
#include "host/osg/FCPtr.h"
#include "host/znAligned.h"
#include "host/znRTMaterialState.h"
#include "host/znRTNode.h"
#include "host/znRTRaytracingSettings.h"
#include "material/analyticShading.h"
#include "material/ownEnvironment.h"
#include "texture/znRTCleanSurface.h"

#include <memory>

class znRTDataBlockPacket;
class znRTFragment;
class znRTInfiniteAreaLight;
class znRTMultilayerFragment;
class znRTRayDifferentialPacket;
class znRTRayFilter;
class znRTRayPacket;
class znRTSurfaceProperties;
struct znRTCommonAttributes;
struct znRTHitSurface;

/// The structure of a material's surface, never null. It belongs to its material: a copy starts
/// clean, until it is updated.
class znRTOwnStructure
{
public:
    znRTOwnStructure() = default;
    znRTOwnStructure(const znRTOwnStructure&) : znRTOwnStructure() {}
    znRTOwnStructure& operator=(const znRTOwnStructure&) = delete;

    void set(std::unique_ptr<znRTSurfaceStructure> next) { structure = std::move(next); }
    const znRTSurfaceStructure& operator*() const { return *structure; }
    const znRTSurfaceStructure* operator->() const { return structure.get(); }

private:
    std::unique_ptr<znRTSurfaceStructure> structure = std::make_unique<znRTCleanSurface>();
};

class znRTMaterial : public znRTNode, public znAlignedBase32
{
public:
    /// Who evaluates a material and what for.
    enum EvaluationType { photon = 0, gather = 1, indirect = 2, emissionOnly = 3 };

    // The order of the virtual operations is part of the interface.
    ~znRTMaterial() override;
    virtual znRTColorPacket getMaterialIDColor() const;
    /// 1 front, 2 back, 3 both; always 3 while occlusion is baked.
    virtual int getSideness() const;
    virtual bool hasTextureProjection() const { return false; }
    virtual const znRTTextureAttributes* getTextureAttributeSettings() const
    {
        return surfaceStructure->getTextureAttributes();
    }
    virtual bool hasDisplacementTextureProjection() const { return false; }
    /// Ray classes that see the surface.
    virtual int getVisibility() const { return materialState.visibility; }
    /// Whether clipping shapes cut the surface.
    virtual bool allowClipping() const { return true; }
    /// @return the lanes of mask in which the surface is solid
    virtual znFloatType<2> evaluateCutout(const znRTRayPacket& ray,
                                          const znRTDifferentialGeometry& dg,
                                          const znFloatType<2>& mask) const;
    virtual const znRTMaterial* getFirstActiveMaterial() const { return this; }
    /// A new copy, owned by the caller.
    virtual znRTMaterial* getDuplicate() const = 0;
    virtual u32 getShadingRequirements() const { return u32(materialState.shadingRequirements); }
    virtual u32 getShadowShadingRequirements() const
    {
        return u32(materialState.shadowShadingRequirements);
    }
    virtual u32 getMaterialAttributes() const { return u32(materialState.materialAttributes); }
    virtual u32 getTransparencyAttributes() const
    {
        return u32(materialState.transparencyAttributes);
    }
    /// Enters the lobes of the hits into the surface, in the lanes of mask. Here: nothing.
    virtual void evaluateMaterial(znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                  znRTSurfaceProperties& surface, const znFloatType<2>& mask,
                                  znRTShadingState& state, int group, EvaluationType type) const;
    /// Shading of previews, from the plain colours of the host material; materials without such
    /// shade as always. The form with layers forwards to the other one here, as shade does.
    virtual void shadeAnalytic(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                               znRTMultilayerFragment& fragment, const znFloatType<2>& mask,
                               znRTShadingState& state) const;
    virtual void shadeAnalytic(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                               znRTFragment& fragment, const znFloatType<2>& mask,
                               znRTShadingState& state) const;
    /// Light toward the viewer in the lanes of mask; goes to the fragment's update operations.
    virtual void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                       znRTMultilayerFragment& fragment, const znFloatType<2>& mask,
                       znRTShadingState& state) const;
    virtual void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                       znRTFragment& fragment, const znFloatType<2>& mask,
                       znRTShadingState& state) const = 0;
    /// Reads the host's record again.
    virtual void update() {}
    /// Strength as a light portal; 0 is none.
    virtual float getPhotonImportance() const { return materialState.photonImportance; }
    /// Light that passes straight on, per lane; here none.
    virtual znRTColorPacket getTransparency(const znRTRayDifferentialPacket& ray,
                                            znRTDataBlockPacket& data, const znFloatType<2>& mask,
                                            znRTShadingState& state) const;
    virtual znRTColorPacket getPickedTransparency(const znRTRayDifferentialPacket& ray,
                                                  znRTDataBlockPacket& data,
                                                  const znFloatType<2>& mask,
                                                  znRTShadingState& state) const;
    virtual bool isTransparent() const;
    virtual bool needsConsistentVertexTangents() const { return needsConsistentTangents; }
    virtual const znRTMaterial* getFirstNonTransparentMaterial(const znRTRayDifferentialPacket& ray,
                                                               znRTDataBlockPacket& data,
                                                               const znFloatType<2>& mask,
                                                               znRTShadingState& state) const;
    virtual znRTColorPacket evaluateEmission(const znRTRayDifferentialPacket& ray,
                                             znRTDataBlockPacket& data,
                                             const znFloatType<2>& mask) const;
    /// Whether the surface emits enough to be a light.
    virtual bool isLightSource() const;

    /// Replaces the normals of hits near edges that are to look rounded: facedNormal of the block
    /// becomes the new unit normal, in the stored orientation.
    /// @return the lanes of mask with a new normal
    znFloatType<2> calculateRoundedEdges(const znRTRayDifferentialPacket& ray,
                                         znRTDataBlockPacket& data, const znFloatType<2>& mask,
                                         const znRTShadingState& state) const;

    /// Gives the hits the normals of the surface's structure, bent until they mirror no ray into
    /// the surface, and the directions of its fibres as tangents.
    void bendNormal(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                    znRTHitSurface& hit, const znFloatType<2>& mask) const;
    /// Normal of a surface near a hit that is to look rounded, as one probing ray finds it: stored
    /// orientation, the longer the nearer; 0 where there is none.
    /// @param frame    n the normal of the hit, stored orientation
    /// @param numbers  in (0, 1): place on the disc
    /// @param axis     that the ray runs along: 0 n, 1 u, 2 v
    /// @param radius   of the neighbourhood, scene units
    znRTVector3fPacket evaluateNormalContribution(
        const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data, const znRTONB& frame,
        const znRTVector2fPacket& numbers, int axis, const znFloatType<2>& radius,
        const znRTRayFilter& filter, const znFloatType<2>& mask) const;

    /// Finds the light of the own environment in the current scene.
    virtual void updateEnvironmentLight();

    // Kinds that geometry nodes treat apart.

    /// Surfaces of an environment: kept in a tree of their own, and hidden from camera and
    /// refraction rays behind a backplate.
    virtual bool isEnvironment() const { return false; }
    virtual bool isParticipatingMedia() const { return false; }
    /// Surfaces that show shadows and nothing else: only lights that are told to shine on them.
    virtual bool catchesShadows() const { return false; }

    bool isRayLight() const { return materialState.rayLight; }
    bool isPhotonTarget() const { return photonTarget; }
    bool hasTransparencyTexture() const;
    /// a, or b in lanes of baked colours (block's bakedColor) of a material that uses them.
    znRTColorPacket useBaking(const znRTColorPacket& a, const znRTColorPacket& b,
                              const znRTDataBlockPacket& data) const;
    /// Reflections and refractions in a row that rays of the material may take.
    int getTraceDepth() const { return cacheStamp.traceDepth; }
    /// Samples of indirect light and of the environment per point; 0 is none.
    int getIndirectQuality() const { return cacheStamp.indirect; }
    int getEnvironmentQuality() const { return cacheStamp.environment; }
    /// 0 baked light, 1 the environment looked up, 2 sampled, 3 light between surfaces as well.
    int getIlluminationMode() const { return cacheStamp.illumination; }
    /// The environment that lights the surface: its own, or else the scene's; null without.
    const znRTInfiniteAreaLight* getEnvironmentLight() const
    {
        return environment.isOwn ? environment.light : s_environmentLight;
    }
    /// Reflectance at normal incidence in environments that are looked up, of lobes without a
    /// Fresnel term; and the factor on the share that diffuse light loses to the reflection.
    float getEnvironmentF0() const { return environmentF0; }
    float getEnvironmentFresnelScale() const { return environmentFresnelScale; }
    /// Rays that look for what hides the environment, per point; for the layer of occlusion the
    /// material may ask for none.
    int getOcclusionSamples() const
    {
        return znRTRaytracingSettings::isStillFrame() ? occlusionSamplesStill
                                                      : occlusionSamplesInteractive;
    }
    /// Container of the environment that lights this material alone; null without.
    osg::MaterialPtr getOwnEnvironment() const;
    /// Between frames, before a light goes.
    void forgetEnvironmentLight(const znRTInfiniteAreaLight* light)
    {
        if (environment.light == light)
            environment.light = nullptr;
    }
    /// The lobe of what goes straight on.
    const znRTPassThroughBTDF& getPassThroughLobe() const { return analytic.passThrough; }
    const znRTCommonAttributes* getCommonMaterialAttributes() const { return commonAttributes; }
    const znRTMaterialState& getState() const { return materialState; }
    const znRTSurfaceStructure& getSurfaceStructure() const { return *surfaceStructure; }
    /// A white diffuse lobe.
    const znRTLambertBRDF& getDiffuseLobe() const { return analytic.lambert; }

    /// Null for the fallback material.
    const osg::MaterialPtr& getHostMaterial() const { return hostMaterial; }
    u32 getMaterialId() const { return materialId; }

    static unsigned getMaxTraceDepth() { return s_maxReflectionDepth; }
    static void enableOcclusionPass(bool on) { s_enableOcclusionPass = on; }
    /// Takes over the settings that all materials share.
    /// @return true when one changed, and materials are to be updated
    static bool updateStaticSettings();

    static int s_renderer;
    static unsigned s_maxReflectionDepth;
    static float s_photonRadius;
    static bool s_enableOcclusionPass;
    static constexpr float s_leastPower = 1e-6f; ///< photometric, of surfaces that are lights
    static const znRTInfiniteAreaLight* s_environmentLight; ///< null without an environment
    /// Luminance of a weight below which a path ends: the first times the second.
    static znFloatType<2> s_minWeightThreshold, s_weightThresholdScale;

protected:
    znRTMaterial(const znRTTypeId& typeId, const osg::MaterialPtr& material);

    /// Takes over what all records share, and derives from the settings of the frame which light
    /// counts.
    /// @return true when lobes and colours have to be read again
    bool setRaytracingCommonSettings(znRTCommonAttributes& attributes);
    /// Becomes what another material is to those who ask: record, state and switches.
    void takeOver(const znRTMaterial& other);

    /// What the lobes depend on of the settings, as selected for the quality of the frame.
    struct SettingsStamp
    {
        int traceDepth = -1, indirect = -1, environment = -1, illumination = -1;
        bool operator==(const SettingsStamp&) const = default;
    };

    /// How edges of objects with a radius are rounded.
    struct RoundedEdges
    {
        bool isActive = false;
        int mode = 1;           ///< see znRTRoundedEdgeFilter
        int rounds = 1;         ///< of four rays each at hits of camera rays; later hits take one
        int maxDepth = 1;       ///< reflections in a row up to which edges are rounded
        float smoothing = 1.0f; ///< [0, 1]: share of the rounded normal
    };

    osg::MaterialPtr hostMaterial;
    u32 materialId = 0;                               ///< container id, 0 for the fallback material
    znRTCommonAttributes* commonAttributes = nullptr; ///< record of the host; null without
    znRTAnalyticShading analytic;
    znRTOwnStructure surfaceStructure;
    znRTOwnEnvironment environment;
    float environmentF0 = 1.0f, environmentFresnelScale = 0.0f;
    int occlusionSamplesInteractive = 0, occlusionSamplesStill = 0;
    float materialIDColor[4] = {0.0f, 0.0f, 0.0f, 1.0f};
    znRTMaterialState materialState;
    bool needsConsistentTangents = false;
    bool photonTarget = false;
    RoundedEdges roundedEdges;
    float version = 1.0f;
    SettingsStamp cacheStamp;

private:
    SettingsStamp selectSettings(const znRTCommonAttributes& attributes);
    void deriveQuality(const SettingsStamp& selected, bool environmentIsOverridden);
};
