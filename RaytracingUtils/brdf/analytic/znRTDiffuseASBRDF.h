#pragma once

// Diffuse light from below a specular layer: what the layer has reflected on the way in and out is
// missing, so that both together keep the energy. Two forms, by the render setting of the Fresnel
// mode:
// - classic: M. Ashikhmin, P. Shirley, "An Anisotropic Phong BRDF Model", Journal of Graphics
//   Tools 5(2), 2000, eq. 5;
// - energy conserving: P. Shirley, B. Smits, H. Hu, E. Lafortune, "A Practitioners' Assessment of
//   Light Reflection Models", Pacific Graphics 1997, with a share that stays plainly diffuse.

#include "brdf/analytic/znRTLambertBRDF.h"

class znRTDiffuseASBRDF : public znRTLambertBRDF
{
public:
    static const znRTTypeId s_typeId;

    znRTDiffuseASBRDF() : znRTLambertBRDF(s_typeId) {}

    /// Reads reflectance and diffuse share of a znRTBSDFAttributes.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;

    using znRTLambertBRDF::evaluate;
    /// Lanes with a reflectance of their own (znRTLobeParameters) use it in place of the record's.
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;

protected:
    float reflectance = -1.0f, diffuseShare = -1.0f; ///< nothing is set up yet
    bool energyConserving = false;
    float scale = 0.5f;         ///< of the cosines
    float layeredFactor = 0.0f; ///< k / (1 - f): normalizes the shape, times its share
    float layeredWeight = 0.0f; ///< k
    float plainValue = 0.0f;    ///< (1 - share) / pi
};
