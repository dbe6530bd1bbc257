#pragma once

// Base of the reflecting lobes that are sampled by the cosine alone.

#include "brdf/lobeSampling.h"
#include "brdf/znRTBRDF.h"
#include "core/rayTypes.h"

class znRTCosineLobe : public znRTBRDF
{
public:
    using znRTBRDF::evaluate;
    using znRTBRDF::pdf;
    using znRTBRDF::sample;

    void sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                znFloatType<2>& mask) const override;
    znFloatType<2> pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                       const znRTDifferentialGeometry& dg) const override;
    /// The value itself: width is not a matter of exponents here.
    znFloatType<2> convertExponent(const znFloatType<2>& x) const override { return x; }

protected:
    using znRTBRDF::znRTBRDF;
};
