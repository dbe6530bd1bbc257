#include "host/nodePaths.h"

#include "host/osg/Node.h"

#include <unordered_set>

namespace {

/// Names of siblings, each given once.
class SiblingNames
{
public:
    std::string take(const std::string& wanted)
    {
        const std::string name = wanted.empty() ? "node" : wanted;
        std::string result = name;
        unsigned& number = numbers.try_emplace(name, 1u).first->second;
        while (!taken.insert(result).second) {
            result = name;
            result.push_back('#');
            result += std::to_string(++number);
        }
        return result;
    }

private:
    std::unordered_set<std::string> taken;
    std::unordered_map<std::string, unsigned> numbers; ///< last one that a name was given
};

} // namespace

std::unordered_map<u32, std::string> getNodePaths(const osg::NodePtr& root)
{
    std::unordered_map<u32, std::string> paths;
    if (!root)
        return paths;
    paths[root->getId()].push_back('/');
    osg::traverse(root, [&](const osg::NodePtr& node) {
        SiblingNames names;
        std::string above = node == root ? std::string() : paths[node->getId()];
        above.push_back('/');
        for (const osg::NodePtr& child : node->getChildren())
            paths[child->getId()].assign(above).append(names.take(osg::getName(child)));
        return true;
    });
    return paths;
}
