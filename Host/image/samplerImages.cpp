// Images as the source of znRTTextureSampler.

#include "host/osg/Image.h"
#include "host/znRTTextureSampler.h"

#include <algorithm>
#include <cstring>

namespace {

struct StoredAs
{
    int pixelType = -1;     ///< -1: no texture can be made of it
    bool swapsBlue = false; ///< blue comes first in the image and has no type of that order
};

/// Column of a data type: byte, word, half, float; -1 for others.
int dataTypeColumn(u32 dataType)
{
    switch (dataType) {
    case osg::Image::UInt8:
        return 0;
    case osg::Image::UInt16:
        return 1;
    case osg::Image::Float16:
        return 2;
    case osg::Image::Float32:
        return 3;
    }
    return -1;
}

StoredAs storageOf(u32 pixelFormat, u32 dataType)
{
    using Sampler = znRTTextureSampler;
    static constexpr int types[4][4] = {
        {Sampler::typeL8, Sampler::typeL16, Sampler::typeLHalf, Sampler::typeLFloat},
        {Sampler::typeLA8, Sampler::typeLA16, Sampler::typeLAHalf, Sampler::typeLAFloat},
        {Sampler::typeRGB8, Sampler::typeRGB16, Sampler::typeRGBHalf, Sampler::typeRGBFloat},
        {Sampler::typeRGBA8, Sampler::typeRGBA16, Sampler::typeRGBAHalf, Sampler::typeRGBAFloat}};
    const int column = dataTypeColumn(dataType);
    if (column < 0)
        return {};
    switch (pixelFormat) {
    case osg::Image::L:
        return {types[0][column], false};
    case osg::Image::LA:
        return {types[1][column], false};
    case osg::Image::RGB:
        return {types[2][column], false};
    case osg::Image::RGBA:
        return {types[3][column], false};
    case osg::Image::BGR:
        return column == 0 ? StoredAs{Sampler::typeBGR8, false} : StoredAs{types[2][column], true};
    case osg::Image::BGRA:
        return column == 0 ? StoredAs{Sampler::typeBGRA8, false} : StoredAs{types[3][column], true};
    }
    return {};
}

/// Exchanges first and third component of each texel.
void swapBlue(u8* texels, std::size_t count, int texelSize, int componentSize)
{
    for (std::size_t i = 0; i < count; ++i, texels += texelSize)
        std::swap_ranges(texels, texels + componentSize, texels + 2 * componentSize);
}

} // namespace

void znRTTextureSampler::setImage(const osg::ImagePtr& newImage, bool flipRows, bool force)
{
    if (newImage == image.get() && flipRows == imageFlipped && !force)
        return;
    if (newImage != image.get())
        image = osg::Ref<osg::Image>(newImage);
    imageFlipped = flipRows;
    prepared = false;
    if (!newImage)
        clear();
}

void znRTTextureSampler::clear()
{
    levelData.clear();
    levelBlocks.clear();
    levelCount = 0;
    width = height = depth = layerCount = 0;
    averageColor = {};
    image = {};
    prepared = false;
}

bool znRTTextureSampler::copyImage()
{
    const osg::Image& source = *image;
    const StoredAs storage = storageOf(source.getPixelFormat(), source.getDataType());
    const u32 sides = std::max(source.getSideCount(), 1u);
    const u32 frames = std::max(source.getFrameCount(), 1u);
    const u32 slices = std::max(source.getDepth(), 1u);
    if (!source.isValid() || storage.pixelType < 0 ||
        !allocate(storage.pixelType, int(source.getWidth()), int(source.getHeight()),
                  int(kind == kind3D && slices > 1 ? slices : frames * sides)))
        return false;

    // Levels that the image brings along are taken as they are: prefiltered lobes are no mipmaps.
    const int levels = slices > 1 ? 1 : int(std::max(source.getMipmapCount(), 1u));
    while (levelCount + 1 < levels &&
           (getLevelWidth(levelCount) > 1 || getLevelHeight(levelCount) > 1)) {
        if (!allocateLevel(levelCount + 1))
            break;
        ++levelCount;
    }
    const int componentSize = texelSize / getChannelCount(pixelType);
    for (int level = 0; level <= levelCount; ++level) {
        const int levelWidth = getLevelWidth(level), levelHeight = getLevelHeight(level);
        const std::size_t rowBytes = std::size_t(levelWidth) * texelSize;
        for (int layer = 0; layer < layerCount; ++layer) {
            const bool isSlice = kind == kind3D && slices > 1;
            const u8* texels =
                isSlice ? source.getData(0) + std::size_t(layer) * rowBytes * levelHeight
                        : source.getData(u32(level), u32(layer) / sides, u32(layer) % sides);
            if (!texels)
                continue;
            for (int y = 0; y < levelHeight; ++y) {
                const int sourceRow = imageFlipped ? levelHeight - 1 - y : y;
                u8* row = getMutableTexel(level, layer, 0, y);
                std::memcpy(row, texels + sourceRow * rowBytes, rowBytes);
                if (storage.swapsBlue)
                    swapBlue(row, std::size_t(levelWidth), texelSize, componentSize);
            }
        }
    }
    return true;
}
