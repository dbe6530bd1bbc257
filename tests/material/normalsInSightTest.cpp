// Surfaces whose interpolated normals lean away from the viewer.

#include "material/shadePipeline.h"
#include "material/surroundedFixture.h"

#include <cmath>

using namespace materialTest;

namespace {

class NormalsOfVertices : public SurroundedTest
{
protected:
    /// A square of reflectance 0.5 under white surroundings.
    /// @param tilt  of its normals to the right, radians
    znRTMaterial& addTilted(double tilt)
    {
        const osg::Vec3f normal(float(std::sin(tilt)), 0.0f, float(std::cos(tilt)));
        squares.push_back(makeMesh({{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}},
                                   {0, 1, 2, 0, 2, 3}, {normal, normal, normal, normal}));
        squares.back()->setMaterial(makeDiffuse(0.5f));
        scene.scene->clear();
        const osg::NodePtr node = scene.add(squares.back().get());
        scene.scene->initMaterials();
        scene.build();
        surround(white());
        return *scene.mesh(node).getActiveMaterial();
    }
    /// Toward the middle, from the left.
    static znRTRayDifferentialPacket from(double elevation)
    {
        const float x = float(std::cos(elevation)), z = float(std::sin(elevation));
        return znRTRayDifferentialPacket(
            znRTRayPacket({-x, 0.1f, z}, znRTVector3fPacket(x, 0.0f, -z)));
    }
};

constexpr double degree = testPi / 180.0;

} // namespace

// A mirror ray runs along the surface when the normal stands halfway between it and the viewer,
// half the elevation from upright. Further normals come back to there, others stay.
TEST_F(NormalsOfVertices, LeanAwayNoFurtherThanAMirrorAllows)
{
    for (const double elevation : {10.0, 40.0})
        for (const double tilt : {0.0, 4.0, 19.0, 30.0, 60.0, 85.0}) {
            const znRTMaterial& material = addTilted(tilt * degree);
            const znRTRayDifferentialPacket ray = from(elevation * degree);
            const znRTDataBlockPacket data = blockOf(ray);
            znRTHitSurface hit(ray, data);
            material.bendNormal(ray, data, hit, everyLane4);
            const double lean = std::min(tilt, 0.5 * elevation) * degree;
            EXPECT_NEAR(hit.dg.shadingNormal.x[0], std::sin(lean), 1e-3)
                << elevation << " " << tilt;
            EXPECT_NEAR(hit.dg.shadingNormal.z[0], std::cos(lean), 1e-3)
                << elevation << " " << tilt;
        }
}

// White all around: half of it comes back, whichever way the normal looks.
TEST_F(NormalsOfVertices, LeaveNoPlaceBlackThatIsSeen)
{
    for (const double tilt : {0.0, 60.0, 85.0}) {
        addTilted(tilt * degree);
        EXPECT_NEAR(mean(from(10.0 * degree), 64), 0.5, 0.02) << tilt;
    }
}
