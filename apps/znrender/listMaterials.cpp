#include "listMaterials.h"

#include "host/nodePaths.h"
#include "host/osg/EnvironmentAttachment.h"
#include "host/osg/nodeCores.h"
#include "io/InputError.h"
#include "io/LookFields.h"
#include "scene/ownedContainers.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace {

/// Calls use with each node that shows a material, and that material.
template <class Use>
void eachObject(const osg::NodePtr& root, const Use& use)
{
    std::unordered_map<u32, osg::MaterialPtr> inherited;
    osg::traverse(root, [&](const osg::NodePtr& node) {
        osg::MaterialPtr material =
            node->getParent() ? inherited[node->getParent()->getId()] : osg::MaterialPtr();
        if (const auto group = osg::FCPtr<osg::MaterialGroup>::dcast(node->getCore()))
            material = group->getMaterial();
        inherited[node->getId()] = material;
        const auto drawable = osg::FCPtr<osg::MaterialDrawable>::dcast(node->getCore());
        if (drawable && drawable->getGeometryType() == 0)
            use(node, drawable->getMaterial() ? drawable->getMaterial() : material);
        return true;
    });
}

std::string printableName(const osg::MaterialPtr& material)
{
    const std::string& name = osg::getName(material);
    return name.empty() ? "without a name" : io::printable(name);
}

} // namespace

void printMaterialKinds()
{
    for (const osg::FieldContainerType* type : io::concreteTypes(osg::Material::getClassType()))
        fmt::print("{:32} {:4} fields\n", type->getName(), io::lookFieldNames(*type).size());
}

void printMaterials(const io::SceneFile& scene)
{
    std::map<osg::MaterialPtr, u64> users;
    eachObject(scene.root.get(), [&](const osg::NodePtr&, const osg::MaterialPtr& material) {
        if (material)
            ++users[material];
    });
    std::vector<osg::MaterialPtr> materials;
    for (const osg::FieldContainerPtr& container : scene::collectOwned(scene.root.get()))
        if (const auto material = osg::MaterialPtr::dcast(container))
            materials.push_back(material);
    // Those of looks that nothing shows yet.
    for (const auto& [name, material] : scene.looks.materials)
        if (std::find(materials.begin(), materials.end(), material.get()) == materials.end())
            materials.push_back(material.get());
    for (const osg::MaterialPtr& material : materials)
        fmt::print("{:6}  {:28} {}\n", users[material], material->getType().getName(),
                   printableName(material));
}

void printVariants(const io::SceneFile& scene)
{
    for (const std::string& variant : scene.variants)
        fmt::print("{}\n", io::printable(variant));
}

void printAssignments(const io::SceneFile& scene)
{
    const auto paths = getNodePaths(scene.root.get());
    eachObject(scene.root.get(), [&](const osg::NodePtr& node, const osg::MaterialPtr& material) {
        const auto rule = scene.looks.assignments.find(node->getId());
        fmt::print("{}  {}  {}\n", io::printable(paths.at(node->getId())),
                   material ? printableName(material) : "none",
                   rule == scene.looks.assignments.end() ? "of the file"
                                                         : io::printable(rule->second));
    });
}
