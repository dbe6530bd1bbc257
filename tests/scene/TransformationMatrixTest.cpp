#include "host/osg/TransformationMatrix.h"

#include "host/osg/logStream.h"

#include <cmath>
#include <gtest/gtest.h>
#include <sstream>

using namespace osg;

namespace {

Matrix sample()
{
    Matrix m;
    m.setTransform({1, 2, 3}, {0, 0, std::sqrt(0.5f), std::sqrt(0.5f)}, {2, 3, 4});
    return m;
}

// Scale (2, 3, 4), then a quarter turn about z, then a move by (1, 2, 3):
// (1, 1, 1) -> (2, 3, 4) -> (-3, 2, 4) -> (-2, 4, 7).
TEST(TransformationMatrix, ScalesThenTurnsThenMoves)
{
    const Pnt3f p = sample().multMatrixPnt(Pnt3f(1, 1, 1));
    EXPECT_NEAR(p[0], -2.0f, 1e-5f);
    EXPECT_NEAR(p[1], 4.0f, 1e-5f);
    EXPECT_NEAR(p[2], 7.0f, 1e-5f);
    const Vec3f v = sample().multMatrixVec(Vec3f(1, 1, 1));
    EXPECT_NEAR(v[0], -3.0f, 1e-5f);
    EXPECT_NEAR(v[2], 4.0f, 1e-5f);
    EXPECT_EQ(sample()[3][0], 1.0f); // [column][row]
}

TEST(TransformationMatrix, IsUndoneByItsInverse)
{
    Matrix inverse = sample();
    ASSERT_TRUE(inverse.invert());
    const Matrix product = sample() * inverse;
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            EXPECT_NEAR(product[c][r], c == r ? 1.0f : 0.0f, 1e-6f);
}

TEST(TransformationMatrix, StaysAsItIsWithoutAnInverse)
{
    Matrix flat = sample();
    flat[2] = {0, 0, 0, 0};
    const Matrix before = flat;
    EXPECT_FALSE(flat.invert());
    EXPECT_EQ(flat, before);
    Matrix broken;
    broken[1][1] = std::nanf("");
    EXPECT_FALSE(broken.invert());
}

TEST(TransformationMatrix, MultipliesFromTheRightSoThatTheArgumentActsFirst)
{
    Matrix move, scale;
    move.setTranslate({1, 0, 0});
    scale.setTransform({0, 0, 0}, {0, 0, 0, 1}, {2, 2, 2});
    EXPECT_EQ((move * scale).multMatrixPnt(Pnt3f(1, 0, 0))[0], 3.0f);
    EXPECT_EQ((scale * move).multMatrixPnt(Pnt3f(1, 0, 0))[0], 4.0f);
}

TEST(TransformationMatrix, DividesByWAndReportsAZeroW)
{
    Matrix m;
    m[2][3] = 1.0f; // w = z + 1
    EXPECT_EQ(m.multFullMatrixPnt(Pnt3f(4, 2, 1)), Pnt3f(2, 1, 0.5f));
    std::ostringstream text;
    std::ostream* const before = setLogStream(&text);
    EXPECT_EQ(m.multFullMatrixPnt(Pnt3f(4, 2, -1)), Pnt3f(0, 0, 0));
    setLogStream(before);
    EXPECT_EQ(text.str(), "multFullMatrixPnt: w == 0.0f!\n");
}

TEST(TransformationMatrix, ConvertsToTheCoreMatrixElementByElement)
{
    const znMatrix4x4 m(sample());
    EXPECT_EQ(m[3][2], 3.0f);
    EXPECT_EQ(Matrix(m), sample());
    EXPECT_TRUE(Matrix().isIdentity());
    EXPECT_FALSE(sample().isIdentity());
}

} // namespace
