#pragma once

// Sheen of fibres that stand off a surface: it follows the sine of the view angle alone, wherever
// the light is, and so is not reciprocal.

#include "brdf/analytic/cosineLobe.h"

class znRTVelvetyBRDF : public znRTCosineLobe
{
public:
    static const znRTTypeId s_typeId;

    znRTVelvetyBRDF()
        : znRTCosineLobe(s_typeId, lobeType::surfaceSide | lobeType::glossy,
                         rayType::glossyReflection)
    {
    }

    /// Reads the first exponent of a znRTBSDFAttributes.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;

    using znRTCosineLobe::evaluate;
    /// Alpha is 0.
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;

protected:
    float exponent = 1.0f;
};
