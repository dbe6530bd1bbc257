#pragma once

// Phong, plastic and triplanar plastic.

#include "host/osg/materials/UBRDFMaterial.h"

#define ZN_PHONG_ROWS(R)                                                                           \
    R(COLOR, (diffuse, Diffuse, 0.8f, 0.8f, 0.8f))                                                 \
    R(TEXTURE, (diffuse, Diffuse, color))                                                          \
    R(COLOR, (glossy, Glossy, 0.04f, 0.04f, 0.04f))                                                \
    R(TEXTURE, (glossy, Glossy, color))

#define ZN_PLASTIC_ROWS(R)                                                                         \
    R(COLOR, (diffuse, Diffuse, 0.5f, 0.5f, 0.5f))                                                 \
    R(TEXTURE, (diffuse, Diffuse, color))                                                          \
    R(COLOR, (glossy, Glossy, 1.0f, 1.0f, 1.0f))                                                   \
    R(TEXTURE, (glossy, Glossy, color))

ZN_MATERIAL_BLOCK(znRTPhongBlock, ZN_PHONG_ROWS)
ZN_MATERIAL_BLOCK(znRTPlasticBlock, ZN_PLASTIC_ROWS)

/// The mapping that all textures of a triplanar material share.
struct znRTTriplanarBlock
{
    const znRTTriplanarTextureAttributes* triplanar = nullptr;

    template <class M>
    void assignFrom(const M&, znRTMaterialSlots& slots)
    {
        triplanar = &slots.getTriplanar();
        slots.layAlongAxes();
    }
};

namespace osg {

class UPhongMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UPhongMaterial, UBRDFMaterial)
    ZN_TRANSLUCENCY_ROWS(ZN_ROW_FIELD)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_PHONG_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UPhongMaterial, znRTTranslucencyBlock, znRTGlossinessBlock, znRTPhongBlock)
};

class UPlasticMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UPlasticMaterial, UBRDFMaterial)
    ZN_TRANSLUCENCY_ROWS(ZN_ROW_FIELD)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_STRUCTURE_ROWS(ZN_ROW_FIELD)
    ZN_PLASTIC_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UPlasticMaterial, znRTTranslucencyBlock, znRTFresnelBlock,
                       znRTGlossinessBlock, znRTStructureBlock, znRTPlasticBlock)
};

/// With a mirror coat. Not a kind of UPlasticMaterial: the two shade by different classes.
class UReflectivePlasticMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UReflectivePlasticMaterial, UBRDFMaterial)
    ZN_TRANSLUCENCY_ROWS(ZN_ROW_FIELD)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_COAT_ROWS(ZN_ROW_FIELD)
    ZN_STRUCTURE_ROWS(ZN_ROW_FIELD)
    ZN_PLASTIC_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UReflectivePlasticMaterial, znRTTranslucencyBlock, znRTFresnelBlock,
                       znRTGlossinessBlock, znRTCoatBlock, znRTStructureBlock, znRTPlasticBlock)
};

class UTriplanarMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UTriplanarMaterial, UBRDFMaterial)
    ZN_TRANSLUCENCY_ROWS(ZN_ROW_FIELD)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_STRUCTURE_ROWS(ZN_ROW_FIELD)
    ZN_PLASTIC_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UTriplanarMaterial, znRTTranslucencyBlock, znRTFresnelBlock,
                       znRTGlossinessBlock, znRTStructureBlock, znRTPlasticBlock,
                       znRTTriplanarBlock)
};

class UReflectiveTriplanarMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UReflectiveTriplanarMaterial, UBRDFMaterial)
    ZN_TRANSLUCENCY_ROWS(ZN_ROW_FIELD)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_COAT_ROWS(ZN_ROW_FIELD)
    ZN_STRUCTURE_ROWS(ZN_ROW_FIELD)
    ZN_PLASTIC_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UReflectiveTriplanarMaterial, znRTTranslucencyBlock, znRTFresnelBlock,
                       znRTGlossinessBlock, znRTCoatBlock, znRTStructureBlock, znRTPlasticBlock,
                       znRTTriplanarBlock)
};

} // namespace osg
