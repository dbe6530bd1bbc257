#include "render/integrators/falseColor.h"

#include "support/lanes.h"

#include <limits>

namespace {

struct Case
{
    float luminance, r, g, b;
};

} // namespace

// t = max(0.001, (1 - L / 8000) 3.999) in four sections of the scale, by hand: (1, f, 0),
// (1 - f, 1, 0), (0, 1, f), (0, 1 - f, 1) with f the fraction of t.
TEST(FalseColor, RunsFromBlueOverGreenToRed)
{
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const Case cases[] = {
        {8000.0f, 1.0f, 0.001f, 0.0f},    {9000.0f, 1.0f, 0.001f, 0.0f},
        {inf, 1.0f, 0.001f, 0.0f},        {7000.0f, 1.0f, 0.499875f, 0.0f},
        {6000.0f, 1.0f, 0.99975f, 0.0f},  {5000.0f, 0.500375f, 1.0f, 0.0f},
        {4000.0f, 0.0005f, 1.0f, 0.0f},   {3000.0f, 0.0f, 1.0f, 0.499375f},
        {1000.0f, 0.0f, 0.500875f, 1.0f}, {0.0f, 0.0f, 0.001f, 1.0f},
        {-5.0f, 0.0f, 0.001f, 1.0f},      {nan, 0.0f, 0.001f, 1.0f},
    };
    for (const Case& c : cases) {
        const znRTColorPacket color = falseColor(c.luminance);
        EXPECT_NEAR(color.r[1], c.r, 2e-5f) << c.luminance;
        EXPECT_NEAR(color.g[1], c.g, 2e-5f) << c.luminance;
        EXPECT_NEAR(color.b[1], c.b, 2e-5f) << c.luminance;
        EXPECT_EQ(color.a[1], 1.0f) << c.luminance;
    }
}

// Next to a border of sections the colours of both sides agree but for the step in luminance.
TEST(FalseColor, HasNoStepsBetweenItsSections)
{
    for (int section = 1; section < 4; ++section) {
        const float border = 8000.0f * (1.0f - float(section) / 3.999f);
        const znRTColorPacket color =
            falseColor({border - 0.1f, border, border + 0.1f, border + 0.2f});
        for (int channel = 0; channel < 3; ++channel)
            EXPECT_LANES_NEAR(color[channel], color[channel][0], color[channel][0],
                              color[channel][0], color[channel][0], 3e-4f);
    }
}
