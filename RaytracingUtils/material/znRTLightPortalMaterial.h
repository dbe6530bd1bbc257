#pragma once

// An opening that surroundings shine in through. It is a guide, no surface: only camera rays meet
// it, and go on behind it; all others pass without a test. What it does is to tell the lights of
// surroundings where to look for them (light/znRTPortalGuide.h).

#include "material/znRTMaterial.h"

class znRTLightPortalMaterial : public znRTMaterial
{
public:
    static const znRTTypeId id;
    /// Straight continuations in a row after which a portal shows black.
    static constexpr int s_mostPassed = 32;

    explicit znRTLightPortalMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTLightPortalMaterial(*this); }
    using znRTMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override;
    void update() override;
    znRTColorPacket getTransparency(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                    const znFloatType<2>& mask,
                                    znRTShadingState& state) const override;
    bool isTransparent() const override { return true; }
};
