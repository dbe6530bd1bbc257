#pragma once

// Light that comes through a surface, as an addition to what its front reflects: through a thin
// sheet from behind, or from below the surface of a body (subsurface.h). Each lane shows one of
// both, drawn by how much of the light each can bring, so that a shade costs no more than that of
// an opaque surface.

#include "brdf/analytic/znRTBSSRDF.h"
#include "brdf/analytic/znRTTranslucencyBTDF.h"
#include "brdf/znRTBxDFAttributes.h"
#include "material/colorAttribute.h"
#include "material/surroundingLight.h"

class znRTBRDFMaterial;
class znRTRayPacket;
struct znRTHitSurface;

/// What the kinds with translucency have of it.
class znRTTranslucency
{
public:
    /// Of the host. A restricted sheet is translucent to those who look at it, and opaque to the
    /// rays that gather light from other surfaces.
    enum Mode { off, thin, thinRestricted, subsurfaceMultiple, subsurfaceSingle };

    /// @tparam Record      with the rows of translucency
    /// @param illumination mode of the frame: 3 gathers light from other surfaces
    /// @param sampleCount  places where light enters a body, per point that is seen
    template <class Record>
    void read(const Record& record, int illumination, unsigned sampleCount)
    {
        mode = Mode(record.translucencyMode);
        isRestricted = mode == thinRestricted && illumination >= 3;
        color.set(record.translucency, record.translucencySpectrum, record.translucencySampler,
                  record.translucencyActive, record.translucencyAttributes);
        znRTPhongBTDFAttributes lobes;
        lobes.exponent = record.translucencyExponent;
        lobes.indices.indexA = record.indexInside;
        lobes.indices.indexB = record.indexOutside;
        lobes.medium.extinction = 1.0f / record.meanFreePath;
        lobes.medium.anisotropy = record.scatterAnisotropy;
        lobes.medium.scatterAlbedo = record.scatterAlbedo;
        setup(lobes, sampleCount);
    }
    bool isOn() const { return mode != off && color.getPhotometricValue() > 0.0f; }

    const znRTAttributeTexture& getTexture() const { return color.getTexture(); }
    /// Colour at the hits; black while it is off.
    znRTColorPacket fetch(const znRTRayPacket& ray, const znRTDataBlockPacket& data,
                          const znFloatType<2>& mask) const;
    /// Enters the lobe with the hit's translucent colour. After the frame.
    void addTo(znRTHitSurface& hit, const znFloatType<2>& lanes) const;

private:
    /// @param lobes  all but the medium's unit and mode
    void setup(znRTPhongBTDFAttributes& lobes, unsigned sampleCount);

    Mode mode = off;
    bool isRestricted = false;
    znRTColorAttribute color;
    znRTTranslucencyBTDF sheet;
    znRTBSSRDF body;
};

/// Which side each lane shows, with what its light counts for: 1 / probability, 0 on the other.
struct znRTSideChoice
{
    znFloatType<2> front, back; ///< masks
    znFloatType<2> frontWeight, backWeight;
};

/// Draws sides by the luminance of the colours: the front with
/// p = 0.9 f / (f + b) + 0.05, f the greater one of its diffuse and glossy colour.
/// @param lanes  mask; those without a translucent colour show their front with a weight of 1
znRTSideChoice chooseSides(const znRTHitSurface& hit, const znFloatType<2>& lanes,
                           const znRTShadingState& state);

/// Light on the back of hits as their front shows it: the hit seen with its normals turned around,
/// which happens on a copy. Without the colour of the lobe, 0 outside the lanes of hit.mask.
/// @param hit      of the front, with the mask of lanes that show their back
/// @param surface  its translucent lobes
void evaluateBackSideIllumination(const znRTLitHit& hit, const znRTBRDFMaterial& material,
                                  const znRTHitSurface& surface, znRTColorPacket& direct,
                                  znRTColorPacket& ibl, znRTColorPacket& indirect);
