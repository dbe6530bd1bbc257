#pragma once

// Glass by itself: panes, slabs and balls over lamps, and what the equations say of them.

#include "core/rayTypes.h"
#include "material/surroundedFixture.h"
#include "material/znRTGlassMaterial.h"
#include "support/meshes.h"

#include <algorithm>

namespace materialTest {

using GlassPtr = osg::FCPtr<osg::UGlassMaterial>;

inline GlassPtr makeGlass(float ior = 1.5f)
{
    const GlassPtr glass = osg::UGlassMaterial::create();
    glass->setIor(ior);
    return glass;
}

inline double radians(double degrees)
{
    return degrees * testPi / 180.0;
}

/// Unpolarised reflectance by Fresnel's equations.
/// @param n  index of the far side over that of the near side
inline double fresnel(double degrees, double n)
{
    const double cosI = std::cos(radians(degrees)), sinT = std::sin(radians(degrees)) / n;
    if (sinT >= 1.0)
        return 1.0;
    const double cosT = std::sqrt(1.0 - sinT * sinT);
    const double s = (cosI - n * cosT) / (cosI + n * cosT);
    const double p = (n * cosI - cosT) / (n * cosI + cosT);
    return 0.5 * (s * s + p * p);
}

class GlassTest : public SurroundedTest
{
protected:
    GlassTest()
    {
        Settings::s_interactiveReflectionDepth = 10;
        setIllumination(2, 1);
        znRTMaterial::updateStaticSettings();
    }
    ~GlassTest() override
    {
        znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.0f);
        Settings::s_interactiveReflectionDepth = 4;
        Settings::s_qualityMode = Settings::interactive;
    }
    static void setBackground(float value)
    {
        znRTRenderUtils::s_backgroundColor = {value, value, value, 0.0f};
    }
    /// Still frames read other values of all settings.
    void beStill()
    {
        Settings::s_qualityMode = Settings::stillFrame;
        Settings::s_stillFrameQualityMode = Settings::s_interactiveQualityMode;
        Settings::s_environmentStillQuality = Settings::s_environmentInteractiveQuality;
        Settings::s_stillFrameQuality = Settings::s_interactiveQuality;
        znRTMaterial::updateStaticSettings();
        scene.scene->applyMaterialChanges();
    }
    znRTMaterial& addMesh(const GeometryRef& geometry, const osg::MaterialPtr& material)
    {
        geometry->setMaterial(material);
        squares.push_back(geometry);
        const osg::NodePtr node = scene.add(geometry.get());
        scene.scene->initMaterials();
        scene.build();
        return *scene.mesh(node).getActiveMaterial();
    }
    /// A wide square at a height.
    znRTMaterial& addFace(const osg::MaterialPtr& material, float z, bool facesUp,
                          float half = 20.0f)
    {
        const std::vector<u32> up{0, 1, 2, 0, 2, 3}, down{0, 2, 1, 0, 3, 2};
        // Edges off the middle: rays along them may miss.
        const float a = -half, b = half * 1.01f;
        return addMesh(makeMesh({{a, a, z}, {b, a, z}, {b, b, z}, {a, b, z}}, facesUp ? up : down),
                       material);
    }
    /// A solid plate with its top at z = 0.
    znRTGlassMaterial& addSlab(const osg::MaterialPtr& material, float thickness)
    {
        addFace(material, -thickness, false);
        return dynamic_cast<znRTGlassMaterial&>(addFace(material, 0.0f, true));
    }
    /// A lamp that shines both ways.
    void addLamp(float z, float half = 20.0f)
    {
        const auto lamp = osg::ULightMaterial::create();
        lamp->setIntensity(1.0f);
        addFace(osg::MaterialPtr(lamp), z, true, half);
    }
    /// Rays toward (x, y, 0) at angles from the vertical, out of the side of -x.
    static znRTRayDifferentialPacket slanting(const znFloatType<2>& x, const double (&degrees)[4],
                                              float height = 5.0f)
    {
        znFloatType<2> tangent(0.0f), side(1.0f);
        for (int i = 0; i < 4; ++i)
            tangent = select(expandLanes(1 << i),
                             znFloatType<2>(float(std::tan(radians(degrees[i])))), tangent);
        const float down = height > 0.0f ? -1.0f : 1.0f;
        return znRTRayDifferentialPacket(
            znRTRayPacket({x - tangent * std::abs(height), 0.1f, height},
                          znRTVector3fPacket(tangent, 0.0f, down)));
    }
    static znRTRayDifferentialPacket slanting(float x, double degrees, float height = 5.0f)
    {
        const double all[4] = {degrees, degrees, degrees, degrees};
        return slanting(znFloatType<2>(x), all, height);
    }
    znRTSurfaceProperties recordOf(const znRTMaterial& shading, znRTRayDifferentialPacket ray)
    {
        znRTDataBlockPacket data = blockOf(ray);
        znRTSurfaceProperties surface;
        surface.reset();
        znRTShadingState state = stateOf(0);
        shading.evaluateMaterial(ray, data, surface, znFloatType<2>::allLanes(), state, -1,
                                 znRTMaterial::gather);
        return surface;
    }
    static const znRTColorPacket& colorOf(const znRTSurfaceProperties& surface, int group)
    {
        return surface.groups[group].slots[0].color;
    }
    /// What a shadow ray straight down from a height keeps.
    znRTColorPacket shadowBelow(float height, float length, double degrees = 0.0)
    {
        const znRTRayDifferentialPacket ray = slanting(0.3f, degrees, height);
        return znRTLight::getShadowFactor(ray, ray.origin, ray.direction, 0.0f, length,
                                          znIntType<2>(int(rayType::lightShadow)),
                                          znFloatType<2>::allLanes(), 1.0f, stateOf(0));
    }
};

} // namespace materialTest
