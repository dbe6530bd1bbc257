#include "texture/procedural/cellularNoise.h"

#include "support/lanes.h"
#include "texture/procedural/cellTextures.h"

#include <map>
#include <random>
#include <vector>

namespace {

using F = znFloatType<2>;

struct Places
{
    std::mt19937 engine{5};
    std::uniform_real_distribution<float> number{-30.0f, 30.0f};

    F four()
    {
        const float a = number(engine), b = number(engine), c = number(engine);
        return F(a, b, c, number(engine));
    }
    znRTVector3fPacket next()
    {
        const F x = four(), y = four();
        return {x, y, four()};
    }
};

/// The point of a cube, found from outside: it is where the distance is 0, and the distances that
/// four corners of its cube see follow from it. Here by the hash that the cells are made of.
void pointOf(int x, int y, int z, double point[3], u32& hash)
{
    hash = jenkinsMix(jenkinsMix(jenkinsMix(u32(x)) + u32(y)) + u32(z));
    point[0] = x + (hash & 2047) / 2048.0;
    point[1] = y + (hash >> 11 & 2047) / 2048.0;
    point[2] = z + (hash >> 22 & 1023) / 1024.0;
}

} // namespace

// Against a loop over 7 x 7 x 7 cubes.
TEST(CellularNoise, FindsTheNearestPoint)
{
    Places places;
    for (int i = 0; i < 250; ++i) {
        const znRTVector3fPacket p = places.next();
        const znCellularHit seen = nearestCell(p);
        for (int l = 0; l < 4; ++l) {
            double least = 1e9;
            u32 nearest = 0;
            const int home[3] = {int(std::floor(p.x[l])), int(std::floor(p.y[l])),
                                 int(std::floor(p.z[l]))};
            for (int n = 0; n < 343; ++n) {
                double point[3];
                u32 hash;
                pointOf(home[0] + n % 7 - 3, home[1] + n / 7 % 7 - 3, home[2] + n / 49 - 3, point,
                        hash);
                const double distance =
                    std::hypot(point[0] - p.x[l], point[1] - p.y[l], point[2] - p.z[l]);
                if (distance < least) {
                    least = distance;
                    nearest = hash;
                }
            }
            ASSERT_NEAR(seen.distance[l], std::min(least, 1.0), 1e-5);
            if (least < 0.999) {
                ASSERT_EQ(u32(seen.id[l]), jenkinsMix(nearest + 0x9e3779b9u));
            }
        }
    }
}

// Along a line the identity changes only where the distance has a crease, and neighbours differ.
TEST(CellularNoise, KeepsItsIdentityWithinACell)
{
    int changes = 0;
    znCellularHit before = nearestCell({0.0f, 0.4f, 0.7f});
    for (int i = 1; i < 20000; ++i) {
        const float x = float(i) * 1e-3f;
        const znCellularHit now = nearestCell({x, 0.4f, 0.7f});
        ASSERT_LT(std::fabs(now.distance[0] - before.distance[0]), 1.1e-3f); // slope at most 1
        changes += now.id[0] != before.id[0];
        before = now;
    }
    EXPECT_GT(changes, 10);
    EXPECT_LT(changes, 60);
}

// Chi-squared of the numbers of 4096 cells in 64 bins: 63 degrees of freedom, below 103 with
// probability 0.999.
TEST(CellHash, IsUniform)
{
    for (int which = 0; which < 3; ++which) {
        std::vector<int> bins(64, 0);
        for (int i = 0; i < 4096; ++i) {
            const znCell cell{znIntType<2>(i % 16 - 8), znIntType<2>(i / 16 % 16 - 8),
                              znIntType<2>(i / 256 - 8)};
            const znIntType<2> hash = hashCell(cell);
            const znRTVector3fPacket v = unitVector(hash);
            const float number = which == 0 ? unitNumber(hash)[0]
                                 : which == 1
                                     ? (v.z[0] + 1.0f) * 0.5f
                                     : std::atan2(v.y[0], v.x[0]) / float(2.0 * M_PI) + 0.5f;
            ++bins[std::size_t(std::min(63, int(number * 64.0f)))];
        }
        double chi2 = 0.0;
        for (const int n : bins)
            chi2 += (n - 64.0) * (n - 64.0) / 64.0;
        EXPECT_LT(chi2, 103.4) << which;
    }
}

TEST(CellHash, DiffersBetweenNeighbours)
{
    std::map<int, int> seen;
    for (int i = 0; i < 32 * 32 * 32; ++i)
        ++seen[hashCell({znIntType<2>(i % 32 - 16), znIntType<2>(i / 32 % 32 - 16),
                         znIntType<2>(i / 1024 - 16)})[0]];
    // 32768 draws of 2^32: the expected number of equal pairs is 0.125.
    EXPECT_GE(seen.size(), 32768u - 2u);
}

TEST(CellTextures, AreConstantInCubesAndUnitVectors)
{
    const znRTSparkle3DTextureV2 sparkle;
    const F all = F::allLanes();
    Places places;
    for (int i = 0; i < 100; ++i) {
        const znRTVector3fPacket p = places.next();
        const znRTVector3fPacket corner(floor(p.x), floor(p.y), floor(p.z));
        const znRTColorPacket a = sparkle.evaluate(p, all), b = sparkle.evaluate(corner, all);
        for (int l = 0; l < 4; ++l) {
            ASSERT_EQ(a.r[l], b.r[l]);
            ASSERT_EQ(a.a[l], b.a[l]);
            ASSERT_NEAR(std::hypot(a.r[l], a.g[l], a.b[l]), 1.0f, 1e-5f);
            ASSERT_GE(a.a[l], 0.0f);
            ASSERT_LT(a.a[l], 1.0f);
        }
    }
}

TEST(CellTextures, AreWhatTheCellsSay)
{
    Places places;
    for (int i = 0; i < 50; ++i) {
        const znRTVector3fPacket p = places.next();
        const znCellularHit hit = nearestCell(p);
        const F lanes = expandLanes(7), number = unitNumber(hit.id);
        const F distance = znRTCellular3DTexture().evaluate(p, lanes).g;
        const F id = znRTCellularId3DTexture().evaluate(p, lanes).b;
        EXPECT_LANES_EQ(distance, hit.distance[0], hit.distance[1], hit.distance[2], 0.0f);
        EXPECT_LANES_EQ(id, number[0], number[1], number[2], 0.0f);
        for (int l = 0; l < 3; ++l) {
            const znRTVector3fPacket alone(p.getLane(l), p.getLane(l), p.getLane(l), p.getLane(l));
            EXPECT_EQ(nearestCell(alone).id[3], hit.id[l]);
        }
    }
}
