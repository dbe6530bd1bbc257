#pragma once

// Lights. They are node cores; their place is the world matrix of the beacon or else of the node.
//
// Stored values are physical: luminous intensity in candela for point and spot lights with inverse
// square falloff, illuminance in lux for the other falloffs and for directional lights, radiance in
// cd/m2 for area lights. The getters of colours include the light's master intensity and the scale
// of the scene, as rendering in scene units needs them.

#include "host/osg/Image.h"
#include "host/osg/Node.h"

class znRTLensFlare;

namespace osg {

class UberLight : public NodeCore
{
    ZN_ABSTRACT_CONTAINER(UberLight, NodeCore)
    ZN_FLAG(on, On, true)
    ZN_STORED_FIELD(ColorComponent, diffuse, Diffuse, ColorComponent(), "", 0.0f, 1e30f)
    ZN_STORED_FIELD(ColorComponent, glossy, Glossy, ColorComponent(), "", 0.0f, 1e30f)
    ZN_FIELD(float, intensity, Intensity, 1.0f, "", 0.0f, 1e30f) ///< factor on both colours
    /// Lights only geometry below the light's own parent.
    ZN_FLAG(localLighting, LocalLighting, false)
    ZN_LINK(Node, beacon, Beacon)
    ZN_SLOT(ImagePtr, emissionTexture, EmissionTexture)
    ZN_FLAG(emissionTextureActive, EmissionTextureActive, false)
    ZN_FLAG(emissionTextureImportanceSampling, EmissionTextureImportanceSampling, true)

    /// Colour with the intensity in scene terms.
    ColorComponent getDiffuse() const { return scaled(getStoredDiffuse()); }
    ColorComponent getGlossy() const { return scaled(getStoredGlossy()); }

    /// Not owned; null without a flare.
    znRTLensFlare* getLensFlare() const { return lensFlare; }
    void setLensFlare(znRTLensFlare* flare) { lensFlare = flare; }

protected:
    /// Square of the scene units per metre where the stored value is a luminous intensity, else 1.
    virtual float getSceneScale() const { return 1.0f; }

private:
    ColorComponent scaled(ColorComponent component) const;

    znRTLensFlare* lensFlare = nullptr;
};

class UPointLight : public UberLight
{
    ZN_CONTAINER(UPointLight, UberLight)
    ZN_ENUM(attenuationType, AttenuationType, 2, "none", "linear", "inverseSquare")
    ZN_FIELD(float, constantAttenuation, ConstantAttenuation, 0.0f, "", 0.0f, 1e9f)
    ZN_FIELD(float, linearAttenuation, LinearAttenuation, 0.0f, "", 0.0f, 1e9f)
    ZN_FIELD(float, quadraticAttenuation, QuadraticAttenuation, 1.0f, "", 0.0f, 1e9f)

protected:
    float getSceneScale() const override;
};

/// Shines along -z. Angles are half angles; the penumbra lies outside the cone.
class USpotLight : public UPointLight
{
    ZN_CONTAINER(USpotLight, UPointLight)
    ZN_FIELD(float, coneAngle, ConeAngle, 30.0f, "degrees", 0.0f, 180.0f)
    ZN_FIELD(float, penumbraAngle, PenumbraAngle, 5.0f, "degrees", 0.0f, 180.0f)
};

/// Shines along -z from infinitely far away.
class UDirectionalLight : public UberLight
{
    ZN_CONTAINER(UDirectionalLight, UberLight)
};

/// A point light at the camera. Starts switched off.
class UHeadLight : public UPointLight
{
    ZN_CONTAINER(UHeadLight, UPointLight)
    UHeadLight() { setOn(false); }
};

/// Shape in the xy plane of the light, emitting along -z.
class UAreaLight : public UberLight
{
    ZN_ABSTRACT_CONTAINER(UAreaLight, UberLight)
    ZN_ENUM(attenuationType, AttenuationType, 2, "none", "linear", "inverseSquare")
    ZN_FIELD(float, constantAttenuation, ConstantAttenuation, 0.0f, "", 0.0f, 1e9f)
    ZN_FIELD(float, linearAttenuation, LinearAttenuation, 0.0f, "", 0.0f, 1e9f)
    ZN_FIELD(float, quadraticAttenuation, QuadraticAttenuation, 1.0f, "", 0.0f, 1e9f)
    ZN_FLAG(visibleInReflections, VisibleInReflections, true)
    ZN_FLAG(primaryVisibility, PrimaryVisibility, true)
    ZN_FIELD(u32, interactiveQuality, InteractiveQuality, 1, "samples", 0, 1024)
    ZN_FIELD(u32, stillQuality, StillQuality, 4, "samples", 0, 1024)
    // The cone counts for disks and rectangles only.
    ZN_FLAG(useConeAngle, UseConeAngle, false)
    ZN_FIELD(float, coneAngle, ConeAngle, 90.0f, "degrees", 0.0f, 180.0f)
    ZN_FIELD(float, penumbraAngle, PenumbraAngle, 0.0f, "degrees", 0.0f, 180.0f)
};

class UDiskLight : public UAreaLight
{
    ZN_CONTAINER(UDiskLight, UAreaLight)
    ZN_FIELD(float, sizeX, SizeX, 0.5f, "u", 0.0f, 1e9f) ///< radius
    ZN_FIELD(float, sizeY, SizeY, 0.5f, "u", 0.0f, 1e9f)
};

class URectangularLight : public UAreaLight
{
    ZN_CONTAINER(URectangularLight, UAreaLight)
    ZN_FIELD(float, sizeX, SizeX, 0.5f, "u", 0.0f, 1e9f) ///< half edge
    ZN_FIELD(float, sizeY, SizeY, 0.5f, "u", 0.0f, 1e9f)
};

class USphericalLight : public UAreaLight
{
    ZN_CONTAINER(USphericalLight, UAreaLight)
    ZN_FIELD(float, radius, Radius, 0.5f, "u", 0.0f, 1e9f)
};

/// Emits the rays of a file; without one it is off. The colours are factors on the file's fluxes.
class URayLight : public UberLight
{
    ZN_CONTAINER(URayLight, UberLight)
    ZN_SLOT(FCPtr<class RayFileAttachment>, rayFile, RayFile)
};

/// A light taken out of an environment image.
class UEnvironmentLight : public AttachmentContainer
{
    ZN_CONTAINER(UEnvironmentLight, AttachmentContainer)
    /// From the scene towards the light.
    ZN_FIELD(Vec3f, direction, Direction, Vec3f(0, 0, 1), "", -1.0f, 1.0f)
    ZN_FIELD(ColorComponent, color, Color, ColorComponent(), "", 0.0f, 1e30f)
    ZN_FIELD(float, intensity, Intensity, 1.0f, "", 0.0f, 1e30f)
    ZN_FIELD(float, angularSize, AngularSize, 0.0f, "degrees", 0.0f, 180.0f) ///< whole angle
};

/// The lights of an environment material.
class UEnvironmentChunk : public AttachmentContainer
{
    ZN_CONTAINER(UEnvironmentChunk, AttachmentContainer)
    ZN_SLOT(std::vector<FCPtr<UEnvironmentLight>>, lights, Lights)
};

} // namespace osg
