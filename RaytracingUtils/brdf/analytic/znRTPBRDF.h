#pragma once

// Measured isotropic reflectance in a table over the polar angles of both directions and the
// difference of their azimuths, 0..pi. The table holds pi times the value. It is reciprocal when
// it is symmetric in its first two axes. Drawn by the cosine.

#include "brdf/analytic/cosineLobe.h"

class znRTSampler3D;

class znRTPBRDF : public znRTCosineLobe
{
public:
    static const znRTTypeId s_typeId;

    znRTPBRDF()
        : znRTCosineLobe(s_typeId, lobeType::surfaceSide | lobeType::diffuse,
                         rayType::diffuseScatter)
    {
    }

    /// Reads a znRTPBRDFAttributes and keeps its table's address. Without a table the lobe is
    /// black, with no density.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;

    using znRTCosineLobe::evaluate;
    using znRTCosineLobe::pdf;
    using znRTCosineLobe::sample;
    void sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                znFloatType<2>& mask) const override;
    znFloatType<2> pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                       const znRTDifferentialGeometry& dg) const override;
    znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                             const znRTDifferentialGeometry& dg,
                             znFloatType<2>& pdfOut) const override;

protected:
    const znRTSampler3D* table = nullptr;
    bool usesAngles = true; ///< mode 3
    float scale[3] = {1.0f, 1.0f, 1.0f}, offset[3] = {0.0f, 0.0f, 0.0f};
};
