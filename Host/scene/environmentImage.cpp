#include "scene/environmentImage.h"

#include <tbb/parallel_for.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <vector>

namespace {

using osg::Image;

/// A square part of an image that shows one face of the cube: directions to the middle, to the
/// right and upwards, as the picture shows them.
struct Face
{
    znRTVector3f forward, right, up;
    u32 left = 0, bottom = 0; ///< pixels
    u32 side = 0;             ///< image of the array
};

const znRTVector3f X(1, 0, 0), Y(0, 1, 0), Z(0, 0, 1);

/// Middle row from the left: -x, +y, +x, -y; +z above and -z below of +y.
std::vector<Face> horizontalCross(u32 n)
{
    return {{-X, Y, Z, 0, n, 0},      {Y, X, Z, n, n, 0},      {X, -Y, Z, 2 * n, n, 0},
            {-Y, -X, Z, 3 * n, n, 0}, {Z, X, -Y, n, 2 * n, 0}, {-Z, X, Y, n, 0, 0}};
}

/// Middle column from the top: +z, +y, -z, -y (upside down); -x left and +x right of +y.
std::vector<Face> verticalCross(u32 n)
{
    return {{-X, Y, Z, 0, 2 * n, 0}, {Y, X, Z, n, 2 * n, 0}, {X, -Y, Z, 2 * n, 2 * n, 0},
            {Z, X, -Y, n, 3 * n, 0}, {-Z, X, Y, n, n, 0},    {-Y, X, -Z, n, 0, 0}};
}

/// Sides in the order and orientation of OpenGL's cube maps; row 0 is t = 0.
std::vector<Face> cubeSides()
{
    return {{X, -Z, -Y, 0, 0, 0}, {-X, Z, -Y, 0, 0, 1}, {Y, X, Z, 0, 0, 2},
            {-Y, X, -Z, 0, 0, 3}, {Z, X, -Y, 0, 0, 4},  {-Z, -X, -Y, 0, 0, 5}};
}

znRTVector3f linearPixel(const Image& image, u32 x, u32 y, float exponent)
{
    const osg::Vec4f c = image.getPixel(x, y);
    const auto linear = [exponent](float v) {
        return exponent == 1.0f ? v : std::pow(std::max(v, 0.0f), exponent);
    };
    return {linear(c[0]), linear(c[1]), linear(c[2])};
}

/// One side of a cube as an image of its own.
osg::Ref<Image> extractSide(const Image& image, u32 side)
{
    const osg::Ref<Image> single(Image::create());
    single->set(image.getPixelFormat(), image.getWidth(), image.getHeight(), 1, 1, 1,
                image.getData(0, 0, side), image.getDataType());
    return single;
}

/// Colour of a face at (a, b) in [-1, 1], bilinear between pixel centres, clamped at the edges.
znRTVector3f sampleFace(const std::vector<znRTVector3f>& pixels, u32 n, float a, float b)
{
    const auto place = [n](float v, u32& low, u32& high) {
        const float p = std::clamp((v * 0.5f + 0.5f) * float(n) - 0.5f, 0.0f, float(n - 1));
        low = u32(p);
        high = std::min(low + 1, n - 1);
        return p - float(low);
    };
    u32 x0, x1, y0, y1;
    const float fx = place(a, x0, x1), fy = place(b, y0, y1);
    const auto at = [&](u32 x, u32 y) { return pixels[std::size_t(y) * n + x]; };
    return (at(x0, y0) * (1 - fx) + at(x1, y0) * fx) * (1 - fy) +
           (at(x0, y1) * (1 - fx) + at(x1, y1) * fx) * fy;
}

osg::ImagePtr imageFrom(u32 width, u32 height,
                        const std::function<znRTVector3f(u32 x, u32 y)>& pixel)
{
    std::vector<u8> bytes(std::size_t(width) * height * 3 * sizeof(float));
    float* values = reinterpret_cast<float*>(bytes.data());
    tbb::parallel_for(0u, height, [&](u32 y) {
        for (u32 x = 0; x < width; ++x) {
            const znRTVector3f c = pixel(x, y);
            float* target = values + (std::size_t(y) * width + x) * 3;
            target[0] = c.x;
            target[1] = c.y;
            target[2] = c.z;
        }
    });
    osg::ImagePtr image = Image::create();
    image->take(Image::RGB, width, height, std::move(bytes), Image::Float32);
    return image;
}

osg::ImagePtr fromFaces(const Image& image, const std::vector<Face>& faces, u32 n, float exponent)
{
    std::array<std::vector<znRTVector3f>, 6> pixels;
    for (std::size_t f = 0; f < faces.size(); ++f) {
        pixels[f].resize(std::size_t(n) * n);
        const osg::Ref<Image> side = faces[f].side ? extractSide(image, faces[f].side) : nullptr;
        const Image& source = side ? *side : image;
        for (u32 y = 0; y < n; ++y)
            for (u32 x = 0; x < n; ++x)
                pixels[f][std::size_t(y) * n + x] =
                    linearPixel(source, faces[f].left + x, faces[f].bottom + y, exponent);
    }
    const u32 width = 4 * n, height = 2 * n;
    return imageFrom(width, height, [&](u32 x, u32 y) {
        const float phi = (float(x) + 0.5f) / float(width) * 2.0f * std::numbers::pi_v<float>;
        const float theta = (1.0f - (float(y) + 0.5f) / float(height)) * std::numbers::pi_v<float>;
        const znRTVector3f d(std::sin(theta) * std::sin(phi), std::sin(theta) * std::cos(phi),
                             std::cos(theta));
        std::size_t best = 0;
        for (std::size_t f = 1; f < faces.size(); ++f)
            if (dot(d, faces[f].forward) > dot(d, faces[best].forward))
                best = f;
        const float depth = dot(d, faces[best].forward);
        return sampleFace(pixels[best], n, dot(d, faces[best].right) / depth,
                          dot(d, faces[best].up) / depth);
    });
}

} // namespace

osg::ImagePtr makeLatitudeLongitude(const osg::ImagePtr& image, EnvironmentLayout layout,
                                    float gamma)
{
    if (!image || !image->isValid())
        return {};
    const u32 width = image->getWidth(), height = image->getHeight();
    const bool isInteger =
        image->getDataType() == Image::UInt8 || image->getDataType() == Image::UInt16;
    const float exponent = isInteger ? gamma : 1.0f;

    if (layout == EnvironmentLayout::cube) {
        if (image->getSideCount() != 6 || width != height)
            return {};
        return fromFaces(*image, cubeSides(), width, exponent);
    }
    if (layout == EnvironmentLayout::cross) {
        if (u64(width) * 3 == u64(height) * 4 && width % 4 == 0)
            return fromFaces(*image, horizontalCross(width / 4), width / 4, exponent);
        if (u64(width) * 4 == u64(height) * 3 && width % 3 == 0)
            return fromFaces(*image, verticalCross(width / 3), width / 3, exponent);
        return {};
    }
    const bool isReady =
        image->getDataType() == Image::Float32 &&
        (image->getPixelFormat() == Image::RGB || image->getPixelFormat() == Image::RGBA);
    if (isReady)
        return image;
    return imageFrom(width, height,
                     [&](u32 x, u32 y) { return linearPixel(*image, x, y, exponent); });
}
