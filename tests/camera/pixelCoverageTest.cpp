// Which pixels the packets of a lens belong to.

#include "camera/znRTOrthographicLens.h"
#include "camera/znRTPerspectivePinholeLens.h"
#include "lensFixture.h"
#include "support/lanes.h"

#include <vector>

namespace {

class PixelCoverage : public LensTest
{
protected:
    void makeView(unsigned width, unsigned height)
    {
        view.width = width;
        view.height = height;
        view.apply(lens);
        visits.assign(std::size_t(width) * height, 0);
    }
    void count(unsigned packets)
    {
        arrays.forEachRay(packets, [&](const auto&, int, int x, int y) {
            ASSERT_LT(unsigned(x), view.width);
            ASSERT_LT(unsigned(y), view.height);
            ++visits[std::size_t(y) * view.width + unsigned(x)];
        });
    }
    void expectVisits(int times)
    {
        for (std::size_t i = 0; i < visits.size(); ++i)
            ASSERT_EQ(visits[i], times) << "pixel " << i % view.width << ", " << i / view.width;
    }

    TestView view;
    znRTPerspectivePinholeLens lens;
    LensArrays arrays;
    std::vector<int> visits;
};

} // namespace

TEST_F(PixelCoverage, IsOncePerPixelForOddRasters)
{
    const unsigned sizes[][2] = {{1, 1}, {5, 3}, {17, 33}, {101, 33}, {16, 16}, {2, 31}};
    for (const auto& size : sizes)
        for (unsigned block : {16u, 2u, 8u}) {
            SCOPED_TRACE(testing::Message() << size[0] << " x " << size[1] << " by " << block);
            makeView(size[0], size[1]);
            forEachBlock(size[0], size[1], block,
                         [&](unsigned x0, unsigned x1, unsigned y0, unsigned y1) {
                             count(arrays.trace(lens, x0, x1, y0, y1));
                         });
            expectVisits(1);
        }
}

// The still-frame loop calls with rectangles moved by each place of the supersampled pixel.
TEST_F(PixelCoverage, IsOncePerPixelInFourStillFrames)
{
    Settings::s_qualityMode = Settings::stillFrame;
    for (unsigned s : {1u, 2u, 3u, 4u}) {
        Settings::s_stillFrameSupersampling = int(s);
        SCOPED_TRACE(s);
        makeView(19 * s, 21 * s);
        for (unsigned frame = 40; frame < 44; ++frame) {
            lens.setFrame(frame);
            forEachBlock(view.width, view.height, 16 * s,
                         [&](unsigned x0, unsigned x1, unsigned y0, unsigned y1) {
                             for (unsigned dy = 0; dy < s; ++dy)
                                 for (unsigned dx = 0; dx < s; ++dx)
                                     count(arrays.trace(lens, x0 + dx, x1, y0 + dy, y1));
                         });
        }
        expectVisits(1);
    }
}

TEST_F(PixelCoverage, PutsOneLaneIntoEachRowAndColumnOfAStillFrameCell)
{
    Settings::s_qualityMode = Settings::stillFrame;
    const unsigned rows[4][4] = {{0, 2, 3, 1}, {3, 1, 0, 2}, {2, 0, 1, 3}, {1, 3, 2, 0}};
    for (unsigned frame = 0; frame < 8; ++frame) {
        lens.setFrame(frame);
        const znRTPixelOffsets offsets = lens.getPixelOffsets();
        EXPECT_EQ(offsets.step, 4u);
        for (unsigned lane = 0; lane < 4; ++lane) {
            EXPECT_EQ(offsets.x[lane], lane);
            EXPECT_EQ(offsets.y[lane], rows[frame & 3][lane]);
        }
    }
    makeView(16, 16);
    EXPECT_EQ(arrays.trace(lens, 0, 16, 0, 16), 16u);
}

TEST_F(PixelCoverage, IsEmptyUnderAnEmptyMask)
{
    makeView(40, 24);
    std::vector<unsigned char> mask(40 * 24, 0);
    EXPECT_EQ(arrays.trace(lens, 16, 32, 0, 16, 0, 1, 1.0f, mask.data()), 0u);
    EXPECT_EQ(arrays.bundle().count, 0u);
}

TEST_F(PixelCoverage, IsOneLaneUnderAMaskOfOnePixel)
{
    makeView(40, 24);
    std::vector<unsigned char> mask(40 * 24, 0);
    mask[7 * 40 + 21] = 1;
    ASSERT_EQ(arrays.trace(lens, 16, 32, 0, 16, 0, 1, 1.0f, mask.data()), 1u);
    EXPECT_EQ(arrays.lanes(0), 8);
    EXPECT_EQ(arrays.ray(0).pixelX[3], 21);
    EXPECT_EQ(arrays.ray(0).pixelY[3], 7);
    // Packets before it were left out: the ray is still that of its own pixel.
    EXPECT_LT(distanceOf(arrays.ray(0).direction.getLane(3), view.direction(21, 7)), 2e-6);
}

// Outside the rows of 2, 4, 8 and 16 the row of two is read; beyond its end lies the centre. The
// tent of radius one pixel: u becomes sign(u) (1 - sqrt(1 - |u|)).
TEST_F(PixelCoverage, SpreadsAntiAliasingSamplesOverTheTent)
{
    const auto offset = [&](int index, int samples) {
        znFloatType<2> x, y;
        lens.getAAOffsets(index, samples, x, y);
        EXPECT_LANES_EQ(x, x[0], x[0], x[0], x[0]);
        return znRTVector2f(x[0], y[0]);
    };
    const auto tent = [](double u) {
        return float(std::copysign(1.0 - std::sqrt(1.0 - std::fabs(u)), u));
    };
    EXPECT_EQ(offset(0, 0), znRTVector2f(0.0f, 0.0f));
    EXPECT_EQ(offset(0, 1), znRTVector2f(0.0f, 0.0f));
    EXPECT_NEAR(offset(1, 2).x, tent(0.5), 1e-6f);
    EXPECT_NEAR(offset(0, 3).x, tent(-0.5), 1e-6f);
    EXPECT_EQ(offset(2, 3), znRTVector2f(0.0f, 0.0f));
    EXPECT_NEAR(offset(3, 4).x, tent(0.75), 1e-6f);
    EXPECT_NEAR(offset(2, 4).y, tent(-0.5), 1e-6f);
    EXPECT_NEAR(offset(2, 8).y, tent(0.875), 1e-6f);
    EXPECT_NEAR(offset(1, 16).x, 0.75f, 1e-6f);
    EXPECT_NEAR(offset(2, 16).y, tent(-0.9375), 1e-6f);
    for (int samples : {2, 4, 8, 16}) {
        double x = 0.0, y = 0.0;
        for (int i = 0; i < samples; ++i) {
            x += offset(i, samples).x;
            y += offset(i, samples).y;
        }
        EXPECT_NEAR(x / samples, 0.0, 1e-6);
        EXPECT_NEAR(y / samples, 0.0, 1e-6);
    }
}

TEST_F(PixelCoverage, MovesRaysByTheAntiAliasingOffset)
{
    makeView(64, 64);
    const unsigned count = arrays.trace(lens, 16, 32, 16, 32, 1, 16);
    znFloatType<2> dx, dy;
    lens.getAAOffsets(1, 16, dx, dy);
    arrays.forEachRay(count, [&](const auto& ray, int lane, int x, int y) {
        EXPECT_LT(distanceOf(ray.direction.getLane(lane), view.direction(x + dx[0], y + dy[0])),
                  3e-6);
    });
}
