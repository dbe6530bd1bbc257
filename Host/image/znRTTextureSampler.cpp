#include "host/znRTTextureSampler.h"

#include "host/znLog.h"
#include "image/texelFormat.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace {

/// Packet code may read a texel of three bytes by one load of four.
constexpr u64 readMargin = 16;
constexpr int largestExtent = 1 << 20;

/// Index of a coordinate under a wrap mode; -1 off the image under decal.
int wrapIndex(int mode, float coordinate, int size)
{
    if (std::isnan(coordinate))
        coordinate = 0.0f;
    const float tile = std::floor(coordinate);
    switch (mode) {
    case znRTTextureSampler::repeat:
        coordinate -= tile;
        break;
    case znRTTextureSampler::mirroredRepeat:
        coordinate -= tile;
        if (std::fmod(tile, 2.0f) != 0.0f)
            coordinate = 1.0f - coordinate;
        break;
    case znRTTextureSampler::decal:
        if (!(coordinate >= 0.0f && coordinate <= 1.0f))
            return -1;
        break;
    default:
        coordinate = std::clamp(coordinate, 0.0f, 1.0f);
    }
    // An infinite coordinate is NaN by now.
    return std::isnan(coordinate) ? 0 : std::clamp(int(coordinate * float(size)), 0, size - 1);
}

} // namespace

znRTTextureSampler::znRTTextureSampler(Kind newKind) : kind(newKind)
{
    setGamma(1.0f, false, true);
    // Beyond its edge a face has its neighbour, and never its own other end.
    if (kind == kindCube)
        setWrap(clamp, clamp);
}

znRTTextureSampler::~znRTTextureSampler()
{
    clear();
}

int znRTTextureSampler::getTexelSize(int pixelType)
{
    return TexelFormat::of(pixelType).getTexelSize();
}

int znRTTextureSampler::getChannelCount(int pixelType)
{
    return TexelFormat::of(pixelType).channels;
}

bool znRTTextureSampler::allocate(int newPixelType, int newWidth, int newHeight, int newLayers)
{
    levelData.clear();
    levelBlocks.clear();
    levelCount = 0;
    width = height = depth = layerCount = 0;
    const int size = getTexelSize(newPixelType);
    if (size == 0) {
        znLog::warning(("Texture: pixel type " + std::to_string(newPixelType) +
                        " is not supported; it reads as 0")
                           .c_str());
        return false;
    }
    if (newWidth <= 0 || newHeight <= 0 || newLayers <= 0 || newWidth > largestExtent ||
        newHeight > largestExtent || newLayers > largestExtent)
        return false;
    pixelType = newPixelType;
    texelSize = size;
    width = newWidth;
    height = newHeight;
    layerCount = newLayers;
    depth = kind == kind3D ? newLayers : 1;
    if (!allocateLevel(0)) {
        width = height = depth = layerCount = 0;
        return false;
    }
    return true;
}

bool znRTTextureSampler::allocateLevel(int level)
{
    const u64 layerBytes = u64(getLevelWidth(level)) * u64(getLevelHeight(level)) * u64(texelSize);
    auto* block = static_cast<u8*>(zn_aligned_malloc(layerBytes * layerCount + readMargin, 16));
    if (!block) {
        znLog::error("Texture: out of memory");
        return false;
    }
    std::memset(block, 0, layerBytes * layerCount + readMargin);
    levelBlocks.emplace_back(block, &zn_aligned_free);
    for (int layer = 0; layer < layerCount; ++layer)
        levelData.push_back(block + layer * layerBytes);
    return true;
}

u8* znRTTextureSampler::getMutableTexel(int level, int layer, int x, int y)
{
    const u64 layerBytes = u64(getLevelWidth(level)) * u64(getLevelHeight(level)) * u64(texelSize);
    return levelBlocks[level].get() + layer * layerBytes +
           (u64(y) * getLevelWidth(level) + x) * texelSize;
}

void znRTTextureSampler::setTexel(int level, int layer, int x, int y, const znRTVector4f& value)
{
    TexelFormat::of(pixelType).write(getMutableTexel(level, layer, x, y), value, lut8, lut16);
}

znRTVector4f znRTTextureSampler::getTexel(int level, int layer, int x, int y) const
{
    if (!isValid())
        return {};
    return TexelFormat::of(pixelType).read(getLayerDataFast(level, layer, x, y), lut8, lut16);
}

znRTVector4f znRTTextureSampler::getNearest(float s, float t, int layer) const
{
    if (!isValid())
        return {1.0f, 1.0f, 1.0f, 1.0f};
    if (hasTransform) {
        const float ds = s - (0.5f + offsetU), dt = t - (offsetV + 0.5f);
        s = repeatU * (cosRotation * ds - sinRotation * dt) + 0.5f;
        t = repeatV * (cosRotation * dt + sinRotation * ds) + 0.5f;
    }
    const int x = wrapIndex(wrapMode & 3, s, width);
    const int y = wrapIndex(wrapMode >> 2 & 3, t, height);
    return x < 0 || y < 0 ? borderColor : getTexel(0, layer, x, y);
}

void znRTTextureSampler::setTransform(float newRepeatU, float newRepeatV, float newOffsetU,
                                      float newOffsetV, float rotationDegrees)
{
    const float angle = rotationDegrees * std::numbers::pi_v<float> / 180.0f;
    repeatU = newRepeatU;
    repeatV = newRepeatV;
    offsetU = newOffsetU;
    offsetV = newOffsetV;
    sinRotation = rotationDegrees == 0.0f ? 0.0f : std::sin(angle);
    cosRotation = rotationDegrees == 0.0f ? 1.0f : std::cos(angle);
    hasTransform = repeatU != 1.0f || repeatV != 1.0f || offsetU != 0.0f || offsetV != 0.0f ||
                   rotationDegrees != 0.0f;
}

void znRTTextureSampler::setGamma(float gamma, bool forceLut, bool keepAlpha)
{
    gammaTables = znRTGammaTables::get(gamma);
    lut8 = gammaTables->lut8.data();
    lut16 = gammaTables->lut16.data();
    const bool isSame = gammaTables->gamma == gammaValue && forceLut == gammaOnFloats &&
                        keepAlpha == gammaKeepsAlpha;
    gammaValue = gammaTables->gamma;
    gammaOnFloats = forceLut;
    gammaKeepsAlpha = keepAlpha;
    if (isSame || !isValid())
        return;
    // Float texels may hold the curve themselves: copy them anew from the image.
    if (image && !TexelFormat::of(pixelType).isInteger())
        prepared = false;
    else
        updateAverage();
}

void znRTTextureSampler::applyGammaToFloats()
{
    const TexelFormat format = TexelFormat::of(pixelType);
    if (!gammaOnFloats || gammaValue == 1.0f || format.isInteger())
        return;
    for (int layer = 0; layer < layerCount; ++layer)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                znRTVector4f c = getTexel(0, layer, x, y);
                c.x = znRTGammaTables::decode(c.x, gammaValue);
                c.y = znRTGammaTables::decode(c.y, gammaValue);
                c.z = znRTGammaTables::decode(c.z, gammaValue);
                if (!gammaKeepsAlpha)
                    c.w = znRTGammaTables::decode(c.w, gammaValue);
                setTexel(0, layer, x, y, c);
            }
}

bool znRTTextureSampler::setTexels(int newPixelType, int newWidth, int newHeight, int layers,
                                   const void* texels)
{
    clear();
    if (!texels || !allocate(newPixelType, newWidth, newHeight, layers))
        return false;
    std::memcpy(getMutableTexel(0, 0, 0, 0), texels,
                u64(width) * u64(height) * u64(layerCount) * u64(texelSize));
    applyGammaToFloats();
    updateAverage();
    prepared = true;
    return true;
}

bool znRTTextureSampler::prepareData()
{
    if (prepared)
        return isValid();
    if (image && copyImage()) {
        applyGammaToFloats();
        updateAverage();
    }
    prepared = true;
    return isValid();
}
