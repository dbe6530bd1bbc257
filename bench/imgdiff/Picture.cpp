#include "Picture.h"

#include <algorithm>
#include <cmath>

namespace {

template <class Value>
Picture pictureOf(const io::ImageData& image, Value&& value)
{
    Picture picture;
    for (u32 c = 0; c < 3; ++c) {
        const u32 source = image.channels < 3 ? 0 : c;
        picture.channels[c] = Plane(int(image.width), int(image.height));
        std::size_t i = 0;
        for (u32 y = 0; y < image.height; ++y)
            for (u32 x = 0; x < image.width; ++x)
                picture.channels[c].values[i++] = value(x, y, source);
    }
    return picture;
}

Plane filteredAlong(const Plane& plane, const std::vector<float>& weights, int stepX, int stepY)
{
    const int radius = int(weights.size()) / 2;
    Plane result(plane.width, plane.height);
    for (int y = 0; y < plane.height; ++y)
        for (int x = 0; x < plane.width; ++x) {
            float sum = 0.0f;
            for (int k = -radius; k <= radius; ++k)
                sum += weights[std::size_t(k + radius)] *
                       plane.at(std::clamp(x + k * stepX, 0, plane.width - 1),
                                std::clamp(y + k * stepY, 0, plane.height - 1));
            result.at(x, y) = sum;
        }
    return result;
}

} // namespace

float toSrgb(float linear)
{
    return linear <= 0.0031308f ? 12.92f * linear : 1.055f * std::pow(linear, 1.0f / 2.4f) - 0.055f;
}

float fromSrgb(float stored)
{
    return stored <= 0.04045f ? stored / 12.92f : std::pow((stored + 0.055f) / 1.055f, 2.4f);
}

Picture storedValues(const io::ImageData& image)
{
    return pictureOf(image, [&](u32 x, u32 y, u32 c) { return image.getNormalized(x, y, c); });
}

Picture displayedLight(const io::ImageData& image)
{
    const bool isLinear =
        image.type == io::ImageData::Type::half || image.type == io::ImageData::Type::float32;
    return pictureOf(image, [&](u32 x, u32 y, u32 c) {
        const float value = image.getNormalized(x, y, c);
        const float clamped = value > 0.0f ? std::min(value, 1.0f) : 0.0f;
        return isLinear ? clamped : fromSrgb(clamped);
    });
}

Plane luminance(const Picture& picture)
{
    Plane result(picture.width(), picture.height());
    for (std::size_t i = 0; i < result.values.size(); ++i)
        result.values[i] = 0.2126f * picture.channels[0].values[i] +
                           0.7152f * picture.channels[1].values[i] +
                           0.0722f * picture.channels[2].values[i];
    return result;
}

Plane filtered(const Plane& plane, const std::vector<float>& alongX,
               const std::vector<float>& alongY)
{
    return filteredAlong(filteredAlong(plane, alongX, 1, 0), alongY, 0, 1);
}
