#pragma once

// One image as it stands in a file: stored values, no colour transform applied.
// Rows run from top to bottom, channels are interleaved, nothing is padded.

#include "host/znAligned.h"

#include <map>
#include <string>
#include <vector>

namespace io {

struct ImageData
{
    enum class Type : u8 {
        byte, ///< u8, 255 = 1
        word, ///< u16 in the machine's byte order, 65535 = 1
        half, ///< IEEE half floats as bit patterns
        float32
    };

    u32 width = 0;
    u32 height = 0;
    u32 channels = 0; ///< 1 L, 2 LA, 3 RGB, 4 RGBA
    Type type = Type::byte;
    std::vector<u8> values; ///< width * height * channels * bytes(type)

    /// Exponent of the stored values: 1 = linear light, 2.2 = sRGB curve (also what an image
    /// without any statement has when its values are integers), others as a file states them.
    float gamma = 2.2f;
    bool isPremultiplied = false; ///< colour already multiplied by alpha
    /// Of EXR: pixel (0, 0) stands at this place of the display window.
    int offsetX = 0, offsetY = 0;
    u32 displayWidth = 0, displayHeight = 0; ///< 0: same as width, height
    std::vector<u8> iccProfile;              ///< empty: none; not validated
    /// Texts: "Software", "owner", "comments", ... (PNG text, TIFF tags, EXR string attributes).
    std::map<std::string, std::string> metadata;

    static constexpr u32 bytes(Type type)
    {
        return type == Type::byte ? 1 : type == Type::float32 ? 4 : 2;
    }
    u64 getRowSize() const { return u64(width) * channels * bytes(type); }

    /// One stored value as a number: integers as they are, half widened.
    double getValue(u32 x, u32 y, u32 channel) const;
    /// One value on the scale where 1 is white: integers divided by their largest value.
    float getNormalized(u32 x, u32 y, u32 channel) const;

    /// Makes room for width x height x channels values of a type, all zero.
    void allocate(u32 newWidth, u32 newHeight, u32 newChannels, Type newType);
};

/// The same image with another type of values. Floats are clamped to [0, 1] and rounded on the way
/// to integers (NaN gives 0); no transfer curve is applied.
ImageData converted(const ImageData& image, ImageData::Type type);

} // namespace io
