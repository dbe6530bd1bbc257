#pragma once

// The half-vector power lobe with a Fresnel term: glossy plastics, paints and metals. M. Ashikhmin,
// P. Shirley, "An Anisotropic Phong BRDF Model", Journal of Graphics Tools 5(2), 2000, eq. 1 with
// equal exponents.

#include "brdf/analytic/fresnelLobe.h"
#include "brdf/analytic/powerLobe.h"

/// @tparam PerLane  see znRTPowerLobe
template <int PerLane>
class znRTIsotropicASBRDF : public znRTPowerLobe<PerLane, znRTFresnelLobe>
{
public:
    static inline const znRTTypeId s_typeId{PerLane ? "znRTIsotropicASBRDF<1>"
                                                    : "znRTIsotropicASBRDF<0>"};

    znRTIsotropicASBRDF() : znRTPowerLobe<PerLane, znRTFresnelLobe>(s_typeId) {}

    /// Reads the first exponent and the Fresnel term of a znRTBSDFAttributes.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;

    using znRTFresnelLobe::evaluate;
    /// Alpha is that of the Fresnel term.
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;
};
