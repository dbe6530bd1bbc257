#include "brdf/analytic/znRTLambertBRDF.h"

#include "brdf/znRTBxDFAttributes.h"

const znRTTypeId znRTLambertBRDF::s_typeId("znRTLambertBRDF");

namespace {

/// (A + B max(0, cos(phiI - phiO)) sin(alpha) tan(beta)): alpha is the larger, beta the smaller of
/// the polar angles.
znFloatType<2> facetShare(float a, float b, const znRTVector3fPacket& wo,
                          const znRTVector3fPacket& wi)
{
    const znFloatType<2> one(1.0f), zero(0.0f);
    const znFloatType<2> planeI = square(wi.x) + square(wi.y), planeO = square(wo.x) + square(wo.y);
    const znFloatType<2> sinI = squareRoot(planeI), sinO = squareRoot(planeO);

    // A direction on the normal has no azimuth and counts as (1, 0).
    const znFloatType<2> hasI = planeI > zero, hasO = planeO > zero;
    const znFloatType<2> invI = reciprocalOrZero(sinI), invO = reciprocalOrZero(sinO);
    const znFloatType<2> cosineOfAzimuths =
        select(hasI, wi.x * invI, one) * select(hasO, wo.x * invO, one) +
        wi.y * invI * (wo.y * invO);

    const znFloatType<2> sinAlpha = maximum(sinI, sinO);
    const znFloatType<2> tanBeta = minimum(sinI, sinO) * reciprocalOrZero(maximum(wi.z, wo.z));
    return lobeMath::positive(cosineOfAzimuths) * sinAlpha * tanBeta * b + a;
}

} // namespace

void znRTLambertBRDF::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    setSampleCount(count);
    const auto* const record = dynamic_cast<const znRTBSDFAttributes*>(&attributes);
    const float newSigma = record ? record->diffuseRoughness : 0.0f;
    if (newSigma == sigma)
        return;
    sigma = newSigma;
    const float s = sigma * sigma;
    termA = 1.0f - s / (2.0f * (0.33f + s));
    termB = 0.45f * s / (s + 0.09f);
    orenNayar = termB > 1e-6f && sigma > 1e-6f;
}

znRTColorPacket znRTLambertBRDF::evaluate(const znRTVector3fPacket& wo,
                                          const znRTVector3fPacket& wi,
                                          const znRTDifferentialGeometry&,
                                          znFloatType<2>& pdfOut) const
{
    pdfOut = lobeSampling::cosinePdf(wo, wi);
    znFloatType<2> value(lobeMath::invPi);
    if (orenNayar)
        value *= facetShare(termA, termB, wo, wi);
    return grey(value, 1.0f, pdfOut);
}

znRTColorPacket znRTLambertBRDF::rho(const znRTDifferentialGeometry&, const znRTVector2fPacket&,
                                     const znFloatType<2>&) const
{
    return {colorFactor.r, colorFactor.g, colorFactor.b, 1.0f};
}
