#pragma once

// Base of the materials that shade with lobes, and the groups of attributes that several share.

#include "host/osg/materials/UberMaterial.h"

#define ZN_BRDF_ROWS(R)                                                                            \
    /* Factor on baked or ambient irradiance. */                                                   \
    R(COLOR, (ambient, Ambient, 0.8f, 0.8f, 0.8f))                                                 \
    R(NUMBER, (float, occlusionIntensity, OcclusionIntensity, 1.0f, "", 0.0f, 1.0f))               \
    R(NUMBER,                                                                                      \
      (osg::Vec4f, occlusionColor, OcclusionColor, (osg::Vec4f(0, 0, 0, 1)), "", 0.0f, 1.0f))      \
    R(NUMBER,                                                                                      \
      (u32, occlusionSamplesInteractive, OcclusionSamplesInteractive, 1, "samples", 0, 1024))      \
    R(NUMBER, (u32, occlusionSamplesStill, OcclusionSamplesStill, 4, "samples", 0, 1024))          \
    R(TEXTURE, (occlusion, Occlusion, data))                                                       \
    /* Environments that are looked up: their reflectance at normal incidence where the lobe has   \
       none, and how much of the reflected share the diffuse light loses. Surfaces look as with a  \
       sampled environment by default. */                                                          \
    R(NUMBER, (float, environmentF0, EnvironmentF0, 1.0f, "", 0.0f, 1.0f))                         \
    R(NUMBER, (float, environmentFresnelScale, EnvironmentFresnelScale, 0.0f, "", 0.0f, 1.0f))     \
    R(FLAG, (useMultipleSamples, UseMultipleSamples, true))                                        \
    R(FLAG, (usesVertexTangents, UsesVertexTangents, false))                                       \
    R(TEXTURE, (bump, Bump, data))                                                                 \
    R(CHOICE, (bumpKind, BumpKind, 0, "height", "normalMap"))                                      \
    R(CHOICE, (bumpMode, BumpMode, 0, "bump", "parallax", "parallaxOcclusion"))                    \
    R(NUMBER, (float, bumpAmplitude, BumpAmplitude, 1.0f, "", -10.0f, 10.0f))                      \
    R(NUMBER, (float, bumpScale, BumpScale, 1.0f, "", -1e6f, 1e6f))                                \
    R(NUMBER, (float, parallaxDepth, ParallaxDepth, 0.01f, "uv", 0.0f, 1.0f))                      \
    R(NUMBER, (u32, parallaxSteps, ParallaxSteps, 32, "", 1, 1024))                                \
    R(TEXTURE, (displacement, Displacement, height))                                               \
    R(NUMBER, (float, displacementHeight, DisplacementHeight, 0.0f, "u", -1e6f, 1e6f))             \
    R(NUMBER, (float, displacementOffset, DisplacementOffset, 0.0f, "", -1e6f, 1e6f))              \
    R(NUMBER,                                                                                      \
      (osg::Vec2f, displacementRange, DisplacementRange, (osg::Vec2f(0, 1)), "", -1e6f, 1e6f))

/// Light through a surface.
#define ZN_TRANSLUCENCY_ROWS(R)                                                                    \
    R(CHOICE, (translucencyMode, TranslucencyMode, 0, "off", "thin", "thinRestricted",             \
               "subsurfaceMultiple", "subsurfaceSingle"))                                          \
    R(COLOR, (translucency, Translucency, 0.5f, 0.5f, 0.5f))                                       \
    R(TEXTURE, (translucency, Translucency, color))                                                \
    R(NUMBER, (float, translucencyExponent, TranslucencyExponent, 1.0f, "", 0.0f, 1e6f))           \
    R(NUMBER, (float, indexInside, IndexInside, 1.4f, "", 1e-3f, 100.0f))                          \
    R(NUMBER, (float, indexOutside, IndexOutside, 1.0f, "", 1e-3f, 100.0f))                        \
    R(LENGTH, (meanFreePath, MeanFreePath, 1.0f, "mm", 0.001f, 1e6f))                              \
    R(NUMBER, (float, scatterAnisotropy, ScatterAnisotropy, 0.0f, "", -0.99f, 0.99f))              \
    R(NUMBER, (float, scatterAlbedo, ScatterAlbedo, 0.9f, "", 0.0f, 1.0f))

/// Reflectance over the angle. Tables of metals, tabulated optical constants: 0 neutral, 1
/// aluminium, 2 amorphous carbon, 3 silver, 4 gold, 5 cobalt, 6 copper, 7 chromium, 8 lithium,
/// 9 mercury, 10 nickel, 11 potassium, 12 platinum, 13 iridium, 14 silicon, 15 amorphous silicon,
/// 16 sodium, 17 rhodium, 18 tungsten, 19 vanadium, 20 iron; 255 uses the reflectance instead.
#define ZN_FRESNEL_ROWS(R)                                                                         \
    R(NUMBER, (u32, fresnelTable, FresnelTable, 255, "", 0, 255))                                  \
    R(NUMBER, (float, reflectance, Reflectance, 0.04f, "", 0.0f, 1.0f))                            \
    R(FLAG, (useSchlick, UseSchlick, false))

/// Clear coat.
#define ZN_COAT_ROWS(R)                                                                            \
    R(NUMBER, (float, clearcoatReflectance, ClearcoatReflectance, 0.04f, "", 0.0f, 1.0f))          \
    R(COLOR, (clearcoat, Clearcoat, 1.0f, 1.0f, 1.0f))                                             \
    R(TEXTURE, (clearcoat, Clearcoat, color))                                                      \
    /* Orange peel. */                                                                             \
    R(NUMBER, (float, clearcoatBumpAmount, ClearcoatBumpAmount, 0.0f, "", 0.0f, 10.0f))            \
    R(LENGTH, (clearcoatBumpSize, ClearcoatBumpSize, 1.0f, "mm", 1e-6f, 1e6f))

/// Width of the highlight. Exponents follow from the roughness r as 1 / r^2: r is then close to the
/// spread of the facets' slopes, whichever lobe reads which of the two.
#define ZN_GLOSSINESS_ROWS(R)                                                                      \
    R(NUMBER, (float, roughness, Roughness, 0.1f, "", 0.0f, 1.0f))                                 \
    R(NUMBER, (float, roughnessV, RoughnessV, 0.1f, "", 0.0f, 1.0f))                               \
    R(NUMBER, (float, anisotropyAngle, AnisotropyAngle, 0.0f, "degrees", -360000.0f, 360000.0f))   \
    R(TEXTURE, (glossiness, Glossiness, data))                                                     \
    R(TEXTURE, (anisotropy, Anisotropy, data))                                                     \
    R(NUMBER, (float, glossinessMin, GlossinessMin, 0.0f, "", 0.0f, 1.0f))                         \
    R(NUMBER, (float, glossinessMax, GlossinessMax, 1.0f, "", 0.0f, 1.0f))

/// Procedural unevenness.
#define ZN_STRUCTURE_ROWS(R)                                                                       \
    /* The last two follow the texture coordinates, the others the space of the object. Amounts    \
       are tilts; the scale counts cells per scene unit, or per step of the coordinates. */                  \
    R(CHOICE, (structureType, StructureType, 0, "none", "noise", "sparkle", "cellularSparkle",     \
               "coordinateNoise", "coordinateTilt"))                                               \
    R(NUMBER, (float, structureAmount, StructureAmount, 0.1f, "", 0.0f, 10.0f))                    \
    R(NUMBER, (float, structureScale, StructureScale, 1.0f, "1/u", 1e-9f, 1e9f))                   \
    R(NUMBER, (float, structureOctaves, StructureOctaves, 4.0f, "", 1.0f, 16.0f))

ZN_MATERIAL_BLOCK(znRTBRDFBlock, ZN_BRDF_ROWS)
ZN_MATERIAL_BLOCK(znRTTranslucencyBlock, ZN_TRANSLUCENCY_ROWS)
ZN_MATERIAL_BLOCK(znRTFresnelBlock, ZN_FRESNEL_ROWS)
ZN_MATERIAL_BLOCK(znRTCoatBlock, ZN_COAT_ROWS)
ZN_MATERIAL_BLOCK(znRTGlossinessRows, ZN_GLOSSINESS_ROWS)
ZN_MATERIAL_BLOCK(znRTStructureBlock, ZN_STRUCTURE_ROWS)

/// Exponent of the lobe of a roughness, [1, 1e6].
inline float znPhongExponent(float roughness)
{
    return std::clamp(1.0f / std::max(roughness * roughness, 1e-6f), 1.0f, 1e6f);
}

struct znRTGlossinessBlock : znRTGlossinessRows
{
    float exponent = znPhongExponent(0.1f), exponentV = znPhongExponent(0.1f);

    template <class M>
    void assignFrom(const M& material, znRTMaterialSlots& slots)
    {
        znRTGlossinessRows::assignFrom(material, slots);
        exponent = znPhongExponent(roughness);
        exponentV = znPhongExponent(roughnessV);
    }
};

struct znRTBRDFMaterialAttributes : znRTCommonAttributes, znRTBRDFBlock
{
    template <class M>
    void assignFrom(const M& material, znRTMaterialSlots& slots)
    {
        znRTCommonAttributes::assignFrom(material, slots);
        znRTBRDFBlock::assignFrom(material, slots);
    }
};

namespace osg {

class UBRDFMaterial : public UberMaterial
{
    ZN_ABSTRACT_CONTAINER(UBRDFMaterial, UberMaterial)
    ZN_BRDF_ROWS(ZN_ROW_FIELD)
    ZN_FIELD(ColorComponent, incandescence, Incandescence, (ColorComponent(1.0f, 1.0f, 1.0f)),
             "cd/m2", 0.0f, 1e30f)
    ZN_FLAG(incandescenceActive, IncandescenceActive, false)
    ZN_SLOT(UTextureSettingsPtr, incandescenceTexture, IncandescenceTexture)
    /// Environment material of this material alone, or a switch over such.
    ZN_SLOT(MaterialPtr, environment, Environment)

    using BaseRecord = znRTBRDFMaterialAttributes;
    using RaytracingAttributes = znRTBRDFMaterialAttributes;

    znRTBRDFMaterialAttributes& getRaytracingAttributes() override = 0;
};

using UBRDFMaterialPtr = FCPtr<AttachmentContainerPtr, UBRDFMaterial>;

} // namespace osg
