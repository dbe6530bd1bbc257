#pragma once

// Vertex attributes as they lie in the arrays of a core: any element type, any stride.

#include "host/osg/GeoProperty.h"
#include "host/znAligned.h"
#include "host/znRTVector.h"

/// Place and format of one attribute; without data, and beyond the last vertex, it answers zeros.
struct znRTVertexAttribute
{
    const u8* data = nullptr;
    u32 type = 0;       ///< osg::GeoProperty::DataType
    u32 dimension = 0;  ///< numbers per vertex
    u32 stride = 0;     ///< bytes from one vertex to the next
    u32 count = 0;      ///< vertices
    float scale = 1.0f; ///< of integer numbers that stand for [0, 1]

    znRTVertexAttribute() = default;
    /// @param property  null, or an array that outlives this
    explicit znRTVertexAttribute(const osg::GeoProperty* property);

    explicit operator bool() const { return data != nullptr; }
    /// Missing numbers are 0, the fourth 1.
    znRTVector4f getVector4f(u32 vertex) const;
    znRTVector2f getVector2f(u32 vertex) const;

private:
    float number(const u8* tuple, u32 i) const;
};

/// Identity of a property's contents: equal stamps mean that nothing was exchanged.
struct znRTPropertyStamp
{
    u32 id = 0;
    const void* data = nullptr;
    u64 size = 0;

    znRTPropertyStamp() = default;
    explicit znRTPropertyStamp(const osg::GeoProperty* property);
    bool operator==(const znRTPropertyStamp&) const = default;
    /// Mixes the stamp into a fingerprint.
    u64 hash(u64 seed) const;
};
