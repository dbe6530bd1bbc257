#pragma once

// Glossy reflection from facets with long tails. B. Walter, S. Marschner, H. Li, K. Torrance,
// "Microfacet Models for Refraction through Rough Surfaces", EGSR 2007, eq. 33 and 35; two axes and
// the height-correlated masking after E. Heitz, "Understanding the Masking-Shadowing Function in
// Microfacet-Based BRDFs", JCGT 3(2), 2014, eq. 85, 86 and 99.
//
// Facets are drawn by the whole distribution, those that face away from the viewer included. A
// grazing direction of a smooth lobe may so get a weight in the hundreds: whoever traces it clamps,
// and lights are best sampled both ways.

#include "brdf/analytic/facetSlopes.h"
#include "brdf/analytic/fresnelLobe.h"

/// @tparam PerLane  0: slopes of setup; 1: those of the parameter block which the differential
///                  geometry points to, in its lanes (roughness textures)
template <int PerLane>
class znRTGGXBRDF : public znRTFresnelLobe
{
public:
    static inline const znRTTypeId s_typeId{PerLane ? "znRTGGXBRDF<1>" : "znRTGGXBRDF<0>"};

    znRTGGXBRDF() : znRTGGXBRDF(s_typeId) {}

    /// Reads a znRTBSDFAttributes, whose roughness in x and y are the squares of the slopes, and
    /// its angle and Fresnel term.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;
    const znRTFacetSlopes& getSlopes() const { return slopes; }

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
    /// The slope of a linear roughness: its square.
    znFloatType<2> convertExponent(const znFloatType<2>& x) const override { return x * x; }
    void prepareParameterLanes(const znRTDifferentialGeometry& dg,
                               const znRTRoughnessTextures& textures, const znFloatType<2>& mask,
                               znRTLobeParameters& block) const override;
    void prepareParameterLanes2(const znRTDifferentialGeometry& dg,
                                const znRTRoughnessTextures& textures, const znFloatType<2>& mask,
                                znRTLobeParameters& block) const override;
    znFloatType<2> getEnvironmentLevel(const znRTDifferentialGeometry& dg) const override
    {
        return znRTFacetSlopesLanes::fetch<PerLane>(slopes, dg).getEnvironmentLevel();
    }
    znRTColorPacket rho(const znRTDifferentialGeometry& dg, const znRTVector2fPacket& u,
                        const znFloatType<2>& lanes) const override;

protected:
    explicit znRTGGXBRDF(const znRTTypeId& typeId) : znRTFresnelLobe(typeId) {}

    znRTFacetSlopes slopes;

private:
    struct Facets;
    znRTVector3fPacket sampleHalfVector(const znRTVector2fPacket& u,
                                        const znRTDifferentialGeometry& dg) const;
};
