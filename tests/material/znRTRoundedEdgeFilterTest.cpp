#include "material/znRTRoundedEdgeFilter.h"

#include "core/rayTypes.h"
#include "host/osg/materials/lobeMaterials.h"
#include "material/znRTMaterial.h"
#include "support/lanes.h"
#include "support/meshScene.h"
#include "support/virtualSlot.h"

namespace {

using Filter = znRTRoundedEdgeFilter;

/// Two squares below one group and a third elsewhere; the first and the third share a material.
class RoundedEdgeFilter : public testing::Test
{
protected:
    void SetUp() override
    {
        const auto paint = osg::UPhongMaterial::create();
        const auto other = osg::UPhongMaterial::create();
        first = add(scene.root.get(), paint);
        second = add(first->getParent(), other);
        third = add(scene.root.get(), paint);
        scene.build();
    }

    osg::NodePtr add(const osg::NodePtr& above, const osg::Ref<osg::UPhongMaterial>& material)
    {
        const GeometryRef geometry = makeSquare();
        geometry->setMaterial(material.get());
        geometries.push_back(geometry);
        osg::NodePtr parent = above;
        if (above == scene.root.get()) {
            groups.push_back(osg::Node::create(osg::Transform::create()));
            parent = groups.back().get();
            above->addChild(parent);
        }
        nodes.push_back(osg::Node::create(geometry.get()));
        parent->addChild(nodes.back().get());
        scene.scene->addGeometryNode(nodes.back().get(), geometry.get());
        return nodes.back().get();
    }

    const znRTIntersector* object(const osg::NodePtr& node) { return &scene.intersector(node); }
    Filter::Nodes nodesOf(const osg::NodePtr& a, const osg::NodePtr& b)
    {
        return {&scene.mesh(a), &scene.mesh(b), nullptr, &scene.mesh(a)};
    }
    u32 materialOf(const osg::NodePtr& node)
    {
        return scene.mesh(node).getActiveMaterial()->getMaterialId();
    }
    /// Objects of four hits: on the first, the third, none and the first.
    znIntType<2> hitObjects(int level)
    {
        const int a = int(scene.mesh(first).resolveToObjectNodeId(level));
        return {a, int(scene.mesh(third).resolveToObjectNodeId(level)), 0, a};
    }
    Filter filterOf(int mode, int level = 1)
    {
        return {mode, hitObjects(level), level, nodesOf(first, third), materialOf(first)};
    }

    MeshScene scene;
    std::vector<GeometryRef> geometries;
    std::vector<osg::Ref<osg::Node>> groups, nodes;
    osg::NodePtr first, second, third;
};

} // namespace

TEST_F(RoundedEdgeFilter, OfAllGeometryKeepsEveryLane)
{
    const Filter filter = filterOf(Filter::allGeometry);
    for (int mask = 0; mask < 16; ++mask)
        EXPECT_EQ(filter.filter(object(second), mask), mask);
}

TEST_F(RoundedEdgeFilter, OfOneObjectComparesEachHitsOwn)
{
    const Filter byGroup = filterOf(Filter::sameObject);
    EXPECT_EQ(byGroup.filter(object(first), 15), 9);
    EXPECT_EQ(byGroup.filter(object(second), 15), 9);
    EXPECT_EQ(byGroup.filter(object(third), 15), 2);
    EXPECT_EQ(byGroup.filter(object(first), 6), 0);
    EXPECT_EQ(byGroup.filter(object(first), 12), 8);

    const Filter byNode = filterOf(Filter::sameObject, 0);
    EXPECT_EQ(byNode.filter(object(first), 15), 9);
    EXPECT_EQ(byNode.filter(object(second), 15), 0);
}

TEST_F(RoundedEdgeFilter, OfOneGeometryKeepsLanesThatHitIt)
{
    const Filter filter = filterOf(Filter::sameGeometry);
    EXPECT_EQ(filter.filter(object(first), 15), 9);
    EXPECT_EQ(filter.filter(object(second), 15), 0);
    EXPECT_EQ(filter.filter(object(third), 15), 2);
    EXPECT_EQ(filter.filter(object(third), 13), 0);
}

TEST_F(RoundedEdgeFilter, OfOneMaterialKeepsItsObjects)
{
    ASSERT_NE(materialOf(first), materialOf(second));
    ASSERT_EQ(materialOf(first), materialOf(third));
    for (int mode : {int(Filter::sameMaterial), 4, -1}) {
        const Filter filter = filterOf(mode);
        EXPECT_EQ(filter.filter(object(first), 11), 11);
        EXPECT_EQ(filter.filter(object(second), 15), 0);
        EXPECT_EQ(filter.filter(object(third), 15), 15);
    }
}

TEST_F(RoundedEdgeFilter, WithoutAMaterialLetsAllMaterialsPass)
{
    const Filter filter(Filter::sameMaterial, hitObjects(1), 1, nodesOf(first, third), 0);
    EXPECT_EQ(filter.filter(object(second), 7), 7);
}

TEST_F(RoundedEdgeFilter, KeepsNothingWithoutAnObject)
{
    auto& intersector = scene.intersector(second);
    znRTGeometryNode* const node = intersector.getNode();
    for (int mode = 0; mode < 5; ++mode) {
        const Filter filter = filterOf(mode);
        EXPECT_EQ(filter.filter(nullptr, 15), 0);
        EXPECT_FALSE(filter.filterSingle(nullptr, 0));
        intersector.setNode(nullptr);
        EXPECT_EQ(filter.filter(&intersector, 15), 0);
        EXPECT_FALSE(filter.filterSingle(&intersector, 2));
        intersector.setNode(node);
    }
}

TEST_F(RoundedEdgeFilter, AnswersForOneLaneAsForFour)
{
    for (int mode = 0; mode < 4; ++mode) {
        const Filter filter = filterOf(mode);
        for (const osg::NodePtr& node : {first, second, third})
            for (int lane = 0; lane < 4; ++lane) {
                const bool isKept = filter.filter(object(node), 15) >> lane & 1;
                EXPECT_EQ(filter.filterSingle(object(node), lane), isKept);
                // Lane numbers wrap at 32.
                EXPECT_EQ(filter.filterSingle(object(node), lane + 32), isKept);
            }
    }
}

// All three squares lie in one plane: lanes see the one that their filter leaves.
TEST_F(RoundedEdgeFilter, ThinsTheRaysOfAPacket)
{
    znRTRayDifferentialPacket rays = downward(0.5f, 0.2f);
    const Filter filter = filterOf(Filter::sameGeometry);
    rays.type = znIntType<2>(int(rayType::mirrorReflection));
    rays.auxiliary = &filter;
    const znRTHitInfoPacket hit = scene.trace(rays);
    EXPECT_EQ(hit.hitMask, 11u);
}

TEST(RayFilter, KeepsTheOrderOfItsOperations)
{
    EXPECT_EQ(virtualSlot(&znRTRayFilter::filter), 0);
    EXPECT_EQ(virtualSlot(&znRTRayFilter::filterSingle), 1);
}
