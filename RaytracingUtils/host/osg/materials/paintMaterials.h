#pragma once

// Paints and carbon fibre.

#include "host/osg/materials/UBRDFMaterial.h"
#include "host/osg/materials/lobeMaterials.h"

#define ZN_METALLIC_PAINT_ROWS(R)                                                                  \
    R(COLOR, (base, Base, 0.1f, 0.1f, 0.12f))                                                      \
    R(TEXTURE, (base, Base, color))                                                                \
    R(COLOR, (flake, Flake, 0.8f, 0.8f, 0.8f))                                                     \
    R(TEXTURE, (flake, Flake, color))                                                              \
    R(LENGTH, (flakeSize, FlakeSize, 0.2f, "mm", 1e-6f, 1e6f))                                     \
    R(NUMBER, (float, flakeDensity, FlakeDensity, 0.5f, "", 0.0f, 1.0f))                           \
    R(NUMBER, (float, flakeReflectance, FlakeReflectance, 0.8f, "", 0.0f, 1.0f))                   \
    R(NUMBER, (float, flakePerturbation, FlakePerturbation, 0.2f, "", 0.0f, 1.0f))                 \
    R(NUMBER, (float, flakeRoughness, FlakeRoughness, 0.2f, "", 0.0f, 1.0f))                       \
    /* Second layer of flakes; density 0 leaves it out. */                                         \
    R(COLOR, (flake2, Flake2, 0.8f, 0.8f, 0.8f))                                                   \
    R(LENGTH, (flake2Size, Flake2Size, 0.4f, "mm", 1e-6f, 1e6f))                                   \
    R(NUMBER, (float, flake2Density, Flake2Density, 0.0f, "", 0.0f, 1.0f))                         \
    R(NUMBER, (float, flake2Reflectance, Flake2Reflectance, 0.8f, "", 0.0f, 1.0f))                 \
    R(NUMBER, (float, flake2Perturbation, Flake2Perturbation, 0.2f, "", 0.0f, 1.0f))               \
    R(NUMBER, (float, flake2Roughness, Flake2Roughness, 0.2f, "", 0.0f, 1.0f))

#define ZN_UNICOLOR_PAINT_ROWS(R)                                                                  \
    R(COLOR, (base, Base, 0.5f, 0.02f, 0.02f))                                                     \
    R(TEXTURE, (base, Base, color))

#define ZN_FLIPFLOP_ROWS(R)                                                                        \
    R(COLOR, (paintA, PaintA, 0.1f, 0.3f, 0.2f))                                                   \
    R(TEXTURE, (paintA, PaintA, color))                                                            \
    R(COLOR, (paintB, PaintB, 0.3f, 0.1f, 0.4f))                                                   \
    R(TEXTURE, (paintB, PaintB, color))                                                            \
    R(NUMBER, (float, flipflopExponent, FlipflopExponent, 2.0f, "", 0.1f, 20.0f))

#define ZN_CARBON_ROWS(R)                                                                          \
    R(CHOICE, (weaveType, WeaveType, 0, "twill2x2", "regular3x1", "staircase3x1", "satin5x1"))     \
    R(LENGTH, (weaveSize, WeaveSize, 5.0f, "mm", 1e-6f, 1e6f))                                     \
    R(COLOR, (base, Base, 0.02f, 0.02f, 0.02f))                                                    \
    R(TEXTURE, (base, Base, color))                                                                \
    R(COLOR, (glossy, Glossy, 0.3f, 0.3f, 0.3f))                                                   \
    R(TEXTURE, (glossy, Glossy, color))                                                            \
    R(NUMBER, (float, strandHeight, StrandHeight, 0.1f, "", 0.0f, 10.0f))

#define ZN_CARBON_2D_ROWS(R)                                                                       \
    R(NUMBER, (int, uvSet, UvSet, 0, "", 0, 7))                                                    \
    R(NUMBER, (osg::Vec2f, repeat, Repeat, (osg::Vec2f(1, 1)), "", -1e6f, 1e6f))

ZN_MATERIAL_BLOCK(znRTMetallicPaintRows, ZN_METALLIC_PAINT_ROWS)
ZN_MATERIAL_BLOCK(znRTUnicolorPaintBlock, ZN_UNICOLOR_PAINT_ROWS)
ZN_MATERIAL_BLOCK(znRTFlipflopBlock, ZN_FLIPFLOP_ROWS)
ZN_MATERIAL_BLOCK(znRTCarbonBlock, ZN_CARBON_ROWS)
ZN_MATERIAL_BLOCK(znRTCarbon2DBlock, ZN_CARBON_2D_ROWS)

struct znRTMetallicPaintBlock : znRTMetallicPaintRows
{
    float diffuseShare = 1.0f; ///< written by the core
};

namespace osg {

class UMetallicPaintMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UMetallicPaintMaterial, UBRDFMaterial)
    ZN_COAT_ROWS(ZN_ROW_FIELD)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_METALLIC_PAINT_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UMetallicPaintMaterial, znRTCoatBlock, znRTFresnelBlock, znRTGlossinessBlock,
                       znRTMetallicPaintBlock)
};

class UUnicolorPaintMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UUnicolorPaintMaterial, UBRDFMaterial)
    ZN_COAT_ROWS(ZN_ROW_FIELD)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_UNICOLOR_PAINT_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UUnicolorPaintMaterial, znRTCoatBlock, znRTFresnelBlock,
                       znRTUnicolorPaintBlock)
};

/// Two colours, by the angle of view.
class UFlipflopMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UFlipflopMaterial, UBRDFMaterial)
    ZN_COAT_ROWS(ZN_ROW_FIELD)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_FLIPFLOP_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UFlipflopMaterial, znRTCoatBlock, znRTFresnelBlock, znRTGlossinessBlock,
                       znRTFlipflopBlock)
};

/// Weave in space, mapped along the axes.
class UCarbonMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UCarbonMaterial, UBRDFMaterial)
    ZN_COAT_ROWS(ZN_ROW_FIELD)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_CARBON_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UCarbonMaterial, znRTCoatBlock, znRTFresnelBlock, znRTGlossinessBlock,
                       znRTCarbonBlock, znRTTriplanarBlock)
};

/// Weave in texture coordinates.
class UCarbonMaterial2D : public UBRDFMaterial
{
    ZN_CONTAINER(UCarbonMaterial2D, UBRDFMaterial)
    ZN_COAT_ROWS(ZN_ROW_FIELD)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_CARBON_ROWS(ZN_ROW_FIELD)
    ZN_CARBON_2D_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UCarbonMaterial2D, znRTCoatBlock, znRTFresnelBlock, znRTGlossinessBlock,
                       znRTCarbonBlock, znRTCarbon2DBlock)
};

} // namespace osg
