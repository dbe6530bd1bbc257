// Surfaces whose interpolated normals lean away from the viewer.

#include "material/surroundedFixture.h"

#include <cmath>

using namespace materialTest;

namespace {

class NormalsOfVertices : public SurroundedTest
{
protected:
    /// White surroundings above a square of reflectance 0.5, seen from the left.
    /// @param tilt       of its normals to the right, radians
    /// @param elevation  of the viewer, radians
    /// @return mean radiance
    double seen(double tilt, double elevation)
    {
        const osg::Vec3f normal(float(std::sin(tilt)), 0.0f, float(std::cos(tilt)));
        squares.push_back(makeMesh({{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}},
                                   {0, 1, 2, 0, 2, 3}, {normal, normal, normal, normal}));
        squares.back()->setMaterial(makeDiffuse(0.5f));
        scene.scene->clear();
        scene.add(squares.back().get());
        scene.scene->initMaterials();
        scene.build();
        surround(white());
        const float x = float(std::cos(elevation)), z = float(std::sin(elevation));
        return mean(znRTRayDifferentialPacket(
                        znRTRayPacket({-x, 0.1f, z}, znRTVector3fPacket(x, 0.0f, -z))),
                    256);
    }
};

} // namespace

// A mirror ray runs along the surface when the normal stands halfway between it and the viewer,
// elevation / 2 from upright; further normals come back to there. Of a cosine lobe that leans by t
// the share (1 + cos t) / 2 lies above the surface.
TEST_F(NormalsOfVertices, LeanAwayNoFurtherThanAMirrorAllows)
{
    constexpr double degree = testPi / 180.0;
    for (const double elevation : {10.0, 40.0})
        for (const double tilt : {0.0, 4.0, 30.0, 60.0, 85.0}) {
            const double lean = std::min(tilt, 0.5 * elevation) * degree;
            EXPECT_NEAR(seen(tilt * degree, elevation * degree), 0.25 * (1.0 + std::cos(lean)),
                        0.01)
                << elevation << ", " << tilt;
        }
}
