#pragma once

// Light that enters at one point of a body and leaves at another. H. Jensen, S. Marschner, M.
// Levoy, P. Hanrahan, "A Practical Model for Subsurface Light Transport", SIGGRAPH 2001: the dipole
// of light that has scattered many times (eq. 4 and 5); L. Henyey, J. Greenstein, "Diffuse
// Radiation in the Galaxy", Astrophysical Journal 93, 1941, for light that has scattered once.
//
// wo and the frame belong to the point where light leaves, wi to the point where it enters, in a
// frame of that point; the parameter block carries the point (znRTLobeParameters::entryPoint).
// Values are per steradian and area. Lanes without an entry point have neither value nor density:
// the caller finds points by sampleProbe, and multiplies the density of points with that of wi.

#include "brdf/lobeSampling.h"
#include "brdf/znRTBRDF.h"

/// Segment that looks for a point where light enters: straight down onto the tangent plane.
struct znRTSubsurfaceProbe
{
    znRTVector3fPacket origin; ///< in the frame, relative to the exit point; along -z from here
    znFloatType<2> length;
    znFloatType<2> distance; ///< from the exit point within the tangent plane
    znFloatType<2> pdf;      ///< per area of the tangent plane
};

class znRTBSSRDF : public znRTBRDF
{
public:
    static const znRTTypeId s_typeId;

    znRTBSSRDF();

    /// Reads indices and medium of a znRTPhongBTDFAttributes: extinction is held inside 0.001..10
    /// per unit of the medium, the scattering's mean cosine inside +-0.99, indices at 1 or above.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;

    using znRTBRDF::evaluate;
    using znRTBRDF::pdf;
    using znRTBRDF::sample;
    /// A cosine direction at the entry point.
    void sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                znFloatType<2>& mask) const override;
    znFloatType<2> pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                       const znRTDifferentialGeometry& dg) const override;
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;
    /// The value itself.
    znFloatType<2> convertExponent(const znFloatType<2>& x) const override { return x; }

    /// Draws a place to look for an entry point, by an exponential of the distance. Let the ray see
    /// the same object alone.
    znRTSubsurfaceProbe sampleProbe(const znRTVector2fPacket& u) const;
    /// Density of points at a distance, per area of the tangent plane.
    znFloatType<2> getPointPdf(const znFloatType<2>& distance) const;
    /// Radiant exitance per power that enters at a distance, 1/area.
    znFloatType<2> getDipole(const znFloatType<2>& distance) const;
    /// Share of light scattered once by an angle, 1/sr; integrates to 1.
    /// @param cosTheta  between the directions that light travels in, before and after
    znFloatType<2> getPhase(const znFloatType<2>& cosTheta) const;

    float getDiffuseFresnel() const { return diffuseFresnel; }
    float getBoundaryTerm() const { return boundary; }
    float getMeanFreePath() const { return invMfp; }
    float getVirtualDepth() const { return zv; }
    float getNormalReflectance() const { return r0; }

protected:
    /// Crosses the surface at an angle.
    znFloatType<2> transmittance(const znFloatType<2>& cosTheta) const;
    /// Light that scattered once, by distance; integrates over the plane to the albedo.
    znFloatType<2> getSingle(const znFloatType<2>& distance) const;

    float eta = 1.0f, etaInverse = 1.0f; ///< inside over outside, and back
    float mfp = -1.0f;                   ///< reduced extinction, 1 / length; nothing is set up yet
    float invMfp = 1.0f; ///< mean free path, which is also the depth of the real source
    float anisotropy = 0.0f, scatterAlbedo = 0.9f;
    bool mode4 = false; ///< single scattering alone
    float r0 = 0.0f;    ///< reflectance at normal incidence
    float diffuseFresnel = 0.0f;
    float boundary = 1.0f;    ///< A: (1 + Fdr) / (1 - Fdr)
    float zv = 1.0f;          ///< height of the mirrored source
    float attenuation = 1.0f; ///< effective transport coefficient, 1 / length
    float pointRate = 1.0f;   ///< of the exponential of sampleProbe, 1 / length
};
