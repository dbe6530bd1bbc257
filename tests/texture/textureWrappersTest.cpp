#include "texture/textureWrappers.h"

#include "textureFixture.h"

#include <limits>

using namespace textureTest;

namespace {

constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

/// A row 0, 1, 2, 3 over border 9 with alpha 0.5.
void prepare(znRTSampler2D& sampler, int wrapS)
{
    fillRow(sampler, {0.0f, 1.0f, 2.0f, 3.0f});
    sampler.setWrap(wrapS, Sampler::clamp);
    sampler.borderColor = {9.0f, 8.0f, 7.0f, 0.5f};
}

float bilinear(const znRTSampler2D& sampler, float s)
{
    return znRTTextureFunctions::texture2D(sampler, inAllLanes(s, 0.5f), allLanes).r[1];
}

/// The same by one place at a time, in plain words.
double expected(int wrapS, double s)
{
    if (std::isnan(s))
        s = 0.0;
    if (wrapS == Sampler::decal && (s < 0.0 || s > 1.0))
        return 9.0;
    if (std::isinf(s))
        s = wrapS == Sampler::clamp && s > 0.0 ? 1.0 : 0.0;
    const auto texel = [&](int i) {
        if (wrapS == Sampler::repeat)
            return double(((i % 4) + 4) % 4);
        if (wrapS == Sampler::mirroredRepeat) {
            const int k = ((i % 8) + 8) % 8;
            return double(k < 4 ? k : 7 - k);
        }
        return double(std::clamp(i, 0, 3));
    };
    if (wrapS == Sampler::clamp)
        s = std::clamp(s, 0.0, 1.0);
    const double position = s * 4.0 - 0.5, lower = std::floor(position), t = position - lower;
    return texel(int(lower)) * (1.0 - t) + texel(int(lower) + 1) * t;
}

} // namespace

TEST(TextureWrappers, LeadEachCoordinateToTheTexelsOfItsMode)
{
    for (int mode = 0; mode < 4; ++mode) {
        znRTSampler2D sampler;
        prepare(sampler, mode);
        for (const float s : {-1.2f, -0.01f, 0.0f, 0.01f, 0.5f, 0.99f, 1.0f, 1.01f, 2.3f, -7.4f,
                              1000.3f, notANumber, inf, -inf})
            EXPECT_NEAR(bilinear(sampler, s), expected(mode, s),
                        std::isfinite(s) ? 2.5e-4 + std::fabs(s) * 1e-6 : 0.0)
                << "mode " << mode << ", s = " << s;
    }
}

TEST(TextureWrappers, LeaveNoSeamAtMirrors)
{
    znRTSampler2D sampler;
    prepare(sampler, Sampler::mirroredRepeat);
    for (const float line : {-1.0f, 0.0f, 1.0f, 2.0f})
        EXPECT_NEAR(bilinear(sampler, line - 1e-5f), bilinear(sampler, line + 1e-5f), 1e-4f);
    EXPECT_EQ(bilinear(sampler, 0.99f), 3.0f);
}

TEST(TextureWrappers, GiveTheBorderWithItsAlphaOffADecal)
{
    znRTSampler2D sampler;
    prepare(sampler, Sampler::decal);
    const znRTVector2fPacket places({-0.01f, 0.5f, 1.01f, 0.5f}, {0.5f, 0.5f, 0.5f, 1.5f});
    const znRTColorPacket seen = znRTTextureFunctions::texture2D(sampler, places, allLanes);
    EXPECT_COLOR(seen.getComponent(0), 9, 8, 7, 0.5, 0);
    EXPECT_COLOR(seen.getComponent(1), 1.5, 1.5, 1.5, 1, 0);
    EXPECT_COLOR(seen.getComponent(2), 9, 8, 7, 0.5, 0);
    EXPECT_EQ(seen.r[3], 1.5f) << "clamped along t";
    sampler.setWrap(Sampler::clamp, Sampler::decal);
    EXPECT_EQ(znRTTextureFunctions::texture2DNearest(sampler, places, allLanes).g[3], 8.0f);
    // Half a texel from the edge the border is not mixed in.
    sampler.setWrap(Sampler::decal, Sampler::decal);
    EXPECT_EQ(bilinear(sampler, 0.99f), 3.0f);
}

TEST(TextureWrappers, TellThePairOfTexelsAroundACoordinate)
{
    znIntType<2> lower, upper;
    znFloatType<2> weight, valid = allLanes;
    const znFloatType<2> places(0.0f, 0.25f, 0.96875f, -0.25f);
    znRTTextureFunctions::calculateTexCoordIndex(Sampler::repeat, 4, places, lower, upper, weight,
                                                 valid);
    EXPECT_INT_LANES(lower, 3, 0, 3, 2);
    EXPECT_INT_LANES(upper, 0, 1, 0, 3);
    EXPECT_LANES_EQ(weight, 0.5f, 0.5f, 0.375f, 0.5f);
    znRTTextureFunctions::calculateTexCoordIndex(Sampler::decal, 4, places, lower, upper, weight,
                                                 valid);
    EXPECT_INT_LANES(upper, 0, 1, 3, 0);
    EXPECT_EQ(moveMask(valid), 7);
}
