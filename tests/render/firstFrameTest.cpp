#include "renderFixture.h"

using namespace renderTest;

namespace {

/// Angle between the axis of a pinhole camera and the ray through the centre of a pixel.
struct PinholeView
{
    u32 width, height;
    double fovDegrees, distance;

    /// Nearest hit of the ray with the unit sphere at the origin; the camera looks along -z from
    /// (0, 0, distance). @return whether there is one, and its normal
    bool hitSphere(u32 x, u32 y, double normal[3]) const
    {
        const double step = 2.0 * std::tan(fovDegrees * std::numbers::pi / 360.0) / height;
        double d[3] = {(x + 0.5 - width * 0.5) * step, (y + 0.5 - height * 0.5) * step, -1.0};
        const double length = std::sqrt(d[0] * d[0] + d[1] * d[1] + 1.0);
        for (double& component : d)
            component /= length;
        const double b = distance * d[2], c = distance * distance - 1.0;
        const double discriminant = b * b - c;
        if (discriminant < 0.0)
            return false;
        const double t = -b - std::sqrt(discriminant);
        normal[0] = d[0] * t;
        normal[1] = d[1] * t;
        normal[2] = distance + d[2] * t;
        return true;
    }
};

class FirstFrame : public RenderTest
{
};

} // namespace

// Oracle: the analytic sphere. The mesh of 127 x 251 facets lies within 1 - cos(pi/254) = 8e-5 of
// it, far below a pixel, so at most the pixels of the outline may differ. The odd numbers keep
// edges of the mesh off the diagonals of the image, where rays would run along them.
TEST_F(FirstFrame, ShowsASphereWhereItIsWithItsNormals)
{
    const PinholeView oracle{160, 120, 45.0, 5.0};
    resize(oracle.width, oracle.height);
    add(makeSphere(127, 251));
    begin();
    ASSERT_TRUE(instance->isActive());
    ASSERT_FALSE(trace());
    u32 covered = 0, expected = 0, wrongPlace = 0, wrongNormal = 0;
    for (u32 y = 0; y < oracle.height; ++y)
        for (u32 x = 0; x < oracle.width; ++x) {
            double n[3] = {0, 0, 0};
            const bool hit = oracle.hitSphere(x, y, n);
            const ZN_RGBA32F& pixel = view.pixel(x, y);
            covered += pixel.a > 0.5f;
            expected += hit;
            wrongPlace += hit != (pixel.a > 0.5f);
            if (!hit || pixel.a < 0.5f || n[2] < 0.3)
                continue;
            // The colour is the normal in [0, 1] times a common brightness: the hue is compared.
            const double sum = pixel.r + pixel.g + pixel.b;
            const double expectedSum = (n[0] + n[1] + n[2]) * 0.5 + 1.5;
            const double channels[3] = {pixel.r, pixel.g, pixel.b};
            for (int i = 0; i < 3; ++i)
                wrongNormal +=
                    std::abs(channels[i] / sum - (n[i] * 0.5 + 0.5) / expectedSum) > 0.01;
        }
    EXPECT_GT(expected, 2000u);
    EXPECT_NEAR(double(covered), double(expected), 8.0);
    EXPECT_LE(wrongPlace, 8u);
    EXPECT_EQ(wrongNormal, 0u);
    EXPECT_TRUE(view.guardIsIntact());
}
