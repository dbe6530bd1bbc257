#pragma once

// Chrome and brushed metal.

#include "host/osg/materials/UBRDFMaterial.h"

#define ZN_CHROME_ROWS(R)                                                                          \
    R(COLOR, (reflection, Reflection, 1.0f, 1.0f, 1.0f))                                           \
    R(TEXTURE, (reflection, Reflection, color))

#define ZN_LINE_CHROME_ROWS(R)                                                                     \
    R(COLOR, (reflection, Reflection, 1.0f, 1.0f, 1.0f))                                           \
    R(TEXTURE, (reflection, Reflection, color))                                                    \
    R(NUMBER, (osg::Vec3f, lineDirection, LineDirection, (osg::Vec3f(1, 0, 0)), "", -1.0f, 1.0f))

#define ZN_BRUSHED_METAL_ROWS(R)                                                                   \
    R(COLOR, (diffuse, Diffuse, 0.0f, 0.0f, 0.0f))                                                 \
    R(TEXTURE, (diffuse, Diffuse, color))                                                          \
    R(COLOR, (glossy, Glossy, 1.0f, 1.0f, 1.0f))                                                   \
    R(TEXTURE, (glossy, Glossy, color))                                                            \
    R(CHOICE, (model, Model, 1, "anisotropic", "ggx"))                                             \
    R(CHOICE, (brushMode, BrushMode, 1, "space", "planar", "radial"))                              \
    R(NUMBER, (osg::Vec3f, brushOrigin, BrushOrigin, (osg::Vec3f(0, 0, 0)), "u", -1e9f, 1e9f))     \
    R(NUMBER, (osg::Vec3f, brushAxis, BrushAxis, (osg::Vec3f(0, 0, 1)), "", -1.0f, 1.0f))          \
    R(NUMBER, (float, brushScale, BrushScale, 1.0f, "1/u", 1e-9f, 1e9f))                           \
    R(TEXTURE, (structure, Structure, data))                                                       \
    R(NUMBER, (float, structureAmount, StructureAmount, 0.1f, "", 0.0f, 10.0f))

ZN_MATERIAL_BLOCK(znRTChromeBlock, ZN_CHROME_ROWS)
ZN_MATERIAL_BLOCK(znRTLineChromeBlock, ZN_LINE_CHROME_ROWS)
ZN_MATERIAL_BLOCK(znRTBrushedMetalBlock, ZN_BRUSHED_METAL_ROWS)

namespace osg {

class UChromeMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UChromeMaterial, UBRDFMaterial)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_CHROME_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD_PRESET(UChromeMaterial, znRTFresnelBlock, znRTGlossinessBlock,
                              znRTChromeBlock)
};

class ULineChromeMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(ULineChromeMaterial, UBRDFMaterial)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_LINE_CHROME_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD_PRESET(ULineChromeMaterial, znRTFresnelBlock, znRTLineChromeBlock)
};

class UBrushedMetalMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UBrushedMetalMaterial, UBRDFMaterial)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_COAT_ROWS(ZN_ROW_FIELD)
    ZN_BRUSHED_METAL_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD_PRESET(UBrushedMetalMaterial, znRTFresnelBlock, znRTGlossinessBlock,
                              znRTCoatBlock, znRTBrushedMetalBlock)
};

} // namespace osg
