#include "io/LookTargets.h"

#include "host/osg/EnvironmentAttachment.h"
#include "host/osg/RaytracingGeoAttachment.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "host/osg/RaytracingSettingsAttachment.h"
#include "host/osg/nodeCores.h"
#include "io/LookRules.h"
#include "io/sceneReader.h"
#include "system/nearestName.h"

#include <fmt/format.h>

namespace io {

namespace {

const std::vector<std::string> kinds = {"materials", "lights", "cameras", "environment",
                                        "settings"};

/// Cuts before each dot of an address, the last one first: names may have dots as well.
/// @param use  called with what is before and behind a dot; true ends the search
template <class Use>
bool eachSplit(const std::string& address, const Use& use)
{
    for (std::size_t dot = address.rfind('.'); dot != address.npos && dot > 0;
         dot = address.rfind('.', dot - 1))
        if (dot + 1 < address.size() && use(address.substr(0, dot), address.substr(dot + 1)))
            return true;
    return false;
}

std::string before(const std::string& text, char separator)
{
    return text.substr(0, text.find(separator));
}

} // namespace

void LookTargets::setSetting(const std::string& name, const LookValue& value)
{
    SceneFile& scene = fields.world.scene;
    const osg::FieldContainerPtr settings =
        LookFields::attachment(scene.root.get(), "RaytracingSettingsAttachment");
    const osg::FieldDescription* const field = LookFields::findField(*settings, name);
    if (!field)
        fields.document.fail(value,
                             fmt::format("there is no setting '{}'{}", name,
                                         perhaps(name, lookFieldNames(settings->getType()))));
    fields.setField(*settings, *field, value);
    scene.looks.settings.insert(name);
}

osg::FieldContainerPtr LookTargets::step(const osg::FieldContainerPtr& from,
                                         const std::string& name, const LookValue& where)
{
    const osg::FieldDescription* const field = LookFields::findField(*from, name);
    if (!field) {
        const osg::FieldContainerPtr attached = LookFields::attachment(from, name);
        if (!attached)
            fields.failForField(where, *from, name);
        return attached;
    }
    if (field->kind != osg::FieldKind::container)
        fields.document.fail(where, fmt::format("'{}' has no fields of its own", name));
    const auto target = std::get<osg::FieldContainerPtr>(field->get(*from));
    if (target)
        return target;
    const osg::FieldContainerType& type = *field->targetType();
    if (field->isLink || type.isAbstract())
        fields.document.fail(where, fmt::format("there is no {} yet", name));
    const osg::Ref<osg::FieldContainer> made = type.createContainer();
    field->set(*from, osg::FieldContainerPtr(made.get()));
    return made.get();
}

/// @param candidates  where the first name of the chain is looked for, in this order
/// @param others      names that may have been meant beside the candidates' fields
void LookTargets::setChain(const Containers& candidates, const std::string& chain,
                           const LookValue& value, const std::vector<std::string>& others)
{
    std::string rest = chain, name = before(rest, '.');
    osg::FieldContainerPtr container = candidates.front();
    for (std::size_t i = candidates.size(); i-- > 0;)
        if (LookFields::findField(*candidates[i], name) ||
            candidates[i]->getType().getName() == name)
            container = candidates[i];
    while (rest.size() > name.size()) {
        if (container->getType().getName() != name)
            container = step(container, name, value);
        rest.erase(0, name.size() + 1);
        name = before(rest, '.');
    }
    const osg::FieldDescription* const field = LookFields::findField(*container, name);
    if (!field) {
        // The nearest name may be one of any candidate's.
        std::vector<std::string> names;
        if (rest == chain) {
            names = others;
            for (const osg::FieldContainerPtr& candidate : candidates)
                for (const std::string& other : lookFieldNames(candidate->getType()))
                    names.push_back(other);
        }
        fields.failForField(value, *container, name, names);
    }
    const osg::EditScope edit(container);
    fields.setField(*container, *field, value);
}

// Nodes

void LookTargets::assign(const std::string& path, const LookValue& value)
{
    LookValue list, rule, nodes, material = value;
    list.kind = LookValue::Kind::array;
    rule.kind = LookValue::Kind::object;
    nodes.kind = LookValue::Kind::string;
    list.offset = rule.offset = nodes.offset = value.offset;
    nodes.key = "nodes";
    nodes.text = path;
    material.key = "material";
    rule.values = {nodes, material};
    list.values = {rule};
    LookRules(fields).apply(list);
}

void LookTargets::setNode(const osg::NodePtr& node, const std::string& chain,
                          const LookValue& value)
{
    if (chain == "visible") {
        if (value.kind != LookValue::Kind::boolean)
            fields.document.fail(value,
                                 fmt::format("should be true or false, not {}", value.kindName()));
        node->setHidden(!value.flag);
        return;
    }
    Containers candidates{node};
    const auto add = [&](const osg::NodeCorePtr& core) {
        if (!core)
            return;
        candidates.push_back(core);
        const bool isLight = osg::isKindOf<osg::UberLight>(core);
        const char* const attachment = isLight ? "RaytracingLightAttachment"
                                       : osg::isKindOf<osg::MaterialDrawable>(core)
                                           ? "RaytracingGeoAttachment"
                                           : nullptr;
        const std::string first = before(chain, '.');
        const auto* const type =
            attachment ? osg::FieldContainerFactory::the()->findType(attachment) : nullptr;
        if (type && (first == attachment || type->findField(first)))
            candidates.push_back(LookFields::attachment(
                isLight ? osg::FieldContainerPtr(core) : osg::FieldContainerPtr(node), attachment));
    };
    add(node->getCore());
    // Lights, cameras and meshes of files stand in a node of their own below the one that is named.
    for (const osg::NodePtr& child : node->getChildren())
        if (osg::isKindOf<osg::UberLight>(child->getCore()) ||
            osg::isKindOf<osg::Camera>(child->getCore()))
            add(child->getCore());
    setChain(candidates, chain, value, {"visible", "material"});
}

void LookTargets::setNodes(const std::string& address, const LookValue& value)
{
    fields.world.nodePaths();
    const bool isFound = eachSplit(address, [&](const std::string& path, const std::string& chain) {
        const scene::PathPattern pattern(path);
        std::vector<osg::NodePtr> nodes;
        if (const osg::NodePtr exact = fields.world.node(path))
            nodes.push_back(exact);
        else
            for (const auto& [nodePath, node] : fields.world.nodes)
                if (pattern.matches(nodePath))
                    nodes.push_back(node);
        if (nodes.empty())
            return false;
        if (chain == "material" && value.isString())
            assign(path, value);
        else
            for (const osg::NodePtr& node : nodes)
                setNode(node, chain, value);
        return true;
    });
    if (isFound)
        return;
    const std::size_t dot = address.rfind('.');
    if (dot == address.npos || dot + 1 == address.size())
        fields.document.fail(value, "should be set as PATH.FIELD");
    const std::string path = address.substr(0, dot);
    if (!scene::PathPattern(path).isLiteral())
        fields.document.warn(value, "matches nothing");
    else
        fields.document.fail(value, fmt::format("there is no node '{}'{}", path,
                                                perhaps(path, fields.world.nodePaths())));
}

// Names

std::map<std::string, LookTargets::Containers> LookTargets::named(const std::string& kind)
{
    std::map<std::string, Containers> result;
    const osg::NodePtr root = fields.world.scene.root.get();
    if (kind == "lights")
        for (const SceneFile::LightEntry& entry : findLights(root))
            result[entry.name].push_back(entry.light);
    else if (kind == "cameras")
        for (const scene::NamedCamera& entry : scene::findCameras(root))
            result[entry.name].push_back(entry.camera);
    else {
        fields.world.findMaterials();
        for (const auto& [name, materials] : fields.world.materials)
            result[name].assign(materials.begin(), materials.end());
    }
    return result;
}

void LookTargets::setNamed(const std::string& rest, const char* kind,
                           const std::map<std::string, Containers>& byName, const LookValue& value)
{
    const bool isFound = eachSplit(rest, [&](const std::string& name, const std::string& chain) {
        const auto found = byName.find(name);
        if (found == byName.end())
            return false;
        for (const osg::FieldContainerPtr& container : found->second)
            setChain({container}, chain, value);
        return true;
    });
    if (isFound)
        return;
    std::vector<std::string> names;
    for (const auto& [name, containers] : byName)
        names.push_back(name);
    const std::string name = rest.substr(0, rest.rfind('.'));
    if (byName.contains(name) || byName.contains(rest))
        fields.document.fail(value, fmt::format("should be set as {}s.NAME.FIELD", kind));
    fields.document.fail(value,
                         fmt::format("there is no {} '{}'{}", kind, name, perhaps(name, names)));
}

void LookTargets::set(const std::string& address, const LookValue& value)
{
    if (!address.empty() && address[0] == '/')
        return setNodes(address, value);
    const std::string kind = before(address, '.');
    const std::string rest = address.substr(std::min(kind.size() + 1, address.size()));
    if (kind == "settings" && !rest.empty())
        return setSetting(rest, value);
    if (kind == "environment" && !rest.empty()) {
        const auto attachment =
            osg::EnvironmentAttachment::getAttachment(fields.world.scene.root.get());
        if (!attachment || !attachment->getMaterial())
            fields.document.fail(value, "the scene has no environment");
        return setChain({attachment->getMaterial()}, rest, value);
    }
    for (const char* const plural : {"materials", "lights", "cameras"})
        if (kind == plural && !rest.empty())
            return setNamed(rest,
                            std::string(plural, std::char_traits<char>::length(plural) - 1).c_str(),
                            named(kind), value);
    fields.document.fail(
        value, fmt::format("'{}' is no address: it begins with a slash and the path of a node, or "
                           "with {}{}",
                           address, fmt::join(kinds, ".NAME, "), perhaps(kind, kinds)));
}

} // namespace io
