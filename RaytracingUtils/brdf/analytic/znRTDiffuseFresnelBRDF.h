#pragma once

// Diffuse reflection that rises or falls toward the rim by roughness: B. Burley, "Physically-Based
// Shading at Disney", SIGGRAPH 2012 course notes, with the renormalization of S. Lagarde,
// C. de Rousiers, "Moving Frostbite to Physically Based Rendering", SIGGRAPH 2014 course notes.

#include "brdf/analytic/cosineLobe.h"

class znRTDiffuseFresnelBRDF : public znRTCosineLobe
{
public:
    static const znRTTypeId s_typeId;

    znRTDiffuseFresnelBRDF()
        : znRTCosineLobe(s_typeId, lobeType::surfaceSide | lobeType::diffuse,
                         rayType::diffuseScatter)
    {
    }

    /// Reads a znRTSubstanceAttributes, or the slopes of a znRTBSDFAttributes as a GGX lobe does:
    /// linear roughness is the root of the slope. The turn of the axes does not matter to a mean.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;
    bool isAnisotropic() const { return anisotropic; }

    using znRTCosineLobe::evaluate;
    /// Lanes with slopes of their own (znRTLobeParameters) use their roughness.
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;

protected:
    float roughness = 0.5f; ///< linear, mean of both axes
    bool anisotropic = false;
};
