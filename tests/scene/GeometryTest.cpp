#include "host/osg/Geometry.h"

#include "host/osg/Surface.h"

#include <gtest/gtest.h>
#include <thread>

using namespace osg;

namespace {

/// A geometry of count vertices at (v, 0, 0) in one primitive.
Ref<Geometry> primitive(u32 type, u32 count)
{
    const Ref<Geometry> geometry = Geometry::create();
    std::vector<Vec3f> positions;
    for (u32 v = 0; v < count; ++v)
        positions.emplace_back(float(v), 0.0f, 0.0f);
    geometry->setPositions(GeoProperty::create(std::span<const Vec3f>(positions)));
    geometry->setTypes({type});
    geometry->setLengths({count});
    return geometry;
}

std::vector<std::array<u32, 3>> trianglesOf(const Geometry& geometry)
{
    std::vector<std::array<u32, 3>> list;
    for (TriangleIterator t = geometry.beginTriangles(); !(t == geometry.endTriangles()); ++t)
        list.push_back({t.getPositionIndex(0), t.getPositionIndex(1), t.getPositionIndex(2)});
    return list;
}

std::vector<std::array<u32, 2>> linesOf(const Geometry& geometry)
{
    std::vector<std::array<u32, 2>> list;
    for (LineIterator l = geometry.beginLines(); !(l == geometry.endLines()); ++l)
        list.push_back({l.getPositionIndex(0), l.getPositionIndex(1)});
    return list;
}

using Triangles = std::vector<std::array<u32, 3>>;
using Lines = std::vector<std::array<u32, 2>>;

// Expected lists: decomposition of the primitives in the OpenGL specification, 2.6.1; all triangles
// of a strip run the same way round.
TEST(TriangleIterator, CutsEverySurfacePrimitiveIntoTriangles)
{
    EXPECT_EQ(trianglesOf(*primitive(Geometry::triangles, 6)), (Triangles{{0, 1, 2}, {3, 4, 5}}));
    EXPECT_EQ(trianglesOf(*primitive(Geometry::triangleStrip, 5)),
              (Triangles{{0, 1, 2}, {2, 1, 3}, {2, 3, 4}}));
    EXPECT_EQ(trianglesOf(*primitive(Geometry::triangleFan, 5)),
              (Triangles{{0, 1, 2}, {0, 2, 3}, {0, 3, 4}}));
    EXPECT_EQ(trianglesOf(*primitive(Geometry::quads, 8)),
              (Triangles{{0, 1, 2}, {0, 2, 3}, {4, 5, 6}, {4, 6, 7}}));
    EXPECT_EQ(trianglesOf(*primitive(Geometry::quadStrip, 6)),
              (Triangles{{0, 1, 3}, {0, 3, 2}, {2, 3, 5}, {2, 5, 4}}));
    EXPECT_EQ(trianglesOf(*primitive(Geometry::polygon, 4)), (Triangles{{0, 1, 2}, {0, 2, 3}}));
}

TEST(TriangleIterator, LeavesOutIncompletePrimitivesAndThoseOfOtherKinds)
{
    EXPECT_EQ(trianglesOf(*primitive(Geometry::triangles, 5)).size(), 1u);
    EXPECT_EQ(trianglesOf(*primitive(Geometry::triangleStrip, 2)).size(), 0u);
    EXPECT_EQ(trianglesOf(*primitive(Geometry::quads, 7)).size(), 2u);
    EXPECT_EQ(trianglesOf(*primitive(Geometry::quadStrip, 5)).size(), 2u);
    EXPECT_EQ(trianglesOf(*primitive(Geometry::polygon, 1)).size(), 0u);
    for (const u32 type : {Geometry::points, Geometry::lines, Geometry::lineStrip})
        EXPECT_EQ(trianglesOf(*primitive(type, 6)).size(), 0u);
    EXPECT_EQ(trianglesOf(*primitive(77, 6)).size(), 0u);
    EXPECT_EQ(trianglesOf(*Geometry::create()).size(), 0u);
}

TEST(TriangleIterator, WalksSeveralPrimitivesOneAfterTheOther)
{
    const Ref<Geometry> geometry = primitive(Geometry::triangles, 12);
    geometry->setTypes({Geometry::triangles, Geometry::lines, Geometry::triangleStrip});
    geometry->setLengths({3, 4, 4});
    EXPECT_EQ(trianglesOf(*geometry), (Triangles{{0, 1, 2}, {7, 8, 9}, {9, 8, 10}}));
    // A length beyond the last vertex ends with it.
    geometry->setLengths({3, 4, 4000000000u});
    EXPECT_EQ(trianglesOf(*geometry).size(), 4u);
}

TEST(TriangleIterator, ReadsIndicesAndDropsThoseWithoutPosition)
{
    const Ref<Geometry> geometry = primitive(Geometry::triangles, 4);
    geometry->setIndices(GeoProperty::create({3u, 2u, 1u, 0u, 1u, 9u, 2u, 1u, 0u}));
    geometry->setLengths({9});
    EXPECT_EQ(trianglesOf(*geometry), (Triangles{{3, 2, 1}, {2, 1, 0}}));
    const std::vector<u16> indices{0, 2, 3};
    geometry->setIndices(GeoProperty::create(std::span<const u16>(indices)));
    geometry->setLengths({3});
    EXPECT_EQ(trianglesOf(*geometry), (Triangles{{0, 2, 3}}));
    EXPECT_EQ(geometry->beginTriangles().getPosition(1), Pnt3f(2, 0, 0));
}

TEST(LineIterator, CutsEveryLinePrimitiveIntoSegments)
{
    EXPECT_EQ(linesOf(*primitive(Geometry::lines, 5)), (Lines{{0, 1}, {2, 3}}));
    EXPECT_EQ(linesOf(*primitive(Geometry::lineStrip, 4)), (Lines{{0, 1}, {1, 2}, {2, 3}}));
    EXPECT_EQ(linesOf(*primitive(Geometry::lineLoop, 3)), (Lines{{0, 1}, {1, 2}, {2, 0}}));
    EXPECT_TRUE(linesOf(*primitive(Geometry::lineStrip, 1)).empty());
    EXPECT_TRUE(linesOf(*primitive(Geometry::triangles, 6)).empty());
    EXPECT_TRUE(linesOf(*primitive(Geometry::points, 6)).empty());
}

/// Two triangles over a shared edge, with positions and normals indexed apart.
Ref<Geometry> twoIndexed()
{
    const Ref<Geometry> geometry = Geometry::create();
    geometry->setPositions(GeoProperty::create({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}));
    geometry->setNormals(GeoProperty::create({{0, 0, 1}, {0, 1, 0}}));
    geometry->setIndices(GeoProperty::create({0u, 0u, 1u, 0u, 2u, 0u, 0u, 1u, 2u, 1u, 3u, 1u}));
    geometry->setIndexMapping({Geometry::positionBit, Geometry::normalBit});
    geometry->setTypes({Geometry::triangles});
    geometry->setLengths({6});
    return geometry;
}

TEST(Geometry, ReadsEachAttributeThroughItsOwnIndex)
{
    const Ref<Geometry> geometry = twoIndexed();
    EXPECT_EQ(geometry->getVertexCount(), 6u);
    TriangleIterator t = geometry->beginTriangles();
    ++t;
    EXPECT_EQ(t.getPositionIndex(2), 3u);
    EXPECT_EQ(t.getNormalIndex(2), 1u);
    EXPECT_EQ(t.getIndex(), 1u);
}

TEST(Geometry, BecomesSingleIndexedWithTheSameCorners)
{
    const Ref<Geometry> geometry = twoIndexed();
    std::vector<Vec3f> positions, normals;
    for (TriangleIterator t = geometry->beginTriangles(); !(t == geometry->endTriangles()); ++t)
        for (int c = 0; c < 3; ++c) {
            positions.push_back(geometry->getPositions()->getVec3(t.getPositionIndex(c)));
            normals.push_back(geometry->getNormals()->getVec3(t.getNormalIndex(c)));
        }
    geometry->makeSingleIndexed();
    EXPECT_EQ(geometry->getIndexMapping().size(), 1u);
    EXPECT_EQ(geometry->getPositions()->size(), 6u); // each corner pair occurs once
    std::size_t i = 0;
    for (TriangleIterator t = geometry->beginTriangles(); !(t == geometry->endTriangles()); ++t)
        for (int c = 0; c < 3; ++c, ++i) {
            EXPECT_EQ(t.getPositionIndex(c), t.getNormalIndex(c));
            EXPECT_EQ(geometry->getPositions()->getVec3(t.getPositionIndex(c)), positions[i]);
            EXPECT_EQ(geometry->getNormals()->getVec3(t.getNormalIndex(c)), normals[i]);
        }
    EXPECT_EQ(i, 6u);
    const GeoPropertyPtr before = geometry->getPositions();
    geometry->makeSingleIndexed();
    EXPECT_EQ(geometry->getPositions(), before);
}

TEST(Geometry, BecomesSingleIndexedOnceWhenManyThreadsAsk)
{
    const Ref<Geometry> geometry = twoIndexed();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&geometry] { geometry->makeSingleIndexed(); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(geometry->getPositions()->size(), 6u);
    EXPECT_EQ(trianglesOf(*geometry).size(), 2u);
}

TEST(GeoProperty, ReadsAllNumberTypesAndNothingBeyondItsEnd)
{
    const Ref<GeoProperty> property = GeoProperty::create();
    const u8 bytes[4] = {0, 255, 51, 102};
    property->set(GeoProperty::UInt8, 2, bytes, 2, true);
    EXPECT_EQ(property->size(), 2u);
    EXPECT_EQ(property->getStride(), 2u);
    EXPECT_FLOAT_EQ(property->getVector(0)[1], 1.0f);
    EXPECT_FLOAT_EQ(property->getVector(1)[0], 0.2f);
    EXPECT_EQ(property->getValue(1), 51u);
    EXPECT_EQ(property->getValue(2), 0u);
    EXPECT_EQ(property->getVector(2), Vec4f(0, 0, 0, 0));
    const u16 shorts[2] = {65535, 3};
    property->set(GeoProperty::UInt16, 1, shorts, 2, true);
    EXPECT_FLOAT_EQ(property->getVector(0)[0], 1.0f);
    EXPECT_EQ(property->getValue(1), 3u);
    property->set(GeoProperty::Float32, 3, nullptr, 0);
    EXPECT_TRUE(property->empty());
    EXPECT_EQ(property->getData(), nullptr);
}

TEST(Surface, ReturnsTrimCurvesAsTheyWereAdded)
{
    const Ref<Surface> surface = Surface::create();
    surface->setDimU(2);
    surface->setKnotsU({0, 0, 0, 1, 1, 1});
    EXPECT_EQ(surface->getCountU(), 3u);
    EXPECT_EQ(surface->getCountV(), 0u);
    const TrimCurve a{1, {0, 0, 1, 1}, {{0, 0, 1}, {1, 0, 1}}};
    const TrimCurve b{2, {0, 0, 0, 1, 1, 1}, {{1, 0, 1}, {0.5f, 0.5f, 0.7f}, {0, 0, 1}}};
    surface->addTrimLoop({a, b});
    surface->addTrimLoop({b});
    ASSERT_EQ(surface->getTrimLoopCount(), 2u);
    EXPECT_EQ(surface->getTrimCurveCount(0), 2u);
    EXPECT_EQ(surface->getTrimCurve(0, 0), a);
    EXPECT_EQ(surface->getTrimCurve(0, 1), b);
    EXPECT_EQ(surface->getTrimCurve(1, 0), b);
    EXPECT_TRUE(surface->getTrimCurve(1, 1).points.empty());
    EXPECT_TRUE(surface->getTrimCurve(9, 0).points.empty());
    // Sizes that the numbers do not bear out give nothing.
    surface->setTrimPoints({});
    EXPECT_TRUE(surface->getTrimCurve(0, 0).points.empty());
}

TEST(Shell, TellsItsKindByBitOne)
{
    EXPECT_TRUE(Ref<Shell>(Shell::create())->getGeometryType() & 2u);
    EXPECT_EQ(Ref<Geometry>(Geometry::create())->getGeometryType(), 0u);
    EXPECT_EQ(Ref<Surface>(Surface::create())->getGeometryType(), 0u);
}

} // namespace
