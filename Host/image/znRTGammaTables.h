#pragma once

// Linear values of stored integers. Tables are shared by all samplers of one gamma.

#include <array>
#include <memory>
#include <vector>

struct znRTGammaTables
{
    float gamma = 1.0f;
    std::array<float, 256> lut8;
    std::vector<float> lut16; ///< 65536 entries

    /// Linear value of an encoded one: value^gamma, for 2.2 the sRGB curve (IEC 61966-2-1), for 1
    /// the value itself. Odd: negative values keep their sign.
    static float decode(float value, float gamma);

    /// @param gamma  above 0; anything else counts as 1
    static std::shared_ptr<const znRTGammaTables> get(float gamma);
};
