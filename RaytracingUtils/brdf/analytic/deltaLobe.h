#pragma once

// Base of the lobes that scatter into one direction only, or stand for a ray that is traced: they
// have a value and a density just for the direction they drew, such that the ray's weight is 1.

#include "brdf/lobeSampling.h"
#include "brdf/znRTBRDF.h"
#include "core/rayTypes.h"

class znRTDeltaLobe : public znRTBRDF
{
public:
    /// Only the sample count: there is nothing else to know.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;

    using znRTBRDF::evaluate;
    using znRTBRDF::pdf;
    /// |wi.z|, which cancels the cosine of the ray's weight.
    znFloatType<2> pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                       const znRTDifferentialGeometry& dg) const override;
    /// White.
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;
    /// The value itself.
    znFloatType<2> convertExponent(const znFloatType<2>& x) const override { return x; }

protected:
    znRTDeltaLobe(const znRTTypeId& typeId, unsigned typeFlags, unsigned outRayMask)
        : znRTBRDF(typeId, typeFlags, outRayMask, true)
    {
    }
};
