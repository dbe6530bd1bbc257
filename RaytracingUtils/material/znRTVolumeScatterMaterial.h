#pragma once

// The boundary of a medium: nothing is seen of it, light and rays pass. What the medium does to
// them is its own business, with the values that are kept here.

#include "material/znRTMaterial.h"

class znRTVolumeScatterMaterial : public znRTMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTVolumeScatterMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override
    {
        return new znRTVolumeScatterMaterial(hostMaterial);
    }
    using znRTMaterial::shade;
    /// Lets all lanes pass. The block's volumeEntry becomes the distance of hits from outside, its
    /// volumeExit that of hits from inside.
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override;
    znRTColorPacket getTransparency(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                    const znFloatType<2>& mask,
                                    znRTShadingState& state) const override;
    bool isTransparent() const override { return true; }
    bool isParticipatingMedia() const override { return true; }
    void update() override;

    // Of the medium; coefficients one over metres.

    float getAttenuationCoefficient() const { return attenuationCoefficient; }
    float getScatterCoefficient() const { return scatterCoefficient; }
    float getAnisotropy() const { return anisotropy; } ///< mean cosine, (-1, 1)
    const znRTColor& getAttenuationComponent() const { return attenuationComponent; }
    const znRTColor& getScatterComponent() const { return scatterComponent; }
    u32 getInteractiveQuality() const { return interactiveQuality; } ///< samples

private:
    float attenuationCoefficient = 1.0f, scatterCoefficient = 1.0f, anisotropy = 0.0f;
    znRTColor attenuationComponent{1.0f, 1.0f, 1.0f, 1.0f};
    znRTColor scatterComponent{1.0f, 1.0f, 1.0f, 1.0f};
    u32 interactiveQuality = 4;
};
