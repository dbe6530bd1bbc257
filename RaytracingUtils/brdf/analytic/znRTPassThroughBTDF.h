#pragma once

// Light that goes straight on: what is left of a ray behind a partly transparent surface.

#include "brdf/analytic/deltaLobe.h"

class znRTPassThroughBTDF : public znRTDeltaLobe
{
public:
    static const znRTTypeId s_typeId;

    znRTPassThroughBTDF()
        : znRTDeltaLobe(s_typeId, lobeType::surfaceSide | lobeType::specular,
                        rayType::mirrorReflection)
    {
    }

    /// Clears the colour factor: nothing is reflected.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;

    using znRTDeltaLobe::sample;
    void sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                znFloatType<2>& mask) const override;
};
