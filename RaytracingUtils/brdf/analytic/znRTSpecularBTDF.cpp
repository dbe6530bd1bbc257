#include "brdf/analytic/znRTSpecularBTDF.h"

const znRTTypeId znRTSpecularBTDF::s_typeId("znRTSpecularBTDF");

void znRTSpecularBTDF::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    znRTDeltaLobe::setup(attributes, count);
    if (const auto* const record = dynamic_cast<const znRTSpecularBTDFAttributes*>(&attributes))
        ratios.set(record->indices);
}

void znRTSpecularBTDF::sample(const znRTVector2fPacket&, const znRTVector3fPacket& wo,
                              const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                              znFloatType<2>& mask) const
{
    constexpr int green = 1;
    sampleChannel(green, wo, dg, wi, mask);
}

void znRTSpecularBTDF::sampleChannel(int channel, const znRTVector3fPacket& wo,
                                     const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                                     znFloatType<2>& mask) const
{
    znRTVector3fPacket refracted;
    const znFloatType<2> valid =
        lobeSampling::refract(wo, ratios.get(dg.frontFacing, channel), refracted);
    lobeSampling::commit(refracted, valid, wi, mask);
}
