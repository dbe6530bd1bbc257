#include "brdf/analytic/znRTDiffuseFresnelBRDF.h"

#include "brdf/znRTBxDFAttributes.h"
#include "brdf/znRTLobeParameters.h"

const znRTTypeId znRTDiffuseFresnelBRDF::s_typeId("znRTDiffuseFresnelBRDF");

void znRTDiffuseFresnelBRDF::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    setSampleCount(count);
    if (const auto* const record = dynamic_cast<const znRTBSDFAttributes*>(&attributes)) {
        const float x = std::sqrt(std::sqrt(lobeMath::held(record->roughnessX, 0.0f, 1.0f)));
        const float y = std::sqrt(std::sqrt(lobeMath::held(record->roughnessY, 0.0f, 1.0f)));
        roughness = 0.5f * (x + y);
        anisotropic = x != y;
    } else if (const auto* const metallic =
                   dynamic_cast<const znRTSubstanceAttributes*>(&attributes)) {
        roughness = lobeMath::held(metallic->roughness, 0.0f, 1.0f);
        anisotropic = metallic->anisotropyLevel > 0.0f;
    }
}

znRTColorPacket znRTDiffuseFresnelBRDF::evaluate(const znRTVector3fPacket& wo,
                                                 const znRTVector3fPacket& wi,
                                                 const znRTDifferentialGeometry& dg,
                                                 znFloatType<2>& pdfOut) const
{
    const znFloatType<2> one(1.0f);
    pdfOut = lobeSampling::cosinePdf(wo, wi);
    znFloatType<2> r(roughness);
    if (const znRTLobeParameters* const block = dg.parameters)
        r = select(block->slopeMask, block->diffuseRoughness, r);

    // Half vectors of reflecting pairs are never short; others drop out by their density.
    const znFloatType<2> cosHalf = dot((wo + wi).getNormalized(), wi);
    const znFloatType<2> rise = (r + r) * square(cosHalf) + r * 0.5f - one;
    const znFloatType<2> in = one + rise * lobeMath::schlickRise(wi.z);
    const znFloatType<2> out = one + rise * lobeMath::schlickRise(wo.z);
    return grey(in * out * (one - r * 0.33774835f) * lobeMath::invPi, 1.0f, pdfOut);
}
