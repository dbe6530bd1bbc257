#include "scene/PathPattern.h"

#include <gtest/gtest.h>

using scene::matchesName;
using scene::PathPattern;

TEST(PathPattern, ComparesNamesWithWildcards)
{
    EXPECT_TRUE(matchesName("wheel", "wheel"));
    EXPECT_TRUE(matchesName("wh*l", "wheel"));
    EXPECT_TRUE(matchesName("*", ""));
    EXPECT_TRUE(matchesName("w?eel*", "wheel#2"));
    EXPECT_TRUE(matchesName("*e*e*", "wheel"));
    EXPECT_FALSE(matchesName("wh*k", "wheel"));
    EXPECT_FALSE(matchesName("whee", "wheel"));
    EXPECT_FALSE(matchesName("Wheel", "wheel"));
    EXPECT_FALSE(matchesName("", "wheel"));
}

TEST(PathPattern, TakesWholeCharactersForQuestionMarks)
{
    EXPECT_TRUE(matchesName("R?der", "R\xc3\xa4"
                                     "der"));
    EXPECT_FALSE(matchesName("R??der", "R\xc3\xa4"
                                       "der"));
}

TEST(PathPattern, TakesWildcardsBehindABackslashAsTheyAre)
{
    EXPECT_TRUE(matchesName("a\\*", "a*"));
    EXPECT_FALSE(matchesName("a\\*", "ab"));
    EXPECT_TRUE(matchesName("a\\?b*", "a?bc"));
}

TEST(PathPattern, ComparesPathsNameByName)
{
    EXPECT_TRUE(PathPattern("/car/*/rim").matches("/car/wheel/rim"));
    EXPECT_FALSE(PathPattern("/car/*/rim").matches("/car/rim"));
    EXPECT_FALSE(PathPattern("/car/*").matches("/car/wheel/rim"));
    EXPECT_TRUE(PathPattern("/car/**").matches("/car"));
    EXPECT_TRUE(PathPattern("/car/**").matches("/car/wheel/rim"));
    EXPECT_TRUE(PathPattern("/**/rim").matches("/rim"));
    EXPECT_TRUE(PathPattern("/**/rim").matches("/car/wheel/rim"));
    EXPECT_FALSE(PathPattern("/**/rim").matches("/car/rim/wheel"));
    EXPECT_TRUE(PathPattern("/").matches("/"));
    EXPECT_FALSE(PathPattern("/car").matches("/"));
}

TEST(PathPattern, ComparesTheLastNameWhereItHasNoSlash)
{
    EXPECT_TRUE(PathPattern("rim*").matches("/car/wheel/rim#2"));
    EXPECT_FALSE(PathPattern("car").matches("/car/wheel"));
    EXPECT_TRUE(PathPattern("*").matches("/car/wheel"));
}

// A comparison that tries all ways to split would take years for this one.
TEST(PathPattern, EndsSoonForManyWildcards)
{
    std::string pattern, name(2000, 'a');
    for (int i = 0; i < 500; ++i)
        pattern += "a*";
    EXPECT_TRUE(matchesName(pattern, name));
    EXPECT_FALSE(matchesName(pattern + "b", name));
}
