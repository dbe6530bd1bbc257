// Every way of light into a picture counts once, whatever the settings choose to count: the mean of
// small pictures of a room against a path tracer that collects the same ways.

#include "support/hostScene.h"
#include "support/pathTracer.h"
#include "support/pictureAgreement.h"

#include <map>
#include <tuple>

using namespace reference;

namespace {

constexpr int traceDepth = 1;

/// A white room with a lamp that is a point, one that is a mesh, and perhaps a window to the sky.
Scene room(bool hasMeshLamp, bool hasWindow)
{
    Scene scene;
    const int wall =
        scene.add({.diffuse = Color::gray(0.6), .glossy = Color::gray(0.1), .exponent = 9.0});
    const Color shine = hasMeshLamp ? Color::gray(4.0) : Color{};
    const int lamp = scene.add({.diffuse = Color::gray(0.2), .emission = shine});
    const Vector x{2, 0, 0}, y{0, 2, 0}, z{0, 0, 2};
    scene.parallelograms = {
        {{-1, -1, 0}, x, y, wall}, {{-1, -1, 2}, x, y, wall},
        {{-1, 1, 0}, x, z, wall},  {{-1, -1, 0}, x, z, wall},
        {{1, -1, 0}, y, z, wall},  {{0.3, 0.3, 1.7}, {0.4, 0, 0}, {0, 0.4, 0}, lamp}};
    if (!hasWindow)
        scene.parallelograms.push_back({{-1, -1, 0}, y, z, wall});
    if (hasWindow) {
        scene.sky.width = 4;
        scene.sky.height = 2;
        scene.sky.texels.assign(8, Color::gray(1.5));
    }
    scene.points.push_back({{-0.4, 0.0, 1.2}, Color::gray(0.4)});
    scene.view = {{0.5, -0.9, 1.1}, {0.0, 0.5, 0.9}, 80.0, 16, 16};
    return scene;
}

/// Which light a material of a lighting mode collects.
struct Counted
{
    bool lamps, sky, others;
};
constexpr Counted countedBy[] = {{true, true, true},
                                 {false, true, true},
                                 {true, true, false},
                                 {false, true, false},
                                 {true, false, false}};

class LedgerOfLight : public testing::Test
{
protected:
    void expectEachWayOnce(bool hasMeshLamp, bool hasWindow, int illumination)
    {
        const Scene scene = room(hasMeshLamp, hasWindow);
        std::map<std::tuple<int, bool, bool>, Block> expected;
        for (int mode = 0; mode < 5; ++mode) {
            const Counted& counted = countedBy[mode];
            const int bounces = illumination == 3 && counted.others ? traceDepth : 0;
            const PathLight light{bounces, counted.lamps, counted.sky};
            Block& block = expected[{bounces, counted.lamps, counted.sky}];
            // Without lamps the noise is that of the edge of what emits, and samples cost little.
            const int side = counted.lamps ? 14 : 56, samples = counted.lamps ? 24 : 64;
            if (block.error == 0.0)
                block = blockOf(PathTracer(scene, light).render(side), 0, 0, 16, 16);
            const Picture found =
                HostScene(scene,
                          {.illumination = illumination, .depth = traceDepth, .lightingMode = mode})
                    .render(samples);
            expectBlocksAgree(blockOf(found, 0, 0, 16, 16), block, 0.02, 1e-3,
                              "mode " + std::to_string(mode) + ", illumination " +
                                  std::to_string(illumination));
        }
    }
};

} // namespace

TEST_F(LedgerOfLight, BalancesInAClosedRoom)
{
    for (const int illumination : {0, 2, 3})
        for (const bool hasMeshLamp : {false, true})
            expectEachWayOnce(hasMeshLamp, false, illumination);
}

TEST_F(LedgerOfLight, BalancesInARoomWithAWindow)
{
    for (const int illumination : {2, 3})
        expectEachWayOnce(true, true, illumination);
}
