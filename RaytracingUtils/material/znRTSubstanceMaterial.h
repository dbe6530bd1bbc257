#pragma once

// The metallic workflow: base colour, metallic, roughness and specular level make one diffuse and
// one glossy lobe. Reflectance at normal incidence is 0.08 times the specular level where metallic
// is 0 and the base colour where it is 1; the diffuse colour is what metallic leaves of the base.
// B. Burley, "Physically-Based Shading at Disney", SIGGRAPH 2012 course notes, section 5.

#include "brdf/analytic/znRTDiffuseFresnelBRDF.h"
#include "brdf/analytic/znRTFresnelBlendBRDF.h"
#include "brdf/analytic/znRTSubstanceGGXBRDF.h"
#include "brdf/znRTFresnelSchlick.h"
#include "material/colorAttribute.h"
#include "material/pipelineKind.h"

class znRTSubstanceMaterial : public znRTPipelineKind<znRTSubstanceMaterial>
{
public:
    static const znRTTypeId id;
    static constexpr unsigned terms = shadeDiffuse | shadeGlossy;

    explicit znRTSubstanceMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTSubstanceMaterial(hostMaterial); }
    void update() override;
    /// Hidden where the opacity leaves nothing, too.
    int getVisibility() const override;

    znRTColorPacket getTransparency(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                    const znFloatType<2>& mask,
                                    znRTShadingState& state) const override;
    /// Of the record's emission and of the workflow's own.
    znRTColorPacket evaluateEmission(const znRTRayDifferentialPacket& ray,
                                     znRTDataBlockPacket& data,
                                     const znFloatType<2>& mask) const override;

    // For the pipeline.

    void fetchParameters(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                         const znFloatType<2>& mask, Hit& hit) const;
    void buildFrame(Hit& hit) const;
    void addLobes(Hit& hit, const znFloatType<2>& lanes) const;

protected:
    /// Values of the workflow at four hits.
    struct Substance
    {
        znRTColorPacket baseColor;
        znFloatType<2> metallic, roughness, specularLevel;
        znFloatType<2> anisotropyLevel, anisotropyAngle; ///< [0, 1]; share of a turn
    };

    Substance evaluateSubstance(const znRTDataBlockPacket& data, const znFloatType<2>& mask) const;
    znFloatType<2> getSpecularLevel(const znRTDataBlockPacket& data,
                                    const znFloatType<2>& mask) const;
    /// Share of the light from all around that small folds of the surface let in, 1 open.
    znFloatType<2> getMaterialAmbientOcclusion(const znRTDataBlockPacket& data,
                                               const znFloatType<2>& mask) const;

private:
    template <class Record>
    void readRecord(const Record& record);
    void setupLobes();

    void addTextureRequirements();
    /// Colour that passes through the hits; alpha is the opacity.
    znRTColorPacket evaluatePassed(const znRTDataBlockPacket& data,
                                   const znFloatType<2>& mask) const;
    bool isAnisotropic() const;

    znRTColorAttribute baseColor, ambient, emissive;
    znRTNumberAttribute metallic, roughness, specularLevel, ambientOcclusion, surfaceOpacity;
    znRTNumberAttribute anisotropyLevel, anisotropyAngle;

    znRTDiffuseFresnelBRDF diffuseLobe;
    znRTSubstanceGGXBRDF glossyLobe;
    znRTFresnelBlendBRDF blend{diffuseLobe, glossyLobe};
};
