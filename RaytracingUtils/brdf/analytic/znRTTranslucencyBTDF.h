#pragma once

// Light from behind through a thin scattering sheet, spread about the straight direction by a power
// of the cosine. It is asked in the frame of the negated normal: the viewer is below (wo.z < 0) and
// the light above (wi.z > 0); in the ordinary frame, or for a pair on one side, it is 0.

#include "brdf/analytic/phongWidth.h"
#include "brdf/znRTBRDF.h"

class znRTTranslucencyBTDF : public znRTBRDF
{
public:
    static const znRTTypeId s_typeId;

    znRTTranslucencyBTDF();

    /// Reads the exponent of a znRTPhongBTDFAttributes.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;
    const znRTPhongWidth& getWidth() const { return width; }

    using znRTBRDF::evaluate;
    using znRTBRDF::pdf;
    using znRTBRDF::sample;
    void sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                znFloatType<2>& mask) const override;
    znFloatType<2> pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                       const znRTDifferentialGeometry& dg) const override;
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;
    /// x^p, see getSamplePower.
    znFloatType<2> convertExponent(const znFloatType<2>& x) const override;

private:
    /// cos^e of the angle to the straight direction, 0 for pairs that are not possible.
    znFloatType<2> power(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi) const;

    znRTPhongWidth width;
};
