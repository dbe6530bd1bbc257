#include "brdf/analytic/znRTAnisotropicASBRDF.h"

#include "brdf/analytic/powerLobe.h"
#include "brdf/znRTBxDFAttributes.h"

template <int PerLane>
void znRTAnisotropicASBRDF<PerLane>::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    setSampleCount(count);
    const auto* const record = dynamic_cast<const znRTBSDFAttributes*>(&attributes);
    if (!record)
        return;
    setupFresnel(*record);
    const float u = lobeMath::held(record->exponentX, 0.0f, lobeMath::maxExponent);
    const float v = lobeMath::held(record->exponentY, 0.0f, lobeMath::maxExponent);
    if (u == exponentU && v == exponentV)
        return;
    exponentU = u;
    exponentV = v;
    anisotropic = u != v;
    pdfNorm = std::sqrt((u + 1.0f) * (v + 1.0f)) * lobeMath::invTwoPi;
    evalNorm = std::sqrt((u + 2.0f) * (v + 2.0f)) * lobeMath::invTwoPi;
    level = lobeMath::environmentLevel(std::sqrt(u * v));
}

template <int PerLane>
auto znRTAnisotropicASBRDF<PerLane>::fetch(const znRTDifferentialGeometry& dg) const -> Lanes
{
    Lanes lanes{exponentU, exponentV, pdfNorm, evalNorm};
    if constexpr (PerLane) {
        if (const znRTLobeParameters* const block = dg.parameters) {
            lanes.exponentU = select(block->mask, block->exponent, lanes.exponentU);
            lanes.exponentV = select(block->mask, block->exponentV, lanes.exponentV);
            lanes.pdfNorm = select(block->mask, block->pdfNorm2, lanes.pdfNorm);
            lanes.evalNorm = select(block->mask, block->evalNorm2, lanes.evalNorm);
        }
    }
    return lanes;
}

template <int PerLane>
bool znRTAnisotropicASBRDF<PerLane>::hasTwoAxes(const znRTDifferentialGeometry& dg) const
{
    return anisotropic || (PerLane && dg.parameters);
}

template <int PerLane>
znFloatType<2> znRTAnisotropicASBRDF<PerLane>::power(const Lanes& lanes,
                                                     const znRTVector3fPacket& h,
                                                     znFloatType<2> cosine, bool twoAxes) const
{
    if (!twoAxes)
        return pow(cosine, lanes.exponentU);
    // The plane part of a unit vector is 1 - cosine^2; on the normal both are 0, and so is the
    // exponent.
    const znFloatType<2> u2 = square(h.x), v2 = square(h.y);
    return pow(cosine, (lanes.exponentU * u2 + lanes.exponentV * v2) * reciprocalOrZero(u2 + v2));
}

template <int PerLane>
znRTVector3fPacket
znRTAnisotropicASBRDF<PerLane>::sampleHalfVector(const Lanes& lanes,
                                                 const znRTVector2fPacket& u) const
{
    const znFloatType<2> one(1.0f), quarter(0.25f), half(0.5f), threeQuarters(0.75f);

    // One quadrant serves all four: odd ones run backward, so that strata stay together.
    const znFloatType<2> inFirstHalf = u.x < half;
    const znFloatType<2> middle = select(inFirstHalf, half, one);
    const znFloatType<2> isOdd = ((u.x >= quarter) & inFirstHalf) | (u.x >= threeQuarters);
    const znFloatType<2> start = select(inFirstHalf, 0.0f, half);
    const znFloatType<2> t = select(isOdd, middle - u.x, u.x - start) * 4.0f;

    // phi = atan(sqrt((eU + 1) / (eV + 1)) tan(pi t / 2)), as a vector instead of an angle.
    znFloatType<2> sine, cosine;
    sincos(t * (0.5f * lobeMath::pi), sine, cosine);
    sine *= squareRoot((lanes.exponentU + one) * reciprocalOrZero(lanes.exponentV + one));
    const znFloatType<2> scale = reciprocalSquareRoot(square(sine) + square(cosine));
    const znFloatType<2> signBit(-0.0f);
    const znFloatType<2> cosPhi =
        (cosine * scale) ^ (signBit & (u.x >= quarter) & (u.x < threeQuarters));
    const znFloatType<2> sinPhi = (sine * scale) ^ andNot(inFirstHalf, signBit);

    const znFloatType<2> exponent =
        lanes.exponentU * square(cosPhi) + lanes.exponentV * square(sinPhi);
    const znFloatType<2> cosTheta = pow(clamp01(u.y), reciprocalOrZero(exponent + one));
    const znFloatType<2> sinTheta = squareRoot(clamp01(one - square(cosTheta)));
    return znRTVector3fPacket(sinTheta * cosPhi, sinTheta * sinPhi, cosTheta).getNormalized();
}

template <int PerLane>
void znRTAnisotropicASBRDF<PerLane>::sample(const znRTVector2fPacket& u,
                                            const znRTVector3fPacket& wo,
                                            const znRTDifferentialGeometry& dg,
                                            znRTVector3fPacket& wi, znFloatType<2>& mask) const
{
    const Lanes lanes = fetch(dg);
    const znRTVector3fPacket h =
        hasTwoAxes(dg) ? sampleHalfVector(lanes, u)
                       : lobeSampling::powerCosine(u, reciprocalOrZero(lanes.exponentU + 1.0f));
    lobeSampling::reflectAbout(wo, h, wi, mask);
}

template <int PerLane>
znFloatType<2> znRTAnisotropicASBRDF<PerLane>::pdf(const znRTVector3fPacket& wo,
                                                   const znRTVector3fPacket& wi,
                                                   const znRTDifferentialGeometry& dg) const
{
    const Lanes lanes = fetch(dg);
    const lobeSampling::HalfVector half(wo, wi);
    return powerLobe::pdf(half, lanes.pdfNorm, power(lanes, half.h, half.cosine, hasTwoAxes(dg)));
}

template <int PerLane>
znRTColorPacket znRTAnisotropicASBRDF<PerLane>::evaluate(const znRTVector3fPacket& wo,
                                                         const znRTVector3fPacket& wi,
                                                         const znRTDifferentialGeometry& dg,
                                                         znFloatType<2>& pdfOut) const
{
    const Lanes lanes = fetch(dg);
    const lobeSampling::HalfVector half(wo, wi);
    const znFloatType<2> ofCosine = power(lanes, half.h, half.cosine, hasTwoAxes(dg));
    pdfOut = powerLobe::pdf(half, lanes.pdfNorm, ofCosine);
    const znFloatType<2> value = powerLobe::value(half, lanes.evalNorm, ofCosine, wo, wi);
    const znRTColorPacket fresnel = this->template fresnelColor<PerLane>(half.woDotH, dg);
    return this->tinted(fresnel, value, fresnel.a, pdfOut);
}

template <int PerLane>
znFloatType<2> znRTAnisotropicASBRDF<PerLane>::convertExponent(const znFloatType<2>& x) const
{
    return pow(x, samplePower);
}

template <int PerLane>
znRTColorPacket znRTAnisotropicASBRDF<PerLane>::rho(const znRTDifferentialGeometry& dg,
                                                    const znRTVector2fPacket& u,
                                                    const znFloatType<2>& lanes) const
{
    if constexpr (PerLane)
        return reflectanceOfLanes(dg, colorFactor);
    return znRTBRDF::rho(dg, u, lanes);
}

template class znRTAnisotropicASBRDF<0>;
template class znRTAnisotropicASBRDF<1>;
