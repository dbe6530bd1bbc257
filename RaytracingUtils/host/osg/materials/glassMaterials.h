#pragma once

// Glass and scattering volumes.

#include "host/osg/materials/UBRDFMaterial.h"

#define ZN_GLASS_ROWS(R)                                                                           \
    R(COLOR, (reflection, Reflection, 1.0f, 1.0f, 1.0f))                                           \
    R(TEXTURE, (reflection, Reflection, color))                                                    \
    R(COLOR, (transmission, Transmission, 1.0f, 1.0f, 1.0f))                                       \
    R(TEXTURE, (transmission, Transmission, color))                                                \
    R(TEXTURE, (roughness, Roughness, data))                                                       \
    R(TEXTURE, (normal, Normal, data))                                                             \
    R(NUMBER, (float, ior, Ior, 1.5f, "", 1e-3f, 100.0f))                                          \
    R(NUMBER, (float, outsideIor, OutsideIor, 1.0f, "", 1e-3f, 100.0f))                            \
    /* From 40 samples on the glass disperses. */                                                  \
    R(SPECTRUM, (refractionSpectrum, RefractionSpectrum))                                          \
    R(SPECTRUM, (reflectanceSpectrum, ReflectanceSpectrum))                                        \
    R(NUMBER, (float, dispersion, Dispersion, 0.0f, "", 0.0f, 1e3f))                               \
    R(CHOICE, (finish, Finish, 0, "clear", "frosted"))                                             \
    R(FLAG, (colouredShadow, ColouredShadow, true))                                                \
    R(FLAG, (useIor, UseIor, true))                                                                \
    R(NUMBER, (int, depthLimit, DepthLimit, 10, "", 0, 64))                                        \
    /* Where the transmission colour is reached; 0: a thin tint. */                                \
    R(NUMBER, (float, attenuationDistance, AttenuationDistance, 0.0f, "u", 0.0f, 1e9f))

#define ZN_VOLUME_SCATTER_ROWS(R)                                                                  \
    R(NUMBER, (float, attenuationCoefficient, AttenuationCoefficient, 1.0f, "1/m", 0.0f, 1e9f))    \
    R(NUMBER, (float, scatterCoefficient, ScatterCoefficient, 1.0f, "1/m", 0.0f, 1e9f))            \
    R(COLOR, (attenuationComponent, AttenuationComponent, 1.0f, 1.0f, 1.0f))                       \
    R(COLOR, (scatterComponent, ScatterComponent, 1.0f, 1.0f, 1.0f))                               \
    R(NUMBER, (float, anisotropy, Anisotropy, 0.0f, "", -0.999f, 0.999f))                          \
    R(NUMBER, (u32, interactiveQuality, InteractiveQuality, 4, "samples", 1, 1024))                \
    R(NUMBER, (u32, stillQuality, StillQuality, 16, "samples", 1, 1024))

ZN_MATERIAL_BLOCK(znRTGlassRows, ZN_GLASS_ROWS)
ZN_MATERIAL_BLOCK(znRTVolumeScatterBlock, ZN_VOLUME_SCATTER_ROWS)

struct znRTGlassBlock : znRTGlassRows
{
    float indexA = 1.0f, indexB = 1.5f; ///< outside, inside

    template <class M>
    void assignFrom(const M& material, znRTMaterialSlots& slots)
    {
        znRTGlassRows::assignFrom(material, slots);
        indexA = outsideIor;
        indexB = ior;
    }
};

namespace osg {

class UGlassMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UGlassMaterial, UBRDFMaterial)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_GLASS_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UGlassMaterial, znRTGlossinessBlock, znRTGlassBlock)
};

class UVolumeScatterMaterial : public UberMaterial
{
    ZN_CONTAINER(UVolumeScatterMaterial, UberMaterial)
    ZN_VOLUME_SCATTER_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UVolumeScatterMaterial, znRTVolumeScatterBlock)
};

} // namespace osg
