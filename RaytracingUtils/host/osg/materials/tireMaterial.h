#pragma once

// Tire: textures wrapped around the axle, with different bumps on side wall and tread.

#include "host/osg/materials/UBRDFMaterial.h"

#define ZN_TIRE_ROWS(R)                                                                            \
    R(NUMBER, (float, version, Version, 1.1f, "", 0.0f, 100.0f))                                   \
    R(COLOR, (diffuse, Diffuse, 0.03f, 0.03f, 0.03f))                                              \
    R(TEXTURE, (diffuse, Diffuse, color))                                                          \
    R(COLOR, (glossy, Glossy, 0.04f, 0.04f, 0.04f))                                                \
    R(TEXTURE, (glossy, Glossy, color))                                                            \
    R(TEXTURE, (bumpSide, BumpSide, data))                                                         \
    R(TEXTURE, (bumpTread, BumpTread, data))                                                       \
    R(NUMBER, (osg::Vec3f, centre, Centre, (osg::Vec3f(0, 0, 0)), "u", -1e9f, 1e9f))               \
    R(NUMBER, (osg::Vec3f, axis, Axis, (osg::Vec3f(0, 1, 0)), "", -1.0f, 1.0f))                    \
    R(NUMBER, (float, innerRadius, InnerRadius, 0.2f, "u", 0.0f, 1e9f))                            \
    R(NUMBER, (float, outerRadius, OuterRadius, 0.3f, "u", 0.0f, 1e9f))                            \
    R(NUMBER, (float, width, Width, 0.2f, "u", 0.0f, 1e9f))                                        \
    /* Radius from which the tread's structure takes over; 0: the outer radius. */                 \
    R(NUMBER, (float, structureSelect, StructureSelect, 0.0f, "u", 0.0f, 1e9f))

ZN_MATERIAL_BLOCK(znRTTireRows, ZN_TIRE_ROWS)

struct znRTTireBlock : znRTTireRows
{
    znRTTireTextureAttributes mapping; ///< of all textures

    template <class M>
    void assignFrom(const M& material, znRTMaterialSlots& slots)
    {
        slots.setOwnMapping(&mapping);
        znRTTireRows::assignFrom(material, slots);
        slots.setOwnMapping(nullptr);
        slots.replaceMapping("displacement", &mapping);
        const znRTVector3f direction = axis;
        const bool hasAxis = direction.getSquareLength() > 1e-20f;
        mapping.centre = centre;
        mapping.axis = hasAxis ? direction.getNormalized() : znRTVector3f(0.0f, 1.0f, 0.0f);
        mapping.innerRadius = innerRadius;
        mapping.outerRadius = outerRadius;
        mapping.width = width;
    }
};

namespace osg {

class UTireMaterial : public UBRDFMaterial
{
    ZN_CONTAINER(UTireMaterial, UBRDFMaterial)
    ZN_FRESNEL_ROWS(ZN_ROW_FIELD)
    ZN_GLOSSINESS_ROWS(ZN_ROW_FIELD)
    ZN_TIRE_ROWS(ZN_ROW_FIELD)
    ZN_MATERIAL_RECORD(UTireMaterial, znRTTireBlock, znRTFresnelBlock, znRTGlossinessBlock)
};

} // namespace osg
