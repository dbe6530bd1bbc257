#pragma once

// Small images by formulas.

#include "support/lanes.h"
#include "texture/znRTTextureFunctions.h"

#include <functional>
#include <vector>

namespace textureTest {

using Sampler = znRTTextureSampler;
using Texel = std::function<znRTVector4f(int x, int y)>;

inline const znFloatType<2> allLanes = znFloatType<2>::allLanes();

/// Floats, RGBA.
template <class Kind>
void fill(Kind& sampler, int width, int height, const Texel& texel)
{
    std::vector<znRTVector4f> texels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            texels.push_back(texel(x, y));
    ASSERT_TRUE(sampler.setTexels(Sampler::typeRGBAFloat, width, height, 1, texels.data()));
}

/// Grey floats in r, g and b; alpha 1.
inline znRTVector4f grey(float value)
{
    return {value, value, value, 1.0f};
}

/// One row of grey texels.
inline void fillRow(znRTSampler2D& sampler, const std::vector<float>& row)
{
    fill(sampler, int(row.size()), 1, [&](int x, int) { return grey(row[std::size_t(x)]); });
}

inline znRTVector2fPacket inAllLanes(float s, float t)
{
    return {znFloatType<2>(s), znFloatType<2>(t)};
}

} // namespace textureTest

#define EXPECT_COLOR(color, red, green, blue, alpha, tolerance)                                    \
    do {                                                                                           \
        const znRTColor seen_ = (color);                                                           \
        EXPECT_NEAR(seen_.r, red, tolerance);                                                      \
        EXPECT_NEAR(seen_.g, green, tolerance);                                                    \
        EXPECT_NEAR(seen_.b, blue, tolerance);                                                     \
        EXPECT_NEAR(seen_.a, alpha, tolerance);                                                    \
    } while (false)
