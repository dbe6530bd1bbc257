#pragma once

// Materials that are no surfaces of their own: shadow catchers, glow, x-ray, portals, layers,
// light shapes.

#include "host/osg/materials/UBRDFMaterial.h"

#define ZN_SHADOW_ROWS(R)                                                                          \
    R(COLOR, (shadowColor, ShadowColor, 0.0f, 0.0f, 0.0f))                                         \
    R(COLOR, (environmentShadowColor, EnvironmentShadowColor, 0.0f, 0.0f, 0.0f))                   \
    R(NUMBER, (float, shadowIntensity, ShadowIntensity, 1.0f, "", 0.0f, 1.0f))                     \
    /* -1 evaluates every light. */                                                                \
    R(NUMBER, (int, lightMode, LightMode, 0, "", -1, 2147483647.0))                                \
    R(FLAG, (useExtractedLights, UseExtractedLights, true))                                        \
    R(COLOR, (diffuse, Diffuse, 0.0f, 0.0f, 0.0f))                                                 \
    R(TEXTURE, (diffuse, Diffuse, color))                                                          \
    R(COLOR, (glossy, Glossy, 0.0f, 0.0f, 0.0f))                                                   \
    R(TEXTURE, (glossy, Glossy, color))                                                            \
    R(NUMBER, (float, reflectivity, Reflectivity, 0.0f, "", 0.0f, 1.0f))                           \
    R(FLAG, (alphaFromShadow, AlphaFromShadow, true))

#define ZN_GLOW_ROWS(R)                                                                            \
    R(COLOR, (glow, Glow, 1.0f, 1.0f, 1.0f))                                                       \
    R(TEXTURE, (glow, Glow, color))                                                                \
    R(NUMBER, (float, intensity, Intensity, 1.0f, "", 0.0f, 1e30f))                                \
    R(NUMBER, (float, falloff, Falloff, 2.0f, "", 0.0f, 1e3f))

#define ZN_XRAY_ROWS(R)                                                                            \
    R(FLAG, (visibleToAllRays, VisibleToAllRays, false))                                           \
    R(FLAG, (doubleSided, DoubleSided, true))                                                      \
    R(COLOR, (inner, Inner, 0.2f, 0.4f, 0.8f))                                                     \
    R(TEXTURE, (inner, Inner, color))                                                              \
    R(COLOR, (outer, Outer, 0.8f, 0.9f, 1.0f))                                                     \
    R(TEXTURE, (outer, Outer, color))                                                              \
    R(NUMBER, (float, falloff, Falloff, 1.0f, "", 0.0f, 1e3f))                                     \
    R(NUMBER, (float, intensity, Intensity, 1.0f, "", 0.0f, 1e30f))                                \
    R(TEXTURE, (transparency2, Transparency2, color))

#define ZN_LIGHT_PORTAL_ROWS(R) R(NUMBER, (float, strength, Strength, 1.0f, "", 0.0f, 1e6f))

#define ZN_LIGHT_ROWS(R)                                                                           \
    R(COLOR, (emissiveComponent, EmissiveComponent, 1.0f, 1.0f, 1.0f))                             \
    R(TEXTURE, (emissiveComponent, EmissiveComponent, color))                                      \
    R(NUMBER, (float, intensity, Intensity, 1.0f, "cd/m2", 0.0f, 1e30f))                           \
    R(COLOR, (diffuse, Diffuse, 0.0f, 0.0f, 0.0f))                                                 \
    R(TEXTURE, (diffuse, Diffuse, color))                                                          \
    R(COLOR, (glossy, Glossy, 0.0f, 0.0f, 0.0f))                                                   \
    R(TEXTURE, (glossy, Glossy, color))

ZN_MATERIAL_BLOCK(znRTShadowBlock, ZN_SHADOW_ROWS)
ZN_MATERIAL_BLOCK(znRTGlowBlock, ZN_GLOW_ROWS)
ZN_MATERIAL_BLOCK(znRTXRayBlock, ZN_XRAY_ROWS)
ZN_MATERIAL_BLOCK(znRTLightPortalBlock, ZN_LIGHT_PORTAL_ROWS)
ZN_MATERIAL_BLOCK(znRTLightBlock, ZN_LIGHT_ROWS)

namespace osg {

class UShadowMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UShadowMaterial, UBRDFMaterial)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_SHADOW_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UShadowMaterial, znRTGlossinessBlock, znRTShadowBlock)
};

class UGlowMaterial : public UberMaterial
{
    ZN_CONTAINER(UGlowMaterial, UberMaterial)
    ZN_GLOW_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UGlowMaterial, znRTGlowBlock)
};

class UXrayMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UXrayMaterial, UBRDFMaterial)
    ZN_XRAY_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UXrayMaterial, znRTXRayBlock)
};

class ULightPortalMaterial : public UberMaterial
{
    ZN_CONTAINER(ULightPortalMaterial, UberMaterial)
    ZN_LIGHT_PORTAL_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(ULightPortalMaterial, znRTLightPortalBlock)
};

/// Layers; the first is hit first.
class ULayeredMaterial : public UberMaterial
{
    ZN_CONTAINER(ULayeredMaterial, UberMaterial)
    ZN_SLOT(std::vector<MaterialPtr>, materials, Materials)
    ZN_MATERIAL_RECORD_OF_BASE(ULayeredMaterial)
};

/// The visible shape of a lamp.
class ULightMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(ULightMaterial, UBRDFMaterial)
    ZN_LIGHT_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(ULightMaterial, znRTLightBlock)
};

} // namespace osg
