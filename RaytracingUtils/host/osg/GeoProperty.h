#pragma once

// One attribute of a geometry: an array of numbers, or of tuples of up to four numbers.

#include "host/osg/AttachmentContainer.h"

#include <span>

namespace osg {

class GeoProperty : public AttachmentContainer
{
    ZN_CONTAINER(GeoProperty, AttachmentContainer)

    /// Types of single numbers, by OpenGL's constants.
    enum DataType : u32 { UInt8 = 5121, UInt16 = 5123, UInt32 = 5125, Float32 = 5126 };

    ZN_FIELD(u32, dataType, DataType, Float32, "", 5121, 5126)
    ZN_FIELD(u32, dimension, Dimension, 3, "", 1, 4)
    /// Integer data stand for [0, 1]; else for their own value.
    ZN_FLAG(normalized, Normalized, false)
    ZN_CUSTOM_FIELD(std::vector<u8>, bytes, Bytes)

    static FCPtr<GeoProperty> create(std::span<const Vec2f> values);
    static FCPtr<GeoProperty> create(std::span<const Vec3f> values);
    static FCPtr<GeoProperty> create(std::span<const Pnt3f> values);
    static FCPtr<GeoProperty> create(std::span<const Vec4f> values);
    static FCPtr<GeoProperty> create(std::span<const u32> values);
    static FCPtr<GeoProperty> create(std::span<const u16> values);
    static FCPtr<GeoProperty> create(std::initializer_list<Vec3f> values);
    static FCPtr<GeoProperty> create(std::initializer_list<u32> values);

    /// Number of tuples.
    u32 size() const;
    u32 getSize() const { return size(); }
    bool empty() const { return size() == 0; }
    u32 getStride() const;                  ///< bytes from one tuple to the next
    static u32 getNumberSize(u32 dataType); ///< bytes; 0 for unknown types

    /// Valid while the property lives and until its next edit; null when empty. At least 16 bytes
    /// after the last tuple may be read, so that the last can be loaded as a whole register.
    const void* getData() const { return empty() ? nullptr : bytes.data(); }
    /// For writing in place; the caller reports it with an edit of BytesFieldMask.
    void* editData() { return bytes.data(); }
    template <class T>
    const T* getDataAs() const
    {
        return static_cast<const T*>(getData());
    }

    /// First number of a tuple as an index; 0 beyond the end.
    u32 getValue(u32 index) const;
    /// A tuple as floats; missing numbers are 0, the fourth 1. Zeros beyond the end.
    Vec4f getVector(u32 index) const;
    Vec3f getVec3(u32 index) const;

    /// Sets type, dimension and contents in one edit.
    void set(u32 dataType, u32 dimension, const void* data, u64 count, bool normalized = false);

    const std::vector<u8>& getBytes() const { return bytes; }
    void setBytes(const std::vector<u8>& data);

private:
    std::vector<u8> bytes;
};

using GeoPropertyPtr = FCPtr<AttachmentContainerPtr, GeoProperty>;

} // namespace osg
