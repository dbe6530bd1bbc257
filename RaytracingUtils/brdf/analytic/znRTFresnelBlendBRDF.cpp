#include "brdf/analytic/znRTFresnelBlendBRDF.h"

#include "brdf/lobeMath.h"
#include "brdf/lobeSampling.h"

const znRTTypeId znRTFresnelBlendBRDF::s_typeId("znRTFresnelBlendBRDF");

znRTFresnelBlendBRDF::znRTFresnelBlendBRDF(znRTBRDF& firstLobe, znRTBRDF& secondLobe)
    : znRTBRDF(s_typeId, 0, 0)
{
    setLobes(firstLobe, secondLobe);
}

void znRTFresnelBlendBRDF::setLobes(znRTBRDF& firstLobe, znRTBRDF& secondLobe)
{
    first = &firstLobe;
    second = &secondLobe;
    setType(first->getTypeFlags() | second->getTypeFlags(),
            first->getOutRayMask() | second->getOutRayMask());
}

void znRTFresnelBlendBRDF::setMix(float newWeight1, float newWeight2)
{
    weight1 = std::max(0.0f, newWeight1);
    weight2 = std::max(0.0f, newWeight2);
    useBlend = weight1 > 0.0f && weight2 > 0.0f;
}

void znRTFresnelBlendBRDF::setPhotonData(const void* data)
{
    znRTBRDF::setPhotonData(data);
    first->setPhotonData(data);
    second->setPhotonData(data);
}

void znRTFresnelBlendBRDF::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    first->setup(attributes, count);
    second->setup(attributes, count);
    colorFactor = first->getColorFactor();
    colorFactor += second->getColorFactor();
    sampleCount = first->getSampleCount() > 1 ? first->getSampleCount() : second->getSampleCount();
}

const znRTBRDF* znRTFresnelBlendBRDF::getOnly() const
{
    if (useBlend)
        return nullptr;
    return weight1 > 0.0f ? first : weight2 > 0.0f ? second : nullptr;
}

znFloatType<2> znRTFresnelBlendBRDF::getShare(const znFloatType<2>& cosTheta) const
{
    if (!useBlend)
        return weight1 > 0.0f ? 1.0f : 0.0f;
    const znFloatType<2> b = second->getBlendWeight(lobeMath::positive(cosTheta)) * 0.75f + 0.2f;
    const znFloatType<2> w2 = b * weight2;
    const znFloatType<2> w1 = lobeMath::positive(znFloatType<2>(1.0f) - b) * weight1;
    return minimum(w1 * reciprocalOrZero(w1 + w2), 1.0f);
}

void znRTFresnelBlendBRDF::sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                                  const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                                  znFloatType<2>& mask) const
{
    if (const znRTBRDF* const only = getOnly())
        return only->sample(u, wo, dg, wi, mask);
    if (!useBlend)
        return znRTBRDF::sample(u, wo, dg, wi, mask);

    // The number that chose is stretched to serve the chosen lobe again.
    const znFloatType<2> share = getShare(wo.z), one(1.0f);
    const znFloatType<2> takesFirst = u.x < share;
    const znFloatType<2> stretched = select(takesFirst, u.x * reciprocalOrZero(share),
                                            (u.x - share) * reciprocalOrZero(one - share));
    const znRTVector2fPacket v(clamp(stretched, 0.0f, 0.99999994f), u.y);

    first->sample(v, wo, dg, wi, mask);
    if (everyLane(takesFirst))
        return;
    znRTVector3fPacket wiOfSecond;
    znFloatType<2> maskOfSecond;
    second->sample(v, wo, dg, wiOfSecond, maskOfSecond);
    wi = select(takesFirst, wi, wiOfSecond);
    mask = select(takesFirst, mask, maskOfSecond);
}

znFloatType<2> znRTFresnelBlendBRDF::pdf(unsigned flags, const znRTVector3fPacket& wo,
                                         const znRTVector3fPacket& wi,
                                         const znRTDifferentialGeometry& dg) const
{
    znFloatType<2> result(0.0f);
    const znFloatType<2> share = getShare(wo.z);
    if (weight1 > 0.0f)
        result += share * first->pdf(flags, wo, wi, dg);
    if (weight2 > 0.0f)
        result += (znFloatType<2>(1.0f) - share) * second->pdf(flags, wo, wi, dg);
    return result;
}

znFloatType<2> znRTFresnelBlendBRDF::pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                                         const znRTDifferentialGeometry& dg) const
{
    return pdf(lobeType::selecting, wo, wi, dg);
}

znRTColorPacket znRTFresnelBlendBRDF::evaluate(unsigned flags, const znRTVector3fPacket& wo,
                                               const znRTVector3fPacket& wi,
                                               const znRTDifferentialGeometry& dg,
                                               znFloatType<2>& pdfOut) const
{
    znRTColorPacket result(0.0f);
    pdfOut = 0.0f;
    const znFloatType<2> share = getShare(wo.z);
    znFloatType<2> pdfOfLobe;
    if (weight1 > 0.0f) {
        result += first->evaluate(flags, wo, wi, dg, pdfOfLobe);
        pdfOut += share * pdfOfLobe;
    }
    if (weight2 > 0.0f) {
        result += second->evaluate(flags, wo, wi, dg, pdfOfLobe);
        pdfOut += (znFloatType<2>(1.0f) - share) * pdfOfLobe;
    }
    const znFloatType<2> possible = pdfOut > znFloatType<2>(0.0f);
    return znRTColorPacket(result.r, result.g, result.b, 1.0f) & possible;
}

znRTColorPacket znRTFresnelBlendBRDF::evaluate(const znRTVector3fPacket& wo,
                                               const znRTVector3fPacket& wi,
                                               const znRTDifferentialGeometry& dg,
                                               znFloatType<2>& pdfOut) const
{
    return evaluate(lobeType::selecting, wo, wi, dg, pdfOut);
}

void znRTFresnelBlendBRDF::getTransmissionWeightA(const znFloatType<2>& cosTheta,
                                                  znFloatType<2>& weight) const
{
    weight = getShare(cosTheta);
}

void znRTFresnelBlendBRDF::getTransmissionWeightB(const znFloatType<2>& cosTheta,
                                                  znFloatType<2>& weight) const
{
    weight = weight2 > 0.0f ? znFloatType<2>(1.0f) - getShare(cosTheta) : znFloatType<2>(0.0f);
}

znFloatType<2> znRTFresnelBlendBRDF::convertExponent(const znFloatType<2>& x) const
{
    return second->convertExponent(x);
}

void znRTFresnelBlendBRDF::prepareParameterLanes(const znRTDifferentialGeometry& dg,
                                                 const znRTRoughnessTextures& textures,
                                                 const znFloatType<2>& mask,
                                                 znRTLobeParameters& block) const
{
    second->prepareParameterLanes(dg, textures, mask, block);
}

void znRTFresnelBlendBRDF::prepareParameterLanes2(const znRTDifferentialGeometry& dg,
                                                  const znRTRoughnessTextures& textures,
                                                  const znFloatType<2>& mask,
                                                  znRTLobeParameters& block) const
{
    second->prepareParameterLanes2(dg, textures, mask, block);
}
