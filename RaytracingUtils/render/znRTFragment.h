#pragma once

// What the shading of one packet writes into: a colour per lane, its alpha, and whether a surface
// was there. The form with layers (znRTMultilayerFragment) also keeps every term by itself, so that
// a material is written once and renders both ways.
//
// Front-to-back composition: clear, invertAlpha (all light still to come), blendFragment for the
// nearest first, and invertAlpha at the end. In between alpha is the transmittance that is left,
// so nothing can be added to a fragment that was only cleared.

#include "core/znRTColorPacket.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"

#include "host/znAligned.h"

class znRTShadingState;

/// Places of a surface's colours in the array that update operations take: the lobes, what the
/// surface emits, and the colour of what is seen through it (its alpha: how much of that colour is
/// in the surface already).
enum znRTSurfaceTerm {
    surfaceDiffuse = 0,
    surfaceGlossy = 1,
    surfaceSpecular = 2,
    surfaceTranslucent = 3,
    surfaceEmission = 4,
    surfaceTransparency = 5,
    surfaceTermCount = 6
};

/// What the light brings to the lobes: arrays of four, in the order of the lobes. Places of lobes
/// that the operation does not name are not read.
struct znRTLightTerms
{
    const znRTColorPacket* ibl;      ///< from the environment
    const znRTColorPacket* light;    ///< from light sources
    const znRTColorPacket* indirect; ///< from other surfaces
};

/// What glass shows: traced * tracedColor + (direct + environment) * glossyColor + emission.
struct znRTGlassTerms
{
    znRTColorPacket traced;      ///< light that reflected and refracted rays brought
    znRTColorPacket tracedColor; ///< alpha: opacity of the result
    znRTColorPacket glossyColor;
    znRTColorPacket direct;      ///< light sources on the glossy lobe
    znRTColorPacket environment; ///< environment on the glossy lobe
    znRTColorPacket emission;
};

/// The light of the terms together; alpha is that of the traced light.
inline znRTColorPacket combine(const znRTGlassTerms& terms)
{
    znRTColorPacket color = terms.traced * terms.tracedColor +
                            (terms.direct + terms.environment) * terms.glossyColor + terms.emission;
    color.a = terms.traced.a;
    return color;
}

/// How a surface lets through what lies behind, and how it appears in layers. Default: an opaque
/// one, with the normal and material of the block.
struct znRTThroughput
{
    znFloatType<2> blend = znFloatType<2>::allLanes(); ///< mask: lanes with a shaded result
    znFloatType<2> surfaceAlpha{1.0f};                 ///< 1 = opaque
    znFloatType<2> cutoutAlpha{1.0f}; ///< of the transparency map: 1 tints all that is seen behind
    znFloatType<2> hitLanes = znFloatType<2>::noLanes(); ///< mask: lanes that show what is behind
    const znRTVector3fPacket* shadingNormal = nullptr;   ///< perturbed; null: the block's
    const znRTMaterial* material = nullptr; ///< whose id colour shows; null: the block's
};

/// The update operations of surfaces with lobes, in the order of the interface: X(name, lobes).
#define ZN_FOR_EACH_LOBE_UPDATE(X)                                                                 \
    X(updateD, surfaceDiffuse)                                                                     \
    X(updateG, surfaceGlossy)                                                                      \
    X(updateS, surfaceSpecular)                                                                    \
    X(updateDG, surfaceDiffuse, surfaceGlossy)                                                     \
    X(updateDS, surfaceDiffuse, surfaceSpecular)                                                   \
    X(updateDGS, surfaceDiffuse, surfaceGlossy, surfaceSpecular)                                   \
    X(updateDGT, surfaceDiffuse, surfaceGlossy, surfaceTranslucent)                                \
    X(updateDGST, surfaceDiffuse, surfaceGlossy, surfaceSpecular, surfaceTranslucent)              \
    X(updateDST, surfaceDiffuse, surfaceSpecular, surfaceTranslucent)

class znRTFragment : public znAlignedBase32
{
public:
    /// Uninitialised: the background or clear() comes first.
    znRTFragment() = default;

    znRTColorPacket colour;
    znFloatType<2> coverage; ///< above 0 where a surface lies; from the shading block

    // The order of the virtual operations is part of the interface. Fragments live on the stack, so
    // there is no destructor among them.

    virtual void clear();
    /// Alpha becomes 1 - alpha.
    virtual void invertAlpha();
    /// Keeps its place in the table; does nothing.
    virtual void reserved() {}

    /// Adds what lies behind, weighted with the transmittance that is left.
    /// @param other  straight colour, not multiplied with its alpha
    /// @param mask   other lanes keep colour and alpha
    /// @param alpha  opacity of the other, in place of its own
    virtual void blendFragment(const znRTFragment& other, const znFloatType<2>& mask,
                               const znFloatType<2>& alpha);
    virtual void blendFragment(const znRTFragment& other, const znFloatType<2>& mask);

    /// A ready colour, for materials without lobes.
    virtual void updateDiffuseColor(const znRTMaterial* material,
                                    const znRTRayDifferentialPacket& ray,
                                    const znRTDataBlockPacket& block, const znRTColorPacket& color,
                                    const znFloatType<2>& alpha, const znFloatType<2>& mask);
    virtual void updateBackgroundColor(const znRTMaterial* material,
                                       const znRTRayDifferentialPacket& ray,
                                       const znRTDataBlockPacket& block,
                                       const znRTColorPacket& color, const znFloatType<2>& alpha,
                                       const znFloatType<2>& mask);
    /// Layers alone have more to do here than the single colour.
    virtual void updateVectorPasses(const znRTRayDifferentialPacket&, const znRTDataBlockPacket&,
                                    const znFloatType<2>& /*coverage*/,
                                    const znFloatType<2>& /*mask*/)
    {
    }
    /// The result of shading: red, green, blue of the colour and the alpha, in the lanes of mask.
    virtual void updateFragmentColor(const znRTColorPacket& color, const znFloatType<2>& alpha,
                                     const znFloatType<2>& mask);

    // Surfaces with lobes: D diffuse, G glossy, S specular, T translucent. The result is, over the
    // lobes named, the light times the surface's colour, plus the emission; then what lies behind
    // shows through in the lanes that ask for it, and the lanes of mask are written.

    /// A ready colour instead of lobes.
    virtual void updateToColor(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                               const znRTColorPacket& color,
                               const znRTColorPacket& transparencyColor, znRTShadingState& state,
                               const znRTThroughput& throughput, const znFloatType<2>& mask);
#define ZN_DECLARE_UPDATE(name, ...)                                                               \
    virtual void name(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,            \
                      const znRTColorPacket* surface, const znRTLightTerms& terms,                 \
                      znRTShadingState& state, const znRTThroughput& throughput,                   \
                      const znFloatType<2>& mask);
    ZN_FOR_EACH_LOBE_UPDATE(ZN_DECLARE_UPDATE)
#undef ZN_DECLARE_UPDATE
    /// Glass, whose light is traced; the clear form and the rough one.
    virtual void updateGlass(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                             const znRTGlassTerms& terms, const znRTColorPacket& transparencyColor,
                             znRTShadingState& state, const znRTThroughput& throughput,
                             const znFloatType<2>& mask);
    virtual void updateFrostedGlass(const znRTRayDifferentialPacket& ray,
                                    znRTDataBlockPacket& block, const znRTGlassTerms& terms,
                                    const znRTColorPacket& transparencyColor,
                                    znRTShadingState& state, const znRTThroughput& throughput,
                                    const znFloatType<2>& mask);

    /// NaN becomes 0 and nothing stays below 0, on all four channels.
    virtual void maskInvalidRGBA();

    void filterNaN();
    /// Into [0, max]; NaN becomes max.
    void clampRGB(const znFloatType<2>& max);
    void clampRGBA(const znFloatType<2>& max);
    /// Masked assignment to any colour of a fragment.
    static void updateColor(const znRTColorPacket& color, const znFloatType<2>& alpha,
                            znRTColorPacket& target, const znFloatType<2>& mask);
    /// Takes the other's colour and coverage over in the lanes of mask.
    void updateFragment(const znRTFragment& other, const znFloatType<2>& mask);

    /// Mixes what lies behind into a shaded colour. Rays that continue behind a surface themselves
    /// start no further ray here: who follows them composes the surfaces.
    /// @param color    in and out
    /// @param opacity  of the lanes that show nothing of what is behind
    /// @return opacity of the result
    static znFloatType<2> computeTransparency(const znRTRayDifferentialPacket& ray,
                                              znRTDataBlockPacket& block,
                                              const znRTColorPacket& transparencyColor,
                                              const znRTThroughput& throughput,
                                              znRTShadingState& state, znRTColorPacket& color,
                                              const znFloatType<2>& opacity = 1.0f);
    /// Follows the rays straight on behind their hits, through as many transparent surfaces as
    /// there are, and composes what they show.
    /// @param weight  share of the ray's weight that goes on
    /// @param lanes   mask
    /// @return colour with the background behind it; alpha: opacity of the surfaces alone. 0
    ///         outside the lanes
    static znRTColorPacket getPassThroughColor(const znRTRayDifferentialPacket& ray,
                                               const znRTDataBlockPacket& block,
                                               const znFloatType<2>& weight,
                                               const znFloatType<2>& lanes,
                                               znRTShadingState& state);

private:
    template <int... Lobes>
    void updateLobes(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                     const znRTColorPacket* surface, const znRTLightTerms& terms,
                     znRTShadingState& state, const znRTThroughput& throughput,
                     const znFloatType<2>& mask);
};
