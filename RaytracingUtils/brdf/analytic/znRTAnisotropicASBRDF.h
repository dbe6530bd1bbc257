#pragma once

// Half-vector power lobe with an exponent along each axis of the frame, for brushed surfaces.
// M. Ashikhmin, P. Shirley, "An Anisotropic Phong BRDF Model", Journal of Graphics Tools 5(2),
// 2000, eq. 1, 9 and 10.

#include "brdf/analytic/fresnelLobe.h"
#include "brdf/analytic/phongWidth.h"

/// @tparam PerLane  see znRTPowerLobe
template <int PerLane>
class znRTAnisotropicASBRDF : public znRTFresnelLobe
{
public:
    static inline const znRTTypeId s_typeId{PerLane ? "znRTAnisotropicASBRDF<1>"
                                                    : "znRTAnisotropicASBRDF<0>"};

    znRTAnisotropicASBRDF() : znRTFresnelLobe(s_typeId) {}

    /// Reads both exponents and the Fresnel term of a znRTBSDFAttributes.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;
    bool isAnisotropic() const { return anisotropic; }
    /// Place in prefiltered environments, by the geometric mean of both exponents.
    float getLevel() const { return level; }
    znFloatType<2> getEnvironmentLevel(const znRTDifferentialGeometry& dg) const override
    {
        return environmentLevelOfLanes<PerLane>(level, dg);
    }

    using znRTBRDF::evaluate;
    using znRTBRDF::pdf;
    using znRTBRDF::sample;
    void sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                znFloatType<2>& mask) const override;
    znFloatType<2> pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                       const znRTDifferentialGeometry& dg) const override;
    /// Alpha is that of the Fresnel term.
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;
    /// x^p, see getSamplePower.
    znFloatType<2> convertExponent(const znFloatType<2>& x) const override;
    znRTColorPacket rho(const znRTDifferentialGeometry& dg, const znRTVector2fPacket& u,
                        const znFloatType<2>& lanes) const override;

protected:
    /// Both exponents with what derives from them, per lane.
    struct Lanes
    {
        znFloatType<2> exponentU, exponentV, pdfNorm, evalNorm;
    };

    Lanes fetch(const znRTDifferentialGeometry& dg) const;
    /// Whether some lane may have two exponents.
    bool hasTwoAxes(const znRTDifferentialGeometry& dg) const;
    /// The lobe's power of the half vector's cosine.
    znFloatType<2> power(const Lanes& lanes, const znRTVector3fPacket& h, znFloatType<2> cosine,
                         bool twoAxes) const;
    znRTVector3fPacket sampleHalfVector(const Lanes& lanes, const znRTVector2fPacket& u) const;

    float exponentU = -1.0f, exponentV = -1.0f; ///< nothing is set up yet
    float pdfNorm = 0.0f;                       ///< sqrt((eU + 1) (eV + 1)) / (2 pi)
    float evalNorm = 0.0f;                      ///< sqrt((eU + 2) (eV + 2)) / (2 pi)
    float level = 0.0f;
    bool anisotropic = false;
};
