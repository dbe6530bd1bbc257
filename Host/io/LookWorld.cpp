// What the values of a look may refer to.

#include "host/nodePaths.h"
#include "host/osg/Material.h"
#include "io/LookFields.h"
#include "scene/ownedContainers.h"
#include "scene/variants.h"

#include <algorithm>

namespace io {

void LookWorld::findMaterials()
{
    materials.clear();
    const auto add = [&](const osg::MaterialPtr& material, const std::string& name) {
        std::vector<osg::MaterialPtr>& list = materials[name];
        if (std::find(list.begin(), list.end(), material) == list.end())
            list.push_back(material);
    };
    for (const auto& [name, material] : scene.looks.materials)
        add(material, name);
    for (const osg::FieldContainerPtr& container : scene::collectOwned(scene.root.get()))
        if (const auto material = osg::MaterialPtr::dcast(container))
            // The switch over variants is called like the first of them.
            if (!osg::getName(material).empty() && !scene::isVariantSwitch(material))
                add(material, osg::getName(material));
}

osg::MaterialPtr LookWorld::material(const std::string& name) const
{
    const auto found = materials.find(name);
    return found == materials.end() ? osg::MaterialPtr() : found->second.front();
}

std::vector<std::string> LookWorld::materialNames() const
{
    std::vector<std::string> names;
    for (const auto& [name, list] : materials)
        names.push_back(name);
    return names;
}

osg::NodePtr LookWorld::node(const std::string& path)
{
    if (nodes.empty()) {
        const auto paths = getNodePaths(scene.root.get());
        osg::traverse(scene.root, [&](const osg::NodePtr& each) {
            nodes.emplace(paths.at(each->getId()), each);
            return true;
        });
    }
    const auto found = nodes.find(path);
    return found == nodes.end() ? osg::NodePtr() : found->second;
}

std::vector<std::string> LookWorld::nodePaths()
{
    node("/");
    std::vector<std::string> paths;
    for (const auto& [path, each] : nodes)
        paths.push_back(path);
    return paths;
}

} // namespace io
