#pragma once

// Surface of an environment: shows the radiance from the direction in which it is seen, whatever
// its shape. Nothing lights it; the environment lights the scene as a light of its own.

#include "material/znRTMaterial.h"

class znRTSphereEnvironmentMaterial : public znRTMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTSphereEnvironmentMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override;
    int getSideness() const override { return materialState.sideness; }
    bool isEnvironment() const override { return true; }
    bool isLightSource() const override { return false; }
    bool isTransparent() const override { return false; }
    using znRTMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override;
    void update() override;
};
