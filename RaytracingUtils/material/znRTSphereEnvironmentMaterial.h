#pragma once

// Surface of an environment: shows the radiance from the direction in which it is seen, whatever
// its shape. Nothing lights it; the environment lights the scene as a light of its own, which the
// scene makes for it.

#include "host/osg/Image.h"
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
    /// Runs when the lights of environments are up to date.
    void updateEnvironmentLight() override { imageIsUpdated = false; }

    /// Radiance in directions, as the surface shows it; black while no scene has a light of the
    /// environment. Alpha 1; 0 in lanes off the mask.
    znRTColorPacket environmentLookup(const znRTVector3fPacket& direction,
                                      const znFloatType<2>& mask) const;

    // The image belongs to the container. Between frames a host may replace it or its pixels.

    osg::ImagePtr getOSGImage() const;
    /// @param image  the new image, or the one that is there with other pixels; null takes it away
    void setUpdatedOSGImage(const osg::ImagePtr& image);
    /// Whether the image has been replaced since the light of the environment was made from it.
    bool updatedOSGImage() const { return imageIsUpdated; }
    /// Lets the light of the environment read its container: image, rotation, colours, and the
    /// lights that stand for parts of it.
    void updateLightsources();

protected:
    znRTSphereEnvironmentMaterial(const znRTTypeId& typeId, const osg::MaterialPtr& material);

    /// In the current scene; null without.
    znRTInfiniteAreaLight* getLight() const;

private:
    bool imageIsUpdated = false;
};
