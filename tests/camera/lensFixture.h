#pragma once

// Views and the arrays that a lens fills, for tests of primary rays. Without a scene rays hit
// nothing, which leaves the rays themselves to look at.

#include "camera/znRTLensShader.h"
#include "host/osg/TransformationMatrix.h"
#include "host/znRTRaytracingSettings.h"

#include <cmath>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <numbers>

/// Room for one call, set to a pattern so that what is not written shows.
class LensArrays
{
public:
    LensArrays()
    {
        std::memset(static_cast<void*>(&content->rays), 0x5a, sizeof(content->rays));
        std::memset(static_cast<void*>(&content->hits), 0x5a, sizeof(content->hits));
        for (auto& ray : content->rays.rays)
            ray.auxiliary = nullptr;
    }

    unsigned trace(const znRTLensShader& lens, unsigned x0, unsigned x1, unsigned y0, unsigned y1,
                   int aaIndex = 0, int aaCount = 1, float scale = 1.0f,
                   const unsigned char* mask = nullptr)
    {
        return lens.trace_eye_rays(x0, x1, y0, y1, content->rays, content->hits, content->tMin,
                                   content->tMax, content->laneMasks, aaIndex, aaCount, scale,
                                   mask);
    }

    const znRTRayPacketBundle& bundle() const { return content->rays; }
    const znRTRayDifferentialPacket& ray(unsigned i) const { return content->rays.rays[i]; }
    const znRTHitInfoPacket& hit(unsigned i) const { return content->hits.hits[i]; }
    int lanes(unsigned i) const { return content->laneMasks[i]; }
    float tMin(unsigned i) const { return content->tMin[i][0]; }
    float tMax(unsigned i) const { return content->tMax[i][3]; }

    /// Calls with packet, lane, x and y of every active lane.
    void forEachRay(
        unsigned count,
        const std::function<void(const znRTRayDifferentialPacket&, int, int, int)>& visit) const
    {
        for (unsigned i = 0; i < count; ++i)
            for (int lane = 0; lane < 4; ++lane)
                if (lanes(i) >> lane & 1)
                    visit(ray(i), lane, ray(i).pixelX[lane], ray(i).pixelY[lane]);
    }

private:
    struct Content : znAlignedBase64
    {
        znRTRayPacketBundle rays;
        znRTHitInfoPacketBundle hits;
        znFloatType<2> tMin[64], tMax[64];
        int laneMasks[64];
    };
    std::unique_ptr<Content> content = std::make_unique<Content>();
};

/// A camera at a place with a symmetrical frustum, in double.
struct TestView
{
    unsigned width = 600, height = 400;
    double fov = 60.0; ///< degrees, vertical
    double near = 0.5, far = 200.0;
    osg::Matrix4d cameraToWorld;
    bool isOrthographic = false;
    double orthoHeight = 4.0;

    double tangent() const { return std::tan(fov * std::numbers::pi / 360.0); }
    double aspect() const { return double(width) / height; }

    osg::Matrix4d projection() const
    {
        osg::Matrix4d m;
        if (isOrthographic) {
            m[0][0] = 2.0 / (orthoHeight * aspect());
            m[1][1] = 2.0 / orthoHeight;
            m[2][2] = -2.0 / (far - near);
            m[3][2] = -(far + near) / (far - near);
            return m;
        }
        m[0][0] = 1.0 / (tangent() * aspect());
        m[1][1] = 1.0 / tangent();
        m[2] = {0.0, 0.0, -(far + near) / (far - near), -1.0};
        m[3] = {0.0, 0.0, -2.0 * far * near / (far - near), 0.0};
        return m;
    }
    osg::Matrix4d toWorldProjection() const
    {
        osg::Matrix4d world = projection();
        world.invert();
        osg::Matrix4d result = cameraToWorld;
        result.mult(world);
        return result;
    }
    void apply(znRTLensShader& lens, bool leftEye = true, float stereoOffset = 0.0f,
               bool cornerAligned = false, osg::ImagePtr leftMap = {}) const
    {
        lens.updateAttributes(nullptr, width, height, width, height, 0.0f, 0.0f, width, height,
                              0.0f, 0.0f, toWorldProjection(), cameraToWorld, leftEye, stereoOffset,
                              leftMap, {}, cornerAligned);
    }

    osg::Vec3d toWorld(double x, double y, double z) const
    {
        return cameraToWorld.multMatrixVec({x, y, z});
    }
    osg::Vec3d position() const { return cameraToWorld.getTranslation(); }
    /// Unit direction of the ray of a place of the raster; pixel centres are whole numbers.
    osg::Vec3d direction(double x, double y) const
    {
        const double u = 2.0 * (x + 0.5) / width - 1.0, v = 2.0 * (y + 0.5) / height - 1.0;
        osg::Vec3d d = toWorld(u * tangent() * aspect(), v * tangent(), -1.0);
        d.normalize();
        return d;
    }
    osg::Vec3d forward() const { return toWorld(0.0, 0.0, -1.0); }
    osg::Vec3d right() const { return toWorld(1.0, 0.0, 0.0); }
    osg::Vec3d up() const { return toWorld(0.0, 1.0, 0.0); }

    /// Turned about an axis that is none of the frame's.
    static osg::Matrix4d placed(double degrees, osg::Vec3d axis, osg::Vec3d position)
    {
        axis.normalize();
        const double half = degrees * std::numbers::pi / 360.0, s = std::sin(half);
        osg::Matrix4d m;
        m.setTransform(position, {axis[0] * s, axis[1] * s, axis[2] * s, std::cos(half)});
        return m;
    }
};

inline osg::Vec3d toDouble(const znRTVector3f& v)
{
    return {double(v.x), double(v.y), double(v.z)};
}

inline double distanceOf(const znRTVector3f& a, const osg::Vec3d& b)
{
    return (toDouble(a) - b).length();
}

/// Calls with the corners of each block of a raster.
inline void forEachBlock(unsigned width, unsigned height, unsigned size,
                         const std::function<void(unsigned, unsigned, unsigned, unsigned)>& visit)
{
    for (unsigned y = 0; y < height; y += size)
        for (unsigned x = 0; x < width; x += size)
            visit(x, std::min(x + size, width), y, std::min(y + size, height));
}

/// Restores the settings that lenses read.
class LensTest : public testing::Test
{
protected:
    using Settings = znRTRaytracingSettings;
    LensTest() { reset(); }
    ~LensTest() override { reset(); }

    static void reset()
    {
        Settings::s_qualityMode = Settings::interactive;
        Settings::s_stillFrameSupersampling = 1;
        Settings::s_useBundleTracing = true;
    }
};
