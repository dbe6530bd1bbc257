#include "core/znRTVectorMath.h"

#include "core/znRTColorPacket.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayFilter.h"
#include "core/znRTShadingState.h"
#include "core/znRTVector2fPacket.h"
#include "host/osg/TransformationMatrix.h"
#include "support/lanes.h"

#include <memory>
#include <random>
#include <sstream>

namespace {

znMatrix4x4 randomMatrix(unsigned seed)
{
    std::mt19937 engine(seed);
    std::uniform_real_distribution<float> value(-2.0f, 2.0f);
    znMatrix4x4 m = znMatrix4x4::identity();
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 3; ++r)
            m[c][r] += value(engine);
    m[1][3] = 0.5f;
    m[3][3] = 2.0f;
    return m;
}

const znRTVector3fPacket points(znFloatType<2>(1, 2, 3, 4), znFloatType<2>(-1, 0, 1, 2),
                                znFloatType<2>(0.5f, 0.25f, 8, -3));

} // namespace

TEST(VectorPackets, WriteTheirLanes)
{
    std::ostringstream stream;
    stream << znRTVector2fPacket({1, 2, 3, 4}, {0.5f, -1, 0, 9});
    EXPECT_EQ(stream.str(), "x: 1, 2, 3, 4\ny: 0.5, -1, 0, 9\n");
    stream.str("");
    stream << znRTVector3fPacket(1.0f, 2.0f, {0, 1, 2, 3});
    EXPECT_EQ(stream.str(), "x: 1, 1, 1, 1\ny: 2, 2, 2, 2\nz: 0, 1, 2, 3\n");
    stream.str("");
    stream << znRTVector4fPacket(1.0f, 2.0f, 3.0f, 4.0f);
    EXPECT_EQ(stream.str(), "x: 1, 1, 1, 1\ny: 2, 2, 2, 2\nz: 3, 3, 3, 3\nw: 4, 4, 4, 4\n");
}

TEST(VectorPackets, NormalizeToUnitLengthAndZeroToNaN)
{
    znRTVector3fPacket v({3, 0, 1e-10f, 0}, {4, 0, 0, -2e8f}, {0, 0, 0, 0});
    v.normalize();
    EXPECT_LANES_NEAR(v.x, 0.6f, NAN, 1.0f, 0.0f, 5e-7f);
    EXPECT_LANES_NEAR(v.y, 0.8f, NAN, 0.0f, -1.0f, 5e-7f);
}

TEST(VectorPackets, AssignOnlyLanesOfTheMask)
{
    znRTVector3fPacket v = points;
    v.setMasked(znRTVector3fPacket(9.0f, 8.0f, 7.0f), expandLanes(0b0101));
    EXPECT_LANES_EQ(v.x, 9, 2, 9, 4);
    EXPECT_LANES_EQ(v.z, 7, 0.25f, 7, -3);
}

TEST(VectorPackets, CrossIsPerpendicularToBoth)
{
    const znRTVector3fPacket b(0.3f, -2.0f, 1.0f);
    const znRTVector3fPacket c = cross(points, b);
    EXPECT_LANES_NEAR(dot(c, points), 0, 0, 0, 0, 1e-5f);
    EXPECT_LANES_NEAR(dot(c, b), 0, 0, 0, 0, 1e-5f);
}

// The scalar forms of the host vectors are the reference.
TEST(VectorMath, TransformsEachLaneAsTheScalarForm)
{
    const znMatrix4x4 m = randomMatrix(1);
    const znRTVector3fPacket location = znRTVectorMath::transformAsLocation(points, m);
    const znRTVector3fPacket direction = znRTVectorMath::transformAsDirection(points, m);
    for (int l = 0; l < 4; ++l) {
        const znRTVector3f p = points.getLane(l);
        const znRTVector3f expected = p.getTransformAsLocation(m);
        EXPECT_NEAR(location.x[l], expected.x, 1e-5f);
        EXPECT_NEAR(location.y[l], expected.y, 1e-5f);
        EXPECT_NEAR(location.z[l], expected.z, 1e-5f);
        EXPECT_NEAR(direction.x[l], p.getTransformAsDirection(m).x, 1e-5f);
    }
    const znRTVector4fPacket full = znRTVectorMath::transformFull(points, m);
    EXPECT_LANES_NEAR(full.w, 1.5f, 2.0f, 2.5f, 3.0f, 1e-5f);
    EXPECT_LANES_NEAR(full.x, location.x[0], location.x[1], location.x[2], location.x[3], 0.0f);
}

TEST(VectorMath, TransformsInPlace)
{
    const znMatrix4x4 m = randomMatrix(2);
    znRTVector3fPacket a = points, b = points * 2.0f, c = points * -1.0f;
    znRTVectorMath::transformAsLocation(a, b, m, a, b);
    const znRTVector3fPacket expected = znRTVectorMath::transformAsLocation(points * 2.0f, m);
    EXPECT_LANES_EQ(b.y, expected.y[0], expected.y[1], expected.y[2], expected.y[3]);

    a = points;
    b = points * 2.0f;
    znRTVectorMath::transformTriangle(a, b, c, m);
    const znRTVector3fPacket last = znRTVectorMath::transformAsLocation(points * -1.0f, m);
    EXPECT_LANES_EQ(c.z, last.z[0], last.z[1], last.z[2], last.z[3]);
    EXPECT_LANES_EQ(b.y, expected.y[0], expected.y[1], expected.y[2], expected.y[3]);
}

TEST(VectorMath, TakesMatricesOfDoubles)
{
    const znMatrix4x4 m = randomMatrix(4);
    osg::TransformationMatrix<double> doubles;
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            doubles[c][r] = m[c][r];
    const znRTVector3fPacket direction = znRTVectorMath::transformAsDirection(points, m);
    const znRTVector4fPacket full = znRTVectorMath::transformFull(points, m);
    const znRTVector3fPacket sameDirection = znRTVectorMath::transformAsDirection(points, doubles);
    const znRTVector4fPacket same = znRTVectorMath::transformFull(points, doubles);
    EXPECT_LANES_EQ(sameDirection.z, direction.z[0], direction.z[1], direction.z[2],
                    direction.z[3]);
    EXPECT_LANES_EQ(same.y, full.y[0], full.y[1], full.y[2], full.y[3]);
    EXPECT_LANES_EQ(same.w, full.w[0], full.w[1], full.w[2], full.w[3]);
}

// Red of 1 becomes the matrix's first column, and so on; alpha passes by.
TEST(VectorMath, TakesColoursThroughAMatrixAndKeepsTheirAlpha)
{
    const znMatrix4x4 m = randomMatrix(5);
    const znRTColorPacket color({1, 0, 0, 2}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0.5f, 1, 2, 0});
    const znRTColorPacket changed = znRTVectorMath::transformColor(color, m);
    EXPECT_LANES_NEAR(changed.r, m[0][0], m[1][0], m[2][0], 2 * m[0][0], 1e-6f);
    EXPECT_LANES_NEAR(changed.g, m[0][1], m[1][1], m[2][1], 2 * m[0][1], 1e-6f);
    EXPECT_LANES_NEAR(changed.b, m[0][2], m[1][2], m[2][2], 2 * m[0][2], 1e-6f);
    EXPECT_LANES_EQ(changed.a, 0.5f, 1, 2, 0);
}

TEST(VectorMath, KeepsNormalsPerpendicularUnderUnevenScale)
{
    znMatrix4x4 m = znMatrix4x4::identity();
    m[0][0] = 0.1f;
    m[1][1] = 7.0f;
    m[1][0] = 2.0f;
    m[2][2] = -3.0f;
    const znRTVector3fPacket tangent(1.0f, {0, 1, 2, -1}, 0.5f);
    const znRTVector3fPacket normal = cross(tangent, points);
    const znRTVector3fPacket transformed =
        znRTVectorMath::transformAsNormal(normal, m.inverted()).getNormalized();
    const znRTVector3fPacket along =
        znRTVectorMath::transformAsDirection(tangent, m).getNormalized();
    EXPECT_LANES_NEAR(dot(transformed, along), 0, 0, 0, 0, 1e-6f);
}

TEST(VectorMath, TakesOneMatrixPerLane)
{
    znMatrix4x4Packet lanes(znMatrix4x4::identity());
    const znMatrix4x4 m = randomMatrix(3);
    lanes.setLane(2, m);
    EXPECT_EQ(lanes.getLane(2), m);
    const znRTVector3fPacket moved = znRTVectorMath::transformAsLocation(points, lanes);
    EXPECT_EQ(moved.x[1], points.x[1]);
    EXPECT_NEAR(moved.x[2], points.getLane(2).getTransformAsLocation(m).x, 1e-5f);
}

TEST(VectorPackets, AreAlignedAsTheirRegisters)
{
    EXPECT_EQ(alignof(znRTVector2fPacket), 16u);
    EXPECT_EQ(alignof(znRTVector3fPacket), 16u);
    EXPECT_EQ(alignof(znRTVector4fPacket), 16u);
    EXPECT_EQ(alignof(znMatrix4x4Packet), 16u);
    EXPECT_EQ(alignof(znRTColorPacket), 16u);
    EXPECT_EQ(alignof(znRTShadingState), 16u);
    EXPECT_EQ(alignof(znRTDataBlockPacket), 16u);
}

TEST(VectorPackets, LeaveTheHeapAtTheAlignmentOfTheirOwners)
{
    class Filter : public znRTRayFilter
    {
        int filter(const znRTIntersector* const, int lanes) const override { return lanes; }
        bool filterSingle(const znRTIntersector* const, int) const override { return true; }
    };
    const auto isAligned = [](const void* object, std::uintptr_t alignment) {
        return reinterpret_cast<std::uintptr_t>(object) % alignment == 0;
    };
    for (int i = 0; i < 8; ++i) {
        const std::unique_ptr<Filter> filter(new Filter);
        EXPECT_TRUE(isAligned(filter.get(), 64));
        const std::unique_ptr<znRTDataBlockPacket> block(new znRTDataBlockPacket(1.0f));
        EXPECT_TRUE(isAligned(block.get(), 16));
        const std::unique_ptr<znRTColor> color(new znRTColor);
        EXPECT_TRUE(isAligned(color.get(), 16));
    }
}
