#pragma once

// Base of all materials that shade by lobes: what passes through a surface, what it emits, and the
// common settings of both. Derived classes name their colours and lobes; shadePipeline.h makes of
// them the light toward the viewer and the record of lobes.

#include "core/znRTColor.h"
#include "material/attributeTexture.h"
#include "material/surfaceStructures.h"
#include "material/znRTMaterial.h"

namespace osg {
class Spectrum;
}
struct znRTBRDFMaterialAttributes;
struct znRTHitSurface;

/// How four lanes are divided between a surface and what is behind it.
struct znRTAlphaSplit
{
    znFloatType<2> shaded;       ///< mask: lanes that show the surface
    znFloatType<2> passing;      ///< mask: lanes that show what is behind; may overlap the former
    znFloatType<2> surfaceAlpha; ///< share of the surface, 1 in lanes that pass nothing
};

class znRTBRDFMaterial : public znRTMaterial
{
public:
    using Hit = znRTHitSurface;

    using znRTMaterial::shade;
    /// Colour and opacity of four hits are written once; the fragment tells where to.
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTMultilayerFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override;
    /// Hidden from all rays where nothing of the surface is left.
    int getVisibility() const override;
    /// By the cutout texture, see znRTAttributeTexture::fetch.
    znFloatType<2> evaluateCutout(const znRTRayPacket& ray, const znRTDifferentialGeometry& dg,
                                  const znFloatType<2>& mask) const override;
    /// The same at hits with the data that shadow rays ask for.
    znFloatType<2> findSolid(const znRTDataBlockPacket& data, const znFloatType<2>& mask) const;
    znRTColorPacket getTransparency(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                    const znFloatType<2>& mask,
                                    znRTShadingState& state) const override;
    znRTColorPacket evaluateEmission(const znRTRayDifferentialPacket& ray,
                                     znRTDataBlockPacket& data,
                                     const znFloatType<2>& mask) const override;
    void update() override = 0;

    /// Emission without a look at what kind of ray asks.
    znRTColorPacket evaluateEmissionColor(const znRTDataBlockPacket& data,
                                          const znFloatType<2>& mask) const;
    /// The emission by its colour and image alone.
    znRTColorPacket evaluateIncandescenceColor(const znRTDataBlockPacket& data,
                                               const znFloatType<2>& mask) const;
    /// The same at points of which no more is known than place and first texture coordinates;
    /// images that lie otherwise count as white.
    znRTColorPacket evaluateIncandescenceColor(const znRTDifferentialGeometry& dg,
                                               const znFloatType<2>& mask) const;
    /// Colour that passes through the hits; alpha is the opacity.
    znRTColorPacket evaluateTransparencyColor(const znRTDataBlockPacket& data,
                                              const znFloatType<2>& mask) const;
    /// Divides the lanes by the opacity of the surface. Rays of stochastic paths decide by chance;
    /// camera rays of locally lit scenes mix, and leave out surfaces that matter too little; rays
    /// that continue behind a surface themselves always mix.
    /// @param alpha  opacity per lane
    znRTAlphaSplit handleTransparency(const znRTRayDifferentialPacket& ray,
                                      const znFloatType<2>& alpha, const znFloatType<2>& mask,
                                      const znRTShadingState& state) const;
    /// Occlusion in the vertices as the material counts it, 0 open.
    znFloatType<2> getAmbientOcclusion(const znRTDataBlockPacket& data) const;
    /// Share of the environment at the hits by the occlusion in the vertices, per channel; 1 where
    /// the environment is sampled.
    znRTColorPacket getEnvironmentOcclusion(const znRTDataBlockPacket& data) const;

    /// A colour attribute: the spectrum where there is a usable one, else the plain colour;
    /// alpha 1.
    static znRTColor getSpectrum(const osg::Spectrum* spectrum, const znRTVector3f& color);

    const znRTColor& getTransparencyColor() const { return transparencyColor; }
    float getOpacity() const { return opacity; }

protected:
    using znRTMaterial::znRTMaterial;

    /// Reads what all materials with lobes share.
    /// @return true when lobes and colours have to be read again
    bool setRaytracingCommonSettings(znRTCommonAttributes& attributes,
                                     bool withIncandescenceTexture);
    /// The record of a container's kind where lobes and colours have to be read again, else null:
    /// what update begins with.
    template <class Host>
    typename Host::RaytracingAttributes* getStaleRecord()
    {
        const auto host = osg::FCPtr<Host>::dcast(hostMaterial);
        if (!host)
            return nullptr;
        auto& record = host->getRaytracingAttributes();
        return setRaytracingCommonSettings(record, true) ? &record : nullptr;
    }
    /// The structure that a record asks for.
    template <class Record>
    void setStructure(const Record& record)
    {
        surfaceStructure.set(structureOf(record));
    }
    /// How occlusion, of vertices and of an image, darkens the light from all around.
    void readOcclusion(const znRTBRDFMaterialAttributes& attributes);
    /// Requirements by the terms that the material evaluates and by the textures of all kinds;
    /// those of a kind's own textures come on top. After the structure of the surface is set.
    void setPlainRequirements();
    /// What mirrors need besides: a footprint for their rays, and how the normal turns below it.
    void addMirrorRequirements(bool usesVertexTangents);

    /// What the records of all kinds give: emission, opacity, and the image of occlusion.
    void fetchShared(const znRTDataBlockPacket& data, const znFloatType<2>& mask,
                     znRTHitSurface& hit) const;

    /// Whether something is left to see of a surface of an opacity: what shines is seen anyway.
    bool isSeenAt(float share) const;

    znRTColor transparencyColor{0.0f, 0.0f, 0.0f, 1.0f};
    float opacity = 1.0f;
    znRTColor incandescenceColor{0.0f, 0.0f, 0.0f, 1.0f};
    znRTAttributeTexture transparencyTexture, cutoutTexture, incandescenceTexture, occlusionTexture;
    /// Colours of the vertices are factors on the opacity, on the emission.
    bool hasVertexOpacity = false, hasVertexEmission = false;
    float occlusionIntensity = 1.0f;
    znRTColor occlusionColor{0.0f, 0.0f, 0.0f, 1.0f};
};
