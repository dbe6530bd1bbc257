#pragma once

// Environments: images around the scene, and the sky. World has z up; the samplers' images are
// latitude-longitude with u = atan2(x, y) / (2 pi) and row 0 at +z.

#include "host/osg/UEnvironmentChunk.h"
#include "host/osg/materials/UberMaterial.h"

#define ZN_ENVIRONMENT_ROWS(R)                                                                     \
    R(CHOICE, (layout, Layout, 0, "latitudeLongitude", "cube", "cross"))                           \
    R(FLAG, (useRotation, UseRotation, false))                                                     \
    R(NUMBER, (float, exposure, Exposure, 0.0f, "stops", -50.0f, 50.0f))                           \
    R(NUMBER, (float, intensity, Intensity, 1.0f, "", 0.0f, 1e30f))                                \
    R(FLAG, (useColorCorrection, UseColorCorrection, false))                                       \
    R(FLAG, (visibleInReflections, VisibleInReflections, true))                                    \
    R(FLAG, (primaryVisible, PrimaryVisible, true))                                                \
    /* Seen from outside. */                                                                       \
    R(FLAG, (flip, Flip, false))                                                                   \
    R(FLAG, (isSampled, IsSampled, true))                                                          \
    R(FLAG, (overrideQuality, OverrideQuality, false))                                             \
    R(NUMBER, (u32, previewCount, PreviewCount, 1, "samples", 0, 1024))                            \
    R(NUMBER, (u32, stillCount, StillCount, 4, "samples", 0, 1024))                                \
    R(FLAG, (useExtractedLights, UseExtractedLights, false))                                       \
    R(NUMBER, (float, shadowIntensity, ShadowIntensity, 1.0f, "", 0.0f, 1.0f))                     \
    R(NUMBER, (float, importanceMultiplier, ImportanceMultiplier, 1.0f, "", 0.0f, 1e6f))

#define ZN_SPHERE_ENVIRONMENT_ROWS(R) R(NUMBER, (float, gamma, Gamma, 1.0f, "", 0.1f, 10.0f))

#define ZN_SKYLIGHT_ROWS(R)                                                                        \
    R(NUMBER, (osg::Vec3f, sunColor, SunColor, (osg::Vec3f(1, 1, 1)), "", 0.0f, 1e6f))             \
    R(NUMBER, (float, sunBrightness, SunBrightness, 1.0f, "", 0.0f, 1e6f))                         \
    R(NUMBER, (float, saturation, Saturation, 1.0f, "", 0.0f, 10.0f))                              \
    R(NUMBER, (float, sunScale, SunScale, 1.0f, "", 0.0f, 100.0f))                                 \
    R(NUMBER, (float, turbidity, Turbidity, 3.0f, "", 2.0f, 10.0f))                                \
    R(NUMBER,                                                                                      \
      (osg::Vec3f, groundColor, GroundColor, (osg::Vec3f(0.2f, 0.2f, 0.2f)), "", 0.0f, 1.0f))      \
    R(NUMBER, (float, skyIntensity, SkyIntensity, 1.0f, "", 0.0f, 1e6f))                           \
    R(NUMBER, (float, horizonBlur, HorizonBlur, 0.1f, "", 0.0f, 1.0f))                             \
    /* Time and place of the sun. */                                                               \
    R(FLAG, (useSunDirection, UseSunDirection, false))                                             \
    R(NUMBER, (float, latitude, Latitude, 48.0f, "degrees", -90.0f, 90.0f))                        \
    R(NUMBER, (float, longitude, Longitude, 9.0f, "degrees", -180.0f, 180.0f))                     \
    R(NUMBER, (float, utcOffset, UtcOffset, 1.0f, "h", -12.0f, 14.0f))                             \
    R(NUMBER, (int, year, Year, 2000, "", -4712, 9999))                                            \
    R(NUMBER, (int, month, Month, 6, "", 1, 12))                                                   \
    R(NUMBER, (int, day, Day, 21, "", 1, 31))                                                      \
    R(NUMBER, (float, time, Time, 12.0f, "h", 0.0f, 24.0f))                                        \
    R(NUMBER, (float, north, North, 0.0f, "degrees", -360.0f, 360.0f))

ZN_MATERIAL_BLOCK(znRTEnvironmentRows, ZN_ENVIRONMENT_ROWS)
ZN_MATERIAL_BLOCK(znRTSphereEnvironmentBlock, ZN_SPHERE_ENVIRONMENT_ROWS)
ZN_MATERIAL_BLOCK(znRTSkylightRows, ZN_SKYLIGHT_ROWS)

namespace osg {
class UEnvironmentMaterial;
class USkylightMaterial;
} // namespace osg

struct znRTEnvironmentBlock : znRTEnvironmentRows
{
    znRTSampler2D* environmentSampler = nullptr; ///< float RGB radiance; null without an image
    /// Slices from cosine-convolved (0) to sharp (last); null until makeBlurSampler was called.
    znRTSampler3D* blurSampler = nullptr;
    znRTVector3f averageColor; ///< mean radiance over the sphere
    znMatrix4x4 rotation = znMatrix4x4::identity();
    znMatrix4x4 colorCorrectionMatrix = znMatrix4x4::identity();
    osg::UEnvironmentChunk* chunk = nullptr; ///< extracted lights

    void assignFrom(const osg::UEnvironmentMaterial& material, znRTMaterialSlots& slots);
};

struct znRTSkylightBlock : znRTSkylightRows
{
    znRTVector3f sunDirection{0.0f, 0.0f, 1.0f}; ///< towards the sun, unit

    void assignFrom(const osg::USkylightMaterial& material, znRTMaterialSlots& slots);
};

struct znRTEnvironmentAttributes : znRTCommonAttributes, znRTEnvironmentBlock
{
    template <class M>
    void assignFrom(const M& material, znRTMaterialSlots& slots)
    {
        znRTCommonAttributes::assignFrom(material, slots);
        znRTEnvironmentBlock::assignFrom(material, slots);
    }
};

namespace osg {

class UEnvironmentMaterial : public UberMaterial
{
    ZN_ABSTRACT_CONTAINER(UEnvironmentMaterial, UberMaterial)
    ZN_ENVIRONMENT_ROWS(ZN_ROW_FIELD)
    ZN_SLOT(ImagePtr, image, Image)
    ZN_FIELD(Matrix, rotation, Rotation, osg::Matrix(), "",
             -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity())
    ZN_FIELD(Matrix, colorCorrectionMatrix, ColorCorrectionMatrix, osg::Matrix(), "",
             -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity())
    ZN_SLOT(FCPtr<UEnvironmentChunk>, chunk, Chunk)

    using BaseRecord = znRTEnvironmentAttributes;
    using RaytracingAttributes = znRTEnvironmentAttributes;

    UEnvironmentMaterial();
    ~UEnvironmentMaterial() override;
    znRTEnvironmentAttributes& getRaytracingAttributes() override = 0;

    /// The blurred environments, for shading without samples. Takes part of a second the first time
    /// after a change of the image, and sets the record's blurSampler.
    /// @return null without an image
    znRTSampler3D* makeBlurSampler();

    /// Images made from the environment; rebuilt when image, layout or gamma changed.
    struct Samplers;
    Samplers& updateSamplers() const;

protected:
    /// Exponent that makes integer images linear.
    virtual float getImageGamma() const { return 1.0f; }

private:
    mutable std::unique_ptr<Samplers> samplers;
};

class USphereEnvironmentMaterial : public UEnvironmentMaterial
{
    ZN_CONTAINER(USphereEnvironmentMaterial, UEnvironmentMaterial)
    ZN_SPHERE_ENVIRONMENT_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(USphereEnvironmentMaterial, znRTSphereEnvironmentBlock)

protected:
    float getImageGamma() const override { return getGamma(); }
};

/// Sky of a clear day. The sun stands where date, time and place put it, or where it is told to.
class USkylightMaterial : public USphereEnvironmentMaterial
{
    ZN_CONTAINER(USkylightMaterial, USphereEnvironmentMaterial)
    ZN_SKYLIGHT_ROWS(ZN_ROW_FIELD)
    ZN_FIELD(Vec3f, sunDirection, SunDirection, Vec3f(0, 0, 1), "", -1.0f, 1.0f)

    using BaseRecord = USphereEnvironmentMaterial::RaytracingAttributes;
    struct RaytracingAttributes : USphereEnvironmentMaterial::RaytracingAttributes,
                                  znRTSkylightBlock
    {
        template <class M>
        void assignFrom(const M& material, znRTMaterialSlots& slots)
        {
            USphereEnvironmentMaterial::RaytracingAttributes::assignFrom(material, slots);
            znRTSkylightBlock::assignFrom(material, slots);
        }
    };
    ZN_MATERIAL_RECORD_COMMON(USkylightMaterial)
};

} // namespace osg
