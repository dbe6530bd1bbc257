#pragma once

// Optical constants of metals for red, green and blue, after tabulated measurements.

struct znOpticalConstants
{
    float n[3]; ///< index of refraction
    float k[3]; ///< absorption
};

/// In the order of the host's selection: 0 neutral, 1 aluminium, 2 amorphous carbon, 3 silver,
/// 4 gold, 5 cobalt, 6 copper, 7 chromium, 8 lithium, 9 mercury, 10 nickel, 11 potassium,
/// 12 platinum, 13 iridium, 14 silicon, 15 amorphous silicon, 16 sodium, 17 rhodium, 18 tungsten,
/// 19 vanadium, 20 iron.
inline constexpr znOpticalConstants metalTable[] = {
    {{1.0f, 1.0f, 1.0f}, {0.0f, 0.0f, 0.0f}},
    {{1.226973f, 0.930951f, 0.600745f}, {7.284448f, 6.535680f, 5.363405f}},
    {{2.411985f, 2.342105f, 2.181310f}, {0.764496f, 0.830813f, 0.889424f}},
    {{0.127651f, 0.126269f, 0.150659f}, {3.815297f, 3.285348f, 2.449588f}},
    {{0.194434f, 0.474661f, 1.460432f}, {3.094132f, 2.558459f, 1.869885f}},
    {{1.892247f, 1.686180f, 1.380801f}, {4.034256f, 3.657249f, 3.204640f}},
    {{0.458325f, 0.919766f, 1.164602f}, {3.023786f, 2.623051f, 2.373409f}},
    {{3.532071f, 3.011534f, 1.922369f}, {4.374618f, 4.417932f, 4.126147f}},
    {{0.218518f, 0.215410f, 0.249187f}, {2.785056f, 2.451268f, 1.887220f}},
    {{1.897530f, 1.536893f, 1.057312f}, {5.113554f, 4.619182f, 3.846061f}},
    {{1.900880f, 1.764200f, 1.632063f}, {3.578712f, 3.213744f, 2.644016f}},
    {{0.050897f, 0.048574f, 0.043116f}, {1.675808f, 1.422659f, 1.051493f}},
    {{2.282318f, 2.106779f, 1.841160f}, {4.024749f, 3.677716f, 3.133220f}},
    {{2.455205f, 2.196805f, 1.825194f}, {4.547873f, 4.261930f, 3.659119f}},
    {{3.926954f, 4.120908f, 4.741204f}, {0.023591f, 0.046621f, 0.162779f}},
    {{4.261942f, 4.383820f, 4.448197f}, {0.513950f, 0.816898f, 1.611943f}},
    {{0.052690f, 0.058955f, 0.066723f}, {2.549482f, 2.233368f, 1.800470f}},
    {{2.098300f, 1.960583f, 1.726040f}, {5.444757f, 4.978817f, 4.439692f}},
    {{3.587545f, 3.476418f, 3.321998f}, {2.861609f, 2.740650f, 2.515569f}},
    {{3.603907f, 3.623065f, 3.076576f}, {2.946438f, 3.069547f, 3.378471f}},
    {{2.880000f, 2.950000f, 2.650000f}, {3.050000f, 2.930000f, 2.800000f}},
};

/// Entry of an index; the neutral one beyond the table.
constexpr const znOpticalConstants& getOpticalConstants(unsigned index)
{
    return metalTable[index < sizeof(metalTable) / sizeof(metalTable[0]) ? index : 0];
}
