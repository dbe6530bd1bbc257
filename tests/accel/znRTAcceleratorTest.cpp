#include "accel/znRTAccelerator.h"

#include "host/osg/Material.h"
#include "host/osg/RaytracingGeoAttachment.h"
#include "host/osg/Surface.h"
#include "material/znRTDummyMaterial.h"
#include "support/lanes.h"
#include "support/meshScene.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace sceneTest {
using osg::Material;

/// A host material of no particular kind.
class PlainMaterial : public osg::Material
{
    ZN_CONTAINER(PlainMaterial, Material)
};
ZN_CONTAINER_BODY(PlainMaterial)

} // namespace sceneTest

namespace {

using MaterialRef = osg::Ref<sceneTest::PlainMaterial>;

GeometryRef makePrimitive(u32 type)
{
    const GeometryRef geometry = makeSquare();
    geometry->setIndices(nullptr);
    geometry->setTypes({type});
    geometry->setLengths({4});
    return geometry;
}

} // namespace

TEST(Accelerator, RefusesNodesWithoutCore)
{
    MeshScene scene;
    scene.scene->addGeometryNode(nullptr, makeSquare().get());
    scene.scene->addGeometryNode(osg::Ref<osg::Node>(osg::Node::create(nullptr)).get(), nullptr);
    EXPECT_EQ(std::count(scene.log.begin(), scene.log.end(), "Bad Geometry"), 2);
    EXPECT_EQ(scene.scene->getObjectListSize(), 0u);
}

TEST(Accelerator, TakesANodeOnce)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    scene.scene->addGeometryNode(node, geometry.get());
    EXPECT_EQ(scene.scene->getObjectListSize(), 1u);
    EXPECT_EQ(scene.scene->getSceneNodesSize(), 1u);
}

TEST(Accelerator, MakesMeshesOfSurfacePrimitivesOnly)
{
    MeshScene scene;
    for (u32 type = 0; type <= 9; ++type) {
        const GeometryRef geometry = makePrimitive(type);
        const bool isMesh = scene.scene->getObject(scene.add(geometry.get())->getId()) != nullptr;
        EXPECT_EQ(isMesh, type >= osg::Geometry::triangles) << type;
    }
    EXPECT_TRUE(scene.hasLogged("Lines are not rendered yet"));
    EXPECT_TRUE(scene.hasLogged("Points are not rendered yet"));
    const GeometryRef untyped = makeSquare();
    untyped->setTypes({});
    EXPECT_NE(scene.scene->getObject(scene.add(untyped.get())->getId()), nullptr);
    const GeometryRef empty = osg::Geometry::create();
    EXPECT_EQ(scene.scene->getObject(scene.add(empty.get())->getId()), nullptr);
    empty->setPositions(osg::GeoProperty::create(std::span<const osg::Vec3f>()));
    EXPECT_EQ(scene.scene->getObject(scene.add(empty.get())->getId()), nullptr);
    const osg::Ref<osg::Shell> shell = osg::Shell::create();
    EXPECT_EQ(scene.scene->getObject(scene.add(shell.get())->getId()), nullptr);
}

TEST(Accelerator, GivesControlPointsTheirWeight)
{
    MeshScene scene;
    const osg::Ref<osg::Surface> surface = osg::Surface::create();
    surface->setControlPoints(osg::GeoProperty::create({osg::Vec3f(1, 2, 3), {4, 5, 6}}));
    const osg::Ref<osg::Node> node = osg::Node::create(surface.get());
    scene.scene->addGeometryNode(node, surface.get());
    ASSERT_EQ(surface->getControlPoints()->getDimension(), 4u);
    EXPECT_EQ(surface->getControlPoints()->getVector(1)[2], 6.0f);
    EXPECT_EQ(surface->getControlPoints()->getVector(1)[3], 1.0f);
}

TEST(Accelerator, ShowsNewGeometryAfterABuild)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    scene.add(geometry.get(), makeTranslation(0, 0, 2));
    EXPECT_FALSE(scene.scene->isValid());
    scene.build();
    EXPECT_TRUE(scene.scene->isValid());
    EXPECT_LANES_NEAR(scene.trace(downward(0.5f, 0.2f)).t, 3, 3, 3, 3, 1e-5f);
}

TEST(Accelerator, MayBeWalkedAfterADeletion)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr a = scene.add(geometry.get());
    scene.add(geometry.get(), makeTranslation(0, 0, -1));
    scene.build();
    EXPECT_TRUE(scene.scene->deleteGeometry(a->getId()));
    EXPECT_FALSE(scene.scene->deleteGeometry(a->getId()));
    EXPECT_FALSE(scene.scene->isValid());
    EXPECT_EQ(scene.scene->getSceneNode(0), nullptr);
    EXPECT_EQ(scene.trace(downward(0.5f, 0.2f)).hitMask, 0u);
    scene.build();
    EXPECT_LANES_NEAR(scene.trace(downward(0.5f, 0.2f)).t, 6, 6, 6, 6, 1e-5f);
}

TEST(Accelerator, ReportsNewIndicesAfterTheListWasMadeAgain)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr a = scene.add(geometry.get());
    const osg::NodePtr b = scene.add(geometry.get(), makeTranslation(5, 0, 0));
    scene.build();
    EXPECT_EQ(scene.trace(downward(5.5f, 0.2f)).geometry[0], 1);
    scene.scene->deleteGeometry(a->getId());
    scene.scene->updateGeometryList();
    scene.build();
    EXPECT_EQ(scene.scene->getSceneNodesSize(), 1u);
    const znRTHitInfoPacket hit = scene.trace(downward(5.5f, 0.2f));
    EXPECT_EQ(hit.geometry[0], 0);
    EXPECT_EQ(scene.scene->getSceneNode(0)->getNodeId(), b->getId());
}

TEST(Accelerator, NoticesMovedAndHiddenObjects)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    EXPECT_TRUE(scene.scene->updateObjects());
    EXPECT_FALSE(scene.scene->updateObjects());
    osg::FCPtr<osg::Transform>::dcast(node->getParent()->getCore())
        ->setMatrix(makeTranslation(0, 0, 1));
    EXPECT_TRUE(scene.scene->updateObjects());
    EXPECT_LANES_NEAR(scene.trace(downward(0.5f, 0.2f)).t, 4, 4, 4, 4, 1e-5f);
    node->setHidden(true);
    EXPECT_TRUE(scene.scene->updateObjects());
    EXPECT_EQ(scene.trace(downward(0.5f, 0.2f)).hitMask, 0u);
}

TEST(Accelerator, RebuildsOnlyTheTopWhenOneObjectMoves)
{
    MeshScene scene;
    std::vector<GeometryRef> cores;
    for (int i = 0; i < 5; ++i)
        cores.push_back(makeSquare());
    std::vector<osg::NodePtr> nodes;
    for (int i = 0; i < 300; ++i)
        nodes.push_back(scene.add(cores[i % 5].get(), makeTranslation(float(3 * i), 0, 0)));
    scene.build();
    std::vector<u64> stamps;
    for (const osg::NodePtr& node : nodes)
        stamps.push_back(scene.mesh(node).getSharedVolume()->buildStamp.load());
    osg::FCPtr<osg::Transform>::dcast(nodes[7]->getParent()->getCore())
        ->setMatrix(makeTranslation(0, 50, 0));
    znRTSceneHandler::updateBuildTimeStamp();
    EXPECT_TRUE(scene.scene->updateObjects());
    for (int i = 0; i < 300; ++i)
        EXPECT_EQ(scene.mesh(nodes[i]).getSharedVolume()->buildStamp.load(), stamps[i]);
    EXPECT_EQ(scene.trace(downward(0.5f, 50.2f)).hitMask, 15u);
    EXPECT_EQ(scene.trace(downward(21.5f, 0.2f)).hitMask, 0u);
}

TEST(Accelerator, ReplacesMissingMaterialsAndSaysSo)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    EXPECT_TRUE(scene.hasLogged("Geometry has no material. Attaching Default Material!\n"));
    EXPECT_NE(scene.mesh(node).getActiveMaterial(), nullptr);
}

TEST(Accelerator, SharesMaterialsWithOtherScenes)
{
    const MaterialRef material = sceneTest::PlainMaterial::create();
    const GeometryRef geometry = makeSquare();
    geometry->setMaterial(material.get());
    {
        MeshScene a;
        const osg::NodePtr node = a.add(geometry.get());
        znRTMaterial* const shading = a.mesh(node).getMaterial();
        ASSERT_NE(shading, nullptr);
        EXPECT_EQ(shading->getHostMaterial(), material.get());
        EXPECT_EQ(znRTAccelerator::getMaterialUseCount(material->getId()), 1u);
        {
            MeshScene b;
            EXPECT_EQ(b.scene->createMaterial(material.get()), shading);
            EXPECT_EQ(znRTAccelerator::getMaterialUseCount(material->getId()), 2u);
        }
        EXPECT_EQ(znRTAccelerator::getMaterialUseCount(material->getId()), 1u);
        EXPECT_TRUE(a.scene->deleteMaterial(material->getId()));
        EXPECT_FALSE(a.scene->deleteMaterial(material->getId()));
        EXPECT_EQ(a.mesh(node).getMaterial(), znRTDummyMaterial::getShared());
    }
    EXPECT_EQ(znRTAccelerator::getMaterialUseCount(material->getId()), 0u);
    EXPECT_EQ(znRTAccelerator::getMaterialUseCount(0), 0u);
}

TEST(Accelerator, FollowsTheAssignmentOfMaterials)
{
    MeshScene scene;
    const MaterialRef first = sceneTest::PlainMaterial::create();
    const MaterialRef second = sceneTest::PlainMaterial::create();
    const GeometryRef geometry = makeSquare();
    geometry->setMaterial(first.get());
    const osg::NodePtr node = scene.add(geometry.get());
    geometry->setMaterial(second.get());
    EXPECT_FALSE(scene.scene->updateObjectMaterial(0));
    EXPECT_EQ(scene.mesh(node).getMaterial()->getHostMaterial(), second.get());
    unsigned flags = 99;
    EXPECT_TRUE(scene.scene->updateMaterial(second.get(), flags));
    EXPECT_EQ(flags, 0u);
    EXPECT_FALSE(scene.scene->updateMaterial(nullptr, flags));
}

TEST(Accelerator, NamesWhatIsWrongWithLightsAndPlanes)
{
    MeshScene scene;
    unsigned flags = 0;
    scene.scene->addLight(nullptr);
    scene.scene->addEnvironmentLight(nullptr);
    EXPECT_FALSE(scene.scene->deleteEnvironmentLight(osg::MaterialPtr()));
    EXPECT_FALSE(scene.scene->updateClippingShape(nullptr, flags));
    const osg::Ref<osg::Node> group = osg::Node::create(nullptr);
    scene.scene->updateClippingShape(group, flags);
    for (const char* text : {"Bad Light", "NO ENV MATERIAL", "Bad Clipping Node",
                             "EnvironmentLightPtr invalid, can not delete it\n"})
        EXPECT_TRUE(scene.hasLogged(text)) << text;
}

TEST(Accelerator, IsEmptyAfterClear)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    scene.add(geometry.get());
    scene.build();
    scene.scene->clear();
    EXPECT_EQ(scene.scene->getObjectListSize(), 0u);
    EXPECT_EQ(scene.scene->getSceneNodesSize(), 0u);
    EXPECT_EQ(scene.scene->getMaterialCount(), 0u);
    EXPECT_FALSE(scene.scene->isValid());
    EXPECT_EQ(scene.trace(downward(0.5f, 0.2f)).hitMask, 0u);
}

TEST(Accelerator, DoesNotBuildAgainWithoutAChange)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    scene.add(geometry.get());
    scene.build();
    EXPECT_FALSE(scene.scene->updateObjects());
}

// Objects are prepared in parallel under the lock of the thread that builds: who needs a material
// that is not there yet must not wait for it.
TEST(Accelerator, MakesOverrideMaterialsWhileManyObjectsArePrepared)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    std::vector<MaterialRef> materials;
    std::vector<osg::NodePtr> nodes;
    for (int i = 0; i < 200; ++i) {
        materials.push_back(sceneTest::PlainMaterial::create());
        nodes.push_back(scene.add(geometry.get(), makeTranslation(float(3 * i), 0, 0)));
        const osg::Ref<osg::RaytracingGeoAttachment> attachment =
            osg::RaytracingGeoAttachment::create();
        attachment->setOverrideMaterial(materials[i].get());
        nodes[i]->addAttachment(attachment.get());
    }
    scene.build();
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(scene.mesh(nodes[i]).getActiveMaterial()->getHostMaterial(), materials[i].get());
}

TEST(Accelerator, MayBeWalkedAfterACoreWasExchanged)
{
    MeshScene scene;
    const GeometryRef square = makeSquare();
    const GeometryRef triangle = makeMesh({{-1, -1, 1}, {1, -1, 1}, {0, 1, 1}}, {0, 1, 2});
    const osg::NodePtr node = scene.add(square.get());
    scene.build();
    node->setCore(triangle.get());
    EXPECT_TRUE(scene.scene->updateObject(0));
    EXPECT_FALSE(scene.scene->isValid());
    EXPECT_EQ(scene.trace(downward(0.0f, 0.0f)).hitMask, 0u);
    scene.build();
    EXPECT_NEAR(scene.trace(downward(0.0f, 0.0f)).t[0], 4.0f, 1e-5f);
}

TEST(Accelerator, BuildsAfterAnyArrayWasExchanged)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    geometry->setPositions(
        osg::GeoProperty::create({osg::Vec3f(-1, -1, 2), {1, -1, 2}, {1, 1, 2}, {-1, 1, 2}}));
    EXPECT_TRUE(scene.scene->updateObjects());
    EXPECT_LANES_NEAR(scene.trace(downward(0.5f, 0.2f)).t, 3, 3, 3, 3, 1e-5f);
    EXPECT_FALSE(scene.scene->updateObjects());
    geometry->setColors(
        osg::GeoProperty::create({osg::Vec3f(1, 0, 0), {1, 0, 0}, {1, 0, 0}, {1, 0, 0}}));
    EXPECT_TRUE(scene.scene->updateObjects());
    EXPECT_FALSE(scene.mesh(node).getSharedVolume()->needsBuild());
    EXPECT_EQ(scene.trace(downward(0.5f, 0.2f)).hitMask, 15u);
}

// Triangles in a row, once as one mesh and once as a mesh each: sizes around a single leaf, a full
// node, and the change from the exact search to planes. Each ray has one triangle under it, and
// rays between them have none.
TEST(Accelerator, FindsEveryTriangleOfSmallScenes)
{
    for (const u32 count : {1u, 2u, 3u, 4u, 5u, 64u, 65u}) {
        MeshScene whole, pieces;
        std::vector<osg::Vec3f> positions;
        std::vector<u32> indices;
        const GeometryRef piece = makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2});
        for (u32 i = 0; i < count; ++i) {
            const float x = 3.0f * float(i), z = 0.01f * float(i);
            for (const osg::Vec3f& corner : {osg::Vec3f(x, 0, z), {x + 1, 0, z}, {x, 1, z}}) {
                indices.push_back(u32(positions.size()));
                positions.push_back(corner);
            }
            pieces.add(piece.get(), makeTranslation(x, 0, z));
        }
        const GeometryRef row = makeMesh(positions, indices);
        const osg::NodePtr node = whole.add(row.get());
        whole.build();
        pieces.build();
        for (u32 i = 0; i < count; ++i) {
            const float x = 3.0f * float(i) + 0.25f, t = 5.0f - 0.01f * float(i);
            const znRTRayPacket rays = downward({x, x + 1.5f, x, x}, {0.25f, 0.25f, 0.5f, -0.25f});
            const znRTHitInfoPacket a = whole.trace(rays), b = pieces.trace(rays);
            ASSERT_EQ(a.hitMask, 0b0101u) << i << " of " << count;
            ASSERT_EQ(b.hitMask, 0b0101u) << i << " of " << count;
            EXPECT_NEAR(a.t[0], t, 1e-5f);
            EXPECT_NEAR(b.t[2], t, 1e-5f);
            EXPECT_EQ(whole.intersector(node).getTriangle(u32(a.primitive[0])).a, 3 * i);
            EXPECT_EQ(b.geometry[2], int(i));
        }
    }
}
