#pragma once

// Base of the glossy lobes with a Fresnel term: optical constants, a metal's or those of a
// reflectance, or Schlick's formula, as the record says.

#include "brdf/znRTBRDF.h"
#include "brdf/znRTFresnelApprox.h"
#include "brdf/znRTFresnelSchlick.h"
#include "brdf/znRTLobeParameters.h"
#include "core/rayTypes.h"

struct znRTBSDFAttributes;

class znRTFresnelLobe : public znRTBRDF
{
public:
    const znRTFresnelOP* getFresnel() const override;
    znFloatType<2> getBlendWeight(const znFloatType<2>& cosTheta) const override;
    znRTColorPacket getEnvironmentFresnel(const znFloatType<2>& cosTheta,
                                          const znRTDifferentialGeometry& dg) const override;

    /// Colour at normal incidence, by Schlick's formula, until the next setup. For reflectances
    /// that come as a spectrum.
    void setReflectanceColor(const znRTColor& f0);

protected:
    explicit znRTFresnelLobe(const znRTTypeId& typeId)
        : znRTBRDF(typeId, lobeType::surfaceSide | lobeType::glossy, rayType::glossyReflection)
    {
    }

    /// A Fresnel colour times the value of the lobe, in lanes with a density above 0.
    static znRTColorPacket tinted(const znRTColorPacket& fresnel, znFloatType<2> value,
                                  znFloatType<2> alpha, const znFloatType<2>& pdf)
    {
        return znRTColorPacket(fresnel.r * value, fresnel.g * value, fresnel.b * value, alpha) &
               (pdf > znFloatType<2>(0.0f));
    }

    void setupFresnel(const znRTBSDFAttributes& record);

    /// @tparam PerLane  1: lanes with a reflectance of their own follow it by Schlick's formula,
    ///                  since no optical constants are known for it
    /// @return alpha 1 from optical constants, 0 from Schlick's formula
    template <int PerLane>
    znRTColorPacket fresnelColor(const znFloatType<2>& cosTheta,
                                 const znRTDifferentialGeometry& dg) const;

private:
    znRTFresnelApprox approx;
    znRTFresnelSchlick schlick;
    bool useSchlick = false;
    unsigned table = ~0u; ///< nothing is set up yet
    float reflectance = -1.0f;
};

template <int PerLane>
inline znRTColorPacket znRTFresnelLobe::fresnelColor(const znFloatType<2>& cosTheta,
                                                     const znRTDifferentialGeometry& dg) const
{
    znRTColorPacket color =
        useSchlick ? schlick.conductorColor(cosTheta) : approx.conductorColor(cosTheta);
    if constexpr (PerLane) {
        if (const znRTLobeParameters* const block = dg.parameters)
            color.maskedUpdate(schlick.schlickColor(cosTheta, block->f0), block->reflectanceMask);
    }
    return color;
}
