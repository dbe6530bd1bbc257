#pragma once

// Lights below a node with a transform, and estimates of what they bring.

#include "core/znRTColorPacket.h"
#include "gi/znRTPoisson.h"
#include "host/osg/Group.h"
#include "host/osg/Transform.h"
#include "host/osg/UberLight.h"
#include "host/znSceneDataManager.h"
#include "light/znRTUAreaLight.h"
#include "light/znRTUDeltaLight.h"
#include "support/lanes.h"

#include <array>
#include <cmath>
#include <numbers>

inline constexpr double testPi = std::numbers::pi;
inline const znFloatType<2> everyLane4 = znFloatType<2>::allLanes();

/// The point table, also behind a suite that ended the renderer.
inline void ensurePointTable()
{
    znRTPoisson::init(0, 0);
}

/// Four consecutive points of the table.
/// @param dimension  points of different dimensions are independent
inline znRTVector2fPacket tablePoints(int first, int dimension = 0)
{
    ensurePointTable();
    const int row = first + dimension * int(znRTPoisson::rowStep) * 16;
    return znRTPoisson::getRows(znIntType<2>(row, row + 1, row + 2, row + 3));
}

/// Scene units per metre for the length of a test.
struct UnitsScope
{
    explicit UnitsScope(float unitsPerMetre)
    {
        znSceneDataManager::getSceneData(0)->setUnitsPerMetre(unitsPerMetre);
    }
    ~UnitsScope() { znSceneDataManager::getSceneData(0)->setUnitsPerMetre(before); }
    const float before = znSceneDataManager::getUnitsPerMetre();
};

/// A light core of a kind under a transform.
template <class Core>
struct PlacedCore
{
    PlacedCore() : core(Core::create())
    {
        root->addChild(node.get());
        root->setCore(transform);
    }
    void move(float x, float y, float z)
    {
        matrix[3][0] = x;
        matrix[3][1] = y;
        matrix[3][2] = z;
        transform->setMatrix(matrix);
    }
    /// Columns: where x, y and z of the light go.
    void turn(const osg::Vec3f& x, const osg::Vec3f& y, const osg::Vec3f& z)
    {
        for (int i = 0; i < 3; ++i) {
            matrix[0][i] = x[i];
            matrix[1][i] = y[i];
            matrix[2][i] = z[i];
        }
        transform->setMatrix(matrix);
    }

    osg::FCPtr<Core> core;
    osg::FCPtr<osg::Transform> transform = osg::Transform::create();
    osg::Matrix matrix;
    osg::Ref<osg::Node> root{osg::Node::create(osg::Group::create())};
    osg::Ref<osg::Node> node{osg::Node::create(osg::NodeCorePtr(core))};
};

inline znRTVector3fPacket inAllLanes(float x, float y, float z)
{
    return {znFloatType<2>(x), znFloatType<2>(y), znFloatType<2>(z)};
}

/// Irradiance that light sampling finds, double sums over points of the table.
inline double sampledIrradiance(const znRTUAreaLight& light, const znRTVector3f& position,
                                const znRTVector3f& normal, int samples = 4096)
{
    const znRTVector3fPacket p(position), n(normal);
    double sum = 0.0;
    for (int i = 0; i < samples; i += 4) {
        znRTShapePoint point;
        const znFloatType<2> pdf =
            light.getPointOnLightAndPdf(p, n, tablePoints(i), everyLane4, point);
        const znRTVector3fPacket wi = (point.position - p).getNormalized();
        const znRTColorPacket value =
            light.getIntensity(p, wi, point.position, point.uv, everyLane4);
        for (int lane = 0; lane < 4; ++lane)
            if (pdf[lane] > 0.0f)
                sum += double(value.r[lane]) * light.getDiffuseColor().r *
                       std::max(0.0, double(dot(wi, n)[lane])) / double(pdf[lane]);
    }
    return sum / samples;
}

/// Flux of photons: mean of value |cos| / pdf.
inline double sampledFlux(const znRTLight& light, int samples = 16384)
{
    double sum = 0.0;
    for (int i = 0; i < samples; i += 4) {
        znRTVector3fPacket position, direction, normal;
        znFloatType<2> pdf;
        const znRTColorPacket value = light.sample_L_Out(
            tablePoints(i), tablePoints(i, 1), everyLane4, position, direction, normal, pdf);
        for (int lane = 0; lane < 4; ++lane)
            if (pdf[lane] > 0.0f)
                sum += double(value.r[lane]) * std::fabs(dot(direction, normal)[lane]) / pdf[lane];
    }
    return sum / samples;
}
