// What a host does to arrays and cores reaches the rays with the next change list.

#include "render/renderFixture.h"

using namespace renderTest;

namespace {

class GeometryChanges : public RenderTest
{
protected:
    /// Height of what a ray straight down meets; -100 without a hit.
    float heightAt(float x, float y)
    {
        instance->applyChangeList(0);
        znRTVector3f position(0, 0, 0), normal;
        osg::NodePtr node;
        const bool isHit = instance->getHitPoint({x, y, 50}, {0, 0, -1}, position, normal, node);
        return isHit ? position.z : -100.0f;
    }
    static osg::GeoPropertyPtr squareAt(float z)
    {
        return osg::GeoProperty::create(
            {osg::Vec3f(0.37f, -1, z), {1, -1, z}, {1, 1, z}, {-1, 1, z}, {-1, -1, z}});
    }
};

} // namespace

TEST_F(GeometryChanges, ReachAllNodesOfTheCoreWithNewPositions)
{
    const osg::GeometryPtr square = makeSquare(1);
    add(square);
    add(square, 5, 0, 0);
    EXPECT_NEAR(heightAt(0.2f, 0.3f), 0.0f, 1e-4f);
    square->setPositions(squareAt(2));
    EXPECT_NEAR(heightAt(0.2f, 0.3f), 2.0f, 1e-4f);
    EXPECT_NEAR(heightAt(5.2f, 0.3f), 2.0f, 1e-4f);
}

TEST_F(GeometryChanges, ReachTheRaysWithEditsInPlace)
{
    const osg::GeometryPtr square = makeSquare(1);
    add(square);
    add(square, 5, 0, 0);
    EXPECT_NEAR(heightAt(0.2f, 0.3f), 0.0f, 1e-4f);
    const osg::GeoPropertyPtr positions = square->getPositions();
    for (const float z : {3.0f, -7.0f}) {
        const osg::EditScope edit(positions, osg::GeoProperty::BytesFieldMask);
        float* const data = static_cast<float*>(positions->editData());
        for (int v = 0; v < 5; ++v)
            data[3 * v + 2] = z;
    }
    EXPECT_NEAR(heightAt(0.2f, 0.3f), -7.0f, 1e-4f);
    EXPECT_NEAR(heightAt(5.2f, 0.3f), -7.0f, 1e-4f);
}

TEST_F(GeometryChanges, TakeTrianglesAwayAndBringThemBack)
{
    const osg::GeometryPtr square = makeSquare(1);
    add(square);
    EXPECT_NEAR(heightAt(0.9f, 0.0f), 0.0f, 1e-4f);
    EXPECT_NEAR(heightAt(-0.9f, 0.0f), 0.0f, 1e-4f);
    square->setIndices(osg::GeoProperty::create({0u, 1u, 2u}));
    square->setLengths({3});
    EXPECT_NEAR(heightAt(0.9f, 0.0f), 0.0f, 1e-4f);
    EXPECT_EQ(heightAt(-0.9f, 0.0f), -100.0f);
    square->setIndices(osg::GeoProperty::create({0u, 2u, 3u, 0u, 3u, 4u}));
    square->setLengths({6});
    EXPECT_EQ(heightAt(0.9f, 0.0f), -100.0f);
    EXPECT_NEAR(heightAt(-0.9f, 0.0f), 0.0f, 1e-4f);
}

TEST_F(GeometryChanges, HideGeometryWhilePositionsAreMissing)
{
    const osg::GeometryPtr square = makeSquare(1);
    add(square);
    EXPECT_NEAR(heightAt(0.2f, 0.3f), 0.0f, 1e-4f);
    square->setPositions(nullptr);
    EXPECT_EQ(heightAt(0.2f, 0.3f), -100.0f);
    square->setPositions(squareAt(4));
    EXPECT_NEAR(heightAt(0.2f, 0.3f), 4.0f, 1e-4f);
}

TEST_F(GeometryChanges, ExchangeCores)
{
    const osg::GeometryPtr square = makeSquare(1), higher = makeSquare(1);
    higher->setPositions(squareAt(6));
    const osg::NodePtr node = add(square);
    EXPECT_NEAR(heightAt(0.2f, 0.3f), 0.0f, 1e-4f);
    node->setCore(higher);
    EXPECT_NEAR(heightAt(0.2f, 0.3f), 6.0f, 1e-4f);
}
