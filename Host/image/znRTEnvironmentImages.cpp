#include "host/znRTEnvironmentImages.h"

#include "host/osg/Image.h"
#include "image/cubeSides.h"

#include <tbb/parallel_for.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr float pi = std::numbers::pi_v<float>;

znRTVector4f mix(const znRTVector4f& a, const znRTVector4f& b, float t)
{
    return a * (1.0f - t) + b * t;
}

/// Bilinear read of a rectangle of texels; its edge is held beyond it.
/// @param x, y  from the rectangle's lower left corner, in texels
znRTVector4f readRectangle(const znRTSampler2D& source, int layer, int left, int bottom, int width,
                           int height, float x, float y)
{
    x = std::clamp(x - 0.5f, 0.0f, float(width - 1));
    y = std::clamp(y - 0.5f, 0.0f, float(height - 1));
    const int x0 = int(x), y0 = int(y);
    const int x1 = std::min(x0 + 1, width - 1), y1 = std::min(y0 + 1, height - 1);
    const auto at = [&](int i, int j) { return source.getTexel(0, layer, left + i, bottom + j); };
    return mix(mix(at(x0, y0), at(x1, y0), x - float(x0)),
               mix(at(x0, y1), at(x1, y1), x - float(x0)), y - float(y0));
}

znRTVector4f readCube(const znRTSampler2D& source, const znRTVector3f& direction)
{
    const CubePlace place = findCubePlace(direction);
    return readRectangle(source, place.side, 0, 0, source.width, source.height,
                         place.s * float(source.width), place.t * float(source.height));
}

znRTVector4f readCross(const znRTSampler2D& source, const znRTVector3f& direction)
{
    const bool isTall = source.height > source.width;
    const int size = source.width / (isTall ? 3 : 4), rows = isTall ? 4 : 3;
    const CrossPlace place = findCrossPlace(direction, isTall);
    // Rows of the sampler count from below. Reads stay on their side: what lies beside it on the
    // sheet is another part of the world.
    const int column = std::clamp(int(place.column), 0, (isTall ? 3 : 4) - 1);
    const int row = std::clamp(int(place.row), 0, rows - 1);
    const float x = (place.column - float(column)) * float(size);
    const float y = (1.0f - (place.row - float(row))) * float(size);
    return readRectangle(source, 0, column * size, (rows - 1 - row) * size, size, size, x, y);
}

bool fits(const znRTSampler2D& source, int layout)
{
    const int w = source.width, h = source.height;
    switch (layout) {
    case znRTEnvironmentImages::latitudeLongitude:
        return true;
    case znRTEnvironmentImages::cube:
        return source.layerCount == 6 && w == h;
    case znRTEnvironmentImages::cross:
        return w * 3 == h * 4 ? w % 4 == 0 : w * 4 == h * 3 && w % 3 == 0;
    }
    return false;
}

} // namespace

znRTVector3f znRTEnvironmentImages::toDirection(float u, float v)
{
    const float theta = v * pi, phi = u * 2.0f * pi;
    return {std::sin(theta) * std::sin(phi), std::sin(theta) * std::cos(phi), std::cos(theta)};
}

znRTVector2f znRTEnvironmentImages::toCoordinates(const znRTVector3f& direction)
{
    const float u = std::atan2(direction.x, direction.y) / (2.0f * pi);
    return {u < 0.0f ? u + 1.0f : u, std::acos(std::clamp(direction.z, -1.0f, 1.0f)) / pi};
}

bool znRTEnvironmentImages::prepare(const osg::ImagePtr& image, int layout, float gamma,
                                    znRTSampler2D& target)
{
    target.clear();
    znRTSampler2D source;
    source.setGamma(gamma, false, true);
    source.setImage(image, layout == latitudeLongitude);
    if (!image || !source.prepareData() || !fits(source, layout))
        return false;

    const int side = layout == cross ? std::min(source.width, source.height) / 3 : source.width;
    const int width = layout == latitudeLongitude ? source.width : 4 * side;
    const int height = layout == latitudeLongitude ? source.height : 2 * side;
    std::vector<znRTVector4f> texels(std::size_t(width) * height);
    tbb::parallel_for(0, height, [&](int y) {
        for (int x = 0; x < width; ++x) {
            znRTVector4f& texel = texels[std::size_t(y) * width + x];
            if (layout == latitudeLongitude) {
                texel = source.getTexel(0, 0, x, y);
                continue;
            }
            for (float dy : {0.25f, 0.75f})
                for (float dx : {0.25f, 0.75f}) {
                    const znRTVector3f d = toDirection((float(x) + dx) / float(width),
                                                       (float(y) + dy) / float(height));
                    texel = texel +
                            (layout == cube ? readCube(source, d) : readCross(source, d)) * 0.25f;
                }
        }
    });
    target.setGamma(1.0f, false, true);
    if (!target.setTexels(znRTTextureSampler::typeRGBAFloat, width, height, 1, texels.data()))
        return false;
    target.setWrap(znRTTextureSampler::repeat, znRTTextureSampler::clamp);
    return true;
}
