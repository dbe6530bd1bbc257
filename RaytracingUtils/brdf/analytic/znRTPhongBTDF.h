#pragma once

// Rough transmission: directions spread about the refracted one by a power of the cosine between
// them. The rays are traced and stand for all light that arrives from there, so the lobes have the
// value 1 for their own direction and are skipped where lights choose it. Directions that end above
// the surface are dropped.

#include "brdf/analytic/deltaLobe.h"
#include "brdf/analytic/phongWidth.h"
#include "brdf/analytic/refractionRatios.h"

/// What both forms share.
class znRTRoughTransmission : public znRTDeltaLobe
{
public:
    /// Reads a znRTPhongBTDFAttributes.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;
    /// x^p, see getSamplePower.
    znFloatType<2> convertExponent(const znFloatType<2>& x) const override;
    const znRTPhongWidth& getWidth() const { return width; }
    const znRTRefractionRatios& getRatios() const { return ratios; }

protected:
    using znRTDeltaLobe::znRTDeltaLobe;

    /// Refracted direction of green.
    znFloatType<2> refract(const znRTVector3fPacket& wo, const znRTDifferentialGeometry& dg,
                           znRTVector3fPacket& refracted) const;

    znRTPhongWidth width;
    znRTRefractionRatios ratios;
};

/// Goes straight on where refraction is total, so that no lane ends here.
/// @tparam PerLane  see znRTPowerLobe
template <int PerLane>
class znRTPhongBTDF : public znRTRoughTransmission
{
public:
    static inline const znRTTypeId s_typeId{PerLane ? "znRTPhongBTDF<1>" : "znRTPhongBTDF<0>"};

    znRTPhongBTDF()
        : znRTRoughTransmission(s_typeId, lobeType::specular | lobeType::transmission,
                                rayType::glossyTransmission)
    {
    }

    using znRTDeltaLobe::sample;
    void sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                znFloatType<2>& mask) const override;
    znRTColorPacket rho(const znRTDifferentialGeometry& dg, const znRTVector2fPacket& u,
                        const znFloatType<2>& lanes) const override;
    /// Tint of the lobe itself: white, the material multiplies its own.
    virtual znRTColorPacket getTransmissionColor() const;
};

/// Ends where refraction is total; the spread turns with the surface's own frame, so that noise
/// stays in place when the view moves.
template <int PerLane>
class znRTPhongBTDF2 : public znRTRoughTransmission
{
public:
    static inline const znRTTypeId s_typeId{PerLane ? "znRTPhongBTDF2<1>" : "znRTPhongBTDF2<0>"};

    znRTPhongBTDF2()
        : znRTRoughTransmission(s_typeId, lobeType::specular | lobeType::transmission,
                                rayType::specularRefraction)
    {
    }

    using znRTDeltaLobe::sample;
    void sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                znFloatType<2>& mask) const override;
    znRTColorPacket rho(const znRTDifferentialGeometry& dg, const znRTVector2fPacket& u,
                        const znFloatType<2>& lanes) const override;
};
