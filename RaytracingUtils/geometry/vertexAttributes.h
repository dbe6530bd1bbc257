#pragma once

// Vertex attributes as they lie in the arrays of a core: any element type, any stride.

#include "host/osg/GeoProperty.h"
#include "host/znAligned.h"
#include "host/znRTVector.h"

/// Place and format of one attribute; without data it answers zeros.
struct znRTVertexAttribute
{
    const u8* data = nullptr;
    u32 type = 0;      ///< GL element type: 5126 float, 5121 byte, 5123 u16
    u32 dimension = 0; ///< values per vertex
    u32 stride = 0;    ///< bytes from one vertex to the next
    u32 count = 0;     ///< vertices

    znRTVertexAttribute() = default;
    /// @param property  null, or an array that outlives this
    explicit znRTVertexAttribute(const osg::GeoProperty* property);

    /// Values of a vertex; missing components are 0, the fourth 1. Bytes map to [0, 1].
    znRTVector4f getVector4f(u32 vertex) const;
    znRTVector2f getVector2f(u32 vertex) const;
    u64 getSize() const { return u64(count) * dimension * (type == 5126 ? 4 : 1); }
};

/// Identity of a property's contents: equal stamps mean that nothing was exchanged.
struct znRTPropertyStamp
{
    const void* property = nullptr;
    const void* data = nullptr;
    u64 size = 0;
    u64 changes = 0;

    znRTPropertyStamp() = default;
    explicit znRTPropertyStamp(const osg::GeoProperty* property);
    bool operator==(const znRTPropertyStamp&) const = default;
    /// Mixes the stamp into a fingerprint.
    u64 hash(u64 seed) const;
};
