#pragma once

// Refraction at a smooth surface. Whether a ray enters or leaves follows from the side it meets
// (znRTDifferentialGeometry::frontFacing), since the frame always faces the viewer.

#include "brdf/analytic/deltaLobe.h"
#include "brdf/analytic/refractionRatios.h"

class znRTSpecularBTDF : public znRTDeltaLobe
{
public:
    static const znRTTypeId s_typeId;

    znRTSpecularBTDF()
        : znRTDeltaLobe(s_typeId, lobeType::surfaceSide | lobeType::specularTransmission,
                        rayType::stochasticTransmission)
    {
    }

    /// Reads a znRTSpecularBTDFAttributes.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;
    const znRTRefractionRatios& getRatios() const { return ratios; }

    using znRTDeltaLobe::sample;
    /// Lanes with total reflection have no direction: their weight belongs to the mirror lobe.
    /// Dispersion takes green here; see sampleChannel.
    void sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                znFloatType<2>& mask) const override;
    /// The direction of one colour channel, 0 to 2.
    void sampleChannel(int channel, const znRTVector3fPacket& wo,
                       const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                       znFloatType<2>& mask) const;

protected:
    znRTRefractionRatios ratios;
};
