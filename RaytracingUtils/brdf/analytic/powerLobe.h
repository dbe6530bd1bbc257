#pragma once

// What all lobes share that draw half vectors by a power of their cosine: width, sampling, density.
// M. Ashikhmin, P. Shirley, "An Anisotropic Phong BRDF Model", Journal of Graphics Tools 5(2),
// 2000, eq. 8 and 9 with equal exponents.

#include "brdf/analytic/phongWidth.h"
#include "brdf/znRTBRDF.h"

/// Value and density of the half-vector power lobe from the power itself.
namespace powerLobe {

/// Density of wi when half vectors are drawn by pdfNorm cos^e: d(h)/d(wi) is 1 / (4 wo.h).
/// @param power  cosine^exponent
inline znFloatType<2> pdf(const lobeSampling::HalfVector& half, znFloatType<2> pdfNorm,
                          znFloatType<2> power)
{
    return pdfNorm * power * reciprocalOrZero(half.woDotH * 4.0f) & half.valid;
}

/// Value, 1/sr.
inline znFloatType<2> value(const lobeSampling::HalfVector& half, znFloatType<2> evalNorm,
                            znFloatType<2> power, const znRTVector3fPacket& wo,
                            const znRTVector3fPacket& wi)
{
    return evalNorm * power * reciprocalOrZero(half.woDotH * 4.0f * maximum(wi.z, wo.z)) &
           half.valid;
}

} // namespace powerLobe

/// @tparam PerLane  0: the exponent of setup; 1: that of the parameter block which the differential
///                  geometry points to, in its lanes (glossiness textures)
/// @tparam Base     znRTBRDF or a class between
template <int PerLane, class Base>
class znRTPowerLobe : public Base
{
public:
    const znRTPhongWidth& getWidth() const { return width; }
    /// The exponent alone, for lobes that are parts of others.
    void setExponent(float exponent) { width.set(exponent); }

    using Base::pdf;
    using Base::sample;
    void sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                znFloatType<2>& mask) const override;
    znFloatType<2> pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                       const znRTDifferentialGeometry& dg) const override;
    /// x^p, see getSamplePower.
    znFloatType<2> convertExponent(const znFloatType<2>& x) const override;
    znFloatType<2> getEnvironmentLevel(const znRTDifferentialGeometry& dg) const override
    {
        return environmentLevelOfLanes<PerLane>(width.level, dg);
    }
    /// Form 1 takes lanes' own reflectance where a texture drives it.
    znRTColorPacket rho(const znRTDifferentialGeometry& dg, const znRTVector2fPacket& u,
                        const znFloatType<2>& lanes) const override;

protected:
    using Base::Base;

    znRTPhongWidthLanes fetchWidth(const znRTDifferentialGeometry& dg) const
    {
        return znRTPhongWidthLanes::fetch<PerLane>(width, dg);
    }

    znRTPhongWidth width;
};

template <int PerLane, class Base>
void znRTPowerLobe<PerLane, Base>::sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                                          const znRTDifferentialGeometry& dg,
                                          znRTVector3fPacket& wi, znFloatType<2>& mask) const
{
    const znRTPhongWidthLanes lanes = fetchWidth(dg);
    lobeSampling::reflectAbout(wo, lobeSampling::powerCosine(u, lanes.invExponentPlusOne), wi,
                               mask);
}

template <int PerLane, class Base>
znFloatType<2> znRTPowerLobe<PerLane, Base>::pdf(const znRTVector3fPacket& wo,
                                                 const znRTVector3fPacket& wi,
                                                 const znRTDifferentialGeometry& dg) const
{
    const znRTPhongWidthLanes lanes = fetchWidth(dg);
    const lobeSampling::HalfVector half(wo, wi);
    return powerLobe::pdf(half, lanes.pdfNorm, pow(half.cosine, lanes.exponent));
}

template <int PerLane, class Base>
znFloatType<2> znRTPowerLobe<PerLane, Base>::convertExponent(const znFloatType<2>& x) const
{
    // Negative powers of 0 are as large as can be, while pow gives 0 for it.
    return pow(maximum(x, 1e-30f), this->samplePower);
}

template <int PerLane, class Base>
znRTColorPacket znRTPowerLobe<PerLane, Base>::rho(const znRTDifferentialGeometry& dg,
                                                  const znRTVector2fPacket& u,
                                                  const znFloatType<2>& lanes) const
{
    if constexpr (PerLane)
        return reflectanceOfLanes(dg, this->colorFactor);
    return Base::rho(dg, u, lanes);
}
