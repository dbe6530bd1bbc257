#include "brdf/analytic/znRTTranslucencyBTDF.h"

#include "brdf/znRTBxDFAttributes.h"
#include "brdf/znRTONB.h"
#include "core/rayTypes.h"

const znRTTypeId znRTTranslucencyBTDF::s_typeId("znRTTranslucencyBTDF");

znRTTranslucencyBTDF::znRTTranslucencyBTDF()
    : znRTBRDF(s_typeId, lobeType::surfaceSide | lobeType::transmission | lobeType::glossy,
               rayType::glossyTransmission | rayType::glossyReflection)
{
}

void znRTTranslucencyBTDF::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    setSampleCount(count);
    if (const auto* const record = dynamic_cast<const znRTPhongBTDFAttributes*>(&attributes))
        width.set(record->exponent);
}

void znRTTranslucencyBTDF::sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                                  const znRTDifferentialGeometry&, znRTVector3fPacket& wi,
                                  znFloatType<2>& mask) const
{
    const znFloatType<2> zero(0.0f);
    znRTONB onb;
    onb.set(-wo);
    const znRTVector3fPacket direction =
        onb.toWorld(lobeSampling::powerCosine(u, width.invExponentPlusOne));
    lobeSampling::commit(direction, (direction.z > zero) & (wo.z < zero), wi, mask);
}

znFloatType<2> znRTTranslucencyBTDF::power(const znRTVector3fPacket& wo,
                                           const znRTVector3fPacket& wi) const
{
    const znFloatType<2> zero(0.0f);
    return pow(lobeMath::positive(-dot(wo, wi)), width.exponent) & (wi.z > zero) & (wo.z < zero);
}

znFloatType<2> znRTTranslucencyBTDF::pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                                         const znRTDifferentialGeometry&) const
{
    return power(wo, wi) * width.pdfNorm;
}

znRTColorPacket znRTTranslucencyBTDF::evaluate(const znRTVector3fPacket& wo,
                                               const znRTVector3fPacket& wi,
                                               const znRTDifferentialGeometry&,
                                               znFloatType<2>& pdfOut) const
{
    // The density has a norm of its own: with that of the value it would integrate to
    // (e + 2) / (e + 1).
    const znFloatType<2> ofCosine = power(wo, wi);
    pdfOut = ofCosine * width.pdfNorm;
    const znFloatType<2> larger = maximum(lobeMath::positive(wi.z), lobeMath::positive(-wo.z));
    return grey(ofCosine * width.evalNorm * reciprocalOrZero(larger), 1.0f, pdfOut);
}

znFloatType<2> znRTTranslucencyBTDF::convertExponent(const znFloatType<2>& x) const
{
    return pow(x, samplePower);
}
