// Normals near the edges of boxes that are to look rounded.

#include "host/osg/RaytracingGeoAttachment.h"
#include "materialFixture.h"
#include "render/integrators/roundedEdges.h"

using namespace materialTest;

namespace {

constexpr float radius = 0.2f;

/// Box from -1 to 1, its top at z = 0, faces with normals of their own.
GeometryRef makeBox()
{
    std::vector<osg::Vec3f> positions, normals;
    std::vector<u32> indices;
    for (int axis = 0; axis < 3; ++axis)
        for (const float side : {-1.0f, 1.0f}) {
            osg::Vec3f normal(0, 0, 0);
            normal[axis] = side;
            const u32 first = u32(positions.size());
            for (int corner = 0; corner < 4; ++corner) {
                const float s = corner == 1 || corner == 2 ? 1.0f : -1.0f;
                const float t = corner >= 2 ? 1.0f : -1.0f;
                osg::Vec3f p(0, 0, 0);
                p[axis] = side;
                p[(axis + 1) % 3] = side * s;
                p[(axis + 2) % 3] = t;
                positions.push_back(osg::Vec3f(p[0], p[1], p[2] - 1.0f));
                normals.push_back(normal);
            }
            for (const u32 i : {0u, 1u, 2u, 0u, 2u, 3u})
                indices.push_back(first + i);
        }
    return makeMesh(positions, indices, normals);
}

class RoundedEdges : public MaterialTest
{
protected:
    PhongPtr makeMaterial(int mode = 1, u32 samples = 64)
    {
        const PhongPtr material = makeDiffuse(0.5f);
        material->setRoundedEdgeActive(true);
        material->setRoundedEdgeMode(mode);
        material->setRoundedEdgeSamples(samples);
        return material;
    }
    osg::NodePtr addBox(const PhongPtr& material, float edge = radius, float x = 0.0f)
    {
        boxes.push_back(makeBox());
        boxes.back()->setMaterial(material);
        const osg::NodePtr node = scene.add(boxes.back().get(), makeTranslation(x, 0, 0));
        const osg::Ref<osg::RaytracingGeoAttachment> attachment =
            osg::RaytracingGeoAttachment::create();
        attachment->setRoundedEdgeRadius(edge);
        node->addAttachment(attachment.get());
        scene.mesh(node).updateVisibilityFlags();
        scene.scene->initMaterials();
        scene.build();
        return node;
    }
    /// The normals that rays from above get, with their lanes.
    znRTVector3fPacket roundedAt(const znFloatType<2>& x, const znFloatType<2>& y,
                                 znFloatType<2>* changed = nullptr, int depth = 0, int sample = 0)
    {
        const znRTRayDifferentialPacket ray = downward(x, y);
        znRTDataBlockPacket data = blockOf(ray);
        const znFloatType<2> lanes = data.materials[0]->calculateRoundedEdges(
            ray, data, znFloatType<2>::allLanes(), stateOf(sample, depth));
        if (changed)
            *changed = lanes;
        return data.facedNormal;
    }

    std::list<GeometryRef> boxes;
};

/// Tangent of the tilt at a distance from the edge of two planes: the integrals of 1 - d / r over
/// either plane inside the ball.
double tiltAt(double distance)
{
    constexpr int n = 400;
    double top = 0.0, side = 0.0;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const double a = (2.0 * (i + 0.5) / n - 1.0) * double(radius);
            const double b = (2.0 * (j + 0.5) / n - 1.0) * double(radius);
            const auto weight = [](double d) { return std::max(0.0, 1.0 - d / double(radius)); };
            if (a < distance)
                top += weight(std::hypot(a, b));
            if (a < 0.0)
                side += weight(std::sqrt(a * a + b * b + distance * distance));
        }
    return side / top;
}

} // namespace

// 256 rays at four places: the tilt is that of the integrals within their noise, and falls off to
// none at the radius.
TEST_F(RoundedEdges, TurnNormalsTowardsTheOtherFace)
{
    addBox(makeMaterial());
    const znFloatType<2> distance(0.001f, 0.05f, 0.1f, 0.15f);
    double sum[4] = {};
    for (int sample = 0; sample < 8; ++sample) {
        const znRTVector3fPacket n =
            roundedAt(znFloatType<2>(1.0f) - distance, 0.1f, nullptr, 0, sample);
        EXPECT_LANES_NEAR(n.getSquareLength(), 1, 1, 1, 1, 1e-5f);
        for (int lane = 0; lane < 4; ++lane)
            sum[lane] += double(n.x[lane] / n.z[lane]) / 8.0;
    }
    for (int lane = 0; lane < 4; ++lane)
        EXPECT_NEAR(sum[lane], tiltAt(double(distance[lane])), 0.04) << distance[lane];
    EXPECT_NEAR(sum[0], 1.0, 0.05); // half way between the faces on the edge itself
}

// A wall that stands on a floor in one mesh: seen from above the floor beside it turns toward the
// wall's own normal, as far as an outer edge turns away.
TEST_F(RoundedEdges, TurnNormalsInInnerEdgesAsMuch)
{
    boxes.push_back(makeMesh({{-2, -2, 0},
                              {1, -2, 0},
                              {1, 2, 0},
                              {-2, 2, 0},
                              {1, -2, 0},
                              {1, 2, 0},
                              {1, 2, 2},
                              {1, -2, 2}},
                             {0, 1, 2, 0, 2, 3, 4, 6, 5, 4, 7, 6},
                             {{0, 0, 1},
                              {0, 0, 1},
                              {0, 0, 1},
                              {0, 0, 1},
                              {-1, 0, 0},
                              {-1, 0, 0},
                              {-1, 0, 0},
                              {-1, 0, 0}}));
    boxes.back()->setMaterial(makeMaterial());
    const osg::NodePtr node = scene.add(boxes.back().get());
    const osg::Ref<osg::RaytracingGeoAttachment> attachment =
        osg::RaytracingGeoAttachment::create();
    attachment->setRoundedEdgeRadius(radius);
    node->addAttachment(attachment.get());
    scene.mesh(node).updateVisibilityFlags();
    scene.scene->initMaterials();
    scene.build();
    const znFloatType<2> distance(0.002f, 0.05f, 0.1f, 0.15f);
    double sum[4] = {};
    for (int sample = 0; sample < 8; ++sample) {
        const znRTVector3fPacket n =
            roundedAt(znFloatType<2>(1.0f) - distance, 0.1f, nullptr, 0, sample);
        for (int lane = 0; lane < 4; ++lane)
            sum[lane] += double(n.x[lane] / n.z[lane]) / 8.0;
    }
    for (int lane = 0; lane < 4; ++lane)
        EXPECT_NEAR(sum[lane], -tiltAt(double(distance[lane])), 0.05) << distance[lane];
}

TEST_F(RoundedEdges, LeaveNormalsBeyondTheRadius)
{
    addBox(makeMaterial());
    const znRTVector3fPacket n =
        roundedAt({1.0f - 1.01f * radius, 0.0f, 0.5f, 1.0f - 2.0f * radius}, 0.1f);
    EXPECT_LANES_NEAR(n.z, 1, 1, 1, 1, 1e-6f);
    EXPECT_LANES_NEAR(n.x, 0, 0, 0, 0, 1e-6f);
}

TEST_F(RoundedEdges, AreOffWithoutRadiusFlagOrDepth)
{
    const znFloatType<2> nearEdge(0.97f);
    const auto changes = [&](const PhongPtr& material, float edge, int depth) {
        scene.scene->clear();
        addBox(material, edge);
        znFloatType<2> changed;
        roundedAt(nearEdge, 0.1f, &changed, depth);
        return moveMask(changed);
    };
    EXPECT_EQ(changes(makeMaterial(), 1e-9f, 0), 0);
    EXPECT_EQ(changes(makeMaterial(), radius, 0), 15);
    EXPECT_EQ(changes(makeMaterial(), radius, 1), 15);
    EXPECT_EQ(changes(makeMaterial(), radius, 2), 0); // reflections in a row: 1 by default
    const PhongPtr off = makeMaterial();
    off->setRoundedEdgeActive(false);
    EXPECT_EQ(changes(off, radius, 0), 0);
}

TEST_F(RoundedEdges, MixByTheirSmoothing)
{
    const PhongPtr material = makeMaterial();
    material->setRoundedEdgeSmoothing(0.0f);
    addBox(material);
    EXPECT_LANES_NEAR(roundedAt(0.98f, 0.1f).z, 1, 1, 1, 1, 1e-6f);
}

// Two boxes side by side make one flat top: with all geometry the faces between them are found as
// well, with one object the neighbour does not count.
TEST_F(RoundedEdges, KeepToWhatTheModeSays)
{
    const auto tiltBesideAWall = [&](int mode) {
        scene.scene->clear();
        addBox(makeMaterial(mode));
        boxes.push_back(makeMesh({{0.9f, -5, -5}, {0.9f, 5, -5}, {0.9f, 5, 5}, {0.9f, -5, 5}},
                                 {0, 2, 1, 0, 3, 2},
                                 {{-1, 0, 0}, {-1, 0, 0}, {-1, 0, 0}, {-1, 0, 0}}));
        boxes.back()->setMaterial(makeDiffuse(0.5f));
        scene.add(boxes.back().get());
        scene.scene->initMaterials();
        scene.build();
        const znRTVector3fPacket n = roundedAt(0.85f, 0.1f);
        return n.x[0] / n.z[0];
    };
    EXPECT_LT(tiltBesideAWall(0), -0.2f); // toward the wall's own normal
    EXPECT_GT(tiltBesideAWall(1), -0.01f);
    EXPECT_GT(tiltBesideAWall(2), -0.01f);
    EXPECT_GT(tiltBesideAWall(3), -0.01f);
}

// The shading normal follows, on the viewer's side, and mirrors no ray into the surface.
TEST_F(RoundedEdges, ReachTheShading)
{
    addBox(makeMaterial());
    const znRTRayDifferentialPacket ray = downward(0.95f, 0.1f);
    znRTDataBlockPacket data = blockOf(ray);
    roundEdges(ray, data, expandLanes(5), stateOf(0));
    EXPECT_GT(data.shadingNormal().x[0], 0.2f);
    EXPECT_EQ(data.shadingNormal().x[1], 0.0f);
    EXPECT_GT(data.shadingNormal().x[2], 0.2f);
    EXPECT_NEAR(data.shadingNormal().getSquareLength()[2], 1.0f, 1e-5f);
    const znRTVector3fPacket& n = data.shadingNormal();
    const znRTVector3fPacket mirrored = ray.direction - n * (dot(ray.direction, n) * 2.0f);
    EXPECT_GE(mirrored.z[0], -1e-5f);
}
