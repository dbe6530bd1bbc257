#pragma once

// Pixels in memory. Row 0 is the bottom row; rows, slices, sides and frames follow each other
// without gaps, level by level for images with mipmaps.

#include "host/osg/AttachmentContainer.h"

namespace osg {

class Image : public AttachmentContainer
{
    ZN_CONTAINER(Image, AttachmentContainer)

    /// Numbers of pixel formats and data types are those of OpenGL.
    enum PixelFormat : u32 {
        RGB = 6407,
        RGBA = 6408,
        L = 6409,
        LA = 6410,
        BGR = 32992,
        BGRA = 32993
    };
    enum DataType : u32 { UInt8 = 5121, UInt16 = 5123, Float32 = 5126, Float16 = 5131 };

    ZN_FIELD(u32, width, Width, 0, "pixel", 0, 65536)
    ZN_FIELD(u32, height, Height, 0, "pixel", 0, 65536)
    ZN_FIELD(u32, depth, Depth, 0, "pixel", 0, 65536)
    ZN_FIELD(u32, frameCount, FrameCount, 1, "", 1, 65536)
    ZN_FIELD(u32, sideCount, SideCount, 1, "", 1, 65536) ///< 6 = cube, n = array
    ZN_FIELD(u32, mipmapCount, MipmapCount, 1, "", 1, 17)
    ZN_FIELD(u32, pixelFormat, PixelFormat, RGBA, "", 0, 65535)
    ZN_FIELD(u32, dataType, DataType, UInt8, "", 0, 65535)
    /// Exponent of the stored values: 1 linear, 2.2 means the sRGB curve, 0 not known.
    ZN_FIELD(float, colorSpaceGamma, ColorSpaceGamma, 0.0f, "", 0.0f, 10.0f)
    ZN_SLOT(std::string, fileName, FileName)
    ZN_CUSTOM_FIELD(std::vector<u8>, pixels, Pixels)

    /// Sets layout and pixels at once, inside one edit.
    /// @param data  rows as described above; null gives zeros
    /// @return false, and nothing changes, for unknown formats, sizes of 0 and images beyond memory
    bool set(u32 pixelFormat, u32 width, u32 height, u32 depth = 1, u32 mipmapCount = 1,
             u32 frameCount = 1, const void* data = nullptr, u32 dataType = UInt8,
             u32 sideCount = 1);
    /// As set, taking over a buffer of exactly the right size.
    bool take(u32 pixelFormat, u32 width, u32 height, std::vector<u8> data, u32 dataType = UInt8);

    const std::vector<u8>& getPixels() const { return pixels; }
    void setPixels(const std::vector<u8>& data);
    /// Writing through the pointer is a change that the caller reports with an edit.
    u8* getData() { return pixels.empty() ? nullptr : pixels.data(); }
    const u8* getData() const { return pixels.empty() ? nullptr : pixels.data(); }
    /// Start of a frame, side and level; null when there is no such part.
    const u8* getData(u32 mipmap, u32 frame = 0, u32 side = 0) const;
    u64 getSize() const { return pixels.size(); } ///< bytes
    /// There are pixels, and as many as the sizes say.
    bool isValid() const;

    static u32 getChannelCount(u32 pixelFormat); ///< 0 for unknown formats
    static u32 getChannelSize(u32 dataType);     ///< bytes; 0 for unknown types
    u32 getChannelCount() const { return getChannelCount(getPixelFormat()); }
    u32 getBytesPerPixel() const;
    /// Bytes of one frame and side from level 0 to before the given level.
    u64 getMipmapOffset(u32 mipmap) const;

    /// One pixel of level 0 as RGBA: missing colours repeat L, missing alpha is 1; integers are
    /// scaled to [0, 1]. Coordinates are clamped.
    Vec4f getPixel(u32 x, u32 y, u32 z = 0) const;

    /// Brings all channels to float, integers scaled to [0, 1].
    /// @return false when there are no pixels
    bool convertToFloat();

private:
    std::vector<u8> pixels;
};

} // namespace osg
