#pragma once

// Whether the pixels of an image are those that something was made from.

#include "host/osg/Image.h"

#include <string_view>

/// Fingerprint of size, format and pixels; 0 for null. Equal images have equal ones.
inline u64 imageStamp(const osg::ImagePtr& image)
{
    if (!image)
        return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(image->getData()), image->getSize());
    u64 stamp = std::hash<std::string_view>{}(bytes);
    for (const u64 value : {u64(image->getId()), u64(image->getWidth()), u64(image->getHeight()),
                            u64(image->getPixelFormat()), u64(image->getDataType())})
        stamp = (stamp ^ value) * 0x100000001b3ull;
    return stamp | 1;
}
