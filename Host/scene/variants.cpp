#include "scene/variants.h"

#include "host/osg/Materials.h"
#include "host/osg/VariantsAttachment.h"
#include "scene/ownedContainers.h"

#include <algorithm>

namespace osg {
ZN_CONTAINER_BODY(VariantsAttachment)
} // namespace osg

namespace scene {

namespace {

std::vector<std::string> variantsOf(const osg::MaterialPtr& material)
{
    std::vector<std::string> names;
    const auto attachment = osg::isKindOf<osg::SwitchMaterial>(material)
                                ? osg::VariantsAttachment::getAttachment(material)
                                : osg::VariantsAttachment::Ptr();
    if (!attachment || attachment->getNames().empty())
        return names;
    const std::string& text = attachment->getNames();
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != text.npos; start = end + 1)
        names.push_back(text.substr(start, end - start));
    names.push_back(text.substr(start));
    return names;
}

} // namespace

void setVariants(const osg::MaterialPtr& switchMaterial, const std::vector<std::string>& names)
{
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::string name = names[i];
        std::replace(name.begin(), name.end(), '\n', ' ');
        text += (i == 0 ? "" : "\n") + name;
    }
    const osg::VariantsAttachment::Ptr attachment = osg::VariantsAttachment::create();
    attachment->setNames(text);
    switchMaterial->addAttachment(attachment);
}

bool isVariantSwitch(const osg::MaterialPtr& material)
{
    return osg::isKindOf<osg::SwitchMaterial>(material) &&
           osg::VariantsAttachment::getAttachment(material);
}

std::vector<std::string> findVariants(const osg::FieldContainerPtr& root)
{
    std::vector<std::string> names;
    for (const osg::FieldContainerPtr& container : collectOwned(root))
        for (const std::string& name : variantsOf(osg::MaterialPtr::dcast(container)))
            if (std::find(names.begin(), names.end(), name) == names.end())
                names.push_back(name);
    return names;
}

u64 chooseVariant(const osg::FieldContainerPtr& root, const std::string& name)
{
    u64 count = 0;
    for (const osg::FieldContainerPtr& container : collectOwned(root)) {
        const std::vector<std::string> names = variantsOf(osg::MaterialPtr::dcast(container));
        const auto found = std::find(names.begin(), names.end(), name);
        if (found == names.end())
            continue;
        osg::SwitchMaterial::Ptr::dcast(container)->setChoice(int(found - names.begin()));
        ++count;
    }
    return count;
}

} // namespace scene
