#include "accel/znRTBVHTraverser.h"

#include "support/lanes.h"
#include "support/meshScene.h"
#include "support/treeFixture.h"

#include <gtest/gtest.h>

namespace {

/// An object that holds a tree over other objects, in the space of its node.
class PiecesIntersector : public znRTIntersector
{
public:
    explicit PiecesIntersector(znRTGeometryNode* owner)
        : znRTIntersector(owner, 0, AcceleratorType::intersectors, GeometryType::triangles)
    {
    }
    u64 getCount() const override { return 0; }
    bool initialize() override { return true; }
    void build(unsigned int) override {}
    void rebuild() override {}
    void clear() override {}
    float calculatePrimitiveAreas(znDynArray<float>&) const override { return 0.0f; }

    znRTBoundingBox buildOver(const std::vector<znRTGeometryNode*>& pieces)
    {
        znDynArray<znRTDynamicAcceleratorNode> records(64);
        records.reserve(pieces.size(), false);
        for (znRTGeometryNode* piece : pieces) {
            const znRTBoundingBox& b = piece->getSharedVolume()->localVolume;
            const znRTVector3f c = b.getCenter();
            records[records.size++] = {{b.xmin, b.xmax, b.ymin, b.ymax, b.zmin, b.zmax},
                                       piece->getCurrentIntersector(),
                                       {c.x, c.y, c.z},
                                       u32(piece->getGeometryIndex())};
        }
        znRTBoundingBox box;
        traverser->build(this, node, box, records);
        return box;
    }
};

/// A small mesh whose triangles lie around a place in object space.
GeometryRef makePiece(u32 seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> place(-3.0f, 3.0f), edge(-0.6f, 0.6f);
    std::vector<osg::Vec3f> positions;
    std::vector<u32> indices;
    const osg::Vec3f center(place(random), place(random), place(random));
    for (u32 i = 0; i < 30; ++i) {
        indices.push_back(i);
        positions.push_back(center + osg::Vec3f(edge(random), edge(random), edge(random)));
    }
    return makeMesh(positions, indices);
}

struct Pieces
{
    explicit Pieces(u32 count)
    {
        for (u32 i = 0; i < count; ++i) {
            cores.push_back(makePiece(i));
            nodes.push_back(scene.add(cores.back().get()));
        }
        owner = scene.add(cores[0].get(), makeMirror());
        scene.build();
        for (const osg::NodePtr& node : nodes)
            objects.push_back(&scene.mesh(node));
    }
    static osg::Matrix makeMirror()
    {
        osg::Matrix m;
        m[0][0] = -1.5f;
        m[1][1] = 0.75f;
        m[1][2] = 0.5f;
        m[3][0] = 2.0f;
        return m;
    }

    MeshScene scene;
    std::vector<GeometryRef> cores;
    std::vector<osg::NodePtr> nodes;
    osg::NodePtr owner;
    std::vector<znRTGeometryNode*> objects;
};

znRTRayPacket makeRay(RayMaker& rays)
{
    const znRTVector3fPacket from = rays.point(-8.0f, 8.0f);
    return makeRays(from, rays.point(-3.0f, 3.0f) - from);
}

void expectSame(const znRTHitInfoPacket& a, const znRTHitInfoPacket& b)
{
    ASSERT_EQ(a.hitMask, b.hitMask);
    for (int lane = 0; lane < 4; ++lane)
        ASSERT_EQ(a.t[lane], b.t[lane]);
}

} // namespace

// The reference asks each piece by itself, with the rays already in the space they share.
TEST(PieceTree, FindsWhatAskingEachPieceFinds)
{
    for (const u32 count : {1u, 2u, 65u}) {
        Pieces pieces(count);
        znRTGeometryNode& owner = pieces.scene.mesh(pieces.owner);
        PiecesIntersector object(&owner);
        EXPECT_FALSE(object.isValid());
        object.buildOver(pieces.objects);
        ASSERT_TRUE(object.isValid());
        RayMaker rays(count);
        u32 hits = 0;
        for (int i = 0; i < 2000; ++i) {
            const znRTRayPacket ray = makeRay(rays);
            const znRTRayPacket inside = ray.getTransformedPacket(owner.getToObjectMatrix());
            const int mask = 1 + i % 15;
            znRTHitInfoPacket expected = untouchedHit();
            for (const znRTGeometryNode* piece : pieces.objects)
                piece->getCurrentIntersector()->intersectNoTransform(inside, 0.0f, 1e30f, expected,
                                                                     mask);
            hits += u32(std::popcount(expected.hitMask));

            znRTHitInfoPacket found = untouchedHit(), lanes = untouchedHit(),
                              plain = untouchedHit(), shadow = untouchedHit();
            object.intersect(ray, 0.0f, 1e30f, found, mask);
            expectSame(found, expected);
            object.intersectNoTransform(inside, 0.0f, 1e30f, plain, mask);
            expectSame(plain, expected);
            for (int lane = 0; lane < 4; ++lane)
                if ((mask >> lane) & 1)
                    object.intersect(ray, lane, 0.0f, 1e30f, lanes);
            expectSame(lanes, expected);
            object.intersectShadow(ray, 0.0f, 1e30f, shadow, mask);
            ASSERT_EQ(shadow.hitMask, expected.hitMask);
            for (int lane = 0; lane < 4; ++lane)
                ASSERT_EQ(shadow.t[lane], (expected.hitMask >> lane) & 1 ? 0.0f : 1e30f);
        }
        EXPECT_GT(hits, 20u);
    }
}

TEST(PieceTree, PassesHiddenPieces)
{
    Pieces pieces(2);
    PiecesIntersector object(nullptr);
    object.buildOver(pieces.objects);
    pieces.nodes[0]->setHidden(true);
    pieces.objects[0]->updateVisibility();
    RayMaker rays(3);
    for (int i = 0; i < 500; ++i) {
        const znRTRayPacket ray = makeRay(rays);
        znRTHitInfoPacket expected = untouchedHit(), found = untouchedHit();
        pieces.objects[1]->getCurrentIntersector()->intersect(ray, 0.0f, 1e30f, expected, 15);
        object.intersect(ray, 0.0f, 1e30f, found, 15);
        expectSame(found, expected);
    }
}

TEST(PieceTree, BoundsItsPieces)
{
    Pieces pieces(20);
    PiecesIntersector object(nullptr);
    const znRTBoundingBox box = object.buildOver(pieces.objects);
    znRTBoundingBox expected;
    for (const znRTGeometryNode* piece : pieces.objects)
        expected.surround(piece->getSharedVolume()->localVolume);
    EXPECT_EQ(box.getMinimum(), expected.getMinimum());
    EXPECT_EQ(box.getMaximum(), expected.getMaximum());
}

TEST(PieceTree, LetsRaysPassWithoutPieces)
{
    PiecesIntersector object(nullptr);
    object.buildOver({});
    EXPECT_FALSE(object.isValid());
    znRTHitInfoPacket hit = untouchedHit();
    RayMaker rays(1);
    object.intersect(makeRay(rays), 0.0f, 1e30f, hit, 15);
    EXPECT_EQ(hit.hitMask, 0u);
    EXPECT_EQ(hit.primitive[0], -7);
}
