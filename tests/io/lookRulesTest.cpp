// Rules that give materials to objects.

#include "lookFixture.h"

#include "io/sceneArchive.h"

using namespace lookTest;

namespace {

class LookRulesTest : public LookTest
{
protected:
    /// Applies rules over two materials "red" and "blue".
    void assign(const std::string& rules)
    {
        apply(
            R"({"materials": {"red": {"type": "UPhongMaterial"}, "blue": {"type": "UGlassMaterial"}},
                  "assign": [)" +
            rules + "]}");
    }
    std::string names() const
    {
        return materialName(body) + " " + materialName(wheels[0]) + " " + materialName(wheels[1]) +
               " " + materialName(ground);
    }
};

} // namespace

TEST_F(LookRulesTest, FindObjectsByPath)
{
    assign(R"({"nodes": "/car/body", "material": "red"})");
    EXPECT_EQ(names(), "red rubber rubber grey");
}

TEST_F(LookRulesTest, TakeInEverythingBelowANode)
{
    assign(R"({"nodes": "/car", "material": "red"})");
    EXPECT_EQ(names(), "red red red grey");
}

TEST_F(LookRulesTest, FindObjectsByPatternsOfPathsAndNames)
{
    assign(R"({"nodes": "/car/**", "material": "red"}, {"nodes": "gr?und", "material": "blue"})");
    EXPECT_EQ(names(), "red red red blue");
}

TEST_F(LookRulesTest, FindObjectsByTheirMaterials)
{
    assign(R"({"named": ["la*", "grey"], "material": "red"})");
    EXPECT_EQ(names(), "red rubber rubber red");
}

TEST_F(LookRulesTest, FollowTheLastOneThatFits)
{
    assign(R"({"nodes": "*", "material": "red"}, {"nodes": "/car/wheel*", "material": "blue"},
              {"nodes": "/car/wheel", "material": "grey"})");
    EXPECT_EQ(names(), "red grey blue red");
    EXPECT_EQ(scene.looks.assignments.at(wheels[1]->getId()), "a.zn.json, line 2: assign[1]");
}

TEST_F(LookRulesTest, NeedBothWhereBothAreGiven)
{
    assign(R"({"nodes": "/car/**", "named": "rub*", "material": "red"})");
    EXPECT_EQ(names(), "lacquer red red grey");
}

// Instances of one mesh that part in their materials get cores of their own over the same vertices.
TEST_F(LookRulesTest, KeepSharedMeshesShared)
{
    assign(R"({"nodes": "/car/wheel#2", "material": "red"})");
    EXPECT_EQ(names(), "lacquer rubber red grey");
    const auto a = osg::Geometry::Ptr::dcast(wheels[0]->getCore());
    const auto b = osg::Geometry::Ptr::dcast(wheels[1]->getCore());
    EXPECT_NE(a, b);
    EXPECT_EQ(a->getPositions(), b->getPositions());
    assign(R"({"nodes": "/car/wheel*", "material": "blue"})");
    EXPECT_EQ(names(), "lacquer blue blue grey");
}

TEST_F(LookRulesTest, WarnOfRulesThatMatchNothing)
{
    const LogCatcher log;
    assign("\n\n"
           R"({"nodes": "/cart/**", "material": "red"})");
    EXPECT_EQ(log.warnings, "a.zn.json: line 4: assign[0]: matches nothing\n");
}

TEST_F(LookRulesTest, LieOverThoseOfEarlierLooks)
{
    apply(R"({"materials": {"red": {"type": "UPhongMaterial"}}})");
    apply(R"({"assign": [{"nodes": "/car", "material": "red"}]})");
    apply(R"({"assign": [{"nodes": "/car/body", "material": "grey"}]})");
    EXPECT_EQ(names(), "grey red red grey");
}

TEST_F(LookRulesTest, AreRefusedWhenTheySayNothing)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"({"nodes": "/car", "material": "lack"})",
         "line 1: assign[0].material: there is no material 'lack', perhaps 'grey'"},
        {R"({"nodes": "/car"})", "line 1: assign[0]: needs a \"material\""},
        {R"({"material": "grey"})",
         "line 1: assign[0]: needs \"nodes\" or \"named\": what the rule is for"},
        {R"({"node": "/car", "material": "grey"})",
         "line 1: assign[0].node: a rule has no 'node', perhaps 'nodes'"},
        {R"({"nodes": [1], "material": "grey"})",
         "line 1: assign[0].nodes: should be a pattern or a list of patterns"},
        {R"({"nodes": "", "material": "grey"})", "line 1: assign[0].nodes: is an empty pattern"},
        {"3", "line 1: assign: should be a list of rules, not a list"},
    };
    for (const auto& [rule, fault] : cases)
        EXPECT_EQ(faultOf(std::string("{\"assign\": [") + rule + "]}"),
                  std::string("a.zn.json: ") + fault);
}
