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

class znRTFragment : public znAlignedBase32
{
public:
    /// Uninitialised: the background or clear() comes first.
    znRTFragment() = default;
    virtual ~znRTFragment() = default;

    znRTColorPacket colour;
    znFloatType<2> coverage; ///< above 0 where a surface lies; from the shading block

    virtual void clear();
    /// Alpha becomes 1 - alpha.
    virtual void invertAlpha();
    /// Layers alone have more to do here than the single colour.
    virtual void updateVectorPasses(const znRTRayDifferentialPacket&, const znRTDataBlockPacket&,
                                    const znFloatType<2>& /*coverage*/,
                                    const znFloatType<2>& /*mask*/)
    {
    }

    /// Adds what lies behind, weighted with the transmittance that is left.
    /// @param other  straight colour, not multiplied with its alpha
    /// @param mask   other lanes keep colour and alpha
    /// @param alpha  opacity of the other, in place of its own
    virtual void blendFragment(const znRTFragment& other, const znFloatType<2>& mask,
                               const znFloatType<2>& alpha);
    virtual void blendFragment(const znRTFragment& other, const znFloatType<2>& mask);

    /// The result of shading: red, green, blue of the colour and the alpha, in the lanes of mask.
    virtual void updateFragmentColor(const znRTColorPacket& color, const znFloatType<2>& alpha,
                                     const znFloatType<2>& mask);
    /// A ready colour, for materials without lobes; keeps the terms of layers empty.
    virtual void updateDiffuseColor(const znRTMaterial* material,
                                    const znRTRayDifferentialPacket& ray,
                                    const znRTDataBlockPacket& block, const znRTColorPacket& color,
                                    const znFloatType<2>& alpha, const znFloatType<2>& mask);
    virtual void updateBackgroundColor(const znRTMaterial* material,
                                       const znRTRayDifferentialPacket& ray,
                                       const znRTDataBlockPacket& block,
                                       const znRTColorPacket& color, const znFloatType<2>& alpha,
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
};
