#pragma once

// Whether two noisy pictures of a scene agree: as a whole within 1 %, and in blocks of pixels
// within 3 %. It is part of the answer that the noise allows to tell: three standard errors of the
// difference have to lie below the tolerance.

#include "support/referenceScene.h"

#include <cmath>
#include <gtest/gtest.h>

namespace reference {

struct Block
{
    Color mean;
    double error = 0.0; ///< standard error of the luminance
};

/// Mean of the pixels x0 <= x < x1, y0 <= y < y1.
inline Block blockOf(const Picture& picture, int x0, int y0, int x1, int y1)
{
    Block block;
    double variance = 0.0;
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x) {
            block.mean += picture.at(x, y);
            variance += picture.variance[std::size_t(y * picture.width + x)];
        }
    const double count = double(x1 - x0) * (y1 - y0);
    block.mean = block.mean * (1.0 / count);
    block.error = std::sqrt(variance) / count;
    return block;
}

/// Blocks that are darker than this share of the picture's mean are compared with this share.
inline constexpr double darkShare = 0.1;

inline void expectBlocksAgree(const Block& found, const Block& expected, double tolerance,
                              double least, const std::string& what)
{
    const double allowed = tolerance * std::max(least, expected.mean.luminance());
    const double error = std::hypot(found.error, expected.error);
    EXPECT_LT(3.0 * error, allowed) << what << ": too noisy to tell";
    EXPECT_NEAR(found.mean.luminance(), expected.mean.luminance(), allowed)
        << what << ", off by " << 100.0 * (found.mean.luminance() / expected.mean.luminance() - 1.0)
        << " %, standard error " << 100.0 * error / expected.mean.luminance() << " %";
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(found.mean.channel(c), expected.mean.channel(c),
                    tolerance * std::max(least, expected.mean.channel(c)))
            << what << ", channel " << c;
}

inline void expectPicturesAgree(const Picture& found, const Picture& expected)
{
    constexpr int size = 8;
    ASSERT_EQ(found.width, expected.width);
    ASSERT_EQ(found.height, expected.height);
    const Block whole = blockOf(expected, 0, 0, expected.width, expected.height);
    ASSERT_GT(whole.mean.luminance(), 0.0);
    expectBlocksAgree(blockOf(found, 0, 0, found.width, found.height), whole, 0.01, 0.0,
                      "whole picture");
    const double least = darkShare * whole.mean.luminance();
    for (int y = 0; y < expected.height; y += size)
        for (int x = 0; x < expected.width; x += size)
            expectBlocksAgree(blockOf(found, x, y, x + size, y + size),
                              blockOf(expected, x, y, x + size, y + size), 0.03, least,
                              "block " + std::to_string(x / size) + ", " +
                                  std::to_string(y / size));
}

} // namespace reference
