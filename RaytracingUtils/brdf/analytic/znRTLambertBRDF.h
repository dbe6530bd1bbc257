#pragma once

// Diffuse reflection, smooth or from facets that are Lambertian themselves. M. Oren, S. Nayar,
// "Generalization of Lambert's Reflectance Model", SIGGRAPH 1994, eq. 30 without interreflection.

#include "brdf/analytic/cosineLobe.h"

class znRTLambertBRDF : public znRTCosineLobe
{
public:
    static const znRTTypeId s_typeId;

    znRTLambertBRDF() : znRTLambertBRDF(s_typeId) {}

    /// Reads the deviation of the facets' slopes of a znRTBSDFAttributes. Any other record makes
    /// the lobe smooth, since it also serves surfaces that know nothing of facets.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;

    using znRTCosineLobe::evaluate;
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;
    /// The colour factor, with alpha 1.
    znRTColorPacket rho(const znRTDifferentialGeometry& dg, const znRTVector2fPacket& u,
                        const znFloatType<2>& lanes) const override;

protected:
    explicit znRTLambertBRDF(const znRTTypeId& typeId)
        : znRTCosineLobe(typeId, lobeType::surfaceSide | lobeType::diffuse, rayType::diffuseScatter)
    {
    }

    float sigma = -1.0f; ///< radians; nothing is set up yet
    float termA = 1.0f, termB = 0.0f;
    bool orenNayar = false;
};
