#pragma once

// Shows one of several materials. To everybody who asks it is the chosen one: masks, visibility and
// all operations are that one's, which may choose in its turn. Nothing is chosen from an empty
// list: such a surface is not there for any ray.
//
// A choice beyond the list chooses the first. Materials that contain the switch itself, however
// deep, are left out.

#include "material/znRTMaterial.h"

#include <vector>

class znRTSwitchMaterial : public znRTMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTSwitchMaterial(const osg::MaterialPtr& material);
    ~znRTSwitchMaterial() override;

    /// Appends a material; null keeps a place at which nothing is shown.
    void addMaterial(const osg::MaterialPtr& material);
    void clearMaterials();
    /// Null when nothing is chosen.
    znRTMaterial* getActiveMaterial() const;
    int getActiveIndex() const { return activeIndex; } ///< -1 without materials

    znRTColorPacket getMaterialIDColor() const override;
    int getSideness() const override;
    bool hasTextureProjection() const override;
    const znRTTextureAttributes* getTextureAttributeSettings() const override;
    bool hasDisplacementTextureProjection() const override;
    int getVisibility() const override;
    bool allowClipping() const override;
    znFloatType<2> evaluateCutout(const znRTRayPacket& ray, const znRTDifferentialGeometry& dg,
                                  const znFloatType<2>& mask) const override;
    const znRTMaterial* getFirstActiveMaterial() const override;
    znRTMaterial* getDuplicate() const override;
    void evaluateMaterial(znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                          znRTSurfaceProperties& surface, const znFloatType<2>& mask,
                          znRTShadingState& state, int group, EvaluationType type) const override;
    void shadeAnalytic(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                       znRTMultilayerFragment& fragment, const znFloatType<2>& mask,
                       znRTShadingState& state) const override;
    void shadeAnalytic(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                       znRTFragment& fragment, const znFloatType<2>& mask,
                       znRTShadingState& state) const override;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTMultilayerFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override;
    /// Reads list and choice, and updates the chosen material.
    void update() override;
    float getPhotonImportance() const override;
    znRTColorPacket getTransparency(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                    const znFloatType<2>& mask,
                                    znRTShadingState& state) const override;
    znRTColorPacket getPickedTransparency(const znRTRayDifferentialPacket& ray,
                                          znRTDataBlockPacket& data, const znFloatType<2>& mask,
                                          znRTShadingState& state) const override;
    bool isTransparent() const override;
    bool needsConsistentVertexTangents() const override;
    const znRTMaterial* getFirstNonTransparentMaterial(const znRTRayDifferentialPacket& ray,
                                                       znRTDataBlockPacket& data,
                                                       const znFloatType<2>& mask,
                                                       znRTShadingState& state) const override;
    znRTColorPacket evaluateEmission(const znRTRayDifferentialPacket& ray,
                                     znRTDataBlockPacket& data,
                                     const znFloatType<2>& mask) const override;
    bool isLightSource() const override;
    void updateEnvironmentLight() override;
    bool isEnvironment() const override;
    bool isParticipatingMedia() const override;

private:
    struct Child
    {
        u32 containerId;
        znRTMaterial* material; ///< held by count; null for none
    };

    void readChildren();
    /// Takes over the masks of the chosen material; without one they are empty.
    void takeOverActive();

    std::vector<Child> children;
    int activeIndex = -1;
};
