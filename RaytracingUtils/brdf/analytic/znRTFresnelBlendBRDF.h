#pragma once

// Two lobes on one surface, in the common case a diffuse and a glossy one. Values add up: the
// colours that multiply them hold the energy. Directions are drawn from one of the two, by weights
// that follow the second lobe's reflectance at the view angle.

#include "brdf/znRTBRDF.h"

class znRTFresnelBlendBRDF : public znRTBRDF
{
public:
    static const znRTTypeId s_typeId;

    /// @param firstLobe, secondLobe  not owned; both outlive the blend
    znRTFresnelBlendBRDF(znRTBRDF& firstLobe, znRTBRDF& secondLobe);
    /// Takes other lobes, for materials that choose between forms; merges types and ray masks.
    void setLobes(znRTBRDF& firstLobe, znRTBRDF& secondLobe);
    const znRTBRDF& getFirst() const { return *first; }
    const znRTBRDF& getSecond() const { return *second; }

    /// Photometric weights of both lobes, 0 or more. With one weight 0 the other lobe stands
    /// alone, with both nothing is left.
    void setMix(float newWeight1, float newWeight2);

    /// Of the second lobe.
    const znRTFresnelOP* getFresnel() const override { return second->getFresnel(); }
    void setPhotonData(const void* data) override;
    /// Hands the record to both lobes and adds up their colour factors; the sum may exceed 1.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;

    using znRTBRDF::evaluate;
    using znRTBRDF::pdf;
    using znRTBRDF::sample;
    void sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                znFloatType<2>& mask) const override;
    /// The selected lobes' shares of the density: those of both parts add up to the whole.
    znFloatType<2> pdf(unsigned flags, const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                       const znRTDifferentialGeometry& dg) const override;
    znFloatType<2> pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                       const znRTDifferentialGeometry& dg) const override;
    /// Values of the selected lobes, with their shares of the density.
    znRTColorPacket evaluate(unsigned flags, const znRTVector3fPacket& wo,
                             const znRTVector3fPacket& wi, const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;
    /// Sum of both lobes' values: for weighing directions, since the lobes' colours differ.
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;
    void getTransmissionWeightA(const znFloatType<2>& cosTheta,
                                znFloatType<2>& weight) const override;
    void getTransmissionWeightB(const znFloatType<2>& cosTheta,
                                znFloatType<2>& weight) const override;

    // Textures drive the second lobe.
    znFloatType<2> convertExponent(const znFloatType<2>& x) const override;
    float getSamplePower() const override { return second->getSamplePower(); }
    void prepareParameterLanes(const znRTDifferentialGeometry& dg,
                               const znRTRoughnessTextures& textures, const znFloatType<2>& mask,
                               znRTLobeParameters& block) const override;
    void prepareParameterLanes2(const znRTDifferentialGeometry& dg,
                                const znRTRoughnessTextures& textures, const znFloatType<2>& mask,
                                znRTLobeParameters& block) const override;

private:
    /// Probability of the first lobe; that of the second is what is left to 1.
    znFloatType<2> getShare(const znFloatType<2>& cosTheta) const;
    /// The lobe that stands alone; null with both or none.
    const znRTBRDF* getOnly() const;

    znRTBRDF* first;
    znRTBRDF* second;
    float weight1 = 0.5f, weight2 = 0.5f;
    bool useBlend = true; ///< both weights are above 0
};
