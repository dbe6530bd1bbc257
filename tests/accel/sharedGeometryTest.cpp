#include "accel/sharedGeometry.h"

#include "accel/znRTBVHIntersector.h"
#include "support/meshScene.h"

#include <gtest/gtest.h>
#include <tbb/parallel_for.h>

TEST(SharedGeometry, CountsItsHoldersAndGoesWithTheLast)
{
    const u64 key = znRTSharedGeometryTable::makeKey(77, 3);
    const u64 before = znRTSharedGeometryTable::getRecordCount();
    znRTSharedGeometry* const a = znRTSharedGeometryTable::acquire(key);
    EXPECT_EQ(znRTSharedGeometryTable::acquire(key), a);
    EXPECT_EQ(znRTSharedGeometryTable::getUseCount(key), 2u);
    EXPECT_NE(znRTSharedGeometryTable::makeKey(77, 4), key);
    znRTSharedGeometryTable::release(a);
    EXPECT_EQ(znRTSharedGeometryTable::getUseCount(key), 1u);
    znRTSharedGeometryTable::release(a);
    EXPECT_EQ(znRTSharedGeometryTable::getUseCount(key), 0u);
    EXPECT_EQ(znRTSharedGeometryTable::getRecordCount(), before);
    znRTSharedGeometryTable::release(nullptr);
}

TEST(SharedGeometry, AdmitsOneBuilderPerPass)
{
    znRTSharedGeometry record(1);
    EXPECT_TRUE(record.beginBuild(5));
    EXPECT_FALSE(record.beginBuild(5));
    EXPECT_TRUE(record.beginBuild(6));
    record.invalidate();
    EXPECT_TRUE(record.beginBuild(6));
    EXPECT_FALSE(record.beginBuild(6));
    EXPECT_TRUE(record.beginBuild(0));
    EXPECT_TRUE(record.beginBuild(0)) << "without a pass everyone may";
}

TEST(SharedGeometry, IsRebuiltOnceForAllWhoAsk)
{
    znRTSharedGeometry record(1);
    std::atomic<int> builds{0};
    tbb::parallel_for(0, 50, [&](int) {
        record.rebuild([&] {
            // Work inside that others could steal: it must not lead back here.
            tbb::parallel_for(0, 100, [](int) {});
            ++builds;
            record.builtVersion.store(9);
        });
    });
    EXPECT_EQ(builds, 1);
}

TEST(SharedGeometry, IsHeldByTheNodesOfACore)
{
    const u64 records = znRTSharedGeometryTable::getRecordCount();
    const u64 trees = znRTBVHIntersector::getSharedCount();
    {
        MeshScene scene;
        const GeometryRef geometry = makeSquare();
        const u64 key = geometry->getId();
        const osg::NodePtr a = scene.add(geometry.get());
        const osg::NodePtr b = scene.add(geometry.get(), makeTranslation(3, 0, 0));
        scene.build();
        EXPECT_EQ(znRTSharedGeometryTable::getUseCount(key), 2u);
        EXPECT_EQ(znRTSharedGeometryTable::getRecordCount(), records + 1);
        EXPECT_EQ(znRTBVHIntersector::getSharedCount(), trees + 1);
        EXPECT_EQ(scene.intersector(a).getTriangles().data,
                  scene.intersector(b).getTriangles().data);
        scene.scene->deleteGeometry(a->getId());
        EXPECT_EQ(znRTSharedGeometryTable::getUseCount(key), 1u);
        scene.build();
        EXPECT_EQ(scene.trace(downward({-0.5f, 0.5f, 2.5f, 3.5f}, 0.1f)).hitMask, 0b1100u);
        scene.scene->deleteGeometry(b->getId());
        EXPECT_EQ(znRTSharedGeometryTable::getUseCount(key), 0u);
    }
    EXPECT_EQ(znRTSharedGeometryTable::getRecordCount(), records);
    EXPECT_EQ(znRTBVHIntersector::getSharedCount(), trees);
}

TEST(SharedGeometry, IsExchangedWithTheCore)
{
    MeshScene scene;
    const GeometryRef square = makeSquare();
    const GeometryRef triangle = makeMesh({{-1, -1, 1}, {1, -1, 1}, {0, 1, 1}}, {0, 1, 2});
    const osg::NodePtr node = scene.add(square.get());
    scene.build();
    node->setCore(triangle.get());
    EXPECT_TRUE(scene.scene->updateObjects());
    EXPECT_EQ(znRTSharedGeometryTable::getUseCount(square->getId()), 0u);
    EXPECT_EQ(znRTSharedGeometryTable::getUseCount(triangle->getId()), 1u);
    EXPECT_NEAR(scene.trace(downward(0.0f, 0.0f)).t[0], 4.0f, 1e-5f);
}

// Each instance may cost its own objects, but no triangles and no tree.
TEST(SharedGeometry, MakesInstancesCheap)
{
    MeshScene scene;
    const GeometryRef geometry = makeRandomMesh(20000, 3);
    const osg::NodePtr first = scene.add(geometry.get());
    for (int i = 1; i < 1000; ++i)
        scene.add(geometry.get(), makeTranslation(float(i % 30), float(i / 30), 0));
    scene.build();
    EXPECT_EQ(znRTSharedGeometryTable::getUseCount(geometry->getId()), 1000u);
    EXPECT_LT(sizeof(znRTMesh) + sizeof(znRTMeshIntersector) + sizeof(znRTBVHIntersector), 2048u);
    u32 sharing = 0;
    for (u64 i = 0; i < scene.scene->getSceneNodesSize(); ++i) {
        const auto* const other = static_cast<const znRTMeshIntersector*>(
            scene.scene->getSceneNode(i)->getCurrentIntersector());
        sharing += other->getTriangles().data == scene.intersector(first).getTriangles().data;
    }
    EXPECT_EQ(sharing, 1000u);
}

// Many nodes of few cores prepared at once: for the thread sanitizer, and every node is hit.
TEST(SharedGeometry, IsBuiltOnceByManyNodesAtOnce)
{
    MeshScene scene;
    std::vector<GeometryRef> cores;
    for (u32 i = 0; i < 10; ++i)
        cores.push_back(makeSquare());
    for (u32 i = 0; i < 200; ++i)
        scene.add(cores[i % 10].get(), makeTranslation(3.0f * float(i), 0, 0));
    scene.build();
    for (u32 i = 0; i < 200; ++i) {
        const znRTHitInfoPacket hit = scene.trace(downward(3.0f * float(i) + 0.3f, 0.1f));
        ASSERT_EQ(hit.hitMask, 15u) << i;
        EXPECT_EQ(hit.geometry[0], int(i));
    }
    for (const GeometryRef& core : cores)
        EXPECT_EQ(znRTSharedGeometryTable::getUseCount(core->getId()), 20u);
}
