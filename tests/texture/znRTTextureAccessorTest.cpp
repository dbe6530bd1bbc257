#include "texture/znRTTextureAccessor.h"

#include "textureFixture.h"

#include <memory>
#include <random>

using namespace textureTest;

namespace {

/// Six faces, or one picture, of random colours, with levels.
template <class Kind>
void fillRandom(Kind& sampler, int width, int height, int layers)
{
    std::mt19937 engine(7);
    std::uniform_real_distribution<float> value(0.0f, 1.0f);
    std::vector<float> texels(std::size_t(width) * height * layers * 4);
    for (float& t : texels)
        t = value(engine);
    ASSERT_TRUE(sampler.setTexels(Sampler::typeRGBAFloat, width, height, layers, texels.data()));
    sampler.createMipmaps();
    sampler.borderColor = {9.0f, 8.0f, 7.0f, 6.0f};
    sampler.setTransform(2.0f, 1.5f, 0.1f, 0.3f, 20.0f);
}

std::unique_ptr<znRTTextureAccessor> make(const Sampler& sampler, bool bilinear, bool trilinear)
{
    znRTTextureAccessor* accessor = nullptr;
    znRTTextureAccessor::getTextureAccessor(accessor, sampler, bilinear, trilinear);
    return std::unique_ptr<znRTTextureAccessor>(accessor);
}

void expectEqual(const znRTColorPacket& a, const znRTColorPacket& b)
{
    for (int c = 0; c < 4; ++c)
        EXPECT_LANES_EQ(a[c], b[c][0], b[c][1], b[c][2], b[c][3]);
}

void expectLane(const znRTColor& a, const znRTColorPacket& b, int lane)
{
    EXPECT_COLOR(a, b.r[lane], b.g[lane], b.b[lane], b.a[lane], 0.0f);
}

const znRTVector2fPacket places({-0.3f, 0.2f, 0.7f, 1.4f}, {0.1f, 1.7f, 0.45f, -0.6f});
const znTextureFootprint footprint{{{0.01f, 0.2f, 0.1f, 0.0f}, {0.0f, 0.05f, 0.1f, 0.0f}},
                                   {{0.0f, 0.01f, 0.1f, 0.3f}, {0.02f, 0.3f, 0.01f, 0.0f}}};

} // namespace

TEST(TextureAccessors, SeeWhatTheFunctionsOfTheSameFilterSee)
{
    using F = znRTTextureFunctions;
    znRTSampler2D sampler;
    fillRandom(sampler, 16, 8, 1);
    for (int mode = 0; mode < 16; ++mode) {
        sampler.wrapMode = mode;
        SCOPED_TRACE(mode);
        const auto nearest = make(sampler, false, false), bilinear = make(sampler, true, false);
        const auto trilinear = make(sampler, false, true);
        expectEqual(nearest->texture2D(sampler, places, allLanes),
                    F::texture2DNearest(sampler, places, allLanes));
        expectEqual(nearest->texture2D(sampler, places, footprint, allLanes),
                    F::texture2DNearest(sampler, places, allLanes));
        expectEqual(bilinear->texture2D(sampler, places, allLanes),
                    F::texture2D(sampler, places, allLanes));
        expectEqual(bilinear->texture2DNoTransform(sampler, places, footprint, allLanes),
                    F::texture2DNoTransform(sampler, places, allLanes));
        expectEqual(trilinear->texture2D(sampler, places, footprint, allLanes),
                    F::texture2D(sampler, places, footprint, allLanes));
        expectEqual(trilinear->texture2D(sampler, places, allLanes),
                    F::texture2D(sampler, places, allLanes));
        expectEqual(nearest->texture2DNoTransform(sampler, places, allLanes),
                    F::texture2DNearestNoTransform(sampler, places, allLanes));
        expectEqual(trilinear->texture2DNoTransform(sampler, places, footprint, allLanes),
                    F::texture2DNoTransform(sampler, places, footprint, allLanes));
        for (const auto* accessor : {&nearest, &bilinear, &trilinear}) {
            EXPECT_EQ((*accessor)->getWrapMode(), mode);
            znRTVector2fPacket uv = places;
            F::applyTexCoordTransform(sampler, uv);
            znFloatType<2> valid = allLanes, known = allLanes;
            const znRTVector2fPacket home = (*accessor)->getTexCoord(uv.x, uv.y, valid);
            const znFloatType<2> s = F::calculateTexCoord(mode & 3, uv.x, known);
            const znFloatType<2> t = F::calculateTexCoord(mode >> 2, uv.y, known);
            EXPECT_LANES_EQ(home.x, s[0], s[1], s[2], s[3]);
            EXPECT_LANES_EQ(home.y, t[0], t[1], t[2], t[3]);
            EXPECT_EQ(moveMask(valid), moveMask(known));
            // Corners, mixed by their weights, are the bilinear value.
            znTexelCorners corners;
            (*accessor)->getBilinearSamples(sampler, places, allLanes, corners);
            const znRTColorPacket seen = F::texture2D(sampler, places, allLanes);
            for (int c = 0; c < 4; ++c) {
                const auto row = [&](int i) {
                    return mix(corners.corner[i][c], corners.corner[i + 1][c], corners.across);
                };
                const znFloatType<2> mixed = mix(row(0), row(2), corners.up);
                EXPECT_LANES_NEAR(seen[c], mixed[0], mixed[1], mixed[2], mixed[3], 2e-6f);
            }
        }
    }
}

TEST(TextureAccessors, SeeTheSidesOfACubeAsTheFunctionsDo)
{
    using F = znRTTextureFunctions;
    znRTSamplerCube cube;
    fillRandom(cube, 8, 8, 6);
    const znRTVector3fPacket directions[] = {
        {{1.0f, -0.3f, 0.2f, 0.5f}, {0.2f, -0.9f, 0.4f, 0.5f}, {-0.3f, 0.1f, -1.0f, 0.6f}},
        {{-1.0f, 0.99f, 0.2f, 0.0f}, {0.98f, 1.0f, 0.4f, 0.5f}, {-0.3f, 0.1f, 0.41f, 0.0f}}};
    const znRTVector3fPacket dx({0.1f, 0.0f, 0.3f, 0.0f}, 0.0f, 0.1f), dy(0.0f, 0.2f, 0.0f);
    for (int mode = 0; mode < 16; ++mode) {
        cube.wrapMode = mode;
        SCOPED_TRACE(mode);
        const auto nearest = make(cube, false, false), bilinear = make(cube, true, false);
        const auto trilinear = make(cube, false, true);
        for (const znRTVector3fPacket& d : directions) {
            expectEqual(bilinear->textureCube(cube, d, allLanes),
                        F::textureCube(cube, d, allLanes));
            expectEqual(trilinear->textureCube(cube, d, allLanes),
                        F::textureCube(cube, d, allLanes));
            expectEqual(trilinear->textureCube(cube, d, dx, dy, allLanes),
                        F::textureCube(cube, d, dx, dy, allLanes));
            znIntType<2> face;
            const znRTVector2fPacket place = F::findCubeFace(d, face);
            const znRTColorPacket seen = nearest->textureCube(cube, d, dx, dy, allLanes);
            for (int lane = 0; lane < 4; ++lane) {
                const int x = std::min(int(place.x[lane] * 8.0f), 7);
                const int y = std::min(int(place.y[lane] * 8.0f), 7);
                const znRTVector4f texel = cube.getTexel(0, face[lane], x, y);
                EXPECT_COLOR(seen.getComponent(lane), texel.x, texel.y, texel.z, texel.w, 0.0f);
            }
        }
    }
}

TEST(TextureAccessors, SeeTheSameAloneAsInFours)
{
    znRTSampler2D sampler;
    fillRandom(sampler, 16, 8, 1);
    znRTSamplerCube cube;
    fillRandom(cube, 8, 8, 6);
    const znRTVector3fPacket direction({1.0f, -0.3f, 0.2f, 0.5f}, {0.2f, -0.9f, 0.4f, 0.5f},
                                       {-0.3f, 0.1f, -1.0f, 0.6f});
    const znRTVector3fPacket dx({0.1f, 0.0f, 0.3f, 0.0f}, 0.0f, 0.1f), dy(0.0f, 0.2f, 0.0f);
    for (int mode = 0; mode < 16; ++mode) {
        sampler.wrapMode = cube.wrapMode = mode;
        for (int filter = 0; filter < 3; ++filter) {
            const auto accessor = make(sampler, filter == 1, filter == 2);
            const auto whole = accessor->texture2D(sampler, places, allLanes);
            const auto wholeSteps = accessor->texture2D(sampler, places, footprint, allLanes);
            const auto plain = accessor->texture2DNoTransform(sampler, places, footprint, allLanes);
            const znFloatType<2> levels(0.2f, 1.7f, -3.0f, 40.0f);
            const auto lod = accessor->texture2DNoTransformLod(sampler, places, levels, allLanes);
            const auto sides = accessor->textureCube(cube, direction, allLanes);
            const auto sidesSteps = accessor->textureCube(cube, direction, dx, dy, allLanes);
            znTexelCorners corners;
            accessor->getBilinearSamples(sampler, places, allLanes, corners);
            for (int lane = 0; lane < 4; ++lane) {
                const znRTVector2f uv = places.getLane(lane);
                const znTextureSteps steps{footprint.dx.getLane(lane), footprint.dy.getLane(lane)};
                expectLane(accessor->texture2D(sampler, uv), whole, lane);
                expectLane(accessor->texture2D(sampler, uv, steps), wholeSteps, lane);
                expectLane(accessor->texture2DNoTransform(sampler, uv, steps), plain, lane);
                expectLane(accessor->texture2DNoTransformLod(sampler, uv, levels[lane]), lod, lane);
                expectLane(accessor->textureCube(cube, direction.getLane(lane)), sides, lane);
                expectLane(accessor->textureCube(cube, direction.getLane(lane),
                                                 {dx.getLane(lane), dy.getLane(lane)}),
                           sidesSteps, lane);
                const znTexelSamples samples = accessor->getBilinearSamples(sampler, uv);
                EXPECT_EQ(samples.across, corners.across[lane]);
                expectLane(samples.corner[2], corners.corner[2], lane);
            }
        }
    }
}

TEST(TextureAccessors, AreKeptWhileModeAndFilterStay)
{
    znRTSampler2D sampler;
    sampler.setWrap(Sampler::repeat, Sampler::decal);
    znRTTextureAccessor* accessor = nullptr;
    const auto get = [&](bool bilinear, bool trilinear) {
        znRTTextureAccessor::getTextureAccessor(accessor, sampler, bilinear, trilinear);
        return accessor;
    };
    const znRTTextureAccessor* const first = get(true, false);
    EXPECT_TRUE(first->isAccessorType(8, true, false));
    EXPECT_FALSE(first->isAccessorType(8, true, true));
    EXPECT_FALSE(first->isAccessorType(8, false, false));
    EXPECT_FALSE(first->isAccessorType(9, true, false));
    EXPECT_EQ(get(true, false), first);
    EXPECT_TRUE(get(false, true)->isAccessorType(8, false, true));
    const znRTTextureAccessor* const trilinear = accessor;
    EXPECT_EQ(get(true, true), trilinear);
    sampler.setWrap(Sampler::clamp, Sampler::decal);
    EXPECT_TRUE(get(true, true)->isAccessorType(11, true, true));
    EXPECT_EQ(accessor->getWrapMode(), 11);
    delete accessor;
}

TEST(TextureAccessors, TellTheTexelsOfAPlaceBeforeTheFilter)
{
    znRTSampler2D sampler;
    fill(sampler, 4, 4, [](int x, int y) { return grey(float(x + 10 * y)); });
    const auto accessor = make(sampler, true, false);
    const znTexelSamples samples = accessor->getBilinearSamples(sampler, {0.5f, 0.3125f});
    EXPECT_EQ(samples.corner[0].r, 1.0f);
    EXPECT_EQ(samples.corner[1].r, 2.0f);
    EXPECT_EQ(samples.corner[2].r, 11.0f);
    EXPECT_EQ(samples.corner[3].r, 12.0f);
    EXPECT_EQ(samples.across, 0.5f);
    EXPECT_EQ(samples.up, 0.75f);
}

TEST(TextureAccessors, BringCoordinatesAndColoursHomeOneByOne)
{
    znRTSampler2D sampler;
    sampler.setWrap(Sampler::repeat, Sampler::decal);
    sampler.borderColor = {9.0f, 8.0f, 7.0f, 6.0f};
    const auto accessor = make(sampler, true, false);
    bool valid = true;
    const znRTVector2f inside = accessor->getTexCoord(2.25f, 0.5f, valid);
    EXPECT_EQ(inside.x, 0.25f);
    EXPECT_TRUE(valid);
    accessor->getTexCoord(2.25f, 1.5f, valid);
    EXPECT_FALSE(valid);
    EXPECT_COLOR(accessor->getFinalColor(sampler, znRTColor(1, 2, 3, 4), valid), 9, 8, 7, 6, 0);
    EXPECT_COLOR(accessor->getFinalColor(sampler, znRTColor(1, 2, 3, 4), true), 1, 2, 3, 4, 0);
    const znRTColorPacket final =
        accessor->getFinalColor(sampler, znRTColorPacket(1.0f), expandLanes(2));
    EXPECT_LANES_EQ(final.b, 7, 1, 7, 7);
}
