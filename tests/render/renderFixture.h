#pragma once

// A small host for tests of the render frame: a scene with meshes, a camera, a view with buffers,
// and the instance that drives them.

#include "camera/znRTCamera.h"
#include "host/osg/Geometry.h"
#include "host/osg/Node.h"
#include "host/osg/OffsetCameraDecorator.h"
#include "host/osg/UberCamera.h"
#include "host/osg/nodeCores.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTSceneHandler.h"
#include "host/znRaytracerP.h"
#include "host/znRaytracingManager.h"
#include "render/znRTRenderTask.h"
#include "render/znRTRenderUtils.h"
#include "render/znRaytracingUtils.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <numbers>
#include <vector>

namespace renderTest {

/// Unit sphere around the origin, triangulated along parallels and meridians, outward normals.
inline osg::GeometryPtr makeSphere(u32 rings, u32 segments)
{
    std::vector<osg::Pnt3f> positions;
    std::vector<osg::Vec3f> normals;
    std::vector<u32> indices;
    for (u32 i = 0; i <= rings; ++i)
        for (u32 j = 0; j <= segments; ++j) {
            const double theta = std::numbers::pi * i / rings;
            const double phi = 2.0 * std::numbers::pi * j / segments;
            const float x = float(std::sin(theta) * std::cos(phi));
            const float y = float(std::sin(theta) * std::sin(phi)), z = float(std::cos(theta));
            positions.emplace_back(x, y, z);
            normals.emplace_back(x, y, z);
        }
    for (u32 i = 0; i < rings; ++i)
        for (u32 j = 0; j < segments; ++j) {
            const u32 a = i * (segments + 1) + j, b = a + segments + 1;
            for (const u32 index : {a, b, b + 1, a, b + 1, a + 1})
                indices.push_back(index);
        }
    const osg::GeometryPtr geometry = osg::Geometry::create();
    geometry->setPositions(osg::GeoProperty::create(std::span<const osg::Pnt3f>(positions)));
    geometry->setNormals(osg::GeoProperty::create(std::span<const osg::Vec3f>(normals)));
    geometry->setIndices(osg::GeoProperty::create(std::span<const u32>(indices)));
    geometry->setLengths({u32(indices.size())});
    geometry->setTypes({osg::Geometry::triangles});
    return geometry;
}

/// Square of edge 2 * halfSize in the plane z = 0, facing +z: a fan around a point of its lower
/// edge, so that no edge inside it runs along a row, a column or a diagonal of pixels.
inline osg::GeometryPtr makeSquare(float halfSize)
{
    const float h = halfSize, p = 0.37f * h;
    const osg::GeometryPtr geometry = osg::Geometry::create();
    geometry->setPositions(osg::GeoProperty::create(
        {osg::Vec3f(p, -h, 0), {h, -h, 0}, {h, h, 0}, {-h, h, 0}, {-h, -h, 0}}));
    const osg::Vec3f up(0, 0, 1);
    geometry->setNormals(osg::GeoProperty::create({up, up, up, up, up}));
    geometry->setIndices(osg::GeoProperty::create({0u, 1u, 2u, 0u, 2u, 3u, 0u, 3u, 4u}));
    geometry->setLengths({9});
    geometry->setTypes({osg::Geometry::triangles});
    return geometry;
}

inline osg::NodePtr makeTransformNode(double x, double y, double z)
{
    const auto transform = osg::Transform::create();
    osg::Matrix matrix;
    matrix[3][0] = x;
    matrix[3][1] = y;
    matrix[3][2] = z;
    transform->setMatrix(matrix);
    return osg::Node::create(transform);
}

/// A view with buffers of its own for all that a host has to supply.
class View
{
public:
    void resize(u32 width, u32 height)
    {
        const std::size_t pixels = std::size_t(width) * height;
        record.m_renderWidth = record.m_outputWidth = width;
        record.m_renderHeight = record.m_outputHeight = height;
        // A guard row behind the frame catches writes past its end.
        frame.assign(pixels + guard, {guardValue, guardValue, guardValue, guardValue});
        activePixels.assign(pixels, 1);
        filterWeights.assign(pixels, 0.0f);
        statistics.assign(pixels, 0.0f);
        record.m_passBuffers[0] = frame.data();
        record.m_activePixels = activePixels.data();
        record.m_filterWeights = filterWeights.data();
        record.m_sampleStatistics = statistics.data();
        record.m_pixelBufferSize = u32(pixels * sizeof(ZN_RGBA32F));
    }
    bool guardIsIntact() const
    {
        for (std::size_t i = frame.size() - guard; i < frame.size(); ++i)
            if (frame[i].r != guardValue)
                return false;
        return true;
    }
    const ZN_RGBA32F& pixel(u32 x, u32 y) const
    {
        return frame[std::size_t(y) * record.m_renderWidth + x];
    }

    static constexpr std::size_t guard = 4096;
    static constexpr float guardValue = -77.0f;

    znRaytracerP record;
    std::vector<ZN_RGBA32F> frame;
    std::vector<u8> activePixels;
    std::vector<float> filterWeights, statistics;
};

/// One process-wide instance per test, ended with it.
class RenderTest : public testing::Test
{
protected:
    static constexpr u32 tileSize = 16;

    void SetUp() override
    {
        using Settings = znRTRaytracingSettings;
        Settings::s_qualityMode = Settings::interactive;
        znRTSceneHandler::initializeChangeList();
        instance = static_cast<znRaytracingUtils*>(CreateRaytracingInstance());
        znRaytracingManager::setRaytracingUtils(instance);
        instance->initialize();
        root = osg::Node::create(osg::NodeCorePtr());
        instance->setSuperRoot(root);
        instance->setRoot(root);
        beacon = osg::Ref<osg::Node>(makeTransformNode(0, 0, 5));
        camera = osg::Ref<osg::UberCamera>(osg::UberCamera::create());
        camera->setBeacon(beacon);
        camera->setNear(0.01f);
        camera->setFar(1000.0f);
        offsetCamera = osg::Ref<osg::OffsetCameraDecorator>(osg::OffsetCameraDecorator::create());
        offsetCamera->setDecoratee(camera.get());
        view.record.m_renderMode = 1; // normals need no material
        view.record.m_forceSoftwareCopy = 1;
        instance->initTasks(&view.record);
    }

    void TearDown() override
    {
        instance->terminateTasks(&view.record);
        instance->clear(&view.record);
        instance->destroy(&view.record);
        zn_aligned_free(view.record.m_frameOutput);
        instance->setRoot(nullptr);
        instance->setSuperRoot(nullptr);
        znRaytracingManager::unload();
        znRTSceneHandler::destroyChangeList();
    }

    void resize(u32 width, u32 height, u32 size = tileSize)
    {
        view.resize(width, height);
        instance->generateRenderTiles(&view.record, size);
    }

    osg::NodePtr add(const osg::NodeCorePtr& core, double x = 0, double y = 0, double z = 0)
    {
        const osg::NodePtr place = makeTransformNode(x, y, z);
        const osg::NodePtr node = osg::Node::create(core);
        place->addChild(node);
        root->addChild(place);
        return node;
    }

    /// All that comes before the iterations of an image.
    void begin(bool stillFrame = false)
    {
        using Settings = znRTRaytracingSettings;
        isStill = stillFrame;
        view.record.m_iteration = 0;
        instance->applyChangeList(0);
        Settings::s_qualityMode = stillFrame ? Settings::stillFrame : Settings::interactive;
        instance->updateScene(&view.record, true);
        updateCamera();
        instance->updateRendertargets(&view.record, false);
    }
    void updateCamera()
    {
        osg::Camera* const used = isStill ? static_cast<osg::Camera*>(offsetCamera.get().get())
                                          : static_cast<osg::Camera*>(camera.get().get());
        instance->updateCamera(&view.record, used, nullptr);
    }
    /// One iteration. @return true when the frame was given up
    bool trace(u32 taskCount = 2) { return instance->traceImage(&view.record, taskCount, true); }
    /// Iterations 0 to count - 1 of a still frame.
    void accumulate(u32 count, u32 taskCount = 2)
    {
        for (u32 i = 0; i < count; ++i) {
            view.record.m_iteration = i;
            updateCamera();
            instance->updateRendertargets(&view.record, false);
            ASSERT_FALSE(trace(taskCount));
        }
    }

    znRaytracingUtils* instance = nullptr;
    osg::Ref<osg::Node> root, beacon;
    osg::Ref<osg::UberCamera> camera;
    osg::Ref<osg::OffsetCameraDecorator> offsetCamera;
    View view;
    bool isStill = false;
};

} // namespace renderTest
