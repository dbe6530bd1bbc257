#pragma once

// The fragment that also keeps every term of the result by itself, as the layers of a frame
// (host/znRenderPasses.h). The beauty is the same as the plain fragment's, bit for bit.
//
// What a layer holds:
// - Terms add up to the beauty: the products of lobe colours and light (diffuse_ibl ...
//   glossy_indirect), specular_reflection, translucency, incandescence, background_color, fog. A
//   ready colour without lobes counts as incandescence, so that the sum holds for it too.
// - The *_color layers hold the lobe colours and the *_illumination layers the light alone; light
//   times colour is the term, where nothing lies in front. The tint of a transparent surface and
//   fog change the light, not the colours.
// - Behind a surface that lets light through, all of these are mixed like the beauty.
// - normal, depth, position, view and materialID are not mixed: they belong to the surface with the
//   greater share of the lane. Depth is the distance along the view axis, in red, green and blue.
// - mask holds the opacity, and 1 as its alpha where there is any.
// - lens_flare, backplates and frontplates are filled by who draws them; layers of id mattes stay
//   empty, since mattes are kept per view.

#include "host/znRenderPasses.h"
#include "render/znRTFragment.h"

class znRTMultilayerFragment : public znRTFragment
{
public:
    /// Uninitialised, like its base.
    znRTMultilayerFragment() = default;

    /// By znRenderPass. Layer 0 is the beauty and equals colour.
    znRTColorPacket layers[znRenderPassCount];

    void clear() override;
    /// The same at the cost of what a packet before it has left.
    /// @param usedLayers  bits of all layers that may hold something
    void clear(u64 usedLayers);
    /// Bits of the layers that hold anything but zeros in any lane.
    u64 findUsedLayers() const;
    /// Of the beauty and of every layer that is composed like it.
    void invertAlpha() override;
    /// What comes without layers counts as incandescence.
    void blendFragment(const znRTFragment& other, const znFloatType<2>& mask,
                       const znFloatType<2>& alpha) override;
    void blendFragment(const znRTFragment& other, const znFloatType<2>& mask) override;
    void updateDiffuseColor(const znRTMaterial* material, const znRTRayDifferentialPacket& ray,
                            const znRTDataBlockPacket& block, const znRTColorPacket& color,
                            const znFloatType<2>& alpha, const znFloatType<2>& mask) override;
    /// The colour goes to background_color; alpha is what it covers.
    void updateBackgroundColor(const znRTMaterial* material, const znRTRayDifferentialPacket& ray,
                               const znRTDataBlockPacket& block, const znRTColorPacket& color,
                               const znFloatType<2>& alpha, const znFloatType<2>& mask) override;
    /// normal, depth, materialID, mask, position and view in the lanes of mask; the update
    /// operations of surfaces do this by themselves.
    void updateVectorPasses(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& block,
                            const znFloatType<2>& coverage, const znFloatType<2>& mask) override;
    /// Layer 0 along with colour; no other layer.
    void updateFragmentColor(const znRTColorPacket& color, const znFloatType<2>& alpha,
                             const znFloatType<2>& mask) override;
    void updateToColor(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                       const znRTColorPacket& color, const znRTColorPacket& transparencyColor,
                       znRTShadingState& state, const znRTThroughput& throughput,
                       const znFloatType<2>& mask) override;
#define ZN_DECLARE_UPDATE(name, ...)                                                               \
    void name(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,                    \
              const znRTColorPacket* surface, const znRTLightTerms& terms,                         \
              znRTShadingState& state, const znRTThroughput& throughput,                           \
              const znFloatType<2>& mask) override;
    ZN_FOR_EACH_LOBE_UPDATE(ZN_DECLARE_UPDATE)
#undef ZN_DECLARE_UPDATE
    /// Traced light goes to the specular layers.
    void updateGlass(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                     const znRTGlassTerms& terms, const znRTColorPacket& transparencyColor,
                     znRTShadingState& state, const znRTThroughput& throughput,
                     const znFloatType<2>& mask) override;
    /// Traced light goes to the translucency layers: it was scattered on its way through.
    void updateFrostedGlass(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                            const znRTGlassTerms& terms, const znRTColorPacket& transparencyColor,
                            znRTShadingState& state, const znRTThroughput& throughput,
                            const znFloatType<2>& mask) override;
    void maskInvalidRGBA() override;

    // Behind the operations of the base.

    /// Adds what lies behind, layer by layer, weighted with the transmittance that is left; see the
    /// base for the arguments.
    virtual void blendFragment(const znRTMultilayerFragment& other, const znFloatType<2>& mask,
                               const znFloatType<2>& alpha);
    virtual void blendFragment(const znRTMultilayerFragment& other, const znFloatType<2>& mask);
    /// Alpha of the beauty, of diffuse_ibl and of occlusion in the lanes of mask, and the same as
    /// the coverage in the mask layer.
    virtual void setDiffuseAlpha(const znFloatType<2>& alpha, const znFloatType<2>& mask);
    /// Alpha of the layers up to the normal, in all lanes but those of mask.
    virtual void setAlpha(const znFloatType<2>& alpha, const znFloatType<2>& mask);
    /// Moves a layer toward a colour by the fraction alpha, on all channels.
    virtual void mixColorWithLayer(int layer, const znRTColorPacket& color,
                                   const znFloatType<2>& mask, const znFloatType<2>& alpha);

    /// Red, green, blue and alpha of the occlusion layer.
    void updateOcclusionColor(const znRTColorPacket& color, const znFloatType<2>& mask);
    /// Takes the other's colour, coverage and layers over in the lanes of mask.
    void updateFragment(const znRTMultilayerFragment& other, const znFloatType<2>& mask);
    /// Multiplies the beauty and all light in the layers with a colour; alphas stay.
    void weightFragment(const znRTColorPacket& color);
    /// Black with the given alpha, in the beauty and in every layer composed like it.
    void updateAlphaAndClear(const znFloatType<2>& alpha, const znFloatType<2>& mask);
    /// The same for the occlusion layer alone.
    void updateOcclusionAlphaAndClear(const znFloatType<2>& alpha, const znFloatType<2>& mask);

    void updateMaterialIDColor(const znRTColorPacket& color, const znFloatType<2>& mask);
    /// The colour where its surface has the greater share of the lane.
    /// @param alpha  share
    void updateMaterialIDColorMix(const znRTColorPacket& color, const znFloatType<2>& alpha,
                                  const znFloatType<2>& mask);
    /// @param distance  along the view axis
    /// @param hit       1 where there is a surface, 0 elsewhere
    void updateDepth(const znFloatType<2>& distance, const znFloatType<2>& hit,
                     const znFloatType<2>& mask);
    /// The distance where its surface has the greater share of the lane.
    /// @param alpha  share
    void updateDepthMix(const znFloatType<2>& distance, const znFloatType<2>& hit,
                        const znFloatType<2>& alpha, const znFloatType<2>& mask);

    /// Fog in front of the surfaces: weakens all light in the layers and adds its own.
    /// @param color   light that the fog scatters towards the viewer
    /// @param factor  share of the light that passes the fog, per channel
    void updateFog(const znRTColorPacket& color, const znRTColorPacket& factor,
                   const znFloatType<2>& mask);

    /// NaN becomes 0 in all layers; nothing stays below 0 in those composed like the beauty.
    void filterNaN();
    /// The beauty and the layers of light into [0, max].
    void clampRGB(const znFloatType<2>& max);
    void clampRGBA(const znFloatType<2>& max);

    /// Like getPassThroughColor of the base, with layers.
    /// @param composed  out: colour and layers 0 outside the lanes
    static void computePassThroughColor(const znRTRayDifferentialPacket& ray,
                                        const znRTDataBlockPacket& block,
                                        const znFloatType<2>& weight, const znFloatType<2>& lanes,
                                        znRTShadingState& state, znRTMultilayerFragment& composed);

private:
    template <int... Lobes>
    void updateLobes(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                     const znRTColorPacket* surface, const znRTLightTerms& terms,
                     znRTShadingState& state, const znRTThroughput& throughput,
                     const znFloatType<2>& mask);
    /// The worker of all lobe forms.
    /// @param color, ibl, light, indirect  four pointers each, one per lobe; absent lobes are black
    void updateDGST(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                    const znRTColorPacket* const* color, const znRTColorPacket* const* ibl,
                    const znRTColorPacket* const* light, const znRTColorPacket* const* indirect,
                    const znRTColorPacket* surface, znRTShadingState& state,
                    const znRTThroughput& throughput, const znFloatType<2>& mask);
    void setLayer(znRenderPass layer, const znRTColorPacket& color, const znFloatType<2>& mask)
    {
        layers[layer].maskedUpdateNoAlpha(color, mask);
    }
    /// Empties the layers of light and colours.
    void clearTerms(const znFloatType<2>& mask);
    void finishGlass(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                     const znRTGlassTerms& terms, const znRTColorPacket& transparencyColor,
                     znRTShadingState& state, const znRTThroughput& throughput,
                     const znFloatType<2>& mask);
    /// Common end of all updates whose layers are set: what lies behind shows through them, they
    /// take the opacity as their alpha, and the beauty and the data layers are written.
    /// @param opacity  of lanes that show nothing of what is behind
    void finishSurface(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                       const znRTColorPacket& color, const znFloatType<2>& opacity,
                       const znRTColorPacket& transparencyColor, znRTShadingState& state,
                       const znRTThroughput& throughput, const znFloatType<2>& mask);
    /// The end of updates by a ready colour, which is in its layers.
    void finishReady(const znRTMaterial* material, const znRTRayDifferentialPacket& ray,
                     const znRTDataBlockPacket& block, const znRTColorPacket& color,
                     const znFloatType<2>& alpha, const znFloatType<2>& mask);
    /// The end where something is seen behind the surface.
    void finishOver(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                    znRTColorPacket color, const znFloatType<2>& opacity,
                    const znRTColorPacket& transparencyColor, znRTShadingState& state,
                    const znRTThroughput& throughput, const znFloatType<2>& mask);
    void writeSurface(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& block,
                      const znRTColorPacket& color, const znFloatType<2>& opacity,
                      const znRTThroughput& throughput, const znFloatType<2>& mask);
    /// Lanes in which a surface with that share comes before the one that data layers hold.
    znFloatType<2> hasGreaterShare(const znFloatType<2>& share, const znFloatType<2>& mask) const;
    /// Data layers of another where its surface has the greater share.
    void takeData(const znRTMultilayerFragment& other, const znFloatType<2>& share,
                  const znFloatType<2>& mask);

    znFloatType<2> dataShare; ///< share of the lane of the surface whose data the layers hold
};
