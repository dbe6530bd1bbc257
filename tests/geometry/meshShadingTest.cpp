#include "core/shadingRequirements.h"
#include "geometry/znRTMesh.h"
#include "support/lanes.h"
#include "support/meshScene.h"

#include <cstring>

namespace {

constexpr u32 everyAttribute = 0xffff;

znRTDataBlockPacket shaded(MeshScene& scene, const znRTRayDifferentialPacket& rays,
                           u32 attributes = everyAttribute,
                           u32 requirements = shadingRequirement::all)
{
    znRTDataBlockPacket data{scene.trace(rays)};
    scene.scene->getShadingData(rays, data, false, attributes, requirements);
    data.computeShadingData(rays);
    return data;
}

/// A bumpy sheet with smooth normals over the plane z = 0.
GeometryRef makeSheet()
{
    std::vector<osg::Vec3f> positions, normals;
    std::vector<osg::Vec2f> uvs;
    std::vector<u32> indices;
    constexpr u32 n = 8;
    for (u32 j = 0; j <= n; ++j)
        for (u32 i = 0; i <= n; ++i) {
            const float x = -1.0f + 2.0f * float(i) / n, y = -1.0f + 2.0f * float(j) / n;
            positions.emplace_back(x, y, 0.2f * std::sin(2 * x) * std::cos(3 * y));
            const znRTVector3f normal = znRTVector3f(-0.4f * std::cos(2 * x) * std::cos(3 * y),
                                                     0.6f * std::sin(2 * x) * std::sin(3 * y), 1.0f)
                                            .getNormalized();
            normals.emplace_back(normal.x, normal.y, normal.z);
            uvs.emplace_back(0.5f + 0.4f * x + 0.1f * y, 0.3f - 0.7f * y);
        }
    for (u32 j = 0; j < n; ++j)
        for (u32 i = 0; i < n; ++i) {
            const u32 a = j * (n + 1) + i, b = a + n + 1;
            for (const u32 index : {a, a + 1, b + 1, a, b + 1, b})
                indices.push_back(index);
        }
    return makeMesh(positions, indices, normals, uvs);
}

const osg::Matrix& skewed()
{
    static const osg::Matrix matrix = [] {
        osg::Matrix m;
        m[0][0] = 1.5f;
        m[1][0] = 0.3f;
        m[1][1] = 0.8f;
        m[2][2] = 1.2f;
        m[0][2] = 0.2f;
        return m;
    }();
    return matrix;
}

} // namespace

TEST(MeshShading, FacesTheViewerAndRemembersTheStoredSide)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    scene.add(geometry.get());
    scene.build();
    const znRTDataBlockPacket above = shaded(scene, downward(0.5f, 0.2f));
    EXPECT_LANES_NEAR(above.dg.position.x, 0.5f, 0.5f, 0.5f, 0.5f, 1e-5f);
    EXPECT_LANES_NEAR(above.dg.geometricNormal.z, 1, 1, 1, 1, 1e-6f);
    EXPECT_LANES_NEAR(above.dg.shadingNormal.z, 1, 1, 1, 1, 1e-6f);
    EXPECT_LANES_NEAR(above.facedNormal.z, 1, 1, 1, 1, 1e-6f);
    EXPECT_LANES_NEAR(above.cosIncidence, 1, 1, 1, 1, 1e-6f);
    EXPECT_EQ(moveMask(above.dg.frontFacing), 15);

    const znRTRayDifferentialPacket upward{
        znRTRayPacket({0.2f, 0.3f, -5.0f}, znRTVector3fPacket(0.0f, 0.0f, 1.0f))};
    const znRTDataBlockPacket below = shaded(scene, upward);
    EXPECT_LANES_NEAR(below.dg.geometricNormal.z, -1, -1, -1, -1, 1e-6f);
    EXPECT_LANES_NEAR(below.dg.shadingNormal.z, -1, -1, -1, -1, 1e-6f);
    EXPECT_LANES_NEAR(below.facedNormal.z, 1, 1, 1, 1, 1e-6f);
    EXPECT_EQ(moveMask(below.dg.frontFacing), 0);
}

TEST(MeshShading, KeepsTheStoredFrontUnderAMirror)
{
    MeshScene scene;
    const GeometryRef geometry = makeMesh({{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}}, {0, 1, 2});
    osg::Matrix mirror;
    mirror[0][0] = -1.0f;
    const osg::NodePtr node = scene.add(geometry.get(), mirror);
    scene.build();
    const znRTDataBlockPacket data = shaded(scene, downward(0.1f, 0.2f));
    EXPECT_LANES_NEAR(data.facedNormal.z, 1, 1, 1, 1, 1e-6f);
    scene.mesh(node).updateIntersector(1, false);
    EXPECT_EQ(scene.trace(downward(0.1f, 0.2f)).hitMask, 15u);
}

// Finite differences: rays through the neighbouring pixels hit the same triangles, and the
// difference of their hits is the footprint.
TEST(MeshShading, MatchesItsDifferentialsWithNeighbouringRays)
{
    MeshScene scene;
    const GeometryRef geometry = makeSheet();
    scene.add(geometry.get(), skewed());
    scene.build();
    const float step = 1e-3f;
    znRTRayDifferentialPacket rays{
        znRTRayPacket({{0.05f, 0.31f, -0.4f, 0.67f}, {0.17f, -0.35f, 0.21f, 0.05f}, 5.0f},
                      {{0.02f, -0.03f, 0.05f, 0.0f}, 0.04f, -1.0f})};
    rays.hasDifferentials = 1;
    rays.rxOrigin = rays.origin + znRTVector3fPacket(step, 0.0f, 0.0f);
    rays.ryOrigin = rays.origin + znRTVector3fPacket(0.0f, step, 0.0f);
    rays.rxDirection = rays.ryDirection = rays.direction;
    const znRTDataBlockPacket data = shaded(scene, rays);
    ASSERT_EQ(data.hit.hitMask, 15u);
    znRTRayDifferentialPacket xRays = rays, yRays = rays;
    xRays.origin = rays.rxOrigin;
    yRays.origin = rays.ryOrigin;
    const znRTDataBlockPacket x = shaded(scene, xRays), y = shaded(scene, yRays);
    const auto compare = [&](const znRTDataBlockPacket& next, const znRTVector3fPacket& dP,
                             const znRTVector2fPacket& dUV, const znRTVector3fPacket& dN) {
        ASSERT_EQ(moveMask(next.hit.primitive == data.hit.primitive), 15) << "choose other rays";
        for (int l = 0; l < 4; ++l) {
            const znRTVector3f p = next.dg.position.getLane(l) - data.dg.position.getLane(l);
            EXPECT_NEAR((p - dP.getLane(l)).getLength(), 0.0f, 0.01f * p.getLength());
            const znRTVector2f uv = next.dg.uv.getLane(l) - data.dg.uv.getLane(l);
            EXPECT_NEAR((uv - dUV.getLane(l)).getLength(), 0.0f, 0.01f * uv.getLength());
            const znRTVector3f n = next.facedNormal.getLane(l) - data.facedNormal.getLane(l);
            EXPECT_NEAR((n - dN.getLane(l)).getLength(), 0.0f, 0.02f * n.getLength() + 2e-6f);
        }
    };
    compare(x, data.dg.dPdx, data.dg.dUVdx, data.dg.dNdx);
    compare(y, data.dg.dPdy, data.dg.dUVdy, data.dg.dNdy);
    // Chain rule: what the texture coordinates change by is what position and normal change by.
    for (int l = 0; l < 4; ++l) {
        const float du = data.dg.dUVdx.x[l], dv = data.dg.dUVdx.y[l];
        const znRTVector3f p = data.dg.dPdu.getLane(l) * du + data.dg.dPdv.getLane(l) * dv;
        EXPECT_NEAR((p - data.dg.dPdx.getLane(l)).getLength(), 0.0f, 1e-3f * p.getLength());
        const znRTVector3f n = data.dg.dNdu.getLane(l) * du + data.dg.dNdv.getLane(l) * dv;
        EXPECT_NEAR((n - data.dg.dNdx.getLane(l)).getLength(), 0.0f, 1e-3f * n.getLength() + 1e-7f);
    }
}

TEST(MeshShading, InterpolatesTextureSetsAndColors)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const std::vector<osg::Vec2f> second{{0, 0}, {2, 0}, {2, 4}, {0, 4}};
    geometry->setTexCoords5(osg::GeoProperty::create(std::span<const osg::Vec2f>(second)));
    const u8 colors[] = {255, 0, 0, 255, 255, 0, 0, 255, 255, 255, 0, 255, 255, 255, 0, 255};
    const osg::GeoPropertyPtr property = osg::GeoProperty::create({0u});
    property->set(osg::GeoProperty::UInt8, 4, colors, 4, true);
    geometry->setColors(property);
    scene.add(geometry.get());
    scene.build();
    const znRTDataBlockPacket data = shaded(scene, downward({-0.5f, 0.4f, 0.0f, 0.25f}, 0.5f));
    EXPECT_EQ(data.uvValid, 0b100001u);
    EXPECT_LANES_NEAR(data.uv[0].x, 0.25f, 0.7f, 0.5f, 0.625f, 1e-5f);
    EXPECT_LANES_NEAR(data.uv[5].x, 0.5f, 1.4f, 1.0f, 1.25f, 1e-5f);
    EXPECT_LANES_NEAR(data.uv[5].y, 3, 3, 3, 3, 1e-5f);
    EXPECT_LANES_NEAR(data.uv[2].x, 0, 0, 0, 0, 0.0f);
    EXPECT_LANES_NEAR(data.vertexColor.g, 0.75f, 0.75f, 0.75f, 0.75f, 1e-5f);
    EXPECT_EQ(moveMask(data.bakedColor.a), 0) << "plain colours are not baked light";
    geometry->setBakedColors(true);
    for (u64 i = 0; i < scene.scene->getSceneNodesSize(); ++i)
        scene.scene->getSceneNode(i)->initGeometry();
    const znRTDataBlockPacket baked = shaded(scene, downward(0.4f, 0.5f));
    EXPECT_EQ(moveMask(baked.bakedColor.a), 15);
    EXPECT_LANES_NEAR(baked.bakedIrradiance.g, 0.75f, 0.75f, 0.75f, 0.75f, 1e-5f);
}

TEST(MeshShading, ReportsTheCornersOfTheHit)
{
    MeshScene scene;
    const GeometryRef geometry = makeMesh({{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}}, {0, 1, 2});
    scene.add(geometry.get(), makeTranslation(0, 0, 2));
    scene.build();
    const znRTDataBlockPacket data = shaded(scene, downward(0.0f, 0.0f));
    EXPECT_LANES_EQ(data.edgeVertices[1].x, 1, 1, 1, 1);
    EXPECT_LANES_EQ(data.edgeVertices[2].z, 2, 2, 2, 2);
    EXPECT_LANES_NEAR(data.b0 + data.hit.u + data.hit.v, 1, 1, 1, 1, 1e-6f);
    EXPECT_LANES_NEAR(data.objectPosition.z, 0, 0, 0, 0, 1e-6f);
    EXPECT_LANES_NEAR(data.objectNormal.z, 1, 1, 1, 1, 1e-6f);
}

// One node under all lanes is filled at once, lanes of several nodes one by one. A far away second
// node does not change what the first one says, bit for bit.
TEST(MeshShading, IsTheSameForOneLaneAndForThePacket)
{
    MeshScene scene;
    const GeometryRef geometry = makeSheet();
    const osg::NodePtr node = scene.add(geometry.get(), skewed());
    scene.build();
    znRTRayDifferentialPacket rays =
        downward({0.05f, 0.31f, -0.4f, 0.67f}, {0.17f, -0.35f, 0.21f, 0.05f});
    rays.hasDifferentials = 1;
    rays.rxOrigin = rays.origin + znRTVector3fPacket(1e-3f, 0.0f, 0.0f);
    rays.ryOrigin = rays.origin + znRTVector3fPacket(0.0f, 1e-3f, 0.0f);
    rays.rxDirection = rays.ryDirection = rays.direction;
    scene.mesh(node).calculateTangents();
    const znRTDataBlockPacket whole = shaded(scene, rays);
    ASSERT_EQ(whole.hit.hitMask, 15u);
    for (int lane = 0; lane < 4; ++lane) {
        znRTDataBlockPacket single = whole;
        std::memset(static_cast<void*>(&single.dg), 0, sizeof(single.dg) - 16);
        single.hit.hitMask = 1u << lane;
        scene.scene->getShadingData(rays, single, false, everyAttribute, shadingRequirement::all);
        single.computeShadingData(rays);
        ASSERT_EQ(single.materialCount, 1u);
        EXPECT_EQ(moveMask(single.materialLanes[0]), 1 << lane);
        const auto same = [lane](const znRTVector3fPacket& a, const znRTVector3fPacket& b) {
            return a.getLane(lane) == b.getLane(lane);
        };
        EXPECT_TRUE(same(single.dg.position, whole.dg.position));
        EXPECT_TRUE(same(single.dg.geometricNormal, whole.dg.geometricNormal));
        EXPECT_TRUE(same(single.dg.shadingNormal, whole.dg.shadingNormal));
        EXPECT_TRUE(same(single.dg.dPdx, whole.dg.dPdx));
        EXPECT_TRUE(same(single.dg.dPdv, whole.dg.dPdv));
        EXPECT_TRUE(same(single.dg.dNdu, whole.dg.dNdu));
        EXPECT_TRUE(same(single.dg.dNdy, whole.dg.dNdy));
        EXPECT_TRUE(same(single.dg.tangent, whole.dg.tangent));
        EXPECT_TRUE(same(single.objectPosition, whole.objectPosition));
        EXPECT_TRUE(same(single.base.shadingNormal, whole.base.shadingNormal));
        EXPECT_EQ(single.dg.uv.getLane(lane), whole.dg.uv.getLane(lane));
        EXPECT_EQ(single.cosIncidence[lane], whole.cosIncidence[lane]);
        EXPECT_EQ(single.coverage[lane], 1.0f);
    }
}
