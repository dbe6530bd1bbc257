#include "core/znRTRayPacketBundle.h"

#include "core/znRTColorPacket.h"
#include "core/znRTFloatControl.h"
#include "core/znRTRay2d.h"
#include "host/osg/Vector.h"
#include "support/lanes.h"

#include <limits>
#include <random>
#include <sstream>

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

const znRTVector3fPacket origins(znFloatType<2>(0, 1, 2, 3), 0.5f, -1.0f);
const znRTVector3fPacket towards(znFloatType<2>(3, -20, 1e-3f, 5), znFloatType<2>(4, 1, 0, 5),
                                 1.0f);

void expectUnit(const znRTRayPacket& ray)
{
    EXPECT_LANES_NEAR(ray.direction.getLength(), 1, 1, 1, 1, 5e-7f);
    EXPECT_LANES_NEAR(ray.invDirection.x * ray.direction.x, 1, 1, 1, 1, 1e-6f);
    EXPECT_EQ(ray.auxiliary, nullptr);
}

} // namespace

TEST(RayPacket, NormalizesInEveryConstructor)
{
    const znRTVector3f o(1, 2, 3), d(1, 2, 2);
    expectUnit({origins, towards});
    expectUnit({origins, towards, 1, 2, znRTVector3fPacket(1.0f, 0.5f, 0.25f), 4});
    expectUnit({origins, towards, 1, 2, znRTColorPacket(0.5f), 8, 0.5f});
    expectUnit({origins.x, origins.y, origins.z, towards.x, towards.y, towards.z});
    expectUnit({origins.x, origins.y, origins.z, towards.x, towards.y, towards.z, 4});
    expectUnit({o, o, o, o, d, d * 7.0f, d * 0.01f, d});
    expectUnit({znRTVector4f(1, 2, 3, 0), znRTVector4f(1, 2, 2, 0)});
    const znRTRayPacket fromAt(znRTVector4f(1, 2, 3, 0), znRTVector4f(1, 1, 1, 0),
                               znRTVector4f(2, 3, 3, 0));
    expectUnit(fromAt);
    EXPECT_LANES_NEAR(fromAt.direction.y, 2 / 3.0f, 2 / 3.0f, 2 / 3.0f, 2 / 3.0f, 1e-6f);
}

TEST(RayPacket, TakesLanesFromQuadruples)
{
    const znRTVector3f o[4] = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}};
    const znRTVector3f d[4] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {-1, 0, 0}};
    const znRTRayPacket ray(o[0], o[1], o[2], o[3], d[0], d[1], d[2], d[3]);
    EXPECT_LANES_EQ(ray.origin.x, 0, 1, 2, 3);
    EXPECT_LANES_NEAR(ray.direction.x, 1, 0, 0, -1, 5e-7f);
    EXPECT_LANES_NEAR(ray.direction.z, 0, 0, 1, 0, 5e-7f);

    const osg::Vec3f host[4] = {{0, 0, 5}, {0, 6, 0}, {7, 0, 0}, {0, 0, -8}};
    const znRTRayPacket fromHost(host[0], host[1], host[2], host[3], host[0], host[1], host[2],
                                 host[3]);
    EXPECT_LANES_EQ(fromHost.origin.z, 5, 0, 0, -8);
    EXPECT_LANES_NEAR(fromHost.direction.z, 1, 0, 0, -1, 5e-7f);
}

TEST(RayPacket, DefaultsToACameraRayOfFullWeight)
{
    const znRTRayPacket ray(origins, towards);
    EXPECT_INT_LANES(ray.type, 12, 12, 12, 12);
    EXPECT_INT_LANES(ray.pixelX, 0, 0, 0, 0);
    EXPECT_LANES_EQ(ray.weight.y, 1, 1, 1, 1);
    EXPECT_LANES_EQ(ray.alpha, 1, 1, 1, 1);
    EXPECT_LANES_EQ(ray.getMonochromatic(), 0, 0, 0, 0);
}

TEST(RayPacket, CopiesWithoutNormalizing)
{
    znRTRayPacket ray(origins, towards);
    ray.direction = ray.direction * 3.0f;
    const znRTRayPacket copy(ray);
    EXPECT_LANES_NEAR(copy.direction.getLength(), 3, 3, 3, 3, 2e-6f);
}

TEST(RayPacket, KeepsTheInverseInEverySetter)
{
    znRTRayPacket ray(origins, towards);
    ray.setAt(origins + znRTVector3fPacket(2.0f, 0.0f, 0.0f));
    EXPECT_LANES_NEAR(ray.invDirection.x, 1, 1, 1, 1, 1e-6f);
    EXPECT_LANES_EQ(ray.invDirection.y, infinity, infinity, infinity, infinity);
    ray.setFromAt(origins, origins + znRTVector3fPacket(0.0f, -2.0f, 0.0f));
    EXPECT_LANES_NEAR(ray.invDirection.y, -1, -1, -1, -1, 1e-6f);
    const znRTVector3f o[4] = {}, d[4] = {{2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {2, 0, 0}};
    ray.setRays(o, d);
    EXPECT_LANES_NEAR(ray.invDirection.z, infinity, infinity, 1, infinity, 1e-6f);
}

TEST(RayPacket, GivesZerosAnInfiniteInverseOfTheirSign)
{
    const znRTRayPacket ray(znRTVector3fPacket(0.0f, 0.0f, 0.0f),
                            {{0.0f, -0.0f, 1, 1}, 1.0f, {-0.0f, 0.0f, -0.0f, 0.0f}});
    EXPECT_LANES_EQ(ray.invDirection.z, -infinity, infinity, -infinity, infinity);
    EXPECT_EQ(ray.invDirection.x[0], infinity);
    EXPECT_EQ(ray.invDirection.x[1], -infinity);
}

// On a host thread denormals are not flushed. A direction so short that its square is denormal or
// zero has no direction at all; a component that is denormal beside others must not become NaN.
TEST(RayPacket, SurvivesDenormalComponents)
{
    const znRTFloatControl control;
    const znRTRayPacket ray(znRTVector3fPacket(0.0f, 0.0f, 0.0f), {1.0f, 1e-39f, -1e-39f});
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_FALSE(anyLane(isNaN(ray.invDirection[axis])));
}

TEST(RayPacket, IsValidWhenSignsAgreePerAxis)
{
    const auto isValid = [](znFloatType<2> x) {
        return znRTRayPacket(znRTVector3fPacket(0.0f, 0.0f, 0.0f), {x, 1.0f, -1.0f}).isValid();
    };
    EXPECT_TRUE(isValid({1, 2, 3, 4}));
    EXPECT_TRUE(isValid({-1, -2, -3, -4}));
    EXPECT_FALSE(isValid({1, 2, -3, 4}));
    EXPECT_FALSE(isValid({0.0f, -0.0f, 0.0f, 0.0f}));
    EXPECT_TRUE(isValid({-0.0f, -0.0f, -1.0f, -2.0f}));
}

// Distances do not change because the direction is not normalized in the new frame.
TEST(RayPacket, KeepsDistancesInAnotherFrame)
{
    znMatrix4x4 m = znMatrix4x4::identity();
    m[0][0] = 3.0f;
    m[2][1] = 0.5f;
    m[3][0] = -7.0f;
    znRTRayPacket ray(origins, towards, 3, 4, znRTVector3fPacket(1.0f, 1.0f, 1.0f), 4);
    ray.auxiliary = reinterpret_cast<const znRTRayFilter*>(&ray);
    const znRTRayPacket moved = ray.getTransformedPacket(m);
    const znRTVector3fPacket expected = znRTVectorMath::transformAsLocation(ray.pointAt(2.5f), m);
    const znRTVector3fPacket actual = moved.pointAt(2.5f);
    for (int l = 0; l < 4; ++l)
        EXPECT_NEAR(actual.x[l], expected.x[l], 1e-5f);
    EXPECT_LANES_NEAR(moved.invDirection.x * moved.direction.x, 1, 1, 1, 1, 1e-6f);
    EXPECT_INT_LANES(moved.type, 4, 4, 4, 4);
    EXPECT_INT_LANES(moved.pixelY, 4, 4, 4, 4);
    EXPECT_EQ(moved.auxiliary, nullptr);
}

TEST(RayPacket, SpreadsOneLaneInAnotherFrame)
{
    znMatrix4x4 m = znMatrix4x4::identity();
    m[3][1] = 5.0f;
    znRTRayPacket ray(origins, towards);
    ray.type = znIntType<2>(4, 8, 4, 8);
    const znRTRayPacket moved = ray.getTransformedPacket(m, 2);
    EXPECT_LANES_EQ(moved.origin.x, 2, 2, 2, 2);
    EXPECT_LANES_EQ(moved.origin.y, 5.5f, 5.5f, 5.5f, 5.5f);
    const float d = ray.direction.x[2];
    EXPECT_LANES_EQ(moved.direction.x, d, d, d, d);
    EXPECT_INT_LANES(moved.type, 4, 8, 4, 8);
}

TEST(RayPacket, PrintsALane)
{
    std::ostringstream stream;
    znRTRayPacket(znRTVector4f(1, 2, 3, 0), znRTVector4f(0, 0, 2, 0)).print(1, stream);
    EXPECT_NE(stream.str().find("origin: 1, 2, 3"), std::string::npos);
}

TEST(RayPacket, FindsTheDebugPixel)
{
    znRTRayPacket ray(origins, towards, {1, 2, 3, 4}, 7, znRTVector3fPacket(1.0f, 1.0f, 1.0f), 4);
    znRTRayPacket::s_debugPixelX = 2;
    znRTRayPacket::s_debugPixelY = 7;
    EXPECT_TRUE(ray.isDebugPixel(1));
    EXPECT_FALSE(ray.isDebugPixel(0));
    EXPECT_TRUE(ray.isDebugPixel(0, 1));
    znRTRayPacket::s_debugPixelX = znRTRayPacket::s_debugPixelY = -1;
}

TEST(RayPacket, CountsForDebuggingOnly)
{
    znRTRayPacket::resetTraversalCounts();
    znRTRayPacket::increaseNodeCount();
    znRTRayPacket::increaseTriangleTestCount();
    znRTRayPacket::increaseTriangleTestCount();
    EXPECT_EQ(znRTRayPacket::s_nodeCount, 1u);
    EXPECT_EQ(znRTRayPacket::s_triangleTestCount, 2u);
    znRTRayPacket::resetTraversalCounts();
    EXPECT_EQ(znRTRayPacket::s_triangleTestCount, 0u);
}

TEST(RayBundle, HoldsSixtyFourPacketsAndTheirRepresentative)
{
    EXPECT_EQ(std::size(znRTRayPacketBundle().rays), 65u);
    EXPECT_EQ(std::size(znRTHitInfoPacketBundle().hits), 64u);
    EXPECT_EQ(alignof(znRTRayPacketBundle), 16u);
    EXPECT_EQ(alignof(znRTHitInfoPacketBundle), 16u);
}

TEST(PlaneRays, ReachPoints)
{
    znRTVector2f p;
    znRTRay2d{{1, 2}, {3, -1}}.pointAt(2.0f, p);
    EXPECT_EQ(p, znRTVector2f(7, 0));
    znRTVector2fPacket q;
    znRTRay2dPacket{{1.0f, 2.0f}, {3.0f, -1.0f}}.pointAt({0, 1, 2, 3}, q);
    EXPECT_LANES_EQ(q.x, 1, 4, 7, 10);
}
