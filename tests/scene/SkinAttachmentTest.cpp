#include "host/osg/SkinAttachment.h"

#include "host/osg/nodeCores.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace osg;

namespace {

/// An arm along x: joint 0 at the origin, joint 1 at x = 1, bent by a quarter turn about z.
struct Arm
{
    Ref<Node> root = Node::create(), shoulder = Node::create(Transform::create()),
              elbow = Node::create(Transform::create());
    Ref<SkinAttachment> skin = SkinAttachment::create();

    Arm()
    {
        root->addChild(shoulder);
        shoulder->addChild(elbow);
        Matrix bent;
        bent.setTransform({1, 0, 0}, {0, 0, std::sqrt(0.5f), std::sqrt(0.5f)});
        Transform::Ptr::dcast(elbow->getCore())->setMatrix(bent);
        skin->setEnabled(true);
        skin->setInfluenceCount(2);
        skin->setJoints({shoulder, elbow});
        std::vector<float> binds(32, 0.0f);
        for (const int i : {0, 5, 10, 15, 16, 21, 26, 31})
            binds[i] = 1.0f;
        binds[28] = -1.0f; // the elbow stood at x = 1
        skin->setInverseBindMatrices(binds);
    }
};

// The point (2, 0, 0) lies 1 beyond the elbow: bent up it comes to (1, 1, 0). With half the weight
// on each joint it comes half way between (2, 0, 0) and there.
TEST(SkinAttachment, BlendsPositionsAndNormalsByWeight)
{
    const Arm arm;
    arm.skin->setJointIndices({0, 1, 0, 1, 0, 1});
    arm.skin->setWeights({1, 0, 0, 1, 0.5f, 0.5f});
    const std::vector<Vec3f> points{{0.5f, 0, 0}, {2, 0, 0}, {2, 0, 0}};
    const std::vector<Vec3f> directions{{0, 1, 0}, {0, 1, 0}, {0, 1, 0}};
    const float* positions = points[0].values;
    const float* normals = directions[0].values;
    arm.skin->getDeformedVertices(positions, normals);
    ASSERT_NE(positions, points[0].values);
    const float expected[9] = {0.5f, 0, 0, 1, 1, 0, 1.5f, 0.5f, 0};
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(positions[i], expected[i], 1e-6f) << i;
    // (0, 1, 0) turned by 90 degrees about z.
    EXPECT_NEAR(normals[3], -1.0f, 1e-6f);
    EXPECT_NEAR(normals[4], 0.0f, 1e-6f);
    EXPECT_NEAR(normals[6], -std::sqrt(0.5f), 1e-6f);
    EXPECT_NEAR(normals[7], std::sqrt(0.5f), 1e-6f);
}

TEST(SkinAttachment, ReturnsTheSameArraysUntilAJointMoves)
{
    const Arm arm;
    arm.skin->setJointIndices({1, 0});
    arm.skin->setWeights({1, 0});
    const std::vector<Vec3f> points{{2, 0, 0}};
    const float* first = points[0].values;
    const float* noNormals = nullptr;
    arm.skin->getDeformedVertices(first, noNormals);
    const float* second = points[0].values;
    arm.skin->getDeformedVertices(second, noNormals);
    EXPECT_EQ(first, second);
    EXPECT_EQ(noNormals, nullptr);
    Transform::Ptr::dcast(arm.elbow->getCore())->setMatrix(Matrix());
    const float* third = points[0].values;
    arm.skin->getDeformedVertices(third, noNormals);
    EXPECT_NEAR(third[0], 1.0f, 1e-6f); // straight again, the elbow now at the origin
}

TEST(SkinAttachment, DeformsInTheSpaceOfTheNodeThatShowsIt)
{
    const Arm arm;
    Matrix far;
    far.setTranslate({0, 0, 50});
    const auto place = Transform::create();
    place->setMatrix(far);
    arm.root->setCore(place);
    arm.skin->setJointIndices({1, 0});
    arm.skin->setWeights({1, 0});
    arm.skin->setSkinNode(arm.root);
    const std::vector<Vec3f> points{{2, 0, 0}};
    const float* positions = points[0].values;
    const float* normals = nullptr;
    arm.skin->getDeformedVertices(positions, normals);
    EXPECT_NEAR(positions[1], 1.0f, 1e-6f);
    EXPECT_NEAR(positions[2], 0.0f, 1e-5f);
}

TEST(SkinAttachment, LeavesVerticesWithoutWeightsOrWithBadJointsAlone)
{
    const Arm arm;
    arm.skin->setJointIndices({0, 1, 77, 78});
    arm.skin->setWeights({0, 0, 1, 1});
    const std::vector<Vec3f> points{{2, 0, 0}, {3, 0, 0}, {4, 0, 0}};
    const float* positions = points[0].values;
    const float* normals = nullptr;
    arm.skin->getDeformedVertices(positions, normals, 3);
    for (int v = 0; v < 3; ++v)
        EXPECT_EQ(positions[3 * v], float(v + 2));
}

TEST(SkinAttachment, DoesNothingWhenSwitchedOff)
{
    const Arm arm;
    arm.skin->setEnabled(false);
    const Vec3f point(2, 0, 0);
    const float* positions = point.values;
    const float* normals = nullptr;
    arm.skin->getDeformedVertices(positions, normals);
    EXPECT_EQ(positions, point.values);
}

} // namespace
