#pragma once

// Glossy reflection by the half vector: a power of its cosine, with the normalization and the
// denominators of M. Ashikhmin, P. Shirley, "An Anisotropic Phong BRDF Model", Journal of Graphics
// Tools 5(2), 2000, without a Fresnel term. Facets that would reflect below the horizon lose that
// light, so the density integrates to less than 1 toward grazing views.

#include "brdf/analytic/powerLobe.h"
#include "brdf/znRTBRDF.h"
#include "core/rayTypes.h"

/// @tparam PerLane  see znRTPowerLobe
template <int PerLane>
class znRTPhongBRDF : public znRTPowerLobe<PerLane, znRTBRDF>
{
public:
    static inline const znRTTypeId s_typeId{PerLane ? "znRTPhongBRDF<1>" : "znRTPhongBRDF<0>"};

    znRTPhongBRDF()
        : znRTPowerLobe<PerLane, znRTBRDF>(s_typeId, lobeType::surfaceSide | lobeType::glossy,
                                           rayType::glossyReflection)
    {
    }

    /// Reads the first exponent of a znRTBSDFAttributes.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;

    using znRTBRDF::evaluate;
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;
    znFloatType<2> getBlendWeight(const znFloatType<2>& cosTheta) const override;
};
