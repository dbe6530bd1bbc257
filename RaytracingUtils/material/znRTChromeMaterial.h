#pragma once

// Bare metal. Smooth metal mirrors: what it shows is traced. Rough metal has a glossy lobe instead,
// and gathers the reflection of the scene by chance.

#include "brdf/analytic/znRTIsotropicASBRDF.h"
#include "brdf/analytic/znRTSpecularBRDF.h"
#include "material/colorAttribute.h"
#include "material/glossinessTexture.h"
#include "material/missingParts.h"
#include "material/pipelineKind.h"

class znRTChromeMaterial : public znRTPipelineKind<znRTChromeMaterial>
{
public:
    static const znRTTypeId id;
    static constexpr unsigned terms = shadeGlossy | shadeSpecular;

    explicit znRTChromeMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTChromeMaterial(hostMaterial); }
    void update() override;

    /// Whether the reflectance depends on the angle: of all but perfect mirrors.
    bool getIsMirror() const { return isMirror; }
    bool isSmooth() const { return smooth; }

    // For the pipeline.

    void fetchParameters(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                         const znFloatType<2>& mask, Hit& hit) const;
    void buildFrame(Hit& hit) const
    {
        hit.onb = surfaceStructure->getFrameAt(hit.dg, znFloatType<2>::allLanes());
    }
    void addLobes(Hit& hit, const znFloatType<2>& lanes) const;

protected:
    znRTChromeMaterial(const znRTTypeId& typeId, const osg::MaterialPtr& material);

    /// Common settings, and traced reflections wherever rays may go that deep.
    /// @return true when lobes and colours have to be read again
    bool readCommon(znRTCommonAttributes& record);
    /// What a record with a Fresnel term shows.
    /// @param exponent  of the glossy lobe without an image; from sharpestExponent on the metal
    ///                  mirrors
    template <class Record>
    void readMetal(const Record& record, float exponent)
    {
        tellOfMissingParts(missingParts(record));
        readOcclusion(record);
        setStructure(record);
        if constexpr (requires { record.glossinessActive; })
            glossiness.read(record);
        setupMetal(exponent, record.fresnelTable, record.reflectance, record.useSchlick,
                   record.usesVertexTangents);
    }
    void setupMetal(float exponent, u32 table, float reflectance, bool useSchlick,
                    bool usesVertexTangents);

    /// Beyond it the glossy lobe would be as sharp and only noisy.
    static constexpr float sharpestExponent = 1e5f;

    znRTColorAttribute color;

private:
    const znRTFresnelLobe& getGlossyLobe() const
    {
        return glossiness.isActive() ? static_cast<const znRTFresnelLobe&>(texturedGlossyLobe)
                                     : uniformGlossyLobe;
    }

    znRTGlossinessTexture glossiness;
    znRTIsotropicASBRDF<0> uniformGlossyLobe;
    znRTIsotropicASBRDF<1> texturedGlossyLobe;
    znRTSpecularBRDF mirrorLobe;
    bool isMirror = true, smooth = false;
    bool hasFresnel = true; ///< a tabulated metal, or no perfect mirror
};
