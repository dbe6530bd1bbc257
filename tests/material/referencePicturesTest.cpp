// Still frames of small scenes against a plain path tracer.

#include "support/hostScene.h"
#include "support/pathTracer.h"
#include "support/pictureAgreement.h"

using namespace reference;

namespace {

/// A floor with a ball on it, seen from in front and above.
Scene ballOnFloor()
{
    Scene scene;
    const int floor = scene.add({.diffuse = {0.6, 0.5, 0.4}});
    const int ball =
        scene.add({.diffuse = {0.3, 0.4, 0.5}, .glossy = Color::gray(0.4), .exponent = 16.0});
    scene.addFloor(20.0, floor);
    scene.balls.push_back({{0.2, 0.1, 0.8}, 0.8, ball});
    scene.view = {{0.5, -4.0, 4.0}, {0.1, 0.0, 0.5}, 40.0};
    return scene;
}

/// @param samples  per pixel and part
/// @param side     samples per pixel of the reference along an axis
void expectAgreement(const Scene& scene, int bounces, int samples, int side,
                     const StillFrameQuality& quality = {})
{
    const Picture expected = PathTracer(scene, bounces).render(side);
    const Picture found = HostScene(scene, quality).render(samples);
    expectPicturesAgree(found, expected);
}

} // namespace

TEST(ReferencePictures, AgreeUnderAPointAndARectangle)
{
    Scene scene = ballOnFloor();
    scene.points.push_back({{-2.0, -1.5, 3.0}, Color{9.0, 8.0, 7.0}});
    scene.rectangles.push_back({{1.5, 0.5, 2.5}, 0.6, 0.4, Color{5.0, 6.0, 8.0}});
    expectAgreement(scene, 0, 32, 16);
}

// Two suns, one of them low: long shadows, on each of which only the other shines.
TEST(ReferencePictures, AgreeUnderSunsAndBehindPanes)
{
    Scene scene = ballOnFloor();
    scene.suns.push_back({Vector{0.6, 0.2, 0.7}.normalized(), Color{1.0, 0.9, 0.8}});
    scene.suns.push_back({Vector{-0.8, -0.3, 0.4}.normalized(), Color{0.3, 0.4, 0.6}});
    const int pane = scene.add({.diffuse = {0.8, 0.2, 0.1}, .passes = {0.7, 0.5, 0.3}});
    scene.parallelograms.push_back({{-1.0, -1.2, 0.2}, {1.6, 0.3, 0.0}, {0.0, 0.2, 1.5}, pane});
    expectAgreement(scene, 0, 32, 16);
}

// A mesh that emits on both of its sides, seen itself.
TEST(ReferencePictures, AgreeUnderALampMadeOfAMesh)
{
    Scene scene = ballOnFloor();
    const int lamp = scene.add({.emission = {6.0, 5.0, 4.0}});
    scene.parallelograms.push_back({{-1.5, -1.0, 2.0}, {1.0, 0.2, 0.0}, {0.0, 0.8, 0.3}, lamp});
    expectAgreement(scene, 0, 32, 24);
}

// A smooth sky, with one texel that holds a sun.
TEST(ReferencePictures, AgreeUnderASkyWithASun)
{
    Scene scene = ballOnFloor();
    Sky& sky = scene.sky;
    sky.width = 64;
    sky.height = 32;
    for (int y = 0; y < sky.height; ++y)
        for (int x = 0; x < sky.width; ++x) {
            const double u = 2.0 * pi * (x + 0.5) / sky.width, v = pi * (y + 0.5) / sky.height;
            sky.texels.push_back(Color{0.4, 0.5, 0.7} * (0.6 + 0.4 * std::cos(v)) +
                                 Color{0.3, 0.2, 0.1} * (0.5 + 0.5 * std::sin(u)));
        }
    sky.sunColumn = 40;
    sky.sunRow = 10;
    sky.sun = Color{150.0, 140.0, 120.0};
    expectAgreement(scene, 0, 64, 20);
}
