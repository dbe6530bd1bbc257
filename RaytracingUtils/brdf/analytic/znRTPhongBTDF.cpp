#include "brdf/analytic/znRTPhongBTDF.h"

#include "brdf/znRTONB.h"

void znRTRoughTransmission::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    znRTDeltaLobe::setup(attributes, count);
    if (const auto* const record = dynamic_cast<const znRTPhongBTDFAttributes*>(&attributes)) {
        width.set(record->exponent);
        ratios.set(record->indices);
    }
}

znFloatType<2> znRTRoughTransmission::convertExponent(const znFloatType<2>& x) const
{
    return pow(x, samplePower);
}

znFloatType<2> znRTRoughTransmission::refract(const znRTVector3fPacket& wo,
                                              const znRTDifferentialGeometry& dg,
                                              znRTVector3fPacket& refracted) const
{
    constexpr int green = 1;
    return lobeSampling::refract(wo, ratios.get(dg.frontFacing, green), refracted);
}

template <int PerLane>
void znRTPhongBTDF<PerLane>::sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                                    const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                                    znFloatType<2>& mask) const
{
    const znFloatType<2> zero(0.0f);
    const auto lanes = znRTPhongWidthLanes::fetch<PerLane>(width, dg);
    znRTVector3fPacket axis;
    const znFloatType<2> isRefracted = refract(wo, dg, axis);
    axis = select(isRefracted, axis, -wo);
    znRTONB onb;
    onb.set(axis);
    const znRTVector3fPacket direction =
        onb.toWorld(lobeSampling::powerCosine(u, lanes.invExponentPlusOne));
    lobeSampling::commit(direction, (direction.z < zero) & (wo.z > zero), wi, mask);
}

template <int PerLane>
znRTColorPacket znRTPhongBTDF<PerLane>::rho(const znRTDifferentialGeometry& dg,
                                            const znRTVector2fPacket& u,
                                            const znFloatType<2>& lanes) const
{
    if constexpr (PerLane)
        return reflectanceOfLanes(dg, colorFactor);
    return znRTBRDF::rho(dg, u, lanes);
}

template <int PerLane>
znRTColorPacket znRTPhongBTDF<PerLane>::getTransmissionColor() const
{
    return znRTColorPacket(1.0f);
}

template <int PerLane>
void znRTPhongBTDF2<PerLane>::sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                                     const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                                     znFloatType<2>& mask) const
{
    const znFloatType<2> zero(0.0f);
    const auto lanes = znRTPhongWidthLanes::fetch<PerLane>(width, dg);
    znRTVector3fPacket axis;
    const znFloatType<2> isRefracted = refract(wo, dg, axis);
    axis = select(isRefracted, axis, znRTVector3fPacket(0.0f, 0.0f, -1.0f));
    znRTONB onb;
    onb.set(axis, znRTVector3fPacket(1.0f, 0.0f, 0.0f), znFloatType<2>::allLanes());
    const znRTVector3fPacket direction =
        onb.toWorld(lobeSampling::powerCosine(u, lanes.invExponentPlusOne));
    lobeSampling::commit(direction, (direction.z < zero) & isRefracted, wi, mask);
}

template <int PerLane>
znRTColorPacket znRTPhongBTDF2<PerLane>::rho(const znRTDifferentialGeometry& dg,
                                             const znRTVector2fPacket& u,
                                             const znFloatType<2>& lanes) const
{
    if constexpr (PerLane)
        return reflectanceOfLanes(dg, colorFactor);
    return znRTBRDF::rho(dg, u, lanes);
}

template class znRTPhongBTDF<0>;
template class znRTPhongBTDF<1>;
template class znRTPhongBTDF2<0>;
template class znRTPhongBTDF2<1>;
