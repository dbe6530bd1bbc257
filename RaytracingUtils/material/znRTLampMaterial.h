#pragma once

// The surface of an area light that rays can see: it shows the light's radiance and reflects
// nothing. Rays that get the light by sampling it (rayTypes.h, seesEmission) see black.

#include "material/znRTMaterial.h"

class znRTUAreaLight;

class znRTLampMaterial : public znRTMaterial
{
public:
    static const znRTTypeId id;

    /// @param shownLight  outlives the material
    explicit znRTLampMaterial(const znRTUAreaLight& shownLight);

    znRTMaterial* getDuplicate() const override;
    using znRTMaterial::shade;
    /// Camera rays and what is seen through clear bodies take the light's diffuse colour; mirrors,
    /// the limit of glossy lobes, take its glossy one.
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override;

    const znRTUAreaLight& getLight() const { return light; }

private:
    const znRTUAreaLight& light;
};
