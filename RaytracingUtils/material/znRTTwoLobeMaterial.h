#pragma once

// Base of the plain kinds: a diffuse and a glossy lobe, each with a colour. Derived classes read
// their records.

#include "brdf/analytic/znRTDiffuseASBRDF.h"
#include "brdf/analytic/znRTIsotropicASBRDF.h"
#include "material/colorAttribute.h"
#include "material/missingParts.h"
#include "material/shadePipeline.h"
#include "material/translucency.h"

struct znRTBxDFAttributes;

template <class DiffuseLobe, class GlossyLobe>
class znRTTwoLobeMaterial : public znRTBRDFMaterial
{
public:
    static constexpr unsigned terms = shadeDiffuse | shadeGlossy;

    using znRTBRDFMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override;
    void evaluateMaterial(znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                          znRTSurfaceProperties& surface, const znFloatType<2>& mask,
                          znRTShadingState& state, int group, EvaluationType type) const override;

    // For the pipeline.

    void fetchParameters(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                         const znFloatType<2>& mask, Hit& hit) const;
    void buildFrame(Hit& hit) const
    {
        hit.onb = surfaceStructure->getFrameAt(hit.dg, znFloatType<2>::allLanes());
    }
    void addLobes(Hit& hit, const znFloatType<2>& lanes) const;

protected:
    using znRTBRDFMaterial::znRTBRDFMaterial;

    /// Colours and what else plain records hold; warns of what they ask for in vain.
    template <class Record>
    void readColors(const Record& record)
    {
        diffuse.set(record.diffuse, record.diffuseSpectrum, record.diffuseSampler,
                    record.diffuseActive, record.diffuseAttributes);
        glossy.set(record.glossy, record.glossySpectrum, record.glossySampler, record.glossyActive,
                   record.glossyAttributes);
        readShared(record);
    }
    /// All but the two colours.
    template <class Record>
    void readShared(const Record& record)
    {
        readOcclusion(record);
        readBump(record);
        ambient.set(record.ambient, record.ambientSpectrum);
        if constexpr (requires { record.translucencyMode; })
            translucency.read(record);
        needsConsistentTangents = record.bumpActive;
        if constexpr (requires { record.anisotropyActive; })
            needsConsistentTangents |= record.anisotropyActive;
        tellOfMissingParts(missingParts(record));
    }
    /// After colours are set: the lobes, the share of both, and the requirements.
    void setupLobes(const znRTBxDFAttributes& record);

    znRTColorAttribute diffuse, glossy, ambient;
    znRTTranslucency translucency;

private:
    DiffuseLobe diffuseLobe;
    GlossyLobe glossyLobe;
    znRTFresnelBlendBRDF blend{diffuseLobe, glossyLobe};
};

using znRTPhongLobesMaterial = znRTTwoLobeMaterial<znRTLambertBRDF, znRTPhongBRDF<0>>;
using znRTPlasticLobesMaterial = znRTTwoLobeMaterial<znRTDiffuseASBRDF, znRTIsotropicASBRDF<0>>;

extern template class znRTTwoLobeMaterial<znRTLambertBRDF, znRTPhongBRDF<0>>;
extern template class znRTTwoLobeMaterial<znRTDiffuseASBRDF, znRTIsotropicASBRDF<0>>;
