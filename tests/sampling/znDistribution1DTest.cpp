#include "host/znDistribution1D.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

template <class T>
class Distribution1D : public testing::Test
{
protected:
    using Table =
        std::conditional_t<std::is_same_v<T, float>, znDistribution1D, znDistribution1DDouble>;

    static Table make(const std::vector<T>& f)
    {
        Table table;
        table.setFunction(f.data(), int(f.size()));
        return table;
    }
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(Distribution1D, Precisions);

} // namespace

// Sums 1, 1 + 3, 1 + 3 + 4 of 8.
TYPED_TEST(Distribution1D, TabulatesRunningSums)
{
    const auto table = this->make({1, 3, 0, 4});
    EXPECT_EQ(table.count, 4);
    EXPECT_EQ(table.cdf[0], TypeParam(0));
    EXPECT_EQ(table.cdf[1], TypeParam(0.125));
    EXPECT_EQ(table.cdf[2], TypeParam(0.5));
    EXPECT_EQ(table.cdf[3], TypeParam(0.5));
    EXPECT_EQ(table.cdf[4], TypeParam(1));
    EXPECT_EQ(table.getAverage(), TypeParam(2));
    EXPECT_EQ(table.getPdf(1), TypeParam(1.5)); // 3 over the mean of 2
}

TYPED_TEST(Distribution1D, EndsAtExactlyOneForAnyCount)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<TypeParam> value(0, 1);
    for (int n : {1, 2, 3, 7, 100, 1013, 20000}) {
        std::vector<TypeParam> f(n);
        for (TypeParam& x : f)
            x = value(random);
        f[0] = 0;
        if (n > 1)
            f[n - 1] = 0; // empty cells behind the last mass as well
        if (n > 3)
            f[n / 2] = 1;
        const auto table = this->make(f);
        EXPECT_EQ(table.cdf[0], TypeParam(0)) << n;
        EXPECT_EQ(table.cdf[n], TypeParam(1)) << n;
        for (int i = 0; i < n; ++i)
            ASSERT_LE(table.cdf[i], table.cdf[i + 1]) << n << " at " << i;
        if (n > 2) {
            EXPECT_EQ(table.cdf[n - 1], TypeParam(1)) << n;
        }
    }
}

TYPED_TEST(Distribution1D, StartsEachSearchAtTheFirstCellThatCanHold)
{
    std::mt19937 random(3);
    for (int n : {1, 2, 5, 50, 1000, 20000}) {
        std::vector<TypeParam> f(n);
        for (TypeParam& x : f)
            x = TypeParam(random() % 1000);
        f[0] += 1;
        const auto table = this->make(f);
        for (int k = 0; k < 256; ++k) {
            // By its definition, searched for from the front.
            int expected = 1;
            while (table.cdf[expected] < TypeParam(k) / TypeParam(255))
                ++expected;
            ASSERT_EQ(table.startTable[k], expected) << "n " << n << ", k " << k;
        }
    }
}

TYPED_TEST(Distribution1D, FindsTheCellOfAnyValue)
{
    const auto table = this->make({0, 2, 0, 1, 1, 0});
    const auto indexOf = [&](double value) {
        TypeParam lower, upper;
        int index;
        table.getCDFRange(TypeParam(value), lower, upper, index);
        EXPECT_EQ(lower, table.cdf[index]);
        EXPECT_EQ(upper, table.cdf[index + 1]);
        EXPECT_LT(lower, upper) << "an empty cell cannot hold a value: " << value;
        return index;
    };
    EXPECT_EQ(indexOf(0.0), 1); // the first cell is empty
    EXPECT_EQ(indexOf(1e-7), 1);
    EXPECT_EQ(indexOf(0.5), 1); // cdf[index] < value <= cdf[index + 1]
    EXPECT_EQ(indexOf(0.5 + 1e-6), 3);
    EXPECT_EQ(indexOf(0.75), 3);
    EXPECT_EQ(indexOf(0.9), 4);
    EXPECT_EQ(indexOf(1.0), 4); // the last cell is empty
    EXPECT_EQ(indexOf(1.5), 4);
    EXPECT_EQ(indexOf(-1.0), 1);
    EXPECT_EQ(indexOf(std::nan("")), 1);
}

// Inverse of the running integral of (1, 3): 1/4 at the first half, then 3/4 over the second.
TYPED_TEST(Distribution1D, InvertsTheIntegral)
{
    const auto table = this->make({1, 3});
    TypeParam pdf;
    int index;
    EXPECT_NEAR(table.getSample(TypeParam(0.125), pdf, index), 0.25, 1e-7);
    EXPECT_EQ(pdf, TypeParam(0.5));
    EXPECT_EQ(index, 0);
    EXPECT_NEAR(table.getSample(TypeParam(0.625), pdf, index), 0.75, 1e-7);
    EXPECT_EQ(pdf, TypeParam(1.5));
    EXPECT_EQ(index, 1);
    EXPECT_EQ(table.getSample(TypeParam(0), pdf, index), TypeParam(0));
    EXPECT_EQ(table.getSample(TypeParam(1), pdf, index), TypeParam(1));
}

// chi^2 of 1e5 draws over 16 cells; 15 degrees of freedom exceed 37.7 once in a thousand.
TYPED_TEST(Distribution1D, DrawsCellsByTheirShare)
{
    std::vector<TypeParam> f;
    for (int i = 0; i < 16; ++i)
        f.push_back(TypeParam(1 + (i * 7) % 5));
    const auto table = this->make(f);
    std::mt19937_64 random(11);
    std::uniform_real_distribution<TypeParam> uniform(0, 1);
    constexpr int draws = 100000;
    std::vector<int> counts(f.size());
    for (int i = 0; i < draws; ++i) {
        TypeParam pdf;
        int index;
        const TypeParam x = table.getSample(uniform(random), pdf, index);
        ASSERT_EQ(std::min(int(x * 16), 15), index);
        ++counts[index];
    }
    double sum = 0.0, chiSquare = 0.0;
    for (TypeParam x : f)
        sum += double(x);
    for (std::size_t i = 0; i < f.size(); ++i) {
        const double expected = draws * double(f[i]) / sum;
        chiSquare += (counts[i] - expected) * (counts[i] - expected) / expected;
    }
    EXPECT_LT(chiSquare, 37.7);
}

TYPED_TEST(Distribution1D, IsUniformWithoutAnyMass)
{
    const TypeParam infinity = std::numeric_limits<TypeParam>::infinity();
    for (const std::vector<TypeParam>& f :
         {std::vector<TypeParam>{0, 0, 0, 0}, std::vector<TypeParam>{-1, -2, -1, 0},
          std::vector<TypeParam>{1, infinity, 1, 1}}) {
        const auto table = this->make(f);
        EXPECT_EQ(table.getAverage(), TypeParam(0));
        TypeParam pdf;
        int index;
        EXPECT_EQ(table.getSample(TypeParam(0.625), pdf, index), TypeParam(0.625));
        EXPECT_EQ(pdf, TypeParam(1));
        EXPECT_EQ(table.cdf[4], TypeParam(1));
    }
}

TYPED_TEST(Distribution1D, CountsBrokenValuesAsZero)
{
    const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN();
    const auto table = this->make({nan, 1, -5, 1});
    EXPECT_EQ(table.cdf[1], TypeParam(0));
    EXPECT_EQ(table.cdf[2], TypeParam(0.5));
    EXPECT_EQ(table.cdf[3], TypeParam(0.5));
    EXPECT_EQ(table.getAverage(), TypeParam(0.5));
}

TYPED_TEST(Distribution1D, WritesIntoStorageOfTheCaller)
{
    TypeParam cdf[4];
    int start[256];
    const TypeParam f[3] = {1, 1, 2};
    znDistribution1DT<TypeParam> table;
    table.setFunction(f, 3, cdf, start);
    EXPECT_EQ(table.cdf, cdf);
    EXPECT_EQ(table.startTable, start);
    EXPECT_EQ(cdf[3], TypeParam(1));
    EXPECT_EQ(start[255], 3);
}

TYPED_TEST(Distribution1D, SurvivesCopyMoveAndItsOwnFunction)
{
    auto table = this->make({1, 3});
    auto copy = table;
    EXPECT_NE(copy.cdf, table.cdf);
    auto moved = std::move(table);
    copy.clear();
    EXPECT_FALSE(copy.isValid());
    EXPECT_EQ(moved.cdf[1], TypeParam(0.25));
    moved.setFunction(moved.function, moved.count);
    EXPECT_EQ(moved.cdf[1], TypeParam(0.25));
    moved.setFunction(moved.function, 0);
    EXPECT_FALSE(moved.isValid());
}
