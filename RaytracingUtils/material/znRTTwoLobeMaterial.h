#pragma once

// Base of the plain kinds: a diffuse and a glossy lobe, each with a colour. Derived classes read
// their records. With an image of glossiness the glossy lobe reads its width per lane.

#include "brdf/analytic/znRTDiffuseASBRDF.h"
#include "brdf/analytic/znRTIsotropicASBRDF.h"
#include "material/colorAttribute.h"
#include "material/glossinessTexture.h"
#include "material/missingParts.h"
#include "material/shadePipeline.h"
#include "material/translucency.h"

#include <algorithm>

struct znRTBxDFAttributes;

/// @tparam GlossyLobe  in both forms: 0 with the width of setup, 1 with that of the lanes
template <class DiffuseLobe, template <int> class GlossyLobe>
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
        setStructure(record);
        ambient.set(record.ambient, record.ambientSpectrum);
        diffuse.useVertexColors(record.vertexColors != 0);
        if constexpr (requires { record.glossinessActive; })
            glossiness.read(record);
        if constexpr (requires { record.translucencyMode; })
            translucency.read(record, getIlluminationMode(), lobeSamples());
        needsConsistentTangents = record.bumpActive;
        if constexpr (requires { record.anisotropyActive; })
            needsConsistentTangents |= record.anisotropyActive;
        tellOfMissingParts(missingParts(record));
    }
    /// After colours are set: the lobes, the share of both, and the requirements.
    void setupLobes(const znRTBxDFAttributes& record);

    /// Of the lobes, by the quality of the environment.
    unsigned lobeSamples() const { return unsigned(std::max(0, getEnvironmentQuality())); }
    /// Whether an image drives the width of the glossy lobe.
    bool isTexturedGlossy() const { return glossiness.isActive(); }

    znRTColorAttribute diffuse, glossy, ambient;
    znRTGlossinessTexture glossiness;
    znRTTranslucency translucency;

private:
    DiffuseLobe diffuseLobe;
    GlossyLobe<0> uniformGlossyLobe;
    GlossyLobe<1> texturedGlossyLobe;
    znRTFresnelBlendBRDF blend{diffuseLobe, uniformGlossyLobe};
};

using znRTPhongLobesMaterial = znRTTwoLobeMaterial<znRTLambertBRDF, znRTPhongBRDF>;
using znRTPlasticLobesMaterial = znRTTwoLobeMaterial<znRTDiffuseASBRDF, znRTIsotropicASBRDF>;

extern template class znRTTwoLobeMaterial<znRTLambertBRDF, znRTPhongBRDF>;
extern template class znRTTwoLobeMaterial<znRTDiffuseASBRDF, znRTIsotropicASBRDF>;
