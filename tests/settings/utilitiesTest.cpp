#include "host/osg/RenderOptions.h"
#include "host/znColor.h"
#include "host/znDaylightUtils.h"
#include "host/znGeoSubdivisionList.h"
#include "host/znRTDisplacementSettings.h"
#include "host/znRTSelectionSettings.h"
#include "host/znRTTextureAttributes.h"
#include "host/znRTTextureSampler.h"
#include "host/znRenderOptions.h"
#include "host/znSelectionColors.h"
#include "settings/edgeAvoidingFilter.h"

#include <cmath>
#include <gtest/gtest.h>

#include <numbers>

namespace {

constexpr float degree = std::numbers::pi_v<float> / 180.0f;

// At the equinox (20 March 2000, 7:35 UT) the sun stands over the equator; at 12:00 UT, 7.4
// minutes before true noon at Greenwich, its height at latitude 50 is 90 - 50 = 40 degrees.
TEST(Sun, StandsAtTheHeightOfTheEquinoxNoon)
{
    const znRTVector3f sun =
        znDaylightUtils::getSunDirection(50.0f, 0.0f, 2000, 3, 20, 12.0f + 7.4f / 60, 0.0f, 0.0f);
    EXPECT_NEAR(std::asin(sun.z) / degree, 40.0f, 0.15f);
    EXPECT_NEAR(sun.x, 0.0f, 0.01f) << "in the south";
    EXPECT_LT(sun.y, 0.0f);
}

// At the solstice the height of noon is 90 - latitude + 23.44.
TEST(Sun, StandsHighestAtTheSolstice)
{
    float highest = -1.0f;
    for (float hour = 11.0f; hour < 13.0f; hour += 0.02f)
        highest = std::max(
            highest,
            znDaylightUtils::getSunDirection(48.0f, 9.0f, 2024, 6, 20, hour, 0.6f, 0.0f).z);
    EXPECT_NEAR(std::asin(highest) / degree, 90.0f - 48.0f + 23.44f, 0.05f);
}

TEST(Sun, RisesInTheEastAndTurnsWithNorth)
{
    const znRTVector3f morning =
        znDaylightUtils::getSunDirection(0.0f, 0.0f, 2000, 3, 20, 8.0f, 0.0f, 0.0f);
    EXPECT_GT(morning.x, 0.8f);
    const znRTVector3f turned =
        znDaylightUtils::getSunDirection(0.0f, 0.0f, 2000, 3, 20, 8.0f, 0.0f, 90.0f);
    EXPECT_NEAR(turned.y, -morning.x, 1e-5f) << "north lies along x, so east along -y";
    EXPECT_NEAR(turned.z, morning.z, 1e-6f);
}

// asin(695700 km / 149.6 million km) in degrees.
TEST(Sun, HasTheSizeOfItsDisk)
{
    EXPECT_NEAR(znDaylightUtils::getSunConeAngle(), std::asin(695700.0 / 149.6e6) / degree, 1e-4f);
}

TEST(Colours, WeighLuminance)
{
    EXPECT_NEAR(znColor::luminance(1.0f, 1.0f, 1.0f), 1.0f, 1e-6f);
    EXPECT_EQ(znColor::luminance(1.0f, 0.0f, 0.0f), 0.2125f);
    EXPECT_EQ(znColor::luminance(0.0f, 0.0f, 1.0f), 0.0721f);
}

TEST(Colours, ShowCurvatureFromBlueOverGreenToRed)
{
    EXPECT_EQ(znColor::curvatureToRGB(0.0f), znRTVector3f(0.0f, 1.0f, 0.0f));
    EXPECT_EQ(znColor::curvatureToRGB(9.0f), znRTVector3f(1.0f, 0.0f, 0.0f));
    EXPECT_EQ(znColor::curvatureToRGB(-1.0f), znRTVector3f(0.0f, 0.0f, 1.0f));
    EXPECT_EQ(znColor::curvatureToRGB(0.5f), znRTVector3f(0.5f, 0.5f, 0.0f));
}

TEST(SubdivisionList, SplitsAnEdgeOnce)
{
    znGeoSubdivisionList list;
    znGeoSubdivisionVertex vertex;
    const u32 a = list.addVertex(vertex), b = list.addVertex(vertex);
    EXPECT_EQ(list.getVertexID(a, b), znGeoSubdivisionList::noVertex);
    vertex.position = {1.0f, 2.0f, 3.0f};
    const u32 middle = list.addVertex(a, b, vertex);
    EXPECT_EQ(list.addVertex(b, a, vertex), middle) << "the neighbour's edge runs the other way";
    EXPECT_EQ(list.getVertexID(b, a), middle);
    EXPECT_EQ(list.getVertices().size(), 3u);
    EXPECT_EQ(list.getVertex(middle), vertex);
}

TEST(SubdivisionList, KeepsIndicesWhenTrianglesGo)
{
    znGeoSubdivisionList list;
    const u32 first = list.addTriangle(0, 1, 2), second = list.addTriangle(2, 1, 3);
    list.removeTriangle(first);
    list.removeTriangle(77);
    const u32 third = list.addTriangle(4, 5, 6);
    EXPECT_EQ(second, 1u);
    EXPECT_EQ(third, 2u);
    const std::vector<znGeoSubdivisionList::Triangle> expected{{2, 1, 3}, {4, 5, 6}};
    EXPECT_EQ(list.getTriangles(), expected);
    list.clear();
    EXPECT_TRUE(list.getTriangles().empty());
}

TEST(DisplacementSettings, AreEqualWhenTheSurfaceIs)
{
    znRTSampler2D sampler, other;
    znRTTextureAttributes attributes;
    znRTDisplacementSettings a, b;
    a.setDisplacement(&sampler, 2.0f, 0.5f, {1.0f, 0.0f}, &attributes);
    EXPECT_EQ(a.heightRange, znRTVector2f(0.0f, 1.0f)) << "brought into order";
    b.setDisplacement(&sampler, 2.0f, 0.5f, {0.0f, 1.0f}, &attributes);
    EXPECT_TRUE(a.equals(b));
    b.setDisplacement(&sampler, 2.5f, 0.5f, {0.0f, 1.0f}, &attributes);
    EXPECT_FALSE(a.equals(b));
    b.setDisplacement(&other, 2.0f, 0.5f, {0.0f, 1.0f}, &attributes);
    EXPECT_FALSE(a.equals(b));
    attributes.uvSet = 2;
    b.setDisplacement(&sampler, 2.0f, 0.5f, {0.0f, 1.0f}, &attributes);
    EXPECT_FALSE(a.equals(b)) << "mapped otherwise than when a was set";
}

TEST(Selection, TakesTheOptionsOfTheScene)
{
    const osg::Ref<osg::RenderOptions> options(osg::RenderOptions::create());
    znRTSelectionSettings settings;
    EXPECT_FALSE(settings.update(options.get().get())) << "the defaults agree";
    options->setWireframeAlwaysInFront(true);
    options->setGridMode(2);
    EXPECT_TRUE(settings.update(options.get().get()));
    EXPECT_TRUE(settings.wireframeAlwaysInFront);
    EXPECT_EQ(settings.gridMode, 2);
    EXPECT_FALSE(settings.update(options.get().get()));
    EXPECT_FALSE(settings.update(nullptr));
}

TEST(Selection, HasColours)
{
    EXPECT_EQ(znSelectionColors::getColor(znSelectionColors::selection),
              znRTVector4f(1.0f, 0.6f, 0.0f, 0.5f));
    znSelectionColors::setPreselectionColor({0.0f, 1.0f, 0.0f, 1.0f});
    EXPECT_EQ(znSelectionColors::getColor(znSelectionColors::preselection),
              znRTVector4f(0.0f, 1.0f, 0.0f, 1.0f));
    znSelectionColors::setPreselectionColor({0.2f, 0.6f, 1.0f, 0.5f});
}

TEST(Selection, IsOffWhenNothingOfItIsShown)
{
    znRTSelectionSettings& current = znRTSelectionSettings::current();
    const znRTSelectionSettings before = current;
    EXPECT_TRUE(znRenderOptions::getInstance().isAnySelectionEnabled());
    current.selectionWireframe = current.preselectionWireframe = false;
    EXPECT_TRUE(znRenderOptions::getInstance().isAnySelectionEnabled()) << "the tint";
    current.selectionOpacity = 0.0f;
    EXPECT_FALSE(znRenderOptions::getInstance().isAnySelectionEnabled());
    current = before;
}

std::vector<ZN_RGBA32F> noisyHalves(u32 size)
{
    std::vector<ZN_RGBA32F> pixels(size * size);
    u32 state = 1;
    for (u32 i = 0; i < size * size; ++i) {
        state = state * 1664525u + 1013904223u;
        const float noise = 0.1f * (float(state >> 8) / float(1 << 24) - 0.5f);
        const float base = i % size < size / 2 ? 0.25f : 2.0f;
        pixels[i] = {base + noise, base + noise, base + noise, 0.5f};
    }
    return pixels;
}

double varianceOf(const std::vector<ZN_RGBA32F>& pixels, u32 size, u32 from, u32 to, double& mean)
{
    double sum = 0.0, squares = 0.0, count = 0.0;
    for (u32 y = 0; y < size; ++y)
        for (u32 x = from; x < to; ++x) {
            const double v = pixels[y * size + x].r;
            sum += v;
            squares += v * v;
            count += 1.0;
        }
    mean = sum / count;
    return squares / count - mean * mean;
}

TEST(EdgeAvoidingFilter, SmoothsNoiseAndKeepsEdges)
{
    constexpr u32 size = 64;
    std::vector<ZN_RGBA32F> pixels = noisyHalves(size);
    double mean = 0.0, filteredMean = 0.0;
    const double before = varianceOf(pixels, size, 0, size / 2, mean);
    filterEdgeAvoiding(pixels.data(), nullptr, size, size, 0.5f);
    EXPECT_LT(varianceOf(pixels, size, 0, size / 2, filteredMean), before / 4.0);
    EXPECT_NEAR(filteredMean, mean, 0.005) << "no light is lost";
    EXPECT_NEAR(pixels[size / 2 - 1].r, 0.25f, 0.06f) << "left of the edge";
    EXPECT_NEAR(pixels[size / 2].r, 2.0f, 0.06f) << "right of it";
    EXPECT_EQ(pixels[5].a, 0.5f);
}

TEST(EdgeAvoidingFilter, DoesNothingAtStrengthZeroAndLeavesBrokenPixelsAlone)
{
    constexpr u32 size = 16;
    std::vector<ZN_RGBA32F> pixels = noisyHalves(size);
    const float before = pixels[3].r;
    filterEdgeAvoiding(pixels.data(), nullptr, size, size, 0.0f);
    EXPECT_EQ(pixels[3].r, before);
    pixels[40].r = NAN;
    filterEdgeAvoiding(pixels.data(), nullptr, size, size, 0.5f);
    for (u32 i = 0; i < size * size; ++i)
        EXPECT_EQ(std::isnan(pixels[i].r), i == 40u) << i;
}

TEST(EdgeAvoidingFilter, StopsAtEdgesOfTheNormals)
{
    constexpr u32 size = 16;
    std::vector<ZN_RGBA32F> pixels(size * size), normals(size * size);
    for (u32 i = 0; i < size * size; ++i) {
        const bool left = i % size < size / 2;
        pixels[i] = {left ? 1.0f : 1.2f, 1.0f, 1.0f, 1.0f};
        normals[i] = {left ? 1.0f : 0.0f, left ? 0.0f : 1.0f, 0.0f, 0.0f};
    }
    filterEdgeAvoiding(pixels.data(), normals.data(), size, size, 1.0f);
    EXPECT_NEAR(pixels[size / 2 - 1].r, 1.0f, 1e-5f);
    EXPECT_NEAR(pixels[size / 2].r, 1.2f, 1e-5f);
}

} // namespace
