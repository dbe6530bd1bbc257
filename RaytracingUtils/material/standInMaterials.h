#pragma once

// What shades kinds that have no class of their own yet: the nearest look that is there, with the
// colours of the kind's own record. materialTable.cpp tells which stands in for which.

#include "material/znRTChromeMaterial.h"
#include "material/znRTPhongMaterial.h"
#include "material/znRTReflectivePlasticMaterial.h"

/// Cloth: the diffuse colour alone.
class znRTMatteStandIn : public znRTPhongLobesMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTMatteStandIn(const osg::MaterialPtr& material);
    znRTMaterial* getDuplicate() const override { return new znRTMatteStandIn(hostMaterial); }
    void update() override;
};

/// Paints, carbon, tires, mapped surfaces: a body colour, a gloss, and the coat where there is one.
class znRTCoatedStandIn : public znRTReflectivePlasticMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTCoatedStandIn(const osg::MaterialPtr& material);
    znRTMaterial* getDuplicate() const override { return new znRTCoatedStandIn(hostMaterial); }
    void update() override;

private:
    /// Reads the record if the host is of this kind.
    template <class Host>
    bool readAs();
};

/// Brushed and lined metal: of one width in all directions.
class znRTMetalStandIn : public znRTChromeMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTMetalStandIn(const osg::MaterialPtr& material);
    znRTMaterial* getDuplicate() const override { return new znRTMetalStandIn(hostMaterial); }
    void update() override;
};

/// Glass: mirrors by the angle, and lets the rest pass straight on in its colour.
class znRTPaneStandIn : public znRTReflectivePlasticMaterial
{
public:
    static const znRTTypeId id;
    static constexpr unsigned terms = shadeSpecular;

    explicit znRTPaneStandIn(const osg::MaterialPtr& material);
    znRTMaterial* getDuplicate() const override { return new znRTPaneStandIn(hostMaterial); }
    using znRTReflectivePlasticMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override;
    void evaluateMaterial(znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                          znRTSurfaceProperties& surface, const znFloatType<2>& mask,
                          znRTShadingState& state, int group, EvaluationType type) const override;
    znRTColorPacket getTransparency(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                    const znFloatType<2>& mask,
                                    znRTShadingState& state) const override;
    bool isTransparent() const override { return true; }
    void update() override;

    // For the pipeline.

    void fetchParameters(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                         const znFloatType<2>& mask, Hit& hit) const;
    void addLobes(Hit& hit, const znFloatType<2>& lanes) const;

private:
    /// What the hits let pass, without what they mirror; alpha: the share that they mirror.
    znRTColorPacket passing(const znRTRayDifferentialPacket& ray,
                            const znRTDataBlockPacket& data) const;

    znRTColorAttribute transmission;
    znRTSpecularBRDF mirror;
    float f0 = 0.04f;
};
