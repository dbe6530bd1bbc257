#pragma once

// Diffuse reflection that darkens toward the rim (k > 1) or brightens (k < 1), the base of velvet.
// M. Minnaert, "The Reciprocity Principle in Lunar Photometry", Astrophysical Journal 93, 1941.
// Below k = 1 it returns more light than it gets: 1.3 at the normal for k = 0.5.

#include "brdf/analytic/cosineLobe.h"

class znRTMinnaertBRDF : public znRTCosineLobe
{
public:
    static const znRTTypeId s_typeId;

    znRTMinnaertBRDF()
        : znRTCosineLobe(s_typeId, lobeType::surfaceSide | lobeType::diffuse,
                         rayType::diffuseScatter)
    {
    }

    /// Reads the darkening of a znRTBSDFAttributes or a znRTPhongBTDFAttributes.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;

    using znRTCosineLobe::evaluate;
    /// At most 10 / pi. Alpha is 0.
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;

protected:
    float darkening = 1.0f;
};
