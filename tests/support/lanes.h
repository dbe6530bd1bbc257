#pragma once

// Comparison of packets in tests: a failure prints all four lanes of both sides.

#include "core/znIntType.h"

#include <cmath>
#include <gtest/gtest.h>

inline testing::AssertionResult lanesDiffer(const char* text, znFloatType<2> actual,
                                            znFloatType<2> expected, float tolerance)
{
    auto result = testing::AssertionFailure() << text << "\n  actual  ";
    for (int l = 0; l < 4; ++l)
        result << " " << actual[l];
    result << "\n  expected";
    for (int l = 0; l < 4; ++l)
        result << " " << expected[l];
    return result << "\n  tolerance " << tolerance;
}

/// Equal infinities are near; NaN is near to NaN alone.
inline testing::AssertionResult lanesNear(const char* text, const char*, const char*,
                                          znFloatType<2> actual, znFloatType<2> expected,
                                          float tolerance)
{
    for (int l = 0; l < 4; ++l) {
        const float a = actual[l], e = expected[l];
        const bool isNear = std::isnan(e)   ? std::isnan(a)
                            : std::isinf(e) ? a == e
                                            : std::fabs(a - e) <= tolerance;
        if (!isNear)
            return lanesDiffer(text, actual, expected, tolerance);
    }
    return testing::AssertionSuccess();
}

/// EXPECT_LANES_NEAR(packet, lane 0, lane 1, lane 2, lane 3, tolerance)
#define EXPECT_LANES_NEAR(packet, a, b, c, d, tolerance)                                           \
    EXPECT_PRED_FORMAT3(lanesNear, (packet), znFloatType<2>((a), (b), (c), (d)), (tolerance))

/// EXPECT_LANES_EQ(packet, lane 0, lane 1, lane 2, lane 3): the same values; 0 equals -0
#define EXPECT_LANES_EQ(packet, a, b, c, d) EXPECT_LANES_NEAR(packet, a, b, c, d, 0.0f)

/// The same for integers.
#define EXPECT_INT_LANES(packet, a, b, c, d)                                                       \
    do {                                                                                           \
        const znIntType<2> lanes_(packet);                                                         \
        const int expected_[4] = {int(a), int(b), int(c), int(d)};                                 \
        for (int l_ = 0; l_ < 4; ++l_)                                                             \
            EXPECT_EQ(lanes_[l_], expected_[l_])                                                   \
                << #packet << " lane " << l_ << " of " << lanes_[0] << " " << lanes_[1] << " "     \
                << lanes_[2] << " " << lanes_[3];                                                  \
    } while (false)
