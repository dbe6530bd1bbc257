#include "brdf/znRTBRDF.h"

#include "brdf/znRTLobeParameters.h"
#include "brdf/znRTRoughnessTextures.h"

znRTBRDF::znRTBRDF(const znRTTypeId& typeId, unsigned typeFlags_, unsigned outRayMask_,
                   bool isDelta)
    : znRTNode(typeId), typeFlags(typeFlags_), outRayMask(outRayMask_), delta(isDelta)
{
}

znRTBRDF::~znRTBRDF() = default;

void znRTBRDF::setType(unsigned newTypeFlags, unsigned newOutRayMask)
{
    typeFlags = newTypeFlags;
    outRayMask = newOutRayMask;
}

znFloatType<2> znRTBRDF::sample(unsigned flags, const znRTVector2fPacket& u,
                                const znRTVector3fPacket& wo, const znRTDifferentialGeometry& dg,
                                znRTVector3fPacket& wi) const
{
    if (isSelected(flags))
        return sample(u, wo, dg, wi);
    wi = znRTVector3fPacket(0.0f, 0.0f, 1.0f);
    return znFloatType<2>::noLanes();
}

znFloatType<2> znRTBRDF::sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                                const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi) const
{
    znFloatType<2> mask = znFloatType<2>::noLanes();
    sample(u, wo, dg, wi, mask);
    return mask;
}

void znRTBRDF::sample(const znRTVector2fPacket&, const znRTVector3fPacket&,
                      const znRTDifferentialGeometry&, znRTVector3fPacket& wi,
                      znFloatType<2>& mask) const
{
    wi = znRTVector3fPacket(0.0f, 0.0f, 1.0f);
    mask = znFloatType<2>::noLanes();
}

znFloatType<2> znRTBRDF::pdf(unsigned flags, const znRTVector3fPacket& wo,
                             const znRTVector3fPacket& wi, const znRTDifferentialGeometry& dg) const
{
    return isSelected(flags) ? pdf(wo, wi, dg) : znFloatType<2>(0.0f);
}

znFloatType<2> znRTBRDF::pdf(const znRTVector3fPacket&, const znRTVector3fPacket&,
                             const znRTDifferentialGeometry&) const
{
    return 0.0f;
}

znRTColorPacket znRTBRDF::evaluate(unsigned flags, const znRTVector3fPacket& wo,
                                   const znRTVector3fPacket& wi, const znRTDifferentialGeometry& dg,
                                   znFloatType<2>& pdfOut) const
{
    if (isSelected(flags))
        return evaluate(wo, wi, dg, pdfOut);
    pdfOut = 0.0f;
    return znRTColorPacket(0.0f);
}

znRTColorPacket znRTBRDF::evaluate(unsigned flags, const znRTVector3fPacket& wo,
                                   const znRTVector3fPacket& wi,
                                   const znRTDifferentialGeometry& dg) const
{
    znFloatType<2> ignored;
    return evaluate(flags, wo, wi, dg, ignored);
}

znRTColorPacket znRTBRDF::evaluate(const znRTVector3fPacket&, const znRTVector3fPacket&,
                                   const znRTDifferentialGeometry&, znFloatType<2>& pdfOut) const
{
    pdfOut = 0.0f;
    return znRTColorPacket(0.0f);
}

znRTColorPacket znRTBRDF::evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                                   const znRTDifferentialGeometry& dg) const
{
    znFloatType<2> ignored;
    return evaluate(wo, wi, dg, ignored);
}

void znRTBRDF::evaluateSplit(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg, znRTColorPacket& diffuseOut,
                             znRTColorPacket& glossyOut, znFloatType<2>& pdfOut) const
{
    const bool isDiffuse = typeFlags & lobeType::diffuse, isGlossy = typeFlags & lobeType::glossy;
    diffuseOut = znRTColorPacket(0.0f);
    glossyOut = znRTColorPacket(0.0f);
    pdfOut = 0.0f;
    if (isDiffuse && isGlossy) {
        znFloatType<2> pdfOfDiffuse, pdfOfGlossy;
        diffuseOut = evaluate(lobeType::diffuse, wo, wi, dg, pdfOfDiffuse);
        glossyOut = evaluate(lobeType::glossy, wo, wi, dg, pdfOfGlossy);
        pdfOut = pdfOfDiffuse + pdfOfGlossy;
    } else if (isDiffuse) {
        diffuseOut = evaluate(wo, wi, dg, pdfOut);
    } else if (isGlossy) {
        // Metals have a glossy lobe alone; without this they would stay black under lights.
        glossyOut = evaluate(wo, wi, dg, pdfOut);
    }
}

znFloatType<2> znRTBRDF::getReflectionWeight() const
{
    return typeFlags & lobeType::diffuse ? 1.0f : 0.0f;
}

void znRTBRDF::getTransmissionWeightA(const znFloatType<2>&, znFloatType<2>&) const {}

void znRTBRDF::getTransmissionWeightB(const znFloatType<2>&, znFloatType<2>&) const {}

znFloatType<2> znRTBRDF::lerpParameter(const znFloatType<2>& minimum, const znFloatType<2>& maximum,
                                       const znFloatType<2>& t) const
{
    return mix(minimum, maximum, t);
}

znFloatType<2> znRTBRDF::evaluateRoughnessTexture(const znRTRoughnessTextures& textures,
                                                  const znRTDifferentialGeometry& dg,
                                                  const znFloatType<2>& mask) const
{
    return convertExponent(
        lerpParameter(textures.minimum, textures.maximum, textures.getGlossiness(dg, mask)));
}

znFloatType<2> znRTBRDF::evaluateRoughnessTexture2(const znRTRoughnessTextures& textures,
                                                   const znRTDifferentialGeometry& dg,
                                                   const znFloatType<2>& mask) const
{
    return convertExponent(
        lerpParameter(textures.minimum, textures.maximum, textures.getAnisotropy(dg, mask)));
}

void znRTBRDF::prepareParameterLanes(const znRTDifferentialGeometry& dg,
                                     const znRTRoughnessTextures& textures,
                                     const znFloatType<2>& mask, znRTLobeParameters& block) const
{
    block.setExponents(evaluateRoughnessTexture(textures, dg, mask), mask);
    finishParameterLanes(block);
}

void znRTBRDF::prepareParameterLanes2(const znRTDifferentialGeometry& dg,
                                      const znRTRoughnessTextures& textures,
                                      const znFloatType<2>& mask, znRTLobeParameters& block) const
{
    block.setExponents(evaluateRoughnessTexture(textures, dg, mask),
                       evaluateRoughnessTexture2(textures, dg, mask), mask);
    finishParameterLanes(block);
}

void znRTBRDF::finishParameterLanes(znRTLobeParameters&) const {}

znFloatType<2> znRTBRDF::getBlendWeight(const znFloatType<2>&) const
{
    return 0.5f;
}

znFloatType<2> znRTBRDF::getEnvironmentLevel(const znRTDifferentialGeometry&) const
{
    return 0.0f;
}

znRTColorPacket znRTBRDF::getEnvironmentFresnel(const znFloatType<2>&,
                                                const znRTDifferentialGeometry&) const
{
    return znRTColorPacket(1.0f);
}

znRTColorPacket znRTBRDF::rho(const znRTDifferentialGeometry&, const znRTVector2fPacket&,
                              const znFloatType<2>&) const
{
    return znRTColorPacket(colorFactor);
}
