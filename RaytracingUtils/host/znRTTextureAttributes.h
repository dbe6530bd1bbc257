#pragma once

// How one attribute of a material applies its texture: the coordinates it reads with.

#include "host/znRTVector.h"

#include <array>

/// Base of the mappings that replace a texture's coordinates; told apart by typeId.
class znRTTextureMapping
{
public:
    enum Type { triplanar = 1, tire = 2 };

    explicit znRTTextureMapping(Type type) : typeId(type) {}
    virtual ~znRTTextureMapping() = default;
    virtual void dummy() {}

    Type typeId;
};

/// Projection along the three axes, blended by the normal. Index 0, 1, 2 = along X, Y, Z.
class znRTTriplanarTextureAttributes : public znRTTextureMapping
{
public:
    znRTTriplanarTextureAttributes() : znRTTextureMapping(triplanar) {}
    void dummy() override {}

    std::array<float, 3> sinRot{0.0f, 0.0f, 0.0f};
    std::array<float, 3> cosRot{1.0f, 1.0f, 1.0f};
    /// Repeats per unit of the mapping space (repeat over texture size).
    std::array<float, 3> repeatU{1.0f, 1.0f, 1.0f};
    std::array<float, 3> repeatV{1.0f, 1.0f, 1.0f};
    std::array<float, 3> offsetU{0.0f, 0.0f, 0.0f};
    std::array<float, 3> offsetV{0.0f, 0.0f, 0.0f};
    float blendWidth = 0.15f;          ///< of the transition between two axes, [0, 1]
    std::array<int, 3> space{0, 0, 0}; ///< 0 object, 1 world
};

/// Cylindrical mapping of a tire about its axle; lengths in scene units of the object.
class znRTTireTextureAttributes : public znRTTextureMapping
{
public:
    znRTTireTextureAttributes() : znRTTextureMapping(tire) {}
    void dummy() override {}

    znRTVector3f centre;
    znRTVector3f axis{0.0f, 1.0f, 0.0f}; ///< of rotation, unit
    float innerRadius = 0.2f;            ///< of the side wall
    float outerRadius = 0.3f;            ///< of the tread
    float width = 0.2f;                  ///< of the tread, along the axis
};

class znRTTextureAttributes
{
public:
    enum MappingType {
        mappingUV = 0,
        mappingProjection = 1, ///< planar or cylindrical, through the sampler's projection
        mappingTriplanar = 2
    };

    int mappingType = mappingUV;
    int uvSet = 0; ///< of the mesh, 0..7
    /// Breaks up visible repeats by random tiles, where the image repeats along both axes. Heights
    /// that displace a surface repeat all the same.
    bool useInfiniteTiling = false;
    znRTVector2f repeat{1.0f, 1.0f};
    bool hasTextureProjection = false; ///< mappingType is not mappingUV
    bool useOwnUV = false;    ///< reads with its own coordinates, not with those of its material
    int projectionSpace = 0;  ///< 0 object, 1 world
    bool cylindrical = false; ///< of a projection; false = planar

    znRTTextureMapping* mapping = nullptr; ///< not owned; null = none
    bool hasMapping = false;
    bool hasTexture = false;

    void setMappingType(int type)
    {
        mappingType = type;
        hasTextureProjection = type != mappingUV;
    }
};
