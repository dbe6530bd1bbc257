#include "brdf/analytic/znRTCookTorranceBRDF.h"

#include "brdf/znRTBxDFAttributes.h"

namespace {

/// D G / (pi wi.z wo.z) without the Fresnel term.
znFloatType<2> facetValue(const lobeSampling::HalfVector& half, znFloatType<2> exponent,
                          const znRTVector3fPacket& wo, const znRTVector3fPacket& wi)
{
    // Results of exp below e^-87.3 are denormal: the density flushes to 0 there, and a value left
    // over would be a weight of 1e19.
    constexpr float lowest = -87.3f;
    const znFloatType<2> invSquareSlope = (exponent + 2.0f) * 0.5f;
    const znFloatType<2> c2 = square(half.cosine), invC2 = reciprocalOrZero(c2);
    const znFloatType<2> argument = (c2 - 1.0f) * invC2 * invSquareSlope;
    const znFloatType<2> beckmann = exp(maximum(argument, -88.37626f)) & (argument > lowest);
    const znFloatType<2> density = beckmann * invSquareSlope * square(invC2) * 0.25f;

    // G over both cosines: the grooves' term loses its smaller cosine, so that nothing overflows
    // at grazing directions.
    const znFloatType<2> shadowed =
        (half.cosine + half.cosine) * reciprocalOrZero(half.woDotH * maximum(wi.z, wo.z));
    const znFloatType<2> masking = minimum(reciprocalOrZero(wi.z * wo.z), shadowed);
    return density * masking * lobeMath::invPi & half.valid;
}

} // namespace

template <int PerLane>
void znRTCookTorranceBRDF<PerLane>::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    this->setSampleCount(count);
    if (const auto* const record = dynamic_cast<const znRTBSDFAttributes*>(&attributes)) {
        this->width.set(record->exponentX);
        this->setupFresnel(*record);
    }
}

template <int PerLane>
znRTColorPacket znRTCookTorranceBRDF<PerLane>::evaluate(const znRTVector3fPacket& wo,
                                                        const znRTVector3fPacket& wi,
                                                        const znRTDifferentialGeometry& dg,
                                                        znFloatType<2>& pdfOut) const
{
    const znRTPhongWidthLanes lanes = this->fetchWidth(dg);
    const lobeSampling::HalfVector half(wo, wi);
    pdfOut = powerLobe::pdf(half, lanes.pdfNorm, pow(half.cosine, lanes.exponent));
    return this->tinted(this->template fresnelColor<PerLane>(half.woDotH, dg),
                        facetValue(half, lanes.exponent, wo, wi), 1.0f, pdfOut);
}

template class znRTCookTorranceBRDF<0>;
template class znRTCookTorranceBRDF<1>;
