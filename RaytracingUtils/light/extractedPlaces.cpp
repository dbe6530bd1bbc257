#include "light/extractedPlaces.h"

#include "host/osg/Materials.h"
#include "host/znRTEnvironmentImages.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;

/// Texels of an image with their directions.
class Texels
{
public:
    explicit Texels(const znRTSampler2D& image)
        : width(image.width), height(image.height), colors(std::size_t(width) * height)
    {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                colors[std::size_t(y) * width + x] = image.getTexel(0, 0, x, y);
    }

    void fill(const znRTExtractedPlace& place)
    {
        const double texel = pi / height;
        const double inner = std::max(double(place.halfAngle), 0.75 * texel);
        const double outer = inner + std::max(0.25 * inner, 1.5 * texel);
        double sum[3] = {}, weight = 0.0;
        eachWithin(place.direction, outer, [&](const znRTVector4f& c, double angle, double area) {
            if (angle <= inner)
                return;
            sum[0] += area * c.x;
            sum[1] += area * c.y;
            sum[2] += area * c.z;
            weight += area;
        });
        if (weight <= 0.0) // nothing is left around it
            weight = 1.0;
        const znRTVector4f mean(float(sum[0] / weight), float(sum[1] / weight),
                                float(sum[2] / weight), 1.0f);
        eachWithin(place.direction, inner, [&](znRTVector4f& c, double, double) { c = mean; });
    }

    int width, height;
    std::vector<znRTVector4f> colors;

private:
    /// f(texel, angle from the direction, solid angle up to a factor)
    template <class Function>
    void eachWithin(const znRTVector3f& direction, double reach, Function&& f)
    {
        const double theta = std::acos(std::clamp(double(direction.z), -1.0, 1.0));
        const double step = pi / height;
        const int first = std::max(0, int((theta - reach) / step));
        const int last = std::min(height - 1, int((theta + reach) / step));
        for (int y = first; y <= last; ++y)
            for (int x = 0; x < width; ++x) {
                const znRTVector3f d = znRTEnvironmentImages::toDirection(
                    (float(x) + 0.5f) / float(width), (float(y) + 0.5f) / float(height));
                const double angle = std::acos(std::clamp(double(dot(d, direction)), -1.0, 1.0));
                if (angle <= reach)
                    f(colors[std::size_t(y) * width + x], angle, std::sin((y + 0.5) * step));
            }
    }
};

} // namespace

std::vector<znRTExtractedPlace> extractedPlaces(const osg::UEnvironmentMaterial& material)
{
    std::vector<znRTExtractedPlace> places;
    if (!material.getUseExtractedLights() || !material.getChunk())
        return places;
    for (const auto& light : material.getChunk()->getLights()) {
        const osg::Vec3f d = light->getDirection();
        const znRTVector3f direction(d[0], d[1], d[2]);
        if (direction.getSquareLength() > 1e-20f)
            places.push_back(
                {direction.getNormalized(), 0.5f * light->getAngularSize() * float(pi / 180.0)});
    }
    return places;
}

bool fillExtractedPlaces(const znRTSampler2D& image, const std::vector<znRTExtractedPlace>& places,
                         znRTSampler2D& filled)
{
    filled.clear();
    if (!image.isValid())
        return false;
    Texels texels(image);
    for (const znRTExtractedPlace& place : places)
        texels.fill(place);
    filled.wrapMode = image.wrapMode;
    return filled.setTexels(znRTSampler2D::typeRGBAFloat, texels.width, texels.height, 1,
                            texels.colors.data());
}
