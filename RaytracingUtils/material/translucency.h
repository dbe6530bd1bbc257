#pragma once

// Light through a thin sheet from behind, as an addition to what its front reflects. Each lane
// shows one of both sides, drawn by how much of the light each can bring, so that a shade costs no
// more than that of an opaque surface.

#include "brdf/analytic/znRTTranslucencyBTDF.h"
#include "brdf/znRTBxDFAttributes.h"
#include "material/colorAttribute.h"
#include "material/surroundingLight.h"

class znRTBRDFMaterial;
struct znRTHitSurface;

/// What the kinds with translucency have of it.
class znRTTranslucency
{
public:
    /// @tparam Record  with the rows of translucency
    template <class Record>
    void read(const Record& record)
    {
        mode = record.translucencyMode;
        color.set(record.translucency, record.translucencySpectrum, record.translucencySampler,
                  record.translucencyActive, record.translucencyAttributes);
        exponent = record.translucencyExponent;
        setup();
    }
    bool isOn() const { return mode != 0 && color.getPhotometricValue() > 0.0f; }

    const znRTAttributeTexture& getTexture() const { return color.getTexture(); }
    /// Colour at the hits; black while it is off.
    znRTColorPacket fetch(const znRTDataBlockPacket& data, const znFloatType<2>& mask) const;
    /// Enters the lobe with the hit's translucent colour. After the frame.
    void addTo(znRTHitSurface& hit, const znFloatType<2>& lanes) const;

private:
    void setup();

    int mode = 0; ///< of the host: 0 off, 1 and 2 thin, 3 and 4 below the surface
    float exponent = 1.0f;
    znRTColorAttribute color;
    znRTTranslucencyBTDF lobe;
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
