#include "brdf/analytic/znRTIsotropicASBRDF.h"

#include "brdf/znRTBxDFAttributes.h"

template <int PerLane>
void znRTIsotropicASBRDF<PerLane>::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    this->setSampleCount(count);
    if (const auto* const record = dynamic_cast<const znRTBSDFAttributes*>(&attributes)) {
        this->width.set(record->exponentX);
        this->setupFresnel(*record);
    }
}

template <int PerLane>
znRTColorPacket znRTIsotropicASBRDF<PerLane>::evaluate(const znRTVector3fPacket& wo,
                                                       const znRTVector3fPacket& wi,
                                                       const znRTDifferentialGeometry& dg,
                                                       znFloatType<2>& pdfOut) const
{
    const znRTPhongWidthLanes lanes = this->fetchWidth(dg);
    const lobeSampling::HalfVector half(wo, wi);
    const znFloatType<2> power = pow(half.cosine, lanes.exponent);
    pdfOut = powerLobe::pdf(half, lanes.pdfNorm, power);
    const znFloatType<2> value = powerLobe::value(half, lanes.evalNorm, power, wo, wi);
    const znRTColorPacket fresnel = this->template fresnelColor<PerLane>(half.woDotH, dg);
    return this->tinted(fresnel, value, fresnel.a, pdfOut);
}

template class znRTIsotropicASBRDF<0>;
template class znRTIsotropicASBRDF<1>;
