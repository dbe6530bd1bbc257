#include "settings/sceneOwners.h"

#include "host/osg/Node.h"
#include "host/osg/Spectrum.h"

namespace {

/// Fields of a type that can hold containers.
const std::vector<const osg::FieldDescription*>&
containerFields(const osg::FieldContainerType& type)
{
    static thread_local std::unordered_map<u32, std::vector<const osg::FieldDescription*>> cache;
    const auto [place, isNew] = cache.try_emplace(type.getId());
    if (isNew)
        for (const osg::FieldDescription& field : type.getFields())
            if (!field.isLink && (field.kind == osg::FieldKind::container ||
                                  field.kind == osg::FieldKind::containerList ||
                                  field.kind == osg::FieldKind::color))
                place->second.push_back(&field);
    return place->second;
}

template <class Use>
void eachTarget(const osg::FieldVariant& value, Use&& use)
{
    if (const auto* container = std::get_if<osg::FieldContainerPtr>(&value))
        use(*container);
    else if (const auto* list = std::get_if<std::vector<osg::FieldContainerPtr>>(&value))
        for (const osg::FieldContainerPtr& each : *list)
            use(each);
    else if (const auto* color = std::get_if<ColorComponent>(&value))
        use(osg::FieldContainerPtr(color->spectrum.get()));
}

} // namespace

SceneOwners::SceneOwners(const osg::NodePtr& root)
{
    if (!root)
        return;
    std::vector<osg::FieldContainerPtr> waiting{root};
    owners[root->getId()];
    while (!waiting.empty()) {
        const osg::FieldContainerPtr owner = waiting.back();
        waiting.pop_back();
        for (const osg::FieldDescription* field : containerFields(owner->getType()))
            eachTarget(field->get(*owner), [&](const osg::FieldContainerPtr& target) {
                if (!target)
                    return;
                const auto [place, isNew] = owners.try_emplace(target->getId());
                place->second.push_back(owner->getId());
                if (isNew)
                    waiting.push_back(target);
            });
    }
}

const std::vector<u32>& SceneOwners::getOwners(u32 id) const
{
    static const std::vector<u32> none;
    const auto place = owners.find(id);
    return place == owners.end() ? none : place->second;
}
