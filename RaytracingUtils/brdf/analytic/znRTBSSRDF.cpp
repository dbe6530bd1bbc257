#include "brdf/analytic/znRTBSSRDF.h"

#include "brdf/znRTBxDFAttributes.h"
#include "brdf/znRTLobeParameters.h"
#include "core/rayTypes.h"

const znRTTypeId znRTBSSRDF::s_typeId("znRTBSSRDF");

namespace {

/// z (1 + s d) e^(-s d) / d^3: one source of the dipole at a depth.
znFloatType<2> sourceTerm(znFloatType<2> squareDistance, float depth, float attenuation)
{
    const znFloatType<2> d2 = squareDistance + depth * depth;
    const znFloatType<2> d = squareRoot(d2), path = d * attenuation;
    return (path + 1.0f) * exp(-path) * depth * reciprocalOrZero(d2 * d);
}

} // namespace

znRTBSSRDF::znRTBSSRDF()
    : znRTBRDF(s_typeId, lobeType::surfaceSide | lobeType::subsurface | lobeType::diffuse,
               rayType::diffuseScatter)
{
}

void znRTBSSRDF::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    setSampleCount(count);
    const auto* const record = dynamic_cast<const znRTPhongBTDFAttributes*>(&attributes);
    if (!record)
        return;
    const znRTSubsurfaceMedium& medium = record->medium;
    mode4 = medium.mode == 4;
    anisotropy = lobeMath::held(medium.anisotropy, -0.99f, 0.99f);
    const float newEta =
        std::max(1.0f, record->indices.indexA) / std::max(1.0f, record->indices.indexB);
    const float newMfp =
        lobeMath::held(medium.extinction * medium.unit, 0.001f, 10.0f) / medium.unit;
    const float newAlbedo = lobeMath::held(medium.scatterAlbedo, 0.0f, 1.0f);
    if (newEta == eta && newMfp == mfp && newAlbedo == scatterAlbedo)
        return;
    eta = newEta;
    etaInverse = 1.0f / eta;
    mfp = newMfp;
    invMfp = 1.0f / mfp;
    scatterAlbedo = newAlbedo;
    const float root = (1.0f - eta) / (1.0f + eta);
    r0 = root * root;
    // Mean reflectance from inside. W. Egan, T. Hilgeman, "Optical Properties of Inhomogeneous
    // Materials", 1979; it holds for a body that is denser than what surrounds it.
    const float dense = std::max(1.0f, eta);
    // The fit exceeds 1 from an index of 5 on, where the boundary term would turn around.
    const float fit = -1.4399f / (dense * dense) + 0.7099f / dense + 0.6681f + 0.0636f * dense;
    diffuseFresnel = std::min(fit, 0.99f);
    boundary = (1.0f + diffuseFresnel) / (1.0f - diffuseFresnel);
    zv = invMfp * (1.0f + 4.0f / 3.0f * boundary);
    attenuation = mfp * std::sqrt(3.0f * (1.0f - scatterAlbedo));
    // A body without absorption has no decay: a tenth of the source's depth keeps points near.
    pointRate = std::max(attenuation, 0.1f * mfp);
}

void znRTBSSRDF::sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                        const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                        znFloatType<2>& mask) const
{
    const znFloatType<2> zero(0.0f);
    const znFloatType<2> hasEntry =
        dg.parameters ? dg.parameters->entryMask : znFloatType<2>::noLanes();
    const znRTVector3fPacket direction = lobeSampling::cosineHemisphere(u);
    lobeSampling::commit(direction, (direction.z > zero) & (wo.z > zero) & hasEntry, wi, mask);
}

znFloatType<2> znRTBSSRDF::pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                               const znRTDifferentialGeometry& dg) const
{
    if (!dg.parameters)
        return 0.0f;
    return lobeSampling::cosinePdf(wo, wi) & dg.parameters->entryMask;
}

znRTColorPacket znRTBSSRDF::evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                                     const znRTDifferentialGeometry& dg,
                                     znFloatType<2>& pdfOut) const
{
    pdfOut = znRTBSSRDF::pdf(wo, wi, dg);
    if (!anyLane(pdfOut > znFloatType<2>(0.0f)))
        return znRTColorPacket(0.0f);
    const znFloatType<2> distance = (dg.parameters->entryPoint - dg.position).getLength();
    const znFloatType<2> profile = mode4 ? getSingle(distance) * getPhase(-dot(wo, wi))
                                         : getDipole(distance) * lobeMath::invPi;
    return grey(profile * transmittance(wo.z) * transmittance(wi.z), 1.0f, pdfOut);
}

znRTSubsurfaceProbe znRTBSSRDF::sampleProbe(const znRTVector2fPacket& u) const
{
    // The distance beyond which one point in a million lies.
    constexpr float farthest = 13.8f;
    const float reach = farthest / pointRate;
    const znFloatType<2> fraction = log2(znFloatType<2>(1.0f) - u.x) * -std::numbers::ln2_v<float>;
    const znFloatType<2> distance = minimum(fraction * (1.0f / pointRate), reach);
    znFloatType<2> sine, cosine;
    sincos(u.y * lobeMath::twoPi, sine, cosine);
    const znFloatType<2> scale = distance * reciprocalSquareRoot(square(sine) + square(cosine));
    // Half a chord of the sphere that bounds all distances.
    const znFloatType<2> half =
        squareRoot(lobeMath::positive(znFloatType<2>(reach * reach) - square(distance)));
    return {{scale * cosine, scale * sine, half}, half + half, distance, getPointPdf(distance)};
}

znFloatType<2> znRTBSSRDF::getPointPdf(const znFloatType<2>& distance) const
{
    return exp(distance * -pointRate) * (pointRate * lobeMath::invTwoPi) *
           reciprocalOrZero(distance);
}

znFloatType<2> znRTBSSRDF::getDipole(const znFloatType<2>& distance) const
{
    const znFloatType<2> r2 = square(distance);
    return (sourceTerm(r2, invMfp, attenuation) + sourceTerm(r2, zv, attenuation)) *
           (scatterAlbedo * 0.5f * lobeMath::invTwoPi);
}

znFloatType<2> znRTBSSRDF::getSingle(const znFloatType<2>& distance) const
{
    return exp(distance * -mfp) * (scatterAlbedo * mfp * lobeMath::invTwoPi) *
           reciprocalOrZero(distance);
}

znFloatType<2> znRTBSSRDF::getPhase(const znFloatType<2>& cosTheta) const
{
    const float g = anisotropy;
    const znFloatType<2> base = znFloatType<2>(1.0f + g * g) - cosTheta * (2.0f * g);
    const znFloatType<2> root = reciprocalSquareRoot(base);
    return root * root * root * ((1.0f - g * g) * 0.5f * lobeMath::invTwoPi);
}

znFloatType<2> znRTBSSRDF::transmittance(const znFloatType<2>& cosTheta) const
{
    const znFloatType<2> reflected = lobeMath::schlick(r0, lobeMath::schlickRise(cosTheta));
    return lobeMath::positive(znFloatType<2>(1.0f) - reflected);
}
