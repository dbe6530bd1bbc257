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
    const Picture expected = PathTracer(scene, {bounces}).render(side);
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

// The mirror shows the floor, its shadow, the lamp and the sky.
TEST(ReferencePictures, AgreeInAMirror)
{
    Scene scene = ballOnFloor();
    scene.finishes[std::size_t(scene.balls[0].finish)] = {.mirror = 0.8};
    scene.rectangles.push_back({{1.5, 0.5, 2.5}, 0.6, 0.4, Color{5.0, 6.0, 8.0}});
    const int lamp = scene.add({.emission = {3.0, 2.5, 2.0}});
    scene.parallelograms.push_back({{-3.0, 0.5, 1.0}, {0.8, 0.8, 0.0}, {0.0, 0.0, 1.5}, lamp});
    scene.sky.width = 4;
    scene.sky.height = 2;
    scene.sky.texels.assign(8, Color{0.2, 0.25, 0.3});
    expectAgreement(scene, 0, 64, 40);
}

// Two lamps above the floor, one half behind the ball, one seen through a pane.
TEST(ReferencePictures, AgreeWithLampsInSight)
{
    Scene scene = ballOnFloor();
    scene.rectangles.push_back({{0.6, 1.0, 1.9}, 0.8, 0.6, Color{2.0, 1.5, 1.0}});
    scene.rectangles.push_back({{-1.6, 0.2, 1.6}, 0.5, 0.5, Color{1.0, 1.5, 2.0}});
    const int pane = scene.add({.diffuse = {0.1, 0.2, 0.1}, .passes = {0.7, 0.5, 0.3}});
    scene.parallelograms.push_back({{-1.7, -1.0, 0.2}, {0.9, 0.3, 0.0}, {0.0, 0.2, 1.5}, pane});
    scene.sky.width = 4;
    scene.sky.height = 2;
    scene.sky.texels.assign(8, Color{0.3, 0.3, 0.3});
    scene.view = {{0.0, -4.0, 0.6}, {0.0, 0.0, 1.1}, 50.0};
    expectAgreement(scene, 0, 64, 40);
}

// Light that comes by two other surfaces, between walls of two colours.
TEST(ReferencePictures, AgreeInAClosedRoom)
{
    Scene scene;
    const int white = scene.add({.diffuse = Color::gray(0.7)});
    const int red = scene.add({.diffuse = {0.6, 0.1, 0.1}});
    const int green = scene.add({.diffuse = {0.1, 0.5, 0.1}});
    const Vector x{2, 0, 0}, y{0, 2, 0}, z{0, 0, 2};
    scene.parallelograms = {{{-1, -1, 0}, x, y, white}, {{-1, -1, 2}, x, y, white},
                            {{-1, 1, 0}, x, z, white},  {{-1, -1, 0}, x, z, white},
                            {{-1, -1, 0}, y, z, red},   {{1, -1, 0}, y, z, green}};
    scene.balls.push_back({{0.3, 0.3, 0.4}, 0.4, white});
    scene.rectangles.push_back({{0.0, 0.0, 1.95}, 0.4, 0.4, Color{10.0, 9.0, 8.0}});
    scene.view = {{0.0, -0.95, 1.0}, {0.0, 0.5, 0.8}, 80.0};
    expectAgreement(scene, 2, 48, 20, {.illumination = 3, .depth = 2});
}

// A sky without a sun, and what the floor and the ball send to each other.
TEST(ReferencePictures, AgreeUnderASkyWithLightBetweenSurfaces)
{
    Scene scene = ballOnFloor();
    scene.sky.width = 4;
    scene.sky.height = 2;
    scene.sky.texels.assign(8, Color{0.8, 0.9, 1.0});
    expectAgreement(scene, 1, 48, 20, {.illumination = 3, .depth = 1});
}

// Each sample counts for its own pixel alone and chooses by its own numbers: who computes it and
// when is all the same.
TEST(ReferencePictures, AreTheSameOnAnyNumberOfThreads)
{
    Scene scene = ballOnFloor();
    for (int i = 0; i < 8; ++i) // more than are all evaluated
        scene.points.push_back({{0.5 * i - 2.0, -1.5, 3.0}, Color::gray(0.5 + i)});
    const StillFrameQuality quality{.illumination = 3, .depth = 2};
    const Picture one = HostScene(scene, quality).render(4, 1);
    const Picture four = HostScene(scene, quality).render(4, 4);
    for (std::size_t i = 0; i < one.pixels.size(); ++i)
        for (int c = 0; c < 3; ++c)
            ASSERT_EQ(one.pixels[i].channel(c), four.pixels[i].channel(c)) << i;
}
