#pragma once

// Metal with strokes that run one way: its highlights are stretched across them. Frames have u
// along the strokes of the structure, or along the tangents of the vertices, so that the second
// roughness is that across. A clear coat may lie on top.

#include "brdf/analytic/znRTAnisotropicASBRDF.h"
#include "brdf/analytic/znRTDiffuseASBRDF.h"
#include "brdf/analytic/znRTFresnelBlendBRDF.h"
#include "brdf/analytic/znRTGGXBRDF.h"
#include "material/coat.h"
#include "material/pipelineKind.h"

struct znRTGlossinessRows;

class znRTBrushedMetalMaterial : public znRTPipelineKind<znRTBrushedMetalMaterial>
{
public:
    static const znRTTypeId id;
    static constexpr unsigned terms = shadeDiffuse | shadeGlossy | shadeSpecular;

    explicit znRTBrushedMetalMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override
    {
        return new znRTBrushedMetalMaterial(hostMaterial);
    }
    void update() override;

    // For the pipeline.

    void fetchParameters(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                         const znFloatType<2>& mask, Hit& hit) const;
    void buildFrame(Hit& hit) const;
    void addLobes(Hit& hit, const znFloatType<2>& lanes) const;

private:
    /// Width of the highlight along both axes: numbers, or images of glossiness.
    struct Widths
    {
        void read(const znRTGlossinessRows& record);
        bool isTextured() const { return first.isActive() || second.isActive(); }
        /// Roughnesses at the hits.
        void fetch(const znRTDataBlockPacket& data, const znFloatType<2>& mask, znFloatType<2>& u,
                   znFloatType<2>& v) const;

        znRTAttributeTexture first, second;
        float roughness = 0.1f, roughnessV = 0.1f;
        float roughest = 1.0f, smoothest = 0.0f; ///< of black and of white texels
    };

    void setupLobes(const znRTBSDFAttributes& lobes);

    znRTColorAttribute diffuse, glossy, ambient;
    Widths widths;
    float cosAngle = 1.0f, sinAngle = 0.0f; ///< turn of the axes against the strokes
    znRTCoat coat;

    znRTDiffuseASBRDF diffuseLobe;
    znRTAnisotropicASBRDF<0> uniformPowerLobe;
    znRTAnisotropicASBRDF<1> texturedPowerLobe;
    znRTGGXBRDF<0> uniformFacetLobe;
    znRTGGXBRDF<1> texturedFacetLobe;
    znRTBRDF* glossyLobe = &uniformFacetLobe;
    znRTFresnelBlendBRDF blend{diffuseLobe, uniformFacetLobe};
};
