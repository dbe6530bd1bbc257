// Structures of surfaces without a scene: normals, directions and shifts from a neighbourhood.

#include "core/shadingRequirements.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "texture/procedural/simplexNoise.h"
#include "texture/structures/brushStructures.h"
#include "texture/structures/carbonStructures.h"
#include "texture/structures/parallaxTextures.h"
#include "texture/structures/spaceStructures.h"
#include "texture/structures/znRTNoise2DStructures.h"
#include "textureFixture.h"

#include <memory>
#include <random>

using namespace textureTest;

namespace {

using F = znFloatType<2>;

constexpr auto heights = znRTBumpTexture::heights, normals = znRTBumpTexture::normalMap;

/// A plane z = 0 seen from above; a step of 1 in u or v is a way of 2.
znRTDifferentialGeometry plane(const znRTVector2fPacket& uv)
{
    znRTDifferentialGeometry dg{};
    dg.uv = uv;
    dg.position = {uv.x * 2.0f, uv.y * 2.0f, 0.0f};
    dg.shadingNormal = dg.geometricNormal = znRTVector3fPacket(0.0f, 0.0f, 1.0f);
    dg.dPdu = znRTVector3fPacket(2.0f, 0.0f, 0.0f);
    dg.dPdv = znRTVector3fPacket(0.0f, 2.0f, 0.0f);
    dg.frontFacing = allLanes;
    dg.tangentMask = F::noLanes();
    return dg;
}

/// A ray that goes down and toward +u, and its slope: way in u per depth, both in lengths.
znRTRayDifferentialPacket slanted(float slope)
{
    return znRTRayDifferentialPacket(
        znRTRayPacket(znRTVector3fPacket(0.0f, 0.0f, 1.0f), {slope, 0.0f, -1.0f}));
}

float shiftOf(const znRTSurfaceStructure& structure, float u, float slope)
{
    znRTDifferentialGeometry dg = plane(inAllLanes(u, 0.4f));
    structure.shiftCoordinates(slanted(slope), dg, allLanes);
    EXPECT_NEAR(dg.uv.y[1], 0.4f, 1e-6f);
    return dg.uv.x[1] - u;
}

znRTVector3fPacket randomDirections(std::mt19937& engine)
{
    std::normal_distribution<float> normal;
    const auto lanes = [&] {
        const float a = normal(engine), b = normal(engine), c = normal(engine);
        return F(a, b, c, normal(engine));
    };
    const F x = lanes(), y = lanes();
    return znRTVector3fPacket(x, y, lanes()).getNormalized();
}

/// A neighbourhood at a random place of a random surface.
znRTDifferentialGeometry randomPlace(std::mt19937& engine)
{
    znRTDifferentialGeometry dg{};
    dg.position = randomDirections(engine) * 3.0f;
    dg.shadingNormal = dg.geometricNormal = randomDirections(engine);
    znRTONB onb;
    onb.set(dg.shadingNormal);
    dg.dPdu = onb.u * 1.5f + onb.v * 0.3f;
    dg.dPdv = onb.v * 0.8f;
    dg.uv = {dg.position.x, dg.position.y};
    dg.frontFacing = expandLanes(int(engine() & 15u));
    dg.tangentMask = F::noLanes();
    return dg;
}

using Structures = std::vector<std::unique_ptr<znRTSurfaceStructure>>;

/// One of each class that is computed.
Structures computedStructures()
{
    const znRTBrushed3DStructure::Brush brush{{0.1f, 0.2f, 0.3f}, {0.0f, 1.0f, 2.0f}, 4.0f, 0.3f};
    Structures all;
    all.push_back(std::make_unique<znRTNoise2DStructure>(0.4f, 2.0f, 3.0f));
    all.push_back(std::make_unique<znRTNoise2DHeightStructure>(0.2f, 2.0f, 3.0f));
    all.push_back(std::make_unique<znRTSimplex3DStructure>(0.2f, 2.0f, 3.0f));
    all.push_back(std::make_unique<znRTSparkle3DStructure>(0.5f, 2.0f));
    all.push_back(std::make_unique<znRTCellularSparkle3DStructure>(0.5f, 2.0f));
    all.push_back(std::make_unique<znRTBrushed3DStructure>(brush));
    all.push_back(std::make_unique<znRTPlanar3DStructure>(brush));
    all.push_back(std::make_unique<znRTRadial3DStructure>(brush));
    all.push_back(std::make_unique<znRTCarbon2DStructure>(std::make_unique<znRTCarbon2x2Texture>(),
                                                          znRTVector2f(1.0f, 1.0f), 0.1f));
    all.push_back(std::make_unique<znRTCarbon3DStructure>(std::make_unique<znRTCarbon5x1Texture>(),
                                                          1.0f, 0.1f));
    return all;
}

} // namespace

// Heights that are the same everywhere lie in a plane below the surface: the ray goes on for
// (1 - h) of the depth, at its slope.
TEST(Parallax, ShiftsFlatHeightsExactly)
{
    for (const float h : {0.0f, 0.25f, 1.0f}) {
        znRTSampler2D flat;
        fill(flat, 4, 4, [&](int, int) { return grey(h); });
        const znRTParallaxMappingTexture step(flat, nullptr, heights, 1.0f, false, 0.1f);
        const znRTParallaxOcclusionTexture march(flat, nullptr, heights, 1.0f, false, 0.1f, 32);
        for (const float slope : {-1.0f, 0.0f, 0.5f, 3.0f}) {
            EXPECT_NEAR(shiftOf(step, 0.3f, slope), (1.0f - h) * 0.1f * slope, 1e-5f);
            EXPECT_NEAR(shiftOf(march, 0.3f, slope), (1.0f - h) * 0.1f * slope, 1e-5f);
        }
        EXPECT_TRUE(step.is(shiftsCoordinates));
    }
}

// Depth 1 - u below a ray from u at a slope: it meets them at a depth of (1 - u) / (1 + depth
// slope). The single step takes the depth where it starts.
TEST(Parallax, MeetsARamp)
{
    znRTSampler2D ramp;
    fill(ramp, 64, 4, [](int x, int) { return grey((float(x) + 0.5f) / 64.0f); });
    const znRTParallaxMappingTexture step(ramp, nullptr, heights, 1.0f, false, 0.2f);
    const znRTParallaxOcclusionTexture march(ramp, nullptr, heights, 1.0f, false, 0.2f, 64);
    for (const float u : {0.2f, 0.5f, 0.7f})
        for (const float slope : {0.2f, 1.0f, 2.0f}) {
            EXPECT_NEAR(shiftOf(step, u, slope), (1.0f - u) * 0.2f * slope, 1e-5f);
            const float depth = (1.0f - u) / (1.0f + 0.2f * slope);
            EXPECT_NEAR(shiftOf(march, u, slope), depth * 0.2f * slope, 1e-4f);
        }
}

// A ditch left of the middle: its right wall stops rays, and what lies behind the wall is hidden.
TEST(Parallax, HidesWhatLiesBehindHeights)
{
    znRTSampler2D ditch;
    fill(ditch, 256, 2, [](int x, int) { return grey(x < 128 ? 0.0f : 1.0f); });
    const znRTParallaxOcclusionTexture march(ditch, nullptr, heights, 1.0f, false, 0.1f, 64);
    const znRTParallaxMappingTexture step(ditch, nullptr, heights, 1.0f, false, 0.1f);
    // The bottom lies at 0.1 below, 0.2 further along u.
    EXPECT_NEAR(shiftOf(march, 0.2f, 2.0f), 0.2f, 1e-4f);
    // A wall is found within one of the steps, of which a ray at this angle takes 17.
    EXPECT_NEAR(shiftOf(march, 0.45f, 2.0f), 0.05f, 0.2f / 17.0f);
    EXPECT_NEAR(shiftOf(step, 0.45f, 2.0f), 0.2f, 1e-4f);
    EXPECT_NEAR(shiftOf(march, 0.6f, 2.0f), 0.0f, 1e-6f);
    float before = -1.0f;
    for (float u = 0.1f; u < 0.7f; u += 0.01f) { // places never change their order
        const float seen = u + shiftOf(march, u, 2.0f);
        EXPECT_GE(seen, before - 0.2f / 17.0f);
        before = seen;
    }
}

// Seen from behind the ground of a dent is nearest: black is the surface.
TEST(Parallax, IsTurnedWithTheSurface)
{
    znRTSampler2D flat, map;
    fill(flat, 2, 2, [](int, int) { return grey(0.25f); });
    const znRTParallaxMappingTexture step(flat, nullptr, heights, 1.0f, false, 0.1f);
    znRTDifferentialGeometry behind = plane(inAllLanes(0.3f, 0.4f));
    behind.frontFacing = F::noLanes();
    step.shiftCoordinates(slanted(1.0f), behind, expandLanes(3));
    EXPECT_NEAR(behind.uv.x[0] - 0.3f, 0.025f, 1e-5f);
    EXPECT_EQ(behind.uv.x[2], 0.3f);
    // Maps of normals have their heights in alpha.
    fill(map, 2, 2, [](int, int) { return znRTVector4f{0.5f, 0.5f, 1.0f, 0.5f}; });
    const znRTParallaxMappingTexture mapped(map, nullptr, normals, 1.0f, false, 0.1f);
    EXPECT_NEAR(shiftOf(mapped, 0.3f, 1.0f), 0.05f, 1e-5f);
    // Coordinates without area, and rays in the surface.
    znRTDifferentialGeometry none = plane(inAllLanes(0.3f, 0.4f));
    none.dPdv = none.dPdu;
    step.shiftCoordinates(slanted(1.0f), none, allLanes);
    EXPECT_EQ(none.uv.x[0], 0.3f);
    EXPECT_LE(std::fabs(shiftOf(step, 0.3f, 1e6f)), 0.75f * 0.1f / 0.1f + 1e-3f);
}

// Heights that are 0 everywhere lie a whole depth below: on a slanted view each projection reads
// its normal where the ray gets there, by either form.
TEST(TriplanarParallax, ReadsNormalsBelowTheSurface)
{
    // A map of normals, flat at the left and leaning at the right, with its heights in alpha.
    znRTSampler2D map;
    fill(map, 64, 4, [](int x, int) {
        return x < 32 ? znRTVector4f{0.5f, 0.5f, 1.0f, 0.0f} : znRTVector4f{0.8f, 0.5f, 0.9f, 0.0f};
    });
    map.setWrap(znRTTextureSampler::clamp, znRTTextureSampler::clamp);
    znRTTriplanarTextureAttributes axes;
    znRTTextureAttributes lies;
    lies.setMappingType(znRTTextureAttributes::mappingTriplanar);
    lies.mapping = &axes;
    const znRTTriplanarBumpTexture plain(map, &lies, normals, 1.0f);
    const znRTTriplanarParallaxMappingTexture step(map, &lies, normals, 1.0f, false, 0.2f);
    const znRTTriplanarParallaxOcclusionTexture march(map, &lies, normals, 1.0f, false, 0.2f, 32);
    znRTDataBlockPacket data(1.0f);
    data.hasNodeTransforms = 0;
    data.dg = plane(inAllLanes(0.0f, 0.0f));
    data.dg.position = {F(0.4f), F(0.3f), F(1.0f)};
    // Down and along u, one to one: 0.2 deep, 0.2 along; the border is at 0.5.
    for (const float slope : {-1.0f, 1.0f}) {
        const znRTRayDifferentialPacket ray = slanted(slope);
        const auto leans = [&](const znRTTexturedSurface& structure) {
            const znRTVector3fPacket way = structure.getShift(ray, data, expandLanes(7));
            EXPECT_EQ(way.x[3], 0.0f);
            EXPECT_NEAR(way.x[0], structure.is(shiftsCoordinates) ? slope * 0.2f : 0.0f, 1e-5f);
            znRTDataBlockPacket shifted = data;
            shifted.dg.position += way;
            const znRTVector3fPacket n = structure.getNormal(ray, shifted, expandLanes(7));
            EXPECT_EQ(n.z[3], 1.0f);
            return std::fabs(n.x[0]) > 0.1f;
        };
        EXPECT_FALSE(leans(plain));
        EXPECT_EQ(leans(step), slope > 0.0f);
        EXPECT_EQ(leans(march), slope > 0.0f);
    }
}

// Six sides of space and all between: a relief over the blend of three projections of a smooth
// image turns normals as the gradient of the heights does, found by differences through the blended
// image itself along the surface. Where two axes mix, normals of the projections are mixed, not
// their heights: there the direction is looked at along one axis alone.
TEST(TriplanarBump, LeansAsItsHeightsDoOnAllSides)
{
    constexpr int size = 128;
    znRTSampler2D image;
    fill(image, size, size, [](int x, int y) {
        const float turn = 6.2831853f / float(size);
        return grey(0.5f + 0.2f * std::sin(turn * (float(x) + 0.5f)) +
                    0.15f * std::cos(2.0f * turn * (float(y) + 0.5f)));
    });
    znRTTriplanarTextureAttributes axes;
    for (std::size_t i = 0; i < 3; ++i) {
        axes.repeatU[i] = 0.5f + 0.1f * float(i);
        axes.repeatV[i] = 0.4f;
        axes.sinRot[i] = std::sin(0.3f + float(i));
        axes.cosRot[i] = std::cos(0.3f + float(i));
    }
    znRTTextureAttributes lies;
    lies.setMappingType(znRTTextureAttributes::mappingTriplanar);
    lies.mapping = &axes;
    const float amplitude = 0.2f;
    const znRTTriplanarBumpTexture bump(image, &lies, heights, amplitude);

    std::mt19937 engine(11);
    int bent = 0;
    for (int side = 0; side < 6; ++side)
        for (int i = 0; i < 20; ++i) {
            // About 14 degrees around an axis: one projection shows alone.
            znRTVector3fPacket n = randomDirections(engine) * 0.25f;
            (side % 3 == 0 ? n.x : side % 3 == 1 ? n.y : n.z) = side < 3 ? 1.0f : -1.0f;
            n = n.getNormalized();
            znRTDataBlockPacket data(1.0f);
            data.dg = randomPlace(engine);
            data.dg.shadingNormal = data.dg.geometricNormal = n;
            data.dg.frontFacing = allLanes;
            const auto heightAt = [&](const znRTVector3fPacket& way) {
                znRTDifferentialGeometry dg = data.dg;
                dg.position += way;
                return znRTTextureFunctions::texture2D(image, lies, dg, allLanes).r * amplitude;
            };
            znRTONB onb;
            onb.set(n);
            const float step = 0.02f;
            const auto slope = [&](const znRTVector3fPacket& along) {
                return (heightAt(along * F(step)) - heightAt(along * F(-step))) * (0.5f / step);
            };
            const znRTVector3fPacket expected =
                (n - onb.u * slope(onb.u) - onb.v * slope(onb.v)).getNormalized();
            const znRTVector3fPacket seen = bump.getNormal(slanted(0.0f), data, allLanes);
            EXPECT_LANES_NEAR((seen - expected).getLength(), 0, 0, 0, 0, 0.02f) << side;
            bent += (n - expected).getLength()[0] > 0.1f;
        }
    EXPECT_GT(bent, 60);
}

// Around a ball, over all its sides: from step to step the normal turns by little more than the
// ball itself, which turns by 0.0009, and the image, whose slopes change by less than 4 over 1.
TEST(TriplanarBump, HasNoSeamsOnABall)
{
    constexpr int size = 64;
    znRTSampler2D image;
    fill(image, size, size, [](int x, int y) {
        const float turn = 6.2831853f / float(size);
        return grey(0.5f + 0.2f * std::sin(turn * float(x)) * std::cos(turn * float(y)));
    });
    znRTTriplanarTextureAttributes axes;
    znRTTextureAttributes lies;
    lies.setMappingType(znRTTextureAttributes::mappingTriplanar);
    lies.mapping = &axes;
    const znRTTriplanarBumpTexture bump(image, &lies, heights, 0.1f);
    znRTDataBlockPacket data(1.0f);
    data.hasNodeTransforms = 0;
    data.dg = plane(inAllLanes(0.0f, 0.0f));
    const auto normalAt = [&](float turn) {
        const F t(turn);
        F s, c;
        sincos(t * 6.2831853f, s, c);
        const F lift(-0.6f, 0.1f, 0.5f, 2.0f);
        data.dg.shadingNormal = data.dg.geometricNormal =
            znRTVector3fPacket(c, s, lift * c * s + 0.2f).getNormalized();
        data.dg.position = data.dg.shadingNormal;
        return bump.getNormal(slanted(0.0f), data, allLanes);
    };
    constexpr int steps = 7000;
    znRTVector3fPacket before = normalAt(0.0f);
    F most(0.0f), farthest(0.0f);
    for (int i = 1; i <= steps; ++i) {
        const znRTVector3fPacket now = normalAt(float(i) / float(steps));
        most = maximum(most, (now - before).getLength());
        farthest = maximum(farthest, (now - data.dg.shadingNormal).getLength());
        before = now;
    }
    for (int lane = 0; lane < 4; ++lane) {
        EXPECT_LT(most[lane], 0.02f) << lane;
        EXPECT_GT(farthest[lane], 0.08f) << lane;
    }
}

TEST(ComputedStructure, GivesUnitNormalsOnTheViewersSide)
{
    std::mt19937 engine(1);
    for (const auto& structure : computedStructures()) {
        int bent = 0;
        for (int i = 0; i < 200; ++i) {
            const znRTDifferentialGeometry dg = randomPlace(engine);
            const znRTVector3fPacket n = structure->getNormalAt(dg, allLanes);
            const F cosine = dot(n, dg.shadingNormal);
            EXPECT_LANES_NEAR(n.getSquareLength(), 1, 1, 1, 1, 1e-5f);
            EXPECT_EQ(moveMask(cosine > F(0.05f)), 15) << structure->getTypeId().getName();
            bent += cosine[0] < 0.99999f;
            // The same surface from its other side: the same unevenness.
            znRTDifferentialGeometry other = dg;
            other.shadingNormal = -dg.shadingNormal;
            other.frontFacing = dg.frontFacing ^ allLanes;
            const znRTVector3fPacket back = structure->getNormalAt(other, allLanes);
            EXPECT_LANES_NEAR((back + n).getLength(), 0, 0, 0, 0, 1e-4f);
        }
        EXPECT_GT(bent, 100) << structure->getTypeId().getName();
    }
}

TEST(ComputedStructure, LeavesOtherLanesAndAsksForWhatItReads)
{
    std::mt19937 engine(2);
    for (const auto& structure : computedStructures()) {
        const char* const name = structure->getTypeId().getName();
        const znRTDifferentialGeometry dg = randomPlace(engine);
        const znRTVector3fPacket some = structure->getNormalAt(dg, expandLanes(5));
        const znRTVector3fPacket all = structure->getNormalAt(dg, allLanes);
        for (int lane = 0; lane < 4; ++lane) {
            const bool isIn = lane % 2 == 0;
            EXPECT_EQ(some.x[lane], isIn ? all.x[lane] : dg.shadingNormal.x[lane]) << name;
            EXPECT_EQ(some.z[lane], isIn ? all.z[lane] : dg.shadingNormal.z[lane]) << name;
        }
        EXPECT_EQ(structure->getRequirements(), shadingRequirement::surfaceDefault);
        EXPECT_TRUE(structure->perturbs());
        EXPECT_FALSE(structure->is(shiftsCoordinates));
    }
}

// Lanes do not see each other: the same place in all lanes gives what it gives among others.
TEST(ComputedStructure, GivesEachLaneWhatItHasAlone)
{
    std::mt19937 engine(3);
    for (const auto& structure : computedStructures())
        for (int i = 0; i < 20; ++i) {
            const znRTDifferentialGeometry dg = randomPlace(engine);
            const znRTVector3fPacket all = structure->getNormalAt(dg, allLanes);
            for (int lane = 0; lane < 4; ++lane)
                EXPECT_EQ(structure->getNormalAt(dg, expandLanes(1 << lane)).y[lane], all.y[lane])
                    << structure->getTypeId().getName();
        }
}

TEST(ComputedStructure, IsCleanWithoutAmount)
{
    std::mt19937 engine(4);
    const znRTDifferentialGeometry dg = randomPlace(engine);
    const znRTBrushed3DStructure::Brush brush{{0, 0, 0}, {0, 0, 1}, 1.0f, 0.0f};
    Structures flat;
    flat.push_back(std::make_unique<znRTNoise2DStructure>(0.0f, 2.0f, 3.0f));
    flat.push_back(std::make_unique<znRTNoise2DHeightStructure>(0.2f, 2.0f, 0.0f)); // no octave
    flat.push_back(std::make_unique<znRTSimplex3DStructure>(0.0f, 2.0f, 3.0f));
    flat.push_back(std::make_unique<znRTSimplex3DStructure>(0.3f, 2.0f, 0.0f));
    flat.push_back(std::make_unique<znRTSparkle3DStructure>(0.0f, 2.0f));
    flat.push_back(std::make_unique<znRTRadial3DStructure>(brush));
    for (const auto& structure : flat) {
        const znRTVector3fPacket n = structure->getNormalAt(dg, allLanes);
        for (int lane = 0; lane < 4; ++lane)
            EXPECT_EQ(n.x[lane], dg.shadingNormal.x[lane]) << structure->getTypeId().getName();
    }
    EXPECT_FALSE(flat.back()->perturbs());
}

// One octave: the slope of the heights is height * scale * slope of the noise; a step of the
// coordinates is as long along u as along v.
TEST(Noise2DHeight, TiltsByTheSlopeOfTheNoise)
{
    const float height = 0.05f, scale = 3.0f;
    const znRTNoise2DHeightStructure structure(height, scale, 1.0f);
    double worst = 0.0;
    for (float u = 0.03f; u < 2.0f; u += 0.11f) {
        const znRTVector2fPacket uv(F(u), F(0.1f, 0.7f, 1.3f, 1.9f));
        const znNoise2D noise = simplexNoise(uv * F(scale));
        const znRTVector3fPacket expected =
            znRTVector3fPacket(noise.slope.x * (-height * scale), noise.slope.y * (-height * scale),
                               1.0f)
                .getNormalized();
        const znRTVector3fPacket seen = structure.getNormalAt(plane(uv), allLanes);
        for (int lane = 0; lane < 4; ++lane)
            worst = std::max(worst, double((seen - expected).getLength()[lane]));
    }
    EXPECT_LT(worst, 0.02); // differences over 1/512 of a cell
}

// The gradient of the noise, without its part along the normal.
TEST(Simplex3D, TiltsByTheGradientOfTheNoise)
{
    std::mt19937 engine(5);
    const float height = 0.1f, scale = 1.5f;
    const znRTSimplex3DStructure structure(height, scale, 1.0f);
    for (int i = 0; i < 100; ++i) {
        znRTDifferentialGeometry dg = randomPlace(engine);
        dg.frontFacing = allLanes;
        const znRTVector3fPacket slope = simplexNoise(dg.position * F(scale)).slope;
        const znRTVector3fPacket& n = dg.shadingNormal;
        const znRTVector3fPacket expected =
            (n - (slope - n * dot(slope, n)) * F(height * scale)).getNormalized();
        const F off = (structure.getNormalAt(dg, allLanes) - expected).getLength();
        EXPECT_LANES_NEAR(off, 0, 0, 0, 0, 1e-5f);
    }
}

// |amount r| with r = 1 / max(1, f) falls below 0.0025 at f = 400 amount; the tilt is amount r.
TEST(Sparkle3D, FadesWithTheFootprint)
{
    std::mt19937 engine(6);
    const znRTSparkle3DStructure cubes(0.5f, 10.0f);
    const znRTCellularSparkle3DStructure cells(0.5f, 10.0f);
    for (const znRTSurfaceStructure* sparkle : {static_cast<const znRTSurfaceStructure*>(&cubes),
                                                static_cast<const znRTSurfaceStructure*>(&cells)}) {
        znRTDifferentialGeometry dg = randomPlace(engine);
        const auto tiltAt = [&](float footprint) { // in cells
            dg.dPdx = {0.0f, footprint / 10.0f, 0.0f};
            const F cosine = dot(sparkle->getNormalAt(dg, allLanes), dg.shadingNormal);
            return squareRoot(maximum(F(1.0f) - cosine * cosine, 0.0f)) / cosine;
        };
        const F near = tiltAt(0.0f), far = tiltAt(50.0f);
        EXPECT_LANES_NEAR(tiltAt(1.0f), near[0], near[1], near[2], near[3], 1e-3f);
        EXPECT_LANES_NEAR(far, near[0] / 50.0f, near[1] / 50.0f, near[2] / 50.0f, near[3] / 50.0f,
                          2e-3f);
        for (int lane = 0; lane < 4; ++lane)
            EXPECT_LE(near[lane], 0.501f);
        dg.dPdx = {0.0f, 199.0f / 10.0f, 0.0f};
        EXPECT_NE(sparkle->getNormalAt(dg, allLanes).x[0], dg.shadingNormal.x[0]);
        dg.dPdx = {0.0f, 201.0f / 10.0f, 0.0f};
        EXPECT_EQ(sparkle->getNormalAt(dg, allLanes).x[0], dg.shadingNormal.x[0]);
    }
}

namespace {

/// The frame of a structure in space at a place, without a transform.
znRTONB frameOf(const znRTSurfaceStructure& structure, const znRTDifferentialGeometry& dg)
{
    znRTDataBlockPacket data(1.0f);
    data.dg = dg;
    data.objectPosition = dg.position;
    data.objectNormal = dg.shadingNormal;
    data.hasNodeTransforms = 0;
    return structure.getFrame(slanted(0.0f), data, allLanes);
}

} // namespace

TEST(BrushStructure, RunsAsItsNameSays)
{
    std::mt19937 engine(7);
    const znRTBrushed3DStructure::Brush brush{{0.5f, 0.0f, 0.0f}, {0.0f, 0.0f, 2.0f}, 1.0f, 0.1f};
    const znRTBrushed3DStructure straight(brush);
    const znRTPlanar3DStructure planar(brush);
    const znRTRadial3DStructure radial(brush);
    for (int i = 0; i < 100; ++i) {
        const znRTDifferentialGeometry dg = randomPlace(engine);
        const znRTVector3fPacket axis(0.0f, 0.0f, 1.0f);
        for (const znRTSurfaceStructure* structure :
             {static_cast<const znRTSurfaceStructure*>(&straight),
              static_cast<const znRTSurfaceStructure*>(&planar),
              static_cast<const znRTSurfaceStructure*>(&radial)}) {
            const znRTONB onb = frameOf(*structure, dg);
            EXPECT_LANES_NEAR(onb.u.getLength(), 1, 1, 1, 1, 1e-5f);
            EXPECT_LANES_NEAR(dot(onb.u, dg.shadingNormal), 0, 0, 0, 0, 1e-5f);
            EXPECT_LANES_NEAR(dot(cross(onb.u, onb.v), onb.n), 1, 1, 1, 1, 1e-5f);
        }
        // In the plane of axis and normal; across the axis; across the way from the axis.
        const znRTONB a = frameOf(straight, dg), b = frameOf(planar, dg), c = frameOf(radial, dg);
        EXPECT_LANES_NEAR(dot(a.v, axis), 0, 0, 0, 0, 1e-5f);
        EXPECT_LANES_NEAR(dot(b.u, axis), 0, 0, 0, 0, 1e-5f);
        znRTVector3fPacket away = dg.position - znRTVector3fPacket(0.5f, 0.0f, 0.0f);
        away.z = 0.0f;
        const znRTVector3fPacket circle = cross(axis, away);
        EXPECT_LANES_NEAR(dot(c.v, circle) * reciprocalOrZero(circle.getLength()), 0, 0, 0, 0,
                          1e-4f);
    }
}

// On the axis of the circles there is no direction: any frame will do.
TEST(BrushStructure, HasAFrameOnItsAxis)
{
    const znRTRadial3DStructure radial({{0, 0, 0}, {0, 0, 1}, 1.0f, 0.1f});
    znRTDifferentialGeometry dg = plane(inAllLanes(0.0f, 0.0f));
    const znRTONB onb = frameOf(radial, dg);
    EXPECT_LANES_NEAR(onb.u.getLength(), 1, 1, 1, 1, 1e-5f);
    const znRTVector3fPacket n = radial.getNormalAt(dg, allLanes);
    EXPECT_LANES_EQ(n.z, 1.0f, 1.0f, 1.0f, 1.0f);
}

// A quarter turn of the object about x takes strokes along z to strokes along -y, and the scratches
// with them.
TEST(BrushStructure, GoesWithItsObject)
{
    std::mt19937 engine(8);
    const znRTBrushed3DStructure straight({{0, 0, 0}, {0, 0, 1}, 2.0f, 0.3f});
    znMatrix4x4 turn = znMatrix4x4::identity(), back = znMatrix4x4::identity();
    turn[1][1] = turn[2][2] = back[1][1] = back[2][2] = 0.0f;
    turn[1][2] = back[2][1] = 1.0f;
    turn[2][1] = back[1][2] = -1.0f;
    const auto turned = [](const znRTVector3fPacket& v) {
        return znRTVector3fPacket(v.x, -v.z, v.y);
    };
    for (int i = 0; i < 20; ++i) {
        znRTDifferentialGeometry dg = randomPlace(engine);
        dg.frontFacing = allLanes;
        const znRTVector3fPacket still = straight.getNormalAt(dg, allLanes);
        znRTDataBlockPacket data(1.0f);
        data.objectPosition = dg.position;
        data.objectNormal = dg.shadingNormal;
        data.dg = dg;
        data.dg.position = turned(dg.position);
        data.dg.shadingNormal = turned(dg.shadingNormal);
        data.hasNodeTransforms = 1;
        data.nodeToWorld = znMatrix4x4Packet(turn);
        data.worldToNode = znMatrix4x4Packet(back);
        const znRTVector3fPacket moved = straight.getNormal(slanted(0.0f), data, allLanes);
        EXPECT_LANES_NEAR((moved - turned(still)).getLength(), 0, 0, 0, 0, 1e-5f);
        const znRTONB onb = straight.getFrame(slanted(0.0f), data, allLanes);
        EXPECT_LANES_NEAR(dot(onb.v, znRTVector3fPacket(0.0f, 1.0f, 0.0f)), 0, 0, 0, 0, 1e-5f);
    }
}

// Strands of the 2x2 twill: warp along v at the left of the first row, weft along u at its right.
TEST(CarbonStructure, LaysFibresAlongTheStrands)
{
    const znRTCarbon2DStructure flat(std::make_unique<znRTCarbon2x2Texture>(),
                                     znRTVector2f(1.0f, 1.0f), 0.1f);
    const znRTCarbon3DStructure solid(std::make_unique<znRTCarbon2x2Texture>(), 1.0f, 0.1f);
    znRTDifferentialGeometry dg = plane({F(0.1f, 0.35f, 0.6f, 0.9f), F(0.1f)});
    const znRTONB along = frameOf(flat, dg);
    EXPECT_LANES_NEAR(absolute(along.u.y), 1, 1, 0, 0, 1e-5f);
    EXPECT_LANES_NEAR(absolute(along.u.x), 0, 0, 1, 1, 1e-5f);
    dg.position = {F(0.1f, 0.35f, 0.6f, 0.9f), F(0.1f), F(5.0f)};
    const znRTONB through = frameOf(solid, dg);
    EXPECT_LANES_NEAR(absolute(through.u.y), 1, 1, 0, 0, 1e-5f);
    // On a side that faces x the weave lies in the plane of z and y.
    znRTDifferentialGeometry side = dg;
    side.shadingNormal = {1.0f, 0.0f, 0.0f};
    side.position = {F(5.0f), F(0.1f), F(0.1f, 0.35f, 0.6f, 0.9f)};
    EXPECT_LANES_NEAR(absolute(frameOf(solid, side).u.z), 0, 0, 1, 1, 1e-5f);
    // The left half of a strand leans to the left, by 2 * height at its edge.
    const znRTVector3fPacket n = flat.getNormalAt(plane(inAllLanes(0.0001f, 0.375f)), allLanes);
    EXPECT_NEAR(n.x[0] / n.z[0], -0.2f, 1e-3f);
}
