#include "geometry/znRTMeshIntersector.h"

#include "support/lanes.h"
#include "support/meshScene.h"

TEST(MeshIntersector, MeasuresAreasInTheWorld)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    osg::Matrix m;
    m[0][0] = 3.0f;
    m[1][1] = 0.5f;
    m[2][2] = -7.0f;
    const osg::NodePtr node = scene.add(geometry.get(), m);
    scene.build();
    znDynArray<float> areas;
    // 2 x 2 stretched to 6 x 1; each triangle is half of it, and the padding is nothing.
    EXPECT_FLOAT_EQ(scene.intersector(node).calculatePrimitiveAreas(areas), 6.0f);
    ASSERT_EQ(areas.size, 6u);
    EXPECT_FLOAT_EQ(areas[0], 3.0f);
    EXPECT_FLOAT_EQ(areas[1], 3.0f);
    EXPECT_EQ(areas[2], 0.0f);
}

// Uniform points: with the affine coordinates (s, t) of a triangle, the folded unit square is hit
// evenly. 16 cells of equal area, 15 degrees of freedom, chi-square beyond 37.7 has a probability
// of 0.001.
TEST(MeshIntersector, SamplesATriangleEvenly)
{
    MeshScene scene;
    const GeometryRef geometry =
        makeMesh({{1, 2, 3}, {4, 1, 0}, {-1, 5, 2}}, {0, 1, 2}, {}, {{0, 0}, {1, 0}, {0, 1}});
    const osg::NodePtr node = scene.add(geometry.get(), makeTranslation(10, 20, 30));
    scene.build();
    const znRTMeshIntersector& mesh = scene.intersector(node);
    std::mt19937 engine(11);
    std::uniform_real_distribution<float> random(0.0f, 1.0f);
    constexpr int packets = 25000, cells = 16;
    int counts[cells] = {};
    const znRTVector3f a(11, 22, 33), ab(3, -1, -3), ac(-2, 3, -1);
    const znRTVector3f n = cross(ab, ac).getNormalized();
    for (int i = 0; i < packets; ++i) {
        znRTVector2fPacket xi;
        for (int l = 0; l < 4; ++l)
            xi.setLane(l, {random(engine), random(engine)});
        znRTVector3fPacket position, normal;
        znRTVector2fPacket uv;
        znFloatType<2> area;
        mesh.getSample(znFloatType<2>::allLanes(), 0, xi, position, normal, uv, area);
        for (int l = 0; l < 4; ++l) {
            const znRTVector3f offset = position.getLane(l) - a;
            ASSERT_NEAR(dot(offset, n), 0.0f, 1e-5f);
            // uv were chosen as the affine coordinates themselves.
            float s = uv.x[l], t = uv.y[l];
            const znRTVector3f back = ab * s + ac * t;
            ASSERT_NEAR((back - offset).getLength(), 0.0f, 1e-5f);
            ASSERT_NEAR(dot(normal.getLane(l), n), 1.0f, 1e-5f);
            ASSERT_NEAR(area[l], 0.5f * cross(ab, ac).getLength(), 1e-4f);
            // Cells of the triangle: the 4 x 4 grid cut along its diagonals has 16 congruent parts.
            const int x = std::min(3, int(4 * s)), y = std::min(3, int(4 * t));
            const bool upper = 4 * s - float(x) + 4 * t - float(y) > 1.0f;
            int cell = 0;
            for (int row = 0; row < y; ++row)
                cell += 2 * (4 - row) - 1;
            cell += 2 * x + upper;
            ASSERT_LT(cell, cells);
            ++counts[cell];
        }
    }
    double chiSquare = 0.0;
    const double expected = 4.0 * packets / cells;
    for (const int count : counts)
        chiSquare += (count - expected) * (count - expected) / expected;
    EXPECT_LT(chiSquare, 37.7);
}

// A normal is perpendicular to what the matrix makes of the tangents.
TEST(MeshIntersector, KeepsNormalsPerpendicularUnderUnevenScale)
{
    MeshScene scene;
    const znRTVector3f n = znRTVector3f(1, 2, 3).getNormalized();
    const osg::Vec3f normal(n.x, n.y, n.z);
    const GeometryRef geometry =
        makeMesh({{0, 0, 0}, {2, -1, 0}, {3, 0, -1}}, {0, 1, 2}, {normal, normal, normal});
    osg::Matrix m;
    m[0][0] = 0.2f;
    m[1][1] = 5.0f;
    m[1][0] = 1.0f;
    m[2][2] = -2.0f;
    const osg::NodePtr node = scene.add(geometry.get(), m);
    scene.build();
    znRTVector3fPacket position, worldNormal;
    znRTVector2fPacket uv;
    znFloatType<2> area;
    scene.intersector(node).getSample(znFloatType<2>::allLanes(), 0,
                                      {{0.1f, 0.4f, 0.7f, 0.9f}, {0.3f, 0.6f, 0.1f, 0.8f}},
                                      position, worldNormal, uv, area);
    const znMatrix4x4 toWorld{scene.mesh(node).getToWorldMatrix()};
    for (const znRTVector3f& edge : {znRTVector3f(2, -1, 0), znRTVector3f(3, 0, -1)}) {
        const znRTVector3fPacket along(edge.getTransformAsDirection(toWorld).getNormalized());
        EXPECT_LANES_NEAR(dot(worldNormal, along), 0, 0, 0, 0, 1e-5f);
    }
    EXPECT_LANES_NEAR(worldNormal.getLength(), 1, 1, 1, 1, 1e-6f);
}

TEST(MeshIntersector, AnswersOnlyForLanesThatHit)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    znRTHitInfoPacket hit = scene.trace(downward({0.5f, 9.0f, -0.5f, 0.2f}, 0.25f));
    EXPECT_EQ(hit.hitMask, 0b1101u);
    znRTVector2fPacket uv;
    scene.intersector(node).getUVs(0, hit, uv);
    EXPECT_LANES_NEAR(uv.x, 0.75f, 0.0f, 0.25f, 0.6f, 1e-5f);
    EXPECT_LANES_NEAR(uv.y, 0.625f, 0.0f, 0.625f, 0.625f, 1e-5f);
    scene.intersector(node).getUVs(3, hit, uv);
    EXPECT_LANES_EQ(uv.x, 0, 0, 0, 0);
}

TEST(MeshIntersector, ChangesSidesWithoutANewTree)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    znRTMesh& mesh = scene.mesh(node);
    const znRTRayPacket below({0.2f, 0.3f, -5.0f}, znRTVector3fPacket(0.0f, 0.0f, 1.0f));
    const auto hits = [&](int sideness) {
        mesh.updateIntersector(sideness, false);
        EXPECT_EQ(scene.intersector(node).getLeaf()->getSideness(), sideness);
        return scene.trace(downward(0.2f, 0.3f)).hitMask * 16 + scene.trace(below).hitMask;
    };
    const auto* const traverser = scene.intersector(node).getTraverser();
    EXPECT_EQ(hits(1), 0xf0u);
    EXPECT_EQ(hits(2), 0x0fu);
    EXPECT_EQ(hits(3), 0xffu);
    EXPECT_EQ(scene.intersector(node).getTraverser(), traverser);
}

TEST(MeshIntersector, GivesNoAreaToWhatCannotBeHit)
{
    MeshScene scene;
    const GeometryRef geometry =
        makeMesh({{NAN, 0, 0}, {0, 0, 0}, {2, 0, 0}, {0, 1, 0}, {INFINITY, 0, 0}},
                 {1, 2, 3, 0, 1, 2, 1, 2, 4});
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    znDynArray<float> areas;
    EXPECT_FLOAT_EQ(scene.intersector(node).calculatePrimitiveAreas(areas), 1.0f);
    ASSERT_EQ(areas.size, 7u);
    int counted = 0;
    for (const float area : areas)
        counted += area != 0.0f;
    EXPECT_EQ(counted, 1);
}
