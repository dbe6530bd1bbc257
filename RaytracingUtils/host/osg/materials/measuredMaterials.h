#pragma once

// Measured surfaces and surfaces driven by maps. Kinds are siblings: none derives from another.

#include "host/osg/materials/UBRDFMaterial.h"

#define ZN_MEASURED_ROWS(R)                                                                        \
    R(CHOICE, (kind, Kind, 0, "btf", "pvf", "btfCompact"))                                         \
    R(NUMBER, (int, channels, Channels, 4, "", 4, 12))                                             \
    /* 1 to 3 are needed; (4, 7), (5, 8), (6, 9) are pairs. */                                     \
    R(TEXTURE, (slot1, Slot1, data))                                                               \
    R(TEXTURE, (slot2, Slot2, data))                                                               \
    R(TEXTURE, (slot3, Slot3, data))                                                               \
    R(TEXTURE, (slot4, Slot4, data))                                                               \
    R(TEXTURE, (slot5, Slot5, data))                                                               \
    R(TEXTURE, (slot6, Slot6, data))                                                               \
    R(TEXTURE, (slot7, Slot7, data))                                                               \
    R(TEXTURE, (slot8, Slot8, data))                                                               \
    R(TEXTURE, (slot9, Slot9, data))                                                               \
    R(NUMBER, (u32, thetaCount, ThetaCount, 0, "", 0, 65536))                                      \
    R(NUMBER, (u32, phiCount, PhiCount, 0, "", 0, 65536))                                          \
    R(NUMBER, (osg::Vec3f, scale, Scale, (osg::Vec3f(1, 1, 1)), "", -1e6f, 1e6f))                  \
    R(NUMBER, (osg::Vec3f, colorScale, ColorScale, (osg::Vec3f(1, 1, 1)), "", 0.0f, 1e6f))         \
    /* 2 x 3 transform of the texture coordinates, by rows. */                                     \
    R(NUMBER, (osg::Vec3f, transformU, TransformU, (osg::Vec3f(1, 0, 0)), "", -1e6f, 1e6f))        \
    R(NUMBER, (osg::Vec3f, transformV, TransformV, (osg::Vec3f(0, 1, 0)), "", -1e6f, 1e6f))        \
    R(FLAG, (hasAlpha, HasAlpha, false))

#define ZN_MEASURED_LOBE_ROWS(R)                                                                   \
    R(COLOR, (diffuse, Diffuse, 0.1f, 0.1f, 0.1f))                                                 \
    R(TEXTURE, (diffuse, Diffuse, color))                                                          \
    /* Of lobes 1 to 3. */                                                                         \
    R(NUMBER,                                                                                      \
      (osg::Vec3f, lobeWidth, LobeWidth, (osg::Vec3f(0.1f, 0.2f, 0.4f)), "", 1e-4f, 10.0f))        \
    R(NUMBER, (osg::Vec3f, lobeWeight, LobeWeight, (osg::Vec3f(0, 0, 0)), "", 0.0f, 1e6f))         \
    R(COLOR, (lobeColor1, LobeColor1, 1.0f, 1.0f, 1.0f))                                           \
    R(COLOR, (lobeColor2, LobeColor2, 1.0f, 1.0f, 1.0f))                                           \
    R(COLOR, (lobeColor3, LobeColor3, 1.0f, 1.0f, 1.0f))                                           \
    R(NUMBER, (u32, flakeThetaCount, FlakeThetaCount, 0, "", 0, 65536))                            \
    R(NUMBER, (u32, flakePhiCount, FlakePhiCount, 0, "", 0, 65536))                                \
    R(LENGTH, (flakeSize, FlakeSize, 10.0f, "mm", 1e-6f, 1e6f))                                    \
    R(NUMBER, (osg::Vec2f, flakeRepeat, FlakeRepeat, (osg::Vec2f(1, 1)), "", -1e6f, 1e6f))         \
    R(TEXTURE, (colorTable, ColorTable, data))

/// Flakes as slices over the angle.
#define ZN_FLAKE_ARRAY_ROWS(R) R(TEXTURE, (flakeTable, FlakeTable, array))
/// Flakes as a volume, colours over half angle and difference angle.
#define ZN_FLAKE_VOLUME_ROWS(R) R(TEXTURE, (flakeTable, FlakeTable, volume))

#define ZN_OCS_ROWS(R)                                                                             \
    R(TEXTURE, (table, Table, volume))                                                             \
    R(CHOICE, (mode, Mode, 3, "mode0", "mode1", "mode2", "mode3"))                                 \
    /* Up to four pairs of scale and offset. */                                                    \
    R(NUMBER, (osg::Vec4f, scales, Scales, (osg::Vec4f(1, 1, 1, 1)), "", -1e6f, 1e6f))             \
    R(NUMBER, (osg::Vec4f, offsets, Offsets, (osg::Vec4f(0, 0, 0, 0)), "", -1e6f, 1e6f))           \
    R(NUMBER, (osg::Vec3f, colorScale, ColorScale, (osg::Vec3f(1, 1, 1)), "", 0.0f, 1e6f))

#define ZN_SVBRDF_ROWS(R)                                                                          \
    R(CHOICE, (model, Model, 1, "ward", "ggx"))                                                    \
    R(COLOR, (diffuse, Diffuse, 1.0f, 1.0f, 1.0f))                                                 \
    R(TEXTURE, (diffuse, Diffuse, color))                                                          \
    R(COLOR, (specular, Specular, 1.0f, 1.0f, 1.0f))                                               \
    R(TEXTURE, (specular, Specular, color))                                                        \
    /* Both axes in r and g. */                                                                    \
    R(TEXTURE, (roughness, Roughness, data))                                                       \
    R(TEXTURE, (rotation, Rotation, data))                                                         \
    R(TEXTURE, (normal, Normal, data))                                                             \
    R(TEXTURE, (fresnel, Fresnel, data))                                                           \
    R(TEXTURE, (alpha, Alpha, data))                                                               \
    R(NUMBER, (osg::Vec2f, roughnessScale, RoughnessScale, (osg::Vec2f(1, 1)), "", 0.0f, 1e3f))

#define ZN_SUBSTANCE_ROWS(R)                                                                       \
    R(FLAG, (hasAnisotropyLevel, HasAnisotropyLevel, false))                                       \
    R(COLOR, (baseColor, BaseColor, 0.8f, 0.8f, 0.8f))                                             \
    R(TEXTURE, (baseColor, BaseColor, color))                                                      \
    R(NUMBER, (float, metallic, Metallic, 0.0f, "", 0.0f, 1.0f))                                   \
    R(TEXTURE, (metallic, Metallic, data))                                                         \
    R(NUMBER, (float, roughness, Roughness, 0.5f, "", 0.0f, 1.0f))                                 \
    R(TEXTURE, (roughness, Roughness, data))                                                       \
    R(NUMBER, (float, specularLevel, SpecularLevel, 0.5f, "", 0.0f, 1.0f))                         \
    R(TEXTURE, (specularLevel, SpecularLevel, data))                                               \
    R(NUMBER, (float, anisotropyLevel, AnisotropyLevel, 0.0f, "", 0.0f, 1.0f))                     \
    R(TEXTURE, (anisotropyLevel, AnisotropyLevel, data))                                           \
    /* Share of a whole turn. */                                                                   \
    R(NUMBER, (float, anisotropyAngle, AnisotropyAngle, 0.0f, "", 0.0f, 1.0f))                     \
    R(TEXTURE, (anisotropyAngle, AnisotropyAngle, data))                                           \
    R(NUMBER, (float, ambientOcclusion, AmbientOcclusion, 1.0f, "", 0.0f, 1.0f))                   \
    R(TEXTURE, (ambientOcclusion, AmbientOcclusion, data))                                         \
    R(NUMBER, (osg::Vec3f, normal, Normal, (osg::Vec3f(0.5f, 0.5f, 1.0f)), "", 0.0f, 1.0f))        \
    R(TEXTURE, (normal, Normal, data))                                                             \
    R(NUMBER, (float, height, Height, 0.5f, "", 0.0f, 1.0f))                                       \
    R(TEXTURE, (height, Height, data))                                                             \
    R(COLOR, (emissive, Emissive, 0.0f, 0.0f, 0.0f))                                               \
    R(TEXTURE, (emissive, Emissive, color))                                                        \
    R(NUMBER, (float, opacity, Opacity, 1.0f, "", 0.0f, 1.0f))                                     \
    R(TEXTURE, (opacity, Opacity, data))                                                           \
    R(CHOICE, (normalFormat, NormalFormat, 0, "yUp", "yDown"))

ZN_MATERIAL_BLOCK(znRTMeasuredRows, ZN_MEASURED_ROWS)
ZN_MATERIAL_BLOCK(znRTMeasuredLobeBlock, ZN_MEASURED_LOBE_ROWS)
ZN_MATERIAL_BLOCK(znRTFlakeArrayBlock, ZN_FLAKE_ARRAY_ROWS)
ZN_MATERIAL_BLOCK(znRTFlakeVolumeRows, ZN_FLAKE_VOLUME_ROWS)
ZN_MATERIAL_BLOCK(znRTOCSBlock, ZN_OCS_ROWS)
ZN_MATERIAL_BLOCK(znRTSVBRDFBlock, ZN_SVBRDF_ROWS)
ZN_MATERIAL_BLOCK(znRTSubstanceBlock, ZN_SUBSTANCE_ROWS)

struct znRTMeasuredBlock : znRTMeasuredRows
{
    // The nine slots as arrays; slots 1 to 9 are entries 0 to 8.
    std::array<znRTTextureSampler*, 9> samplers{};
    std::array<bool, 9> valid{};

    template <class M>
    void assignFrom(const M& material, znRTMaterialSlots& slots)
    {
        znRTMeasuredRows::assignFrom(material, slots);
        samplers = {slot1Sampler, slot2Sampler, slot3Sampler, slot4Sampler, slot5Sampler,
                    slot6Sampler, slot7Sampler, slot8Sampler, slot9Sampler};
        valid = {slot1Active, slot2Active, slot3Active, slot4Active, slot5Active,
                 slot6Active, slot7Active, slot8Active, slot9Active};
        channels = channels / 4 * 4;
    }
};

struct znRTFlakeVolumeBlock : znRTFlakeVolumeRows
{
    const float* flakeCutoffs = nullptr; ///< owned by the container
    u32 flakeCutoffCount = 0;

    template <class M>
    void assignFrom(const M& material, znRTMaterialSlots& slots)
    {
        znRTFlakeVolumeRows::assignFrom(material, slots);
        flakeCutoffs = material.getFlakeCutoffs().data();
        flakeCutoffCount = u32(material.getFlakeCutoffs().size());
    }
};

namespace osg {

class UMeasuredMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UMeasuredMaterial, UBRDFMaterial)
    ZN_MEASURED_ROWS(ZN_ROW_FIELD)
    ZN_SLOT(std::string, fileName, FileName)
    ZN_MATERIAL_RECORD(UMeasuredMaterial, znRTMeasuredBlock)
};

class UMeasuredCarpaintMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UMeasuredCarpaintMaterial, UBRDFMaterial)
    ZN_COAT_ROWS(ZN_ROW_FIELD)
    ZN_MEASURED_LOBE_ROWS(ZN_ROW_FIELD)
    ZN_FLAKE_ARRAY_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UMeasuredCarpaintMaterial, znRTCoatBlock, znRTMeasuredLobeBlock,
                       znRTFlakeArrayBlock)
};

class UMeasuredCarpaint2Material : public UBRDFMaterial
{
    ZN_CONTAINER(UMeasuredCarpaint2Material, UBRDFMaterial)
    ZN_COAT_ROWS(ZN_ROW_FIELD)
    ZN_MEASURED_LOBE_ROWS(ZN_ROW_FIELD)
    ZN_FLAKE_VOLUME_ROWS(ZN_ROW_FIELD)
    ZN_SLOT(std::vector<float>, flakeCutoffs, FlakeCutoffs)
    ZN_MATERIAL_RECORD(UMeasuredCarpaint2Material, znRTCoatBlock, znRTMeasuredLobeBlock,
                       znRTFlakeVolumeBlock)
};

class UOCSMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UOCSMaterial, UBRDFMaterial)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_COAT_ROWS(ZN_ROW_FIELD)
    ZN_OCS_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UOCSMaterial, znRTFresnelBlock, znRTCoatBlock, znRTOCSBlock)
};

class USVBRDFMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(USVBRDFMaterial, UBRDFMaterial)
    ZN_TRANSLUCENCY_ROWS(ZN_ROW_FIELD)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_COAT_ROWS(ZN_ROW_FIELD)
    ZN_SVBRDF_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(USVBRDFMaterial, znRTTranslucencyBlock, znRTFresnelBlock,
                       znRTGlossinessBlock, znRTCoatBlock, znRTSVBRDFBlock)
};

class USubstanceMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(USubstanceMaterial, UBRDFMaterial)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_SUBSTANCE_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(USubstanceMaterial, znRTFresnelBlock, znRTSubstanceBlock)
};

/// Appearance exchange container: stands for one of its materials.
class UXRiteMeasuredMaterial : public UberMaterial
{
    ZN_CONTAINER(UXRiteMeasuredMaterial, UberMaterial)
    ZN_FIELD(int, choice, Choice, 0, "", 0, 2147483647.0)
    ZN_SLOT(std::vector<MaterialPtr>, materials, Materials)
    ZN_MATERIAL_RECORD_OF_BASE(UXRiteMeasuredMaterial)

    /// Null beyond the list.
    MaterialPtr getMaterials(u32 index) const
    {
        return index < getMaterials().size() ? getMaterials()[index] : MaterialPtr();
    }
};

} // namespace osg
