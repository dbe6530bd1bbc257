#include "brdf/analytic/znRTPhongBRDF.h"

#include "brdf/znRTBxDFAttributes.h"

template <int PerLane>
void znRTPhongBRDF<PerLane>::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    this->setSampleCount(count);
    if (const auto* const record = dynamic_cast<const znRTBSDFAttributes*>(&attributes))
        this->width.set(record->exponentX);
}

template <int PerLane>
znRTColorPacket
znRTPhongBRDF<PerLane>::evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                                 const znRTDifferentialGeometry& dg, znFloatType<2>& pdfOut) const
{
    const znRTPhongWidthLanes lanes = this->fetchWidth(dg);
    const lobeSampling::HalfVector half(wo, wi);
    const znFloatType<2> power = pow(half.cosine, lanes.exponent);
    pdfOut = powerLobe::pdf(half, lanes.pdfNorm, power);
    return this->grey(powerLobe::value(half, lanes.evalNorm, power, wo, wi), 1.0f, pdfOut);
}

template <int PerLane>
znFloatType<2> znRTPhongBRDF<PerLane>::getBlendWeight(const znFloatType<2>&) const
{
    return 0.4f;
}

template class znRTPhongBRDF<0>;
template class znRTPhongBRDF<1>;
