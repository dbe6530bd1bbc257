#include "io/LookRules.h"

#include "host/nodePaths.h"
#include "host/osg/Geometry.h"
#include "system/nearestName.h"

#include <algorithm>
#include <fmt/format.h>

namespace io {

namespace {

bool matchesAny(const std::vector<scene::PathPattern>& patterns, const std::string& text)
{
    return std::any_of(patterns.begin(), patterns.end(),
                       [&](const scene::PathPattern& p) { return p.matches(text); });
}

/// A core like another one, with the same properties behind it.
osg::Ref<osg::FieldContainer> copyOf(const osg::FieldContainerPtr& core)
{
    osg::Ref<osg::FieldContainer> copy = core->getType().createContainer();
    const osg::EditScope edit(copy.get());
    for (const osg::FieldDescription& field : core->getType().getFields())
        field.write(*copy, field.get(*core));
    return copy;
}

/// Of a geometry, or of the nearest group of materials above it.
osg::MaterialPtr materialOf(osg::NodePtr node)
{
    const auto drawable = osg::FCPtr<osg::MaterialDrawable>::dcast(node->getCore());
    osg::MaterialPtr material = drawable ? drawable->getMaterial() : osg::MaterialPtr();
    for (node = node->getParent(); node && !material; node = node->getParent())
        if (const auto group = osg::FCPtr<osg::MaterialGroup>::dcast(node->getCore()))
            material = group->getMaterial();
    return material;
}

} // namespace

std::vector<scene::PathPattern> LookRules::patterns(const LookValue& value)
{
    std::vector<scene::PathPattern> list;
    const auto add = [&](const LookValue& entry) {
        if (fields.text(entry).empty())
            fields.document.fail(entry, "is an empty pattern");
        list.emplace_back(entry.text);
    };
    if (!value.isArray())
        add(value);
    else if (value.isNumbers())
        fields.document.fail(value, "should be a pattern or a list of patterns");
    for (const LookValue& entry : value.values)
        add(entry);
    return list;
}

void LookRules::read(const LookValue& entry)
{
    if (!entry.isObject())
        fields.document.fail(entry, fmt::format("should be an object, not {}", entry.kindName()));
    Rule rule;
    rule.where = &entry;
    for (const LookValue& member : entry.values) {
        if (member.key == "nodes")
            rule.nodes = patterns(member);
        else if (member.key == "named")
            rule.named = patterns(member);
        else if (member.key == "material")
            rule.material = fields.material(member);
        else
            fields.document.fail(member,
                                 fmt::format("a rule has no '{}'{}", member.key,
                                             perhaps(member.key, {"nodes", "named", "material"})));
    }
    if (rule.nodes.empty() && rule.named.empty())
        fields.document.fail(entry, "needs \"nodes\" or \"named\": what the rule is for");
    if (!rule.material)
        fields.document.fail(entry, "needs a \"material\"");
    rules.push_back(std::move(rule));
}

std::vector<LookRules::Use> LookRules::match()
{
    const osg::NodePtr root = fields.world.scene.root.get();
    const auto paths = getNodePaths(root);
    std::vector<Use> uses;
    // By node id: which rules a node or one above it fits.
    std::unordered_map<u32, std::vector<bool>> reached;
    osg::traverse(root, [&](const osg::NodePtr& node) {
        std::vector<bool> fits(rules.size());
        if (node != root)
            fits = reached[node->getParent()->getId()];
        const std::string& path = paths.at(node->getId());
        for (std::size_t i = 0; i < rules.size(); ++i)
            fits[i] = fits[i] || rules[i].nodes.empty() || matchesAny(rules[i].nodes, path);
        const auto drawable = osg::FCPtr<osg::MaterialDrawable>::dcast(node->getCore());
        if (drawable && drawable->getGeometryType() == 0) {
            const osg::MaterialPtr material = materialOf(node);
            const std::string& name = osg::getName(material);
            Use use{node, -1};
            for (std::size_t i = 0; i < rules.size(); ++i)
                if (fits[i] &&
                    (rules[i].named.empty() || (material && matchesAny(rules[i].named, name)))) {
                    rules[i].hasMatched = true;
                    use.rule = int(i);
                }
            uses.push_back(use);
        }
        if (node->getNChildren() > 0)
            reached[node->getId()] = std::move(fits);
        return true;
    });
    return uses;
}

/// Nodes that share a core and keep or get the same material go on sharing one: the first kind of
/// them the core itself, each other kind a copy of it.
void LookRules::share(const std::vector<Use>& usesOfCore)
{
    const auto core = osg::FCPtr<osg::MaterialDrawable>::dcast(usesOfCore.front().node->getCore());
    std::map<osg::MaterialPtr, osg::FCPtr<osg::MaterialDrawable>> cores;
    const osg::MaterialPtr before = core->getMaterial();
    const auto materialFor = [&](const Use& use) {
        return use.rule < 0 ? before : rules[std::size_t(use.rule)].material;
    };
    std::vector<osg::Ref<osg::FieldContainer>> copies;
    for (const Use& use : usesOfCore) {
        const auto [entry, isNew] = cores.try_emplace(materialFor(use), core);
        if (!isNew || cores.size() == 1)
            continue;
        copies.push_back(copyOf(core));
        entry->second = osg::FCPtr<osg::MaterialDrawable>::dcast(copies.back().get());
    }
    for (const auto& [material, owner] : cores)
        owner->setMaterial(material);
    for (const Use& use : usesOfCore)
        use.node->setCore(cores[materialFor(use)]);
}

void LookRules::assign(const std::vector<Use>& uses)
{
    std::map<u32, std::vector<Use>> byCore; // in the order of creation
    for (const Use& use : uses)
        byCore[use.node->getCore()->getId()].push_back(use);
    for (const auto& [id, usesOfCore] : byCore)
        if (std::any_of(usesOfCore.begin(), usesOfCore.end(),
                        [](const Use& use) { return use.rule >= 0; }))
            share(usesOfCore);
    for (const Use& use : uses)
        if (use.rule >= 0)
            fields.world.scene.looks.assignments[use.node->getId()] =
                fields.document.placeOf(*rules[std::size_t(use.rule)].where);
}

void LookRules::apply(const LookValue& list)
{
    if (!list.isArray() || !list.numbers.empty())
        fields.document.fail(list,
                             fmt::format("should be a list of rules, not {}", list.kindName()));
    for (const LookValue& entry : list.values)
        read(entry);
    assign(match());
    for (const Rule& rule : rules)
        if (!rule.hasMatched)
            fields.document.warn(*rule.where, "matches nothing");
}

} // namespace io
