#include "brdf/znRTONB.h"

#include "brdf/referenceMath.h"
#include "support/lanes.h"

using reference::Uniform;
using reference::Vector;

namespace {

void expectOrthonormal(const znRTONB& onb)
{
    EXPECT_LANES_NEAR(dot(onb.u, onb.v), 0, 0, 0, 0, 1e-6f);
    EXPECT_LANES_NEAR(dot(onb.u, onb.n), 0, 0, 0, 0, 1e-6f);
    EXPECT_LANES_NEAR(onb.u.getSquareLength(), 1, 1, 1, 1, 2e-6f);
    EXPECT_LANES_NEAR(onb.v.getSquareLength(), 1, 1, 1, 1, 2e-6f);
    // Right-handed: u x v = n.
    EXPECT_LANES_NEAR(dot(cross(onb.u, onb.v), onb.n), 1, 1, 1, 1, 2e-6f);
}

znRTVector3fPacket randomDirections(Uniform& uniform)
{
    znRTVector3fPacket result;
    for (int lane = 0; lane < 4; ++lane) {
        const double z = 2.0 * uniform() - 1.0;
        result.setLane(lane,
                       Vector::polar(std::acos(z), 2.0 * reference::pi * uniform()).toFloat());
    }
    return result;
}

} // namespace

TEST(LobeFrames, AreOrthonormalAndRightHandedAboutAnyNormal)
{
    Uniform uniform(1);
    for (int i = 0; i < 250; ++i) {
        znRTONB onb;
        onb.set(randomDirections(uniform));
        expectOrthonormal(onb);
        onb.set(randomDirections(uniform), randomDirections(uniform), expandLanes(0b0110));
        expectOrthonormal(onb);
        expectOrthonormal(onb.getFlipped());
    }
    for (const znRTVector3f& axis : {znRTVector3f(1, 0, 0), znRTVector3f(0, 1, 0),
                                     znRTVector3f(0, 0, 1), znRTVector3f(0, 0, -1)}) {
        znRTONB onb;
        onb.set(znRTVector3fPacket(axis));
        expectOrthonormal(onb);
    }
}

TEST(LobeFrames, BringDirectionsBackWhereTheyCameFrom)
{
    Uniform uniform(2);
    znRTONB onb;
    onb.set(randomDirections(uniform));
    const znRTVector3fPacket w = randomDirections(uniform);
    const znRTVector3fPacket back = onb.toWorld(onb.toLocal(w));
    EXPECT_LANES_NEAR(dot(back, w), 1, 1, 1, 1, 2e-6f);
    EXPECT_LANES_NEAR(onb.toLocal(onb.n).z, 1, 1, 1, 1, 2e-6f);
    EXPECT_LANES_NEAR(onb.getFlipped().toLocal(onb.n).z, -1, -1, -1, -1, 2e-6f);
}

// Along the normal, of zero length, and 45 degrees off it.
TEST(LobeFrames, FollowTheTangentWhereItHasADirection)
{
    const znRTVector3fPacket normal(0.0f, 0.0f, 1.0f);
    const znRTVector3fPacket tangent({3, 0, 0, 1}, {0, 0, 0, 1}, {3, 5, 0, 0});
    znRTONB plain, onb;
    plain.set(normal);
    onb.set(normal, tangent, expandLanes(0b0111));
    expectOrthonormal(onb);
    EXPECT_LANES_NEAR(onb.u.x, 1.0f, plain.u.x[1], plain.u.x[2], plain.u.x[3], 1e-6f);
    EXPECT_LANES_NEAR(onb.u.y, 0.0f, plain.u.y[1], plain.u.y[2], plain.u.y[3], 1e-6f);
}
