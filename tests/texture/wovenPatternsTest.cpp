#include "texture/procedural/znRTCarbonTexture.h"
#include "texture/procedural/znRTProceduralWeave.h"

#include "support/lanes.h"

#include <memory>
#include <string>
#include <vector>

namespace {

using F = znFloatType<2>;
using Matrix = std::vector<std::string>;

const F allLanes = F::allLanes();

/// Rows of a weave from the first on upward; # where the warp is on top.
Matrix matrixOf(const znRTCarbonTexture& texture, int size)
{
    Matrix matrix;
    for (int row = 0; row < size; ++row) {
        std::string line;
        for (int column = 0; column < size; ++column) {
            const float n = float(texture.getStrandCount());
            const znCarbonStrand strand = texture.evaluateStrand(
                {(float(column) + 0.4f) / n, (float(row) + 0.6f) / n}, allLanes);
            line += anyLane(strand.isWarp) ? '#' : '.';
        }
        matrix.push_back(line);
    }
    return matrix;
}

Matrix matrixOf(const znRTProceduralWeave& weave, int size)
{
    Matrix matrix;
    const float n = float(weave.getParameters().period);
    for (int row = 0; row < size; ++row) {
        std::string line;
        for (int column = 0; column < size; ++column) {
            const znWeaveCell cell = weave.getPatternCell(
                {(float(column) + 0.5f) / n, (float(row) + 0.5f) / n}, allLanes);
            line += anyLane(cell.warpIsUp) ? '#' : '.';
        }
        matrix.push_back(line);
    }
    return matrix;
}

std::vector<std::unique_ptr<znRTCarbonTexture>> carbons()
{
    std::vector<std::unique_ptr<znRTCarbonTexture>> all;
    all.push_back(std::make_unique<znRTCarbon2x2Texture>());
    all.push_back(std::make_unique<znRTCarbon3x1RegularTexture>());
    all.push_back(std::make_unique<znRTCarbon3x1StaircaseTexture>());
    all.push_back(std::make_unique<znRTCarbon5x1Texture>());
    return all;
}

template <class Weave>
Weave weaveOf(int period)
{
    znWeaveParameters parameters;
    parameters.period = period;
    return Weave(parameters);
}

} // namespace

// Drafts as in any weaving manual: twills step by one thread; the six-shaft satin goes 0 2 4 1 5 3.
TEST(CarbonTexture, WeavesFourPatterns)
{
    EXPECT_EQ(matrixOf(znRTCarbon2x2Texture(), 8),
              (Matrix{"##..##..", "#..##..#", "..##..##", ".##..##.", "##..##..", "#..##..#",
                      "..##..##", ".##..##."}));
    EXPECT_EQ(matrixOf(znRTCarbon3x1RegularTexture(), 8),
              (Matrix{".###.###", "###.###.", "##.###.#", "#.###.##", ".###.###", "###.###.",
                      "##.###.#", "#.###.##"}));
    EXPECT_EQ(matrixOf(znRTCarbon3x1StaircaseTexture(), 8),
              (Matrix{".###.###", ".###.###", "###.###.", "###.###.", "##.###.#", "##.###.#",
                      "#.###.##", "#.###.##"}));
    EXPECT_EQ(matrixOf(znRTCarbon5x1Texture(), 8),
              (Matrix{".#####.#", "####.###", "##.#####", "#####.##", "#.#####.", "###.####",
                      ".#####.#", "####.###"}));
}

// Every strand dives somewhere: a strand that stays on top throughout would fall off.
TEST(CarbonTexture, HoldsEveryStrand)
{
    for (const auto& texture : carbons()) {
        const int n = 2 * texture->getStrandCount();
        const Matrix matrix = matrixOf(*texture, n);
        for (int i = 0; i < n; ++i) {
            std::string column;
            for (int j = 0; j < n; ++j)
                column += matrix[std::size_t(j)][std::size_t(i)];
            EXPECT_NE(column.find('.'), std::string::npos);
            EXPECT_NE(column.find('#'), std::string::npos);
            EXPECT_NE(matrix[std::size_t(i)].find('.'), std::string::npos);
            EXPECT_NE(matrix[std::size_t(i)].find('#'), std::string::npos);
        }
    }
}

TEST(CarbonTexture, HasHeightsInRangeAndFibresAlongTheStrands)
{
    for (const auto& texture : carbons()) {
        float lowest = 1.0f, highest = 0.0f;
        for (int i = 0; i < 10000; ++i) {
            const znRTVector2fPacket p(float(i % 100) * 0.021f - 1.0f, float(i / 100) * 0.023f);
            const znCarbonStrand strand = texture->evaluateStrand(p, allLanes);
            lowest = std::min(lowest, strand.height[0]);
            highest = std::max(highest, strand.height[0]);
            const bool isWarp = anyLane(strand.isWarp);
            ASSERT_EQ(strand.cosRotation[0], isWarp ? 0.0f : 1.0f);
            ASSERT_EQ(strand.sinRotation[0], isWarp ? 1.0f : 0.0f);
            ASSERT_EQ(texture->evaluate({p.x, p.y, 0.3f}, allLanes).g[2], strand.height[2]);
        }
        EXPECT_GE(lowest, 0.0f);
        EXPECT_LT(lowest, 0.05f);
        EXPECT_LE(highest, 1.0f);
        EXPECT_GT(highest, 0.99f);
    }
}

// Slopes are the differences of the heights, within the strand on top.
TEST(CarbonTexture, TellsItsSlopes)
{
    constexpr float h = 1e-3f;
    for (const auto& texture : carbons()) {
        const float n = float(texture->getStrandCount());
        int compared = 0;
        for (int i = 0; i < 900; ++i) {
            // Between the grid lines, where the strand changes.
            const float u = (float(i % 30) + 0.21f) * 0.29f, v = (float(i / 30) + 0.13f) * 0.31f;
            const auto at = [&](float x, float y) {
                return texture->evaluateStrand({x / n, y / n}, allLanes);
            };
            const auto isBetween = [](float x) {
                return x - std::floor(x) > 0.01f && x - std::floor(x) < 0.99f;
            };
            if (!isBetween(u) || !isBetween(v) || !isBetween(u + 0.5f) || !isBetween(v + 0.5f))
                continue;
            const znCarbonStrand strand = at(u, v);
            const float du = (at(u + h, v).height[0] - at(u - h, v).height[0]) / (2.0f * h);
            const float dv = (at(u, v + h).height[0] - at(u, v - h).height[0]) / (2.0f * h);
            ASSERT_NEAR(strand.slope.x[0], du, 2e-3f) << u << " " << v;
            ASSERT_NEAR(strand.slope.y[0], dv, 2e-3f) << u << " " << v;
            ++compared;
        }
        EXPECT_GT(compared, 700);
    }
}

TEST(CarbonTexture, RepeatsWithItsTileAndLeavesOtherLanes)
{
    for (const auto& texture : carbons())
        for (int i = 0; i < 100; ++i) {
            const float u = float(i) * 0.0173f - 0.7f, v = float(i) * 0.0291f;
            // The staircase repeats after two tiles along v.
            const znCarbonStrand here = texture->evaluateStrand({u, v}, expandLanes(1));
            const znCarbonStrand there = texture->evaluateStrand({u + 1.0f, v + 2.0f}, allLanes);
            ASSERT_EQ(moveMask(here.isWarp), moveMask(there.isWarp) & 1);
            ASSERT_NEAR(here.height[0], there.height[0], 2e-5f);
            ASSERT_EQ(here.height[1], 0.0f);
            ASSERT_EQ(here.slope.x[2], 0.0f);
        }
}

TEST(ProceduralWeave, CrossesAsItsNameSays)
{
    EXPECT_EQ(matrixOf(weaveOf<znRTProceduralCottonDenimWeave>(4), 4),
              (Matrix{".###", "###.", "##.#", "#.##"}));
    EXPECT_EQ(matrixOf(weaveOf<znRTProceduralTwillWeave>(4), 4),
              (Matrix{"##..", "#..#", "..##", ".##."}));
    // Five shafts, move two: the published draft of the five-end satin.
    EXPECT_EQ(matrixOf(weaveOf<znRTProceduralSatinWeave>(5), 5),
              (Matrix{".####", "###.#", "#.###", "####.", "##.##"}));
    EXPECT_EQ(matrixOf(weaveOf<znRTProceduralSilkWeave>(4), 4),
              (Matrix{"#.#.", ".#.#", "#.#.", ".#.#"}));
    // An odd period does not break the plain weave where tiles meet.
    EXPECT_EQ(matrixOf(weaveOf<znRTProceduralSilkWeave>(5), 6)[2], "#.#.#.");
    EXPECT_EQ(matrixOf(weaveOf<znRTProceduralTwillWeave>(1), 2), (Matrix{"##", "##"}));
}

TEST(ProceduralWeave, CountsTilesAndCrossingsDownward)
{
    const auto weave = weaveOf<znRTProceduralSatinWeave>(5);
    const znWeaveCell cell = weave.getPatternCell(
        {F(-0.1f, -1.0f, 0.99f, 2.3f), F(-0.21f, 0.0f, 1.0f, -3.0f)}, allLanes);
    EXPECT_INT_LANES(cell.column, -1, -5, 4, 11);
    EXPECT_INT_LANES(cell.tileX, -1, -1, 0, 2);
    EXPECT_INT_LANES(cell.tileColumn, 4, 0, 4, 1);
    EXPECT_INT_LANES(cell.row, -2, 0, 5, -15);
    EXPECT_INT_LANES(cell.tileY, -1, 0, 1, -3);
    EXPECT_INT_LANES(cell.tileRow, 3, 0, 0, 0);
    EXPECT_NEAR(cell.inside.x[0], 0.5f, 1e-6f);
    // The pattern goes on below zero as it does above.
    for (int i = 0; i < 25; ++i) {
        const float u = (float(i % 5) + 0.5f) / 5.0f, v = (float(i / 5) + 0.5f) / 5.0f;
        EXPECT_EQ(moveMask(weave.getPatternCell({u, v}, allLanes).warpIsUp),
                  moveMask(weave.getPatternCell({u - 3.0f, v - 2.0f}, allLanes).warpIsUp));
    }
}

// Denim's warp lies on three crossings and dives below the fourth; its weft shows on one.
TEST(ProceduralWeave, MeasuresRunsOfTheYarnOnTop)
{
    const auto weave = weaveOf<znRTProceduralCottonDenimWeave>(4);
    // Column 0: rows 1 to 3 are on top.
    const znWeaveStrand strand =
        weave.getStrandFrame({F(0.05f), F(0.30f, 0.5f, 0.95f, 0.1f)}, allLanes);
    EXPECT_LANES_EQ(strand.length, 3.0f, 3.0f, 3.0f, 1.0f);
    EXPECT_LANES_NEAR(strand.along, 0.2f / 3.0f, 1.0f / 3.0f, 2.8f / 3.0f, 0.2f, 1e-5f);
    EXPECT_LANES_NEAR(strand.across, 0.2f, 0.2f, 0.2f, 0.4f, 1e-5f);
    const znWeaveStrand masked = weave.getStrandFrame({0.05f, 0.3f}, expandLanes(2));
    EXPECT_LANES_NEAR(masked.along, 0.0f, 0.2f / 3.0f, 0.0f, 0.0f, 1e-5f);
    // A yarn that never dives ends somewhere nevertheless.
    EXPECT_EQ(weaveOf<znRTProceduralTwillWeave>(1).getStrandFrame({0.5f, 0.5f}, allLanes).length[0],
              65.0f);
}

// asin(s) / (pi / 2) with s from -1 to 1, and exp(-s^2) across.
TEST(ProceduralWeave, SpreadsFibresOverTheRun)
{
    const auto weave = weaveOf<znRTProceduralSilkWeave>(2);
    for (int i = 0; i <= 100; ++i) {
        const float u = float(i) / 100.0f, s = 2.0f * u - 1.0f;
        const znWeaveYarn yarn = weave.getYarn(u, 1.0f - u, 0.5f);
        ASSERT_NEAR(yarn.spread[0], 0.5 * std::asin(double(s)) / (M_PI / 2.0), 1e-4) << u;
        ASSERT_NEAR(yarn.weight[1], std::exp(-double(s) * s), 1e-5);
    }
}

TEST(ProceduralWeave, VariesYarnsAboutOne)
{
    znWeaveParameters parameters;
    parameters.yarnVariation = 0.3f;
    const znRTProceduralSilkWeave weave(parameters);
    double sum = 0.0;
    float least = 2.0f, most = 0.0f;
    for (int i = 0; i < 2000; ++i) {
        const znWeaveCell cell = weave.getPatternCell({(float(i) + 0.5f) / 4.0f, 0.1f}, allLanes);
        const znWeaveCell further =
            weave.getPatternCell({(float(i) + 0.5f) / 4.0f, 0.6f}, allLanes);
        const float brightness = weave.getYarnBrightness(cell)[0];
        if (anyLane(cell.warpIsUp)) { // one yarn along all of v
            ASSERT_EQ(brightness, weave.getYarnBrightness(further)[3]);
            sum += brightness;
            least = std::min(least, brightness);
            most = std::max(most, brightness);
        }
    }
    EXPECT_NEAR(sum / 1000.0, 1.0, 5.0 * 0.3 / std::sqrt(3.0 * 1000.0));
    EXPECT_LT(least, 0.72f);
    EXPECT_GE(least, 0.7f);
    EXPECT_GT(most, 1.28f);
    EXPECT_LE(most, 1.3f);
}
