#pragma once

// Environments from a function of the place in the image, and what shading finds in them.

#include "host/osg/Materials.h"
#include "host/znRTRaytracingSettings.h"
#include "light/lightFixture.h"
#include "light/znRTInfiniteAreaLight.h"
#include "light/znRTInfiniteHemisphereShape.h"

#include <functional>
#include <vector>

/// Latitude-longitude image whose radiance is grey.
/// @param radiance  of column and row; row 0 is the zenith
inline osg::Ref<osg::Image> greyEnvironment(int width, int height,
                                            const std::function<float(int, int)>& radiance)
{
    std::vector<float> pixels;
    // Rows of pictures go upward from the bottom.
    for (int y = height - 1; y >= 0; --y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 3; ++c)
                pixels.push_back(radiance(x, y));
    const osg::Ref<osg::Image> image(osg::Image::create());
    image->set(osg::Image::RGB, width, height, 1, 1, 1, reinterpret_cast<const u8*>(pixels.data()),
               osg::Image::Float32);
    return image;
}

inline osg::Ref<osg::USphereEnvironmentMaterial> environmentOf(const osg::Ref<osg::Image>& image)
{
    const osg::Ref<osg::USphereEnvironmentMaterial> material(
        osg::USphereEnvironmentMaterial::create());
    material->setImage(image.get());
    return material;
}

/// Irradiance on a surface by directions drawn from the light alone.
inline double environmentIrradiance(const znRTInfiniteAreaLight& light, const znRTVector3f& normal,
                                    int samples = 65536)
{
    const znRTVector3fPacket n(normal), p(0.0f, 0.0f, 0.0f);
    double sum = 0.0;
    for (int i = 0; i < samples; i += 4) {
        znFloatType<2> pdf;
        znRTVector2fPacket uv;
        const auto wi = light.getFullSphereSample(tablePoints(i), pdf, uv, everyLane4);
        const znRTColorPacket radiance = light.getIntensity(p, wi, uv, everyLane4);
        for (int lane = 0; lane < 4; ++lane)
            if (pdf[lane] > 0.0f)
                sum += double(radiance.r[lane]) * std::max(0.0, double(dot(wi, n)[lane])) /
                       double(pdf[lane]);
    }
    return sum / samples;
}

/// Integral of a function of direction over the sphere, by the midpoints of a fine grid.
inline double overSphere(const std::function<double(const znRTVector3f&)>& f, int rows = 512)
{
    double sum = 0.0;
    const double step = testPi / rows;
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < 2 * rows; ++x) {
            const double theta = (y + 0.5) * step, phi = (x + 0.5) * step;
            const double area = 2.0 * std::sin(0.5 * step) * std::sin(theta) * step;
            sum += area * f({float(std::sin(theta) * std::sin(phi)),
                             float(std::sin(theta) * std::cos(phi)), float(std::cos(theta))});
        }
    return sum;
}
