#include "brdf/analytic/cosineLobe.h"

void znRTCosineLobe::sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                            const znRTDifferentialGeometry&, znRTVector3fPacket& wi,
                            znFloatType<2>& mask) const
{
    const znFloatType<2> zero(0.0f);
    const znRTVector3fPacket direction = lobeSampling::cosineHemisphere(u);
    lobeSampling::commit(direction, (direction.z > zero) & (wo.z > zero), wi, mask);
}

znFloatType<2> znRTCosineLobe::pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                                   const znRTDifferentialGeometry&) const
{
    return lobeSampling::cosinePdf(wo, wi);
}
