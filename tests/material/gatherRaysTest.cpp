#include "material/gatherRays.h"
#include "material/pathContinuation.h"
#include "materialFixture.h"

#include "brdf/analytic/znRTLambertBRDF.h"
#include "core/rayTypes.h"
#include "gi/randomDecisions.h"

using namespace materialTest;

namespace {

class GatherRays : public MaterialTest
{
protected:
    GatherRays() { addSquare(makeDiffuse(0.5f)); }

    znRTLitHit hitOf(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data)
    {
        data = blockOf(ray);
        onb.set(data.dg.shadingNormal);
        wo = -ray.direction;
        return {ray, data, data.dg, lobes, wo, everyLane4, *data.materials[0], state};
    }

    znRTONB onb;
    znRTVector3fPacket wo;
    znRTLobeSet lobes;
    znRTLambertBRDF lambert;
    znRTShadingState state = stateOf(0);
};

} // namespace

// White Lambert weighs all directions alike, also where two such lobes overlap: both answer for
// each direction.
TEST_F(GatherRays, WeighDirectionsByAllLobesOfTheirKind)
{
    const znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    znRTDataBlockPacket data(1.0f);
    const znRTLitHit hit = hitOf(ray, data);
    lobes.add(lambert, onb, znRTColorPacket(1.0f), expandLanes(7));
    lobes.add(lambert, onb, znRTColorPacket(1.0f), expandLanes(6));
    for (int i = 0; i < 64; i += 4) {
        const znRTGatherDirections drawn =
            drawDirections(hit, znRTLobeKind::diffuse, tablePoints(i), everyLane4);
        EXPECT_EQ(moveMask(drawn.mask), 7);
        EXPECT_LANES_NEAR(drawn.weight.r, 1.0f, 2.0f, 2.0f, 0.0f, 1e-5f);
        EXPECT_LANES_NEAR(drawn.pdf - (drawn.wi.z * float(1.0 / testPi) & drawn.mask), 0, 0, 0, 0,
                          1e-5f);
    }
    const znRTGatherDirections none =
        drawDirections(hit, znRTLobeKind::glossy, tablePoints(0), everyLane4);
    EXPECT_EQ(moveMask(none.mask), 0);
}

// An interpolated normal may lean so that a lobe draws directions into the body.
TEST_F(GatherRays, LeaveTheBodyOfTheSurface)
{
    const znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    znRTDataBlockPacket data(1.0f);
    const znRTLitHit hit = hitOf(ray, data);
    const float c = std::sqrt(0.5f);
    onb.set(inAllLanes(c, 0.0f, c));
    lobes.add(lambert, onb, znRTColorPacket(1.0f), everyLane4);
    int dropped = 0;
    for (int i = 0; i < 256; i += 4) {
        const znRTGatherDirections drawn =
            drawDirections(hit, znRTLobeKind::diffuse, tablePoints(i), everyLane4);
        for (int lane = 0; lane < 4; ++lane)
            if (!(moveMask(drawn.mask) >> lane & 1)) {
                ++dropped;
                EXPECT_EQ(drawn.weight.r[lane], 0.0f);
            } else
                EXPECT_GT(drawn.wi.z[lane], 0.0f);
    }
    // Below a plane that leans by 45 degrees: (1 - cos 45) / 2 = 0.146 of cosine directions.
    EXPECT_NEAR(dropped / 256.0, 0.146, 0.02);
}

TEST_F(GatherRays, KeepTheirEyeAndTellTheirKind)
{
    znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    ray.type = znIntType<2>(int(rayType::cameraLeft), int(rayType::cameraRight),
                            int(rayType::camera), int(rayType::cameraLeft));
    znRTDataBlockPacket data(1.0f);
    znRTRayDifferentialPacket all = downward(0.2f, 0.1f);
    znRTLitHit seen = hitOf(all, data);
    const znRTLitHit hit{ray, data, data.dg, lobes, wo, everyLane4, seen.material, state};
    lobes.add(lambert, onb, znRTColorPacket(1.0f), everyLane4);
    const znRTGatherDirections drawn =
        drawDirections(hit, znRTLobeKind::diffuse, tablePoints(0), everyLane4);
    const znRTRayDifferentialPacket rays =
        gatherRays(hit, drawn, znRTColorPacket(0.25f), expandLanes(12), 1);
    for (int lane = 0; lane < 4; ++lane) {
        const u32 rayClass = lane < 2 ? rayType::diffuseScatter : rayType::glossyReflection;
        EXPECT_EQ(u32(rays.type[lane]),
                  rayType::child(u32(ray.type[lane]), rayClass, rayType::stochasticBounce))
            << lane;
        EXPECT_EQ(u32(rays.type[lane]) & rayType::seesEmission, 0u);
    }
    EXPECT_LANES_EQ(rays.weight.x, 0.25f, 0.25f, 0.25f, 0.25f);
    EXPECT_EQ(moveMask(rays.origin.z > znFloatType<2>(0.0f)), 15);
}

TEST_F(GatherRays, GetWiderWithWhatTheyStandFor)
{
    const znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    znRTDataBlockPacket data(1.0f);
    const znRTLitHit hit = hitOf(ray, data);
    znRTGatherDirections directions{data.dg.shadingNormal, znRTColorPacket(1.0f),
                                    znFloatType<2>(0.01f, 0.3f, 100.0f, 10000.0f), everyLane4};
    const auto spreads = [&](int samples) {
        const auto rays = gatherRays(hit, directions, znRTColorPacket(1.0f), everyLane4, samples);
        EXPECT_EQ(rays.hasDifferentials, 1u);
        const znRTVector3fPacket x = rays.rxDirection - rays.direction;
        const znRTVector3fPacket y = rays.ryDirection - rays.direction;
        EXPECT_LANES_NEAR(dot(x, y), 0, 0, 0, 0, 1e-6f);
        EXPECT_LANES_NEAR(x.getLength() - y.getLength(), 0, 0, 0, 0, 1e-5f);
        return x.getLength();
    };
    EXPECT_LANES_NEAR(spreads(1), 0.25f, 0.25f, 0.025f, 0.0025f, 1e-5f);
    EXPECT_LANES_NEAR(spreads(4), 0.25f, 0.2282f, 0.0125f, 0.00125f, 1e-4f);
}

TEST(PathContinuation, IsTheShareThatIsLeftWithinBounds)
{
    const auto grey = [](float a, float b, float c, float d) {
        const znFloatType<2> v(a, b, c, d);
        return znRTColorPacket(v, v, v, 1.0f);
    };
    const znRTColorPacket before(0.5f), after = grey(0.45f, 0.02f, 3.0f, 0.0f);
    Settings::s_qualityMode = Settings::interactive;
    EXPECT_LANES_NEAR(survivalOf(before, after), 0.9f, 0.5f, 1.0f, 0.0f, 1e-5f);
    Settings::s_qualityMode = Settings::stillFrame;
    EXPECT_LANES_NEAR(survivalOf(before, after), 0.9f, 0.125f, 1.0f, 0.0f, 1e-5f);
    Settings::s_qualityMode = Settings::interactive;
    // A colour without luminance to speak of goes on as well.
    const znRTColorPacket blue(0.0f, 0.0f, 1e-3f, 1.0f);
    EXPECT_LANES_NEAR(survivalOf(before, blue), 0.5f, 0.5f, 0.5f, 0.5f, 1e-6f);
}
