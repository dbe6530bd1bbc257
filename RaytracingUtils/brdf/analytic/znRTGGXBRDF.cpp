#include "brdf/analytic/znRTGGXBRDF.h"

#include "brdf/analytic/phongWidth.h"
#include "brdf/znRTBxDFAttributes.h"

/// A pair of directions with the distribution's value.
template <int PerLane>
struct znRTGGXBRDF<PerLane>::Facets
{
    Facets(const znRTGGXBRDF& lobe, const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
           const znRTDifferentialGeometry& dg)
        : lanes(znRTFacetSlopesLanes::fetch<PerLane>(lobe.slopes, dg)), half(wo, wi)
    {
        const znRTVector3fPacket h = lanes.turnBack(half.h);
        invX = reciprocalOrZero(lanes.alphaX);
        invY = reciprocalOrZero(lanes.alphaY);
        // (h.x / ax)^2 + (h.y / ay)^2 + c^2 keeps its digits near the normal, where
        // (a^2 - 1) c^2 + 1 would cancel.
        const znFloatType<2> s = square(h.x * invX) + square(h.y * invY) + square(half.cosine);
        distribution = invX * invY * lobeMath::invPi * square(reciprocalOrZero(s)) & half.valid;
    }

    znFloatType<2> pdf() const
    {
        return distribution * half.cosine * reciprocalOrZero(half.woDotH * 4.0f) & half.valid;
    }

    /// sqrt(w.z^2 + (ax w.x)^2 + (ay w.y)^2)
    znFloatType<2> stretched(const znRTVector3fPacket& w) const
    {
        const znRTVector3fPacket t = lanes.turnBack(w);
        return squareRoot(square(t.z) + square(lanes.alphaX * t.x) + square(lanes.alphaY * t.y));
    }

    znRTFacetSlopesLanes lanes;
    lobeSampling::HalfVector half;
    znFloatType<2> invX, invY, distribution;
};

template <int PerLane>
void znRTGGXBRDF<PerLane>::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    setSampleCount(count);
    if (const auto* const record = dynamic_cast<const znRTBSDFAttributes*>(&attributes)) {
        slopes.set(std::sqrt(std::max(0.0f, record->roughnessX)),
                   std::sqrt(std::max(0.0f, record->roughnessY)), record->anisotropyAngle);
        setupFresnel(*record);
    }
}

template <int PerLane>
znRTVector3fPacket znRTGGXBRDF<PerLane>::sampleHalfVector(const znRTVector2fPacket& u,
                                                          const znRTDifferentialGeometry& dg) const
{
    const znFloatType<2> one(1.0f);
    const auto lanes = znRTFacetSlopesLanes::fetch<PerLane>(slopes, dg);
    // tan = alpha sqrt(u / (1 - u)) along either axis: unlike the cosine's form it keeps slopes
    // apart that lie below 1e-3. u stays below 1, so that the tangent is finite.
    const znFloatType<2> v = minimum(u.y, 0.99999994f);
    const znFloatType<2> tangent = squareRoot(v * reciprocalOrZero(one - v));
    znFloatType<2> sine, cosine;
    sincos(u.x * lobeMath::twoPi, sine, cosine);
    const znFloatType<2> scale = tangent * reciprocalSquareRoot(square(sine) + square(cosine));
    return lanes.turn({lanes.alphaX * scale * cosine, lanes.alphaY * scale * sine, one})
        .getNormalized();
}

template <int PerLane>
void znRTGGXBRDF<PerLane>::sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                                  const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                                  znFloatType<2>& mask) const
{
    lobeSampling::reflectAbout(wo, sampleHalfVector(u, dg), wi, mask);
}

template <int PerLane>
znFloatType<2> znRTGGXBRDF<PerLane>::pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                                         const znRTDifferentialGeometry& dg) const
{
    return Facets(*this, wo, wi, dg).pdf();
}

template <int PerLane>
znRTColorPacket
znRTGGXBRDF<PerLane>::evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                               const znRTDifferentialGeometry& dg, znFloatType<2>& pdfOut) const
{
    const Facets facets(*this, wo, wi, dg);
    pdfOut = facets.pdf();
    // G / (4 wi.z wo.z) in one term: G alone goes to 0 with the cosines that divide it.
    const znFloatType<2> visibility =
        reciprocalOrZero(wo.z * facets.stretched(wi) + wi.z * facets.stretched(wo)) * 0.5f;
    return tinted(this->template fresnelColor<PerLane>(facets.half.woDotH, dg),
                  facets.distribution * visibility, 1.0f, pdfOut);
}

template <int PerLane>
void znRTGGXBRDF<PerLane>::prepareParameterLanes(const znRTDifferentialGeometry& dg,
                                                 const znRTRoughnessTextures& textures,
                                                 const znFloatType<2>& mask,
                                                 znRTLobeParameters& block) const
{
    const znFloatType<2> slope = evaluateRoughnessTexture(textures, dg, mask);
    block.setSlopes(slope, slope, mask);
    block.setTurn(slopes.cosRotation, slopes.sinRotation, mask);
    finishParameterLanes(block);
}

template <int PerLane>
void znRTGGXBRDF<PerLane>::prepareParameterLanes2(const znRTDifferentialGeometry& dg,
                                                  const znRTRoughnessTextures& textures,
                                                  const znFloatType<2>& mask,
                                                  znRTLobeParameters& block) const
{
    block.setSlopes(evaluateRoughnessTexture(textures, dg, mask),
                    evaluateRoughnessTexture2(textures, dg, mask), mask);
    block.setTurn(slopes.cosRotation, slopes.sinRotation, mask);
    finishParameterLanes(block);
}

template <int PerLane>
znRTColorPacket znRTGGXBRDF<PerLane>::rho(const znRTDifferentialGeometry& dg,
                                          const znRTVector2fPacket& u,
                                          const znFloatType<2>& lanes) const
{
    if constexpr (PerLane)
        return reflectanceOfLanes(dg, colorFactor);
    return znRTBRDF::rho(dg, u, lanes);
}

template class znRTGGXBRDF<0>;
template class znRTGGXBRDF<1>;
