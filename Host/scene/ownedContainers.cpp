#include "scene/ownedContainers.h"

#include "host/osg/Spectrum.h"

#include <unordered_set>

namespace scene {

using osg::FieldContainerPtr;
using osg::FieldDescription;
using osg::FieldKind;
using osg::FieldVariant;

bool ownsTargets(const FieldDescription& field)
{
    return !field.isLink &&
           (field.kind == FieldKind::container || field.kind == FieldKind::containerList ||
            field.kind == FieldKind::color);
}

void eachOwned(const osg::FieldContainer& container,
               const std::function<void(const FieldContainerPtr&)>& visit)
{
    const auto visitTarget = [&](const FieldContainerPtr& target) {
        if (target)
            visit(target);
    };
    for (const FieldDescription& field : container.getType().getFields()) {
        if (!ownsTargets(field))
            continue;
        const FieldVariant value = field.get(container);
        if (const auto* target = std::get_if<FieldContainerPtr>(&value))
            visitTarget(*target);
        else if (const auto* list = std::get_if<std::vector<FieldContainerPtr>>(&value))
            for (const FieldContainerPtr& entry : *list)
                visitTarget(entry);
        else if (const auto* color = std::get_if<osg::ColorComponent>(&value))
            visitTarget(color->spectrum.get());
    }
}

std::vector<FieldContainerPtr> collectOwned(const FieldContainerPtr& root)
{
    std::vector<FieldContainerPtr> list;
    std::unordered_set<const osg::FieldContainer*> seen;
    const auto add = [&](const FieldContainerPtr& container) {
        if (container && seen.insert(container.get()).second)
            list.push_back(container);
    };
    add(root);
    // The list grows while it is walked: what a container owns comes behind it.
    for (std::size_t i = 0; i < list.size(); ++i)
        eachOwned(*list[i], add);
    return list;
}

void replaceOwned(const FieldContainerPtr& root, const Replacements& replacements)
{
    // What is replaced stays alive until the walk is over.
    std::vector<osg::Ref<osg::FieldContainer>> kept;
    for (const auto& [old, next] : replacements)
        kept.emplace_back(old);
    const auto exchange = [&](FieldContainerPtr& target) {
        const auto found = replacements.find(target);
        if (found == replacements.end())
            return false;
        target = found->second;
        return true;
    };
    for (const FieldContainerPtr& container : collectOwned(root))
        for (const FieldDescription& field : container->getType().getFields()) {
            if (!ownsTargets(field) || field.kind == FieldKind::color)
                continue;
            FieldVariant value = field.get(*container);
            bool isChanged = false;
            if (auto* target = std::get_if<FieldContainerPtr>(&value))
                isChanged = exchange(*target);
            else
                for (FieldContainerPtr& entry : std::get<std::vector<FieldContainerPtr>>(value))
                    isChanged |= exchange(entry);
            if (isChanged)
                field.set(*container, value);
        }
}

} // namespace scene
