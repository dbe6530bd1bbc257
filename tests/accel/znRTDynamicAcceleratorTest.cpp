#include "accel/znRTDynamicAccelerator.h"

#include "core/shadingRequirements.h"
#include "core/znRTDataBlockPacket.h"
#include "host/osg/Material.h"
#include "host/osg/RaytracingGeoAttachment.h"
#include "host/znRTSelectionSettings.h"
#include "material/znRTMaterial.h"
#include "support/lanes.h"
#include "support/meshScene.h"

#include <cstring>
#include <gtest/gtest.h>

namespace sceneTest {
using osg::Material;

class OtherMaterial : public osg::Material
{
    ZN_CONTAINER(OtherMaterial, Material)
};
ZN_CONTAINER_BODY(OtherMaterial)

} // namespace sceneTest

namespace {

void expectBox(const znRTBoundingBox& box, const znRTVector3f& low, const znRTVector3f& high)
{
    EXPECT_EQ(box.getMinimum(), low);
    EXPECT_EQ(box.getMaximum(), high);
}

/// Boxes and leaves below a reference, depth first: all of a tree but the places of its nodes,
/// which depend on which thread took a node first.
void describe(u64 reference, std::vector<u64>& words)
{
    if (znRTDynamicBVHNode::isLeaf(reference))
        return words.push_back(reference);
    const auto& node = *reinterpret_cast<const znRTDynamicBVHNode*>(reference);
    u64 boxes[6];
    std::memcpy(boxes, &node, sizeof(boxes));
    words.insert(words.end(), boxes, boxes + 6);
    describe(node.left, words);
    describe(node.right, words);
}

} // namespace

TEST(DynamicAccelerator, DoesNothingWithoutNodes)
{
    MeshScene scene;
    scene.build();
    EXPECT_FALSE(scene.scene->isValid());
    EXPECT_EQ(scene.trace(downward(0.0f, 0.0f)).hitMask, 0u);
}

TEST(DynamicAccelerator, HasNoBoundsWhenAllIsHidden)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    node->setHidden(true);
    scene.mesh(node).updateVisibility();
    scene.build();
    EXPECT_FALSE(scene.scene->isValid());
    expectBox(scene.scene->getFullBoundingBox(), {0, 0, 0}, {0, 0, 0});
    EXPECT_EQ(scene.scene->getFullBoundingSphere().radius, 0.0f);
}

TEST(DynamicAccelerator, BoundsAllObjectsAndThePhotonTargets)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    scene.add(geometry.get());
    const osg::NodePtr target = scene.add(geometry.get(), makeTranslation(10, 2, 3));
    scene.build();
    expectBox(scene.scene->getFullBoundingBox(), {-1, -1, 0}, {11, 3, 3});
    expectBox(scene.scene->getPhotonTargetsBoundingBox(), {0, 0, 0}, {0, 0, 0});
    EXPECT_EQ(scene.scene->getFullBoundingSphere().center, znRTVector3f(5, 1, 1.5f));
    EXPECT_FLOAT_EQ(scene.scene->getFullBoundingSphere().radius, std::sqrt(36.0f + 4.0f + 2.25f));
    EXPECT_EQ(scene.scene->getSceneBoundingSphere().center, znRTVector3f(5, 1, 1.5f));

    const osg::Ref<osg::RaytracingGeoAttachment> attachment =
        osg::RaytracingGeoAttachment::create();
    attachment->setPhotonTarget(true);
    target->addAttachment(attachment.get());
    scene.scene->updateVisibilities();
    scene.build();
    expectBox(scene.scene->getPhotonTargetsBoundingBox(), {9, 1, 3}, {11, 3, 3});
    EXPECT_FLOAT_EQ(scene.scene->getSceneBoundingSphere().radius, std::sqrt(2.0f));
}

TEST(DynamicAccelerator, LeavesOutWhatHasNoVolume)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    osg::Matrix singular;
    singular[0][0] = 0.0f;
    scene.add(geometry.get(), singular);
    const osg::NodePtr endless = scene.add(geometry.get(), makeTranslation(INFINITY, 0, 0));
    osg::setName(endless, "runaway");
    scene.build();
    EXPECT_FALSE(scene.scene->isValid());
    EXPECT_TRUE(scene.hasLogged("runaway"));
    scene.add(geometry.get());
    scene.build();
    EXPECT_TRUE(scene.scene->isValid());
    expectBox(scene.scene->getFullBoundingBox(), {-1, -1, 0}, {1, 1, 0});
}

// Rounded to float, a rotation, a scale of zero along one axis and another rotation do not give a
// determinant of exactly 0. Small or uneven scales are no reason to leave an object out.
TEST(DynamicAccelerator, LeavesOutWhatIsFlattenedAlongAnyAxis)
{
    const auto makeScaled = [](float x, float y, float z) {
        const float scale[3] = {x, y, z};
        const double c = std::cos(0.7), s = std::sin(0.7), k = std::cos(1.9), h = std::sin(1.9);
        const double a[3][3] = {{c, -s, 0}, {s * k, c * k, -h}, {s * h, c * h, k}};
        osg::Matrix m;
        for (int column = 0; column < 3; ++column)
            for (int row = 0; row < 3; ++row) {
                double sum = 0.0;
                for (int i = 0; i < 3; ++i)
                    sum += a[i][row] * scale[i] * a[i][column];
                m[column][row] = float(sum);
            }
        return m;
    };
    const auto isShown = [&](const osg::Matrix& matrix) {
        MeshScene scene;
        const GeometryRef geometry = makeRandomMesh(50, 1);
        scene.add(geometry.get(), matrix);
        scene.build();
        return scene.scene->isValid();
    };
    EXPECT_FALSE(isShown(makeScaled(0, 1, 1)));
    EXPECT_FALSE(isShown(makeScaled(3, 0, 2)));
    EXPECT_FALSE(isShown(makeScaled(1, 1, 0)));
    EXPECT_FALSE(isShown(makeScaled(0, 0, 1)));
    EXPECT_TRUE(isShown(makeScaled(1, 1, 1)));
    EXPECT_TRUE(isShown(makeScaled(-1, 1, 1)));
    EXPECT_TRUE(isShown(makeScaled(1e-3f, 1, 1)));
    EXPECT_TRUE(isShown(makeScaled(1e-9f, 1e-9f, 1e-9f)));
    EXPECT_TRUE(isShown(makeScaled(1e6f, 1e6f, 1e6f)));
}

TEST(DynamicAccelerator, SumsMemoryInUnitsOfTwoToTheTwenty)
{
    MeshScene scene;
    const GeometryRef geometry = makeRandomMesh(3000, 9);
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    float intersectorMB, geometryMB;
    unsigned long long primitives, objects, spare = 7;
    scene.scene->getMemoryUsage(intersectorMB, geometryMB, primitives, objects, spare);
    const u64 bytes =
        scene.intersector(node).getMemoryUsage() +
        scene.scene->getNodes(znRTDynamicAccelerator::all).capacity * sizeof(znRTDynamicBVHNode);
    EXPECT_NEAR(intersectorMB, float(bytes) / 1048576.0f, 0.001f);
    EXPECT_GT(bytes, 3000u * 12u);
    EXPECT_EQ(geometryMB, 0.0f);
    EXPECT_EQ(primitives, 3004u);
    EXPECT_EQ(objects, 1u);
    EXPECT_EQ(spare, 0u);
}

TEST(DynamicAccelerator, KeepsSelectedObjectsApartOnlyIfTheyAreShownInFront)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr selected = scene.add(geometry.get());
    const osg::NodePtr preselected = scene.add(geometry.get(), makeTranslation(5, 0, 0));
    scene.mesh(selected).setSelected(true, false);
    scene.mesh(preselected).setSelected(true, true);
    const auto hitsIn = [&](unsigned tree) {
        unsigned hits = 0;
        for (const float x : {0.5f, 5.5f}) {
            znRTHitInfoPacket hit;
            hit.reset(1e10f);
            scene.scene->intersectHierarchy(downward(x, 0.2f), 0.0f, 1e10f, hit, 15, false, tree);
            hits = 2 * hits + (hit.hitMask == 15);
        }
        return hits;
    };
    scene.build();
    EXPECT_EQ(hitsIn(znRTDynamicAccelerator::selected), 0u);
    znRTSelectionSettings::current().wireframeAlwaysInFront = true;
    scene.build();
    znRTSelectionSettings::current().wireframeAlwaysInFront = false;
    EXPECT_EQ(hitsIn(znRTDynamicAccelerator::all), 3u);
    EXPECT_EQ(hitsIn(znRTDynamicAccelerator::selected), 2u);
    EXPECT_EQ(hitsIn(znRTDynamicAccelerator::preselected), 1u);
    EXPECT_EQ(hitsIn(znRTDynamicAccelerator::environment), 0u);
}

TEST(DynamicAccelerator, BuildsEqualTreesFromEqualScenes)
{
    MeshScene scene;
    const GeometryRef geometry = makeRandomMesh(20, 2);
    std::mt19937 engine(4);
    std::uniform_real_distribution<float> place(-20.0f, 20.0f);
    for (int i = 0; i < 500; ++i)
        scene.add(geometry.get(), makeTranslation(place(engine), place(engine), place(engine)));
    const auto treeOf = [&] {
        scene.build();
        std::vector<u64> words;
        const auto& nodes = scene.scene->getNodes(znRTDynamicAccelerator::all);
        describe(znRTDynamicBVHNode::encodeNode(nodes.data), words);
        return words;
    };
    const std::vector<u64> first = treeOf();
    EXPECT_EQ(first.size(), 499u * 6 + 500u);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(treeOf(), first);
}

TEST(ShadingData, GroupsLanesByMaterial)
{
    MeshScene scene;
    std::vector<osg::Ref<sceneTest::OtherMaterial>> materials;
    std::vector<GeometryRef> cores;
    for (int i = 0; i < 4; ++i) {
        materials.push_back(sceneTest::OtherMaterial::create());
        cores.push_back(makeSquare());
        cores[i]->setMaterial(materials[i].get());
        scene.add(cores[i].get(), makeTranslation(float(3 * i), 0, float(i)));
    }
    scene.add(cores[1].get(), makeTranslation(12, 0, 0));
    scene.build();
    const auto shade = [&](znFloatType<2> x, bool shadow) {
        const znRTRayDifferentialPacket rays = downward(x, 0.2f);
        znRTDataBlockPacket data{scene.trace(rays)};
        scene.scene->getShadingData(rays, data, shadow, 0, shadingRequirement::edgeData);
        return data;
    };

    znRTDataBlockPacket four = shade({0.5f, 3.5f, 6.5f, 9.5f}, false);
    ASSERT_EQ(four.materialCount, 4u);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(four.materials[i]->getHostMaterial(), materials[i].get());
        EXPECT_EQ(moveMask(four.materialLanes[i]), 1 << i);
        EXPECT_EQ(four.nodes[i], scene.scene->getSceneNode(u64(i)));
    }
    EXPECT_LANES_NEAR(four.dg.position.z, 0, 1, 2, 3, 1e-5f);
    // Whoever shades makes the matrices, from the nodes that were entered.
    four.computeMatrices();
    EXPECT_LANES_NEAR(four.nodeToWorld[3][0], 0, 3, 6, 9, 0.0f);

    // Two nodes with one material, a miss, and another.
    const znRTDataBlockPacket mixed = shade({3.5f, 12.5f, 100.0f, 0.5f}, false);
    ASSERT_EQ(mixed.materialCount, 2u);
    EXPECT_EQ(moveMask(mixed.materialLanes[0]), 0b0011);
    EXPECT_EQ(moveMask(mixed.materialLanes[1]), 0b1000);
    EXPECT_EQ(mixed.nodes[2], nullptr);
    EXPECT_LANES_EQ(mixed.coverage, 1, 1, 0, 1);

    // Which masks count depends on who asks; extra wishes are added to both.
    EXPECT_EQ(mixed.materialRequirements[0],
              mixed.materials[0]->getShadingRequirements() | shadingRequirement::edgeData);
    EXPECT_EQ(shade({0.5f, 3.5f, 6.5f, 9.5f}, true).materialRequirements[0],
              mixed.materials[1]->getShadowShadingRequirements() | shadingRequirement::edgeData);

    const znRTDataBlockPacket one = shade({0.5f, 0.3f, -0.4f, 0.7f}, false);
    ASSERT_EQ(one.materialCount, 1u);
    EXPECT_EQ(moveMask(one.materialLanes[0]), 15);
    EXPECT_EQ(one.hasNodeTransforms, 0u) << "the first square stands at the origin";
}

TEST(ShadingData, TakesTheOcclusionColorOfTheObject)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    const osg::Ref<osg::RaytracingGeoAttachment> attachment =
        osg::RaytracingGeoAttachment::create();
    attachment->setAmbientOcclusionColor(osg::Vec3f(0.25f, 0.5f, 0.75f));
    node->addAttachment(attachment.get());
    scene.build();
    const znRTRayDifferentialPacket rays = downward(0.5f, 0.2f);
    znRTDataBlockPacket data{scene.trace(rays)};
    scene.scene->getShadingData(rays, data, false, 0, 0);
    EXPECT_LANES_EQ(data.ambientOcclusion[0], 0.25f, 0.25f, 0.25f, 0.25f);
    EXPECT_LANES_EQ(data.ambientOcclusion[2], 0.75f, 0.75f, 0.75f, 0.75f);
}

TEST(OcclusionData, IsUprightWhereNothingWasHit)
{
    MeshScene scene;
    const GeometryRef geometry = makeMesh({{-1, -1, 0}, {1, -1, 0}, {0, 1, 2}}, {0, 1, 2});
    scene.add(geometry.get());
    scene.build();
    znRTDataBlockPacket data{scene.trace(downward({0.1f, 7.0f, 0.0f, 7.0f}, 0.0f))};
    ASSERT_EQ(data.hit.hitMask, 0b0101u);
    scene.scene->getAmbientOcclusionData(data);
    EXPECT_LANES_NEAR(data.dg.position.x, 0.1f, 0, 0, 0, 1e-5f);
    EXPECT_LANES_NEAR(data.dg.position.z, 1, 0, 1, 0, 1e-5f);
    // The plane rises by one along y, so its normal is (0, -1, 1) / sqrt(2).
    const float h = std::sqrt(0.5f);
    EXPECT_LANES_NEAR(data.dg.shadingNormal.y, -h, 0, -h, 0, 1e-6f);
    EXPECT_LANES_NEAR(data.dg.shadingNormal.z, h, 1, h, 1, 1e-6f);
    EXPECT_EQ(moveMask(data.dg.tangentMask), 0);
    EXPECT_EQ(data.nodes[1], nullptr);
}
