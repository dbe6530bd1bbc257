#pragma once

// Glossy reflection from facets after Beckmann with V-shaped grooves. R. Cook, K. Torrance, "A
// Reflectance Model for Computer Graphics", ACM TOG 1(1), 1982. Directions are drawn by a power
// of the half vector's cosine, whose exponent stands for the slope: m = sqrt(2 / (e + 2)).

#include "brdf/analytic/fresnelLobe.h"
#include "brdf/analytic/powerLobe.h"

/// @tparam PerLane  see znRTPowerLobe
template <int PerLane>
class znRTCookTorranceBRDF : public znRTPowerLobe<PerLane, znRTFresnelLobe>
{
public:
    static inline const znRTTypeId s_typeId{PerLane ? "znRTCookTorranceBRDF<1>"
                                                    : "znRTCookTorranceBRDF<0>"};

    znRTCookTorranceBRDF() : znRTPowerLobe<PerLane, znRTFresnelLobe>(s_typeId) {}

    /// Reads the first exponent and the Fresnel term of a znRTBSDFAttributes.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;

    using znRTFresnelLobe::evaluate;
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;
};
