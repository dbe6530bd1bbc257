#include "core/znRTAlignedBox.h"

#include "core/znRTBoundingSphere.h"
#include "support/lanes.h"

#include <random>

namespace {

template <class Box>
class BoxTest : public testing::Test
{
};
using Boxes = testing::Types<znRTBoundingBox, znRTAlignedBox>;
TYPED_TEST_SUITE(BoxTest, Boxes);

znRTRayPacket rayTowards(const znRTVector3f& origin, const znRTVector3f& direction)
{
    return {znRTVector3fPacket(origin), znRTVector3fPacket(direction)};
}

const znFloatType<2> start(0.0f), end(100.0f);

struct Bundle
{
    znRTRayPacketBundle rays;
    znRTHitInfoPacketBundle hits;
    znFloatType<2> tMin[64];
    int masks[64];

    explicit Bundle(unsigned count)
    {
        rays.count = count;
        for (unsigned i = 0; i < count; ++i) {
            tMin[i] = 0.0f;
            masks[i] = 15;
            hits.hits[i].reset(100.0f);
        }
    }
    void set(unsigned i, const znRTVector3f& origin, const znRTVector3f& direction)
    {
        rays.rays[i] = znRTRayDifferentialPacket(rayTowards(origin, direction));
    }
};

} // namespace

// A ray inside a plane of the box gives NaN for that plane (zero times infinity). Wherever the ray
// runs along the closed box it must be hit, whatever the sign of its zero components.
TYPED_TEST(BoxTest, HitsRaysInsideItsFacePlanes)
{
    const TypeParam box({-1, -1, -1}, {1, 1, 1});
    for (int axis = 0; axis < 3; ++axis)
        for (int along = 0; along < 3; ++along)
            for (float zero : {0.0f, -0.0f})
                for (float at : {-1.0f, 1.0f, 0.0f, 1.5f, -1.5f}) {
                    if (along == axis)
                        continue;
                    znRTVector3f origin, direction(zero, zero, zero);
                    origin[along] = -5.0f;
                    origin[axis] = at;
                    direction[along] = 1.0f;
                    const znRTRayPacket ray = rayTowards(origin, direction);
                    const int expected = std::fabs(at) <= 1.0f ? 15 : 0;
                    EXPECT_EQ(box.hitTest(ray, start, end, 15), expected)
                        << axis << " " << along << " " << at << " " << zero;
                    EXPECT_EQ(box.hitTest(ray, 2, 0.0f, 100.0f), expected != 0);
                }
}

TYPED_TEST(BoxTest, HitsRaysInTheirPlaneWhenFlat)
{
    for (int axis = 0; axis < 3; ++axis) {
        znRTVector3f low(-1, -1, -1), high(1, 1, 1), origin(-0.3f, 0.2f, 0.1f), direction(0, 0, 0);
        low[axis] = high[axis] = 0.5f;
        origin[axis] = 0.5f;
        origin[(axis + 1) % 3] = -4.0f;
        direction[(axis + 1) % 3] = 1.0f;
        EXPECT_EQ(TypeParam(low, high).hitTest(rayTowards(origin, direction), start, end, 15), 15);
        EXPECT_EQ(
            TypeParam(low, high).hitTest(rayTowards({0.1f, 0.2f, 0.3f}, {1, 1, 1}), start, end, 15),
            15);
    }
}

TYPED_TEST(BoxTest, ClipsStrictlyAndRangesInclusively)
{
    const TypeParam box({0, 0, 0}, {1, 1, 1});
    // Along the diagonal of the plane z = 0, touching the corner at the origin.
    const znRTRayPacket ray(znRTVector3fPacket(-1.0f, 1.0f, 0.0f),
                            znRTVector3fPacket(1.0f, -1.0f, 0.0f));
    znFloatType<2> t0 = start, t1 = end;
    EXPECT_EQ(box.clip(ray, t0, t1), 0);
    t0 = start, t1 = end;
    EXPECT_EQ(box.clipRange(ray, t0, t1, 0b0110), 0b0110);
    EXPECT_LANES_NEAR(t0, t1[0], t1[1], t1[2], t1[3], 0.0f);
    t0 = start, t1 = end;
    EXPECT_EQ(moveMask(box.clipRange(ray, t0, t1, expandLanes(9))), 9);
    t0 = start, t1 = end;
    EXPECT_EQ(box.clipRange(&ray.invDirection.x, &ray.origin.x, t0, t1), 15);
}

TYPED_TEST(BoxTest, NarrowsIntervalsToItsInside)
{
    const TypeParam box({-1, -2, -3}, {1, 2, 3});
    const znRTRayPacket ray(znRTVector3fPacket({-5, 0, 9, -5}, 0.0f, 0.0f),
                            znRTVector3fPacket(1.0f, 0.0f, 0.0f));
    znFloatType<2> t0(0, 0, 0, 5), t1(100, 100, 100, 5.5f);
    EXPECT_EQ(box.clip(ray, t0, t1), 0b1011);
    EXPECT_NEAR(t0[0], 4.0f, 1e-5f);
    EXPECT_NEAR(t1[0], 6.0f, 1e-5f);
    EXPECT_NEAR(t0[1], 0.0f, 1e-5f);
    EXPECT_NEAR(t1[1], 1.0f, 1e-5f);
    EXPECT_EQ(t0[3], 5.0f);
    EXPECT_EQ(t1[3], 5.5f);
}

// A scalar slab test in double precision is the reference; rays within rounding of an edge are
// left out.
TYPED_TEST(BoxTest, AgreesWithADoublePrecisionTest)
{
    std::mt19937 engine(7);
    std::uniform_real_distribution<float> value(-3.0f, 3.0f);
    const TypeParam box({-1, -0.5f, 0}, {1, 0.7f, 2});
    for (int i = 0; i < 20000; ++i) {
        const znRTVector3f o(value(engine), value(engine), value(engine));
        const znRTVector3f d(value(engine), value(engine), value(engine));
        const znRTRayPacket ray = rayTowards(o, d);
        double near = 0.0, far = 100.0;
        for (int axis = 0; axis < 3; ++axis) {
            const double inverse = 1.0 / ray.direction[axis][0];
            const double a = (double(box.low(axis)) - o[axis]) * inverse;
            const double b = (double(box.high(axis)) - o[axis]) * inverse;
            near = std::max(near, std::min(a, b));
            far = std::min(far, std::max(a, b));
        }
        if (std::fabs(near - far) < 1e-4)
            continue;
        ASSERT_EQ(box.intersect(ray, start, end, 15), near <= far ? 15 : 0);
        ASSERT_EQ(box.hitTest(ray, 3, 0.0f, 100.0f), near <= far);
        ASSERT_EQ(moveMask(box.hitTest(ray, start, end, expandLanes(6))), near <= far ? 6 : 0);
    }
}

TYPED_TEST(BoxTest, FindsThePacketsOfABundle)
{
    const TypeParam box({-1, -1, -1}, {1, 1, 1});
    Bundle b(5);
    b.set(0, {-5, 0, 0}, {1, 0, 0});
    b.set(1, {-5, 3, 0}, {1, 0, 0}); // passes by
    b.set(2, {-5, 0, 0.5f}, {1, 0, 0});
    b.set(3, {-5, 0, 0}, {1, 0, 0});
    b.set(4, {-5, 0, 0}, {1, 0, 0});
    b.masks[2] = 0b0010;
    b.masks[3] = 0;
    b.hits.hits[4].t = 3.0f; // already hit in front of the box

    unsigned indices[64] = {99, 99, 99};
    int masks[64] = {77, 77, 77, 77, 77};
    znFloatType<2> near[64], far[64];
    ASSERT_EQ(box.intersect(b.rays, b.hits, b.tMin, b.masks, 5, indices, masks, near, far), 2u);
    EXPECT_EQ(indices[0], 0u);
    EXPECT_EQ(indices[1], 2u);
    EXPECT_EQ(masks[0], 15);
    EXPECT_EQ(masks[2], 0b0010);
    EXPECT_EQ(masks[1], 77);
    EXPECT_LANES_NEAR(near[2], 4, 4, 4, 4, 1e-5f);
    EXPECT_LANES_NEAR(far[2], 6, 6, 6, 6, 1e-5f);
    EXPECT_EQ(box.hitTest(b.rays, b.hits, b.tMin, b.masks, 5, indices, masks), 2u);
    EXPECT_EQ(indices[1], 2u);
}

TYPED_TEST(BoxTest, LeavesOutputsAloneWithoutActiveLanes)
{
    const TypeParam box({-1, -1, -1}, {1, 1, 1});
    Bundle b(3);
    for (unsigned i = 0; i < 3; ++i) {
        b.set(i, {-5, 0, 0}, {1, 0, 0});
        b.masks[i] = 0;
    }
    unsigned indices[3] = {7, 7, 7};
    int masks[3] = {7, 7, 7};
    znFloatType<2> near[3] = {7.0f, 7.0f, 7.0f}, far[3] = {7.0f, 7.0f, 7.0f};
    for (unsigned count : {3u, 0u})
        EXPECT_EQ(box.intersect(b.rays, b.hits, b.tMin, b.masks, count, indices, masks, near, far),
                  0u);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(indices[i], 7u);
        EXPECT_EQ(masks[i], 7);
        EXPECT_LANES_EQ(near[i], 7, 7, 7, 7);
    }
}

TYPED_TEST(BoxTest, MeasuresHalfOfItsSurface)
{
    EXPECT_FLOAT_EQ(TypeParam({0, 0, 0}, {1, 2, 3}).calculateSurfaceArea(), 11.0f);
    EXPECT_FLOAT_EQ(TypeParam({0, 0, 5}, {1, 2, 5}).calculateSurfaceArea(), 2.0f);
}

TYPED_TEST(BoxTest, ThickensFlatAxes)
{
    TypeParam box({0, 1, -1}, {2, 1, -0.95f});
    box.fixZeroExtend(0.1f);
    EXPECT_EQ(box.getMinimum().x, 0.0f);
    EXPECT_FLOAT_EQ(box.getMinimum().y, 0.9f);
    EXPECT_FLOAT_EQ(box.getMaximum().y, 1.1f);
    EXPECT_FLOAT_EQ(box.getMinimum().z, -1.1f);
    EXPECT_FLOAT_EQ(box.getMaximum().z, -0.85f);
}

TYPED_TEST(BoxTest, GrowsFromNothing)
{
    TypeParam box;
    EXPECT_FALSE(box.isValid());
    box.surround(znRTVector3f(1, 2, 3));
    EXPECT_TRUE(box.isValid());
    box.surround(TypeParam({-1, 5, 0}, {0, 6, 1}));
    EXPECT_EQ(box.getMinimum(), znRTVector3f(-1, 2, 0));
    EXPECT_EQ(box.getMaximum(), znRTVector3f(1, 6, 3));
    EXPECT_EQ(box.getCenter(), znRTVector3f(0, 4, 1.5f));
    box.surround(TypeParam());
    EXPECT_EQ(box.getMaximum(), znRTVector3f(1, 6, 3));
    TypeParam other({0, 0, 0}, {1, 1, 1});
    TypeParam::swap(box, other);
    EXPECT_EQ(box.getMaximum(), znRTVector3f(1, 1, 1));
    EXPECT_EQ(other.getMaximum(), znRTVector3f(1, 6, 3));
}

TYPED_TEST(BoxTest, HasASphereThroughItsCorner)
{
    znRTBoundingSphere sphere;
    sphere.setBoundingSphere(TypeParam({-1, -2, 0}, {3, 2, 7}));
    EXPECT_EQ(sphere.center, znRTVector3f(1, 0, 3.5f));
    EXPECT_FLOAT_EQ(sphere.radius, std::sqrt(4.0f + 4.0f + 12.25f));
}

TEST(AlignedBox, FindsTheFirstActivePacket)
{
    const znRTAlignedBox box({-1, -1, -1}, {1, 1, 1});
    Bundle b(4);
    b.set(0, {-5, 3, 0}, {1, 0, 0});
    b.set(1, {-5, 0, 0}, {1, 0, 0});
    b.set(2, {-5, 0, 0}, {1, 0, 0});
    b.set(3, {-5, 0, 0}, {1, 0, 0});
    b.masks[1] = 0;
    b.masks[2] = 0b1100;
    unsigned index = 99;
    int mask = 0;
    znFloatType<2> near, far;
    ASSERT_TRUE(
        box.findFirstActiveCO(b.rays, b.hits, b.tMin, b.masks, 0, 4, index, mask, near, far));
    EXPECT_EQ(index, 2u);
    EXPECT_EQ(mask, 0b1100);
    EXPECT_LANES_NEAR(near, 4, 4, 4, 4, 1e-5f);
    EXPECT_LANES_NEAR(far, 6, 6, 6, 6, 1e-5f);
    EXPECT_FALSE(
        box.findFirstActiveCO(b.rays, b.hits, b.tMin, b.masks, 0, 2, index, mask, near, far));
    EXPECT_EQ(index, 2u);
}

// All six planes at one distance: a point on the diagonal of the axes.
TEST(AlignedBox, FindsOnlyDegenerateBoxesByTheConverseSearch)
{
    Bundle b(2);
    b.set(0, {9, 0, 0}, {1, 1, 1});
    b.set(1, {0, 0, 0}, {1, 1, 1});
    unsigned index = 99;
    int mask = 0;
    znFloatType<2> near, far;
    const znRTAlignedBox ordinary({1, 1, 1}, {2, 2, 2}), point({1, 1, 1}, {1, 1, 1});
    EXPECT_FALSE(
        ordinary.findFirstActive(b.rays, b.hits, b.tMin, b.masks, 0, 2, index, mask, near, far));
    ASSERT_TRUE(
        point.findFirstActive(b.rays, b.hits, b.tMin, b.masks, 0, 2, index, mask, near, far));
    EXPECT_EQ(index, 1u);
    EXPECT_EQ(mask, 15);
}

TEST(AlignedBox, ConvertsToStorageAndBack)
{
    const znRTBoundingBox stored({1, 2, 3}, {4, 5, 6});
    const znRTBoundingBox back(znRTAlignedBox{stored});
    EXPECT_EQ(back.getMinimum(), stored.getMinimum());
    EXPECT_EQ(back.getMaximum(), stored.getMaximum());
}
