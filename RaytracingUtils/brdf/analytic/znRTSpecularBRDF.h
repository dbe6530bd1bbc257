#pragma once

// Mirror reflection: coats, mirrors, clear glass.

#include "brdf/analytic/deltaLobe.h"

class znRTSpecularBRDF : public znRTDeltaLobe
{
public:
    static const znRTTypeId s_typeId;

    znRTSpecularBRDF()
        : znRTDeltaLobe(s_typeId, lobeType::surfaceSide | lobeType::specular,
                        rayType::mirrorReflection)
    {
    }

    using znRTDeltaLobe::sample;
    void sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                znFloatType<2>& mask) const override;
};
