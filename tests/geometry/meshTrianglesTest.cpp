#include "geometry/meshTriangles.h"

#include "support/meshScene.h"

#include <array>
#include <gtest/gtest.h>

namespace {

using Corners = std::vector<std::array<u32, 3>>;

Corners filled(const osg::Geometry& geometry)
{
    znDynArray<znRTTriangle> triangles;
    const u64 count = fillTriangles(geometry, 4, triangles);
    EXPECT_EQ(triangles.size, geometry.getTypes().empty() ? 0 : count + 4);
    Corners list;
    for (u64 i = 0; i < count; ++i)
        list.push_back({triangles[i].a, triangles[i].b, triangles[i].c});
    for (u64 i = count; i < triangles.size; ++i)
        EXPECT_EQ(triangles[i].a + triangles[i].b + triangles[i].c, 0u) << "padding";
    return list;
}

GeometryRef primitive(u32 type, u32 count)
{
    const GeometryRef geometry = osg::Geometry::create();
    std::vector<osg::Vec3f> positions;
    for (u32 v = 0; v < count; ++v)
        positions.emplace_back(float(v), float(v * v), 0.0f);
    geometry->setPositions(osg::GeoProperty::create(std::span<const osg::Vec3f>(positions)));
    geometry->setTypes({type});
    geometry->setLengths({count});
    return geometry;
}

const std::vector<u32> indices{5, 1, 2, 0, 2, 4, 3, 3, 1};
const Corners expected{{5, 1, 2}, {0, 2, 4}, {3, 3, 1}};

GeometryRef indexed()
{
    const GeometryRef geometry = primitive(osg::Geometry::triangles, 6);
    geometry->setIndices(osg::GeoProperty::create(std::span<const u32>(indices)));
    geometry->setLengths({9});
    return geometry;
}

} // namespace

TEST(TriangleList, ReadsWideNarrowAndOtherIndicesAlike)
{
    const GeometryRef geometry = indexed();
    EXPECT_TRUE(isPlainTriangleList(*geometry));
    EXPECT_EQ(filled(*geometry), expected);

    const std::vector<u16> narrow(indices.begin(), indices.end());
    geometry->setIndices(osg::GeoProperty::create(std::span<const u16>(narrow)));
    EXPECT_EQ(filled(*geometry), expected);

    const std::vector<u8> bytes(indices.begin(), indices.end());
    const osg::GeoPropertyPtr property = osg::GeoProperty::create(std::span<const u16>(narrow));
    property->set(osg::GeoProperty::UInt8, 1, bytes.data(), bytes.size());
    geometry->setIndices(property);
    EXPECT_EQ(filled(*geometry), expected);
}

// Decomposition of the primitives in the OpenGL specification, 2.6.1.
TEST(TriangleList, TakesEveryKindOfSurface)
{
    EXPECT_EQ(filled(*primitive(osg::Geometry::triangles, 6)), (Corners{{0, 1, 2}, {3, 4, 5}}));
    EXPECT_EQ(filled(*primitive(osg::Geometry::triangleStrip, 4)), (Corners{{0, 1, 2}, {2, 1, 3}}));
    EXPECT_EQ(filled(*primitive(osg::Geometry::triangleFan, 4)), (Corners{{0, 1, 2}, {0, 2, 3}}));
    EXPECT_EQ(filled(*primitive(osg::Geometry::quads, 8)),
              (Corners{{0, 1, 2}, {0, 2, 3}, {4, 5, 6}, {4, 6, 7}}));
    EXPECT_EQ(filled(*primitive(osg::Geometry::quadStrip, 6)),
              (Corners{{0, 1, 3}, {0, 3, 2}, {2, 3, 5}, {2, 5, 4}}));
    EXPECT_EQ(filled(*primitive(osg::Geometry::polygon, 5)),
              (Corners{{0, 1, 2}, {0, 2, 3}, {0, 3, 4}}));
}

TEST(TriangleList, TakesSeveralPrimitivesOfDifferentKinds)
{
    const GeometryRef geometry = primitive(osg::Geometry::triangles, 11);
    geometry->setTypes(
        {osg::Geometry::triangles, osg::Geometry::quads, osg::Geometry::triangleFan});
    geometry->setLengths({3, 4, 4});
    EXPECT_EQ(filled(*geometry), (Corners{{0, 1, 2}, {3, 4, 5}, {3, 5, 6}, {7, 8, 9}, {7, 9, 10}}));
}

// Two indices per vertex: positions and normals apart. Afterwards one index addresses both, and
// the triangles stand at the same places.
TEST(TriangleList, KeepsPlacesWhenSeveralIndicesBecomeOne)
{
    const GeometryRef geometry = primitive(osg::Geometry::triangles, 4);
    geometry->setNormals(osg::GeoProperty::create({osg::Vec3f(0, 0, 1), {0, 1, 0}}));
    geometry->setIndices(
        osg::GeoProperty::create({0u, 0u, 1u, 0u, 2u, 0u, 0u, 1u, 2u, 1u, 3u, 1u}));
    geometry->setIndexMapping({osg::Geometry::positionBit, osg::Geometry::normalBit});
    geometry->setLengths({6});
    geometry->makeSingleIndexed();
    const osg::GeoProperty& positions = *geometry->getPositions();
    const Corners triangles = filled(*geometry);
    ASSERT_EQ(triangles.size(), 2u);
    const u32 places[2][3] = {{0, 1, 2}, {0, 2, 3}};
    for (int t = 0; t < 2; ++t)
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(positions.getVec3(triangles[t][k])[0], float(places[t][k]));
}

TEST(TriangleList, LeavesOutWhatDoesNotExist)
{
    const GeometryRef geometry = indexed();
    geometry->setIndices(osg::GeoProperty::create({0u, 1u, 2u, 3u, 4u, 6u, 1u, 2u, 3u, 5u}));
    geometry->setLengths({4000000000u});
    EXPECT_EQ(filled(*geometry), (Corners{{0, 1, 2}, {1, 2, 3}}));
}

TEST(TriangleList, IsEmptyWithoutLengthsOrTypes)
{
    const GeometryRef geometry = indexed();
    geometry->setTypes({});
    EXPECT_TRUE(filled(*geometry).empty());
}
