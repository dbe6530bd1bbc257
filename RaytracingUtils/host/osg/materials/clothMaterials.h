#pragma once

// Velvet and woven cloth.

#include "host/osg/materials/UBRDFMaterial.h"

#define ZN_VELVET_ROWS(R)                                                                          \
    R(COLOR, (diffuse, Diffuse, 0.4f, 0.4f, 0.4f))                                                 \
    R(TEXTURE, (diffuse, Diffuse, color))                                                          \
    R(COLOR, (sheen, Sheen, 0.3f, 0.3f, 0.3f))                                                     \
    R(TEXTURE, (sheen, Sheen, color))                                                              \
    /* Exponent of the darkening towards the rim. */                                               \
    R(NUMBER, (float, darkening, Darkening, 1.0f, "", 0.0f, 4.0f))                                 \
    R(NUMBER, (float, edgeFalloff, EdgeFalloff, 4.0f, "", 0.1f, 40.0f))

/// P. Irawan, S. Marschner, "Specular Reflection from Woven Cloth", ACM TOG 31(1), 2012.
#define ZN_WOVEN_CLOTH_ROWS(R)                                                                     \
    R(CHOICE, (weaveType, WeaveType, 0, "cottonDenim", "satin", "silk", "twill"))                  \
    R(COLOR, (warpColor, WarpColor, 0.4f, 0.4f, 0.4f))                                             \
    R(TEXTURE, (warpColor, WarpColor, color))                                                      \
    R(COLOR, (weftColor, WeftColor, 0.4f, 0.4f, 0.4f))                                             \
    R(TEXTURE, (weftColor, WeftColor, color))                                                      \
    R(ANGLE, (umax, Umax, 23.0f, 0.0f, 90.0f))                                                     \
    R(ANGLE, (psi, Psi, 0.0f, -90.0f, 90.0f))                                                      \
    R(ANGLE, (delta, Delta, 15.0f, 0.0f, 90.0f))                                                   \
    R(NUMBER, (float, scaleX, ScaleX, 100.0f, "", 1e-6f, 1e6f))                                    \
    R(NUMBER, (float, scaleY, ScaleY, 100.0f, "", 1e-6f, 1e6f))                                    \
    R(NUMBER, (float, sigma, Sigma, 2.0f, "", 0.0f, 100.0f))                                       \
    R(NUMBER, (float, alpha, Alpha, 0.05f, "", 0.0f, 1.0f))                                        \
    R(NUMBER, (float, beta, Beta, 2.0f, "", 1e-3f, 100.0f))                                        \
    R(NUMBER, (float, intensity, Intensity, 1.0f, "", 0.0f, 1e6f))                                 \
    R(NUMBER, (float, yarnSize, YarnSize, 0.01f, "", 1e-6f, 1e6f))                                 \
    R(NUMBER, (int, period, Period, 4, "", 1, 1024))                                               \
    R(NUMBER, (float, yarnVariation, YarnVariation, 0.1f, "", 0.0f, 10.0f))                        \
    R(NUMBER, (float, yarnNoiseScale, YarnNoiseScale, 1.0f, "", 1e-6f, 1e6f))                      \
    R(NUMBER, (float, diffuseWeight, DiffuseWeight, 0.7f, "", 0.0f, 1.0f))

ZN_MATERIAL_BLOCK(znRTVelvetBlock, ZN_VELVET_ROWS)
ZN_MATERIAL_BLOCK(znRTWovenClothBlock, ZN_WOVEN_CLOTH_ROWS)

namespace osg {

class UVelvetMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UVelvetMaterial, UBRDFMaterial)
    ZN_TRANSLUCENCY_ROWS(ZN_ROW_FIELD)
    ZN_VELVET_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UVelvetMaterial, znRTTranslucencyBlock, znRTVelvetBlock)
};

class UWovenClothMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UWovenClothMaterial, UBRDFMaterial)
    ZN_TRANSLUCENCY_ROWS(ZN_ROW_FIELD)
    ZN_WOVEN_CLOTH_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UWovenClothMaterial, znRTTranslucencyBlock, znRTWovenClothBlock)
};

} // namespace osg
