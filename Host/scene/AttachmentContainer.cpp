#include "host/osg/AttachmentContainer.h"

#include <algorithm>

namespace osg {

ZN_ABSTRACT_CONTAINER_BODY(Attachment)
ZN_ABSTRACT_CONTAINER_BODY(AttachmentContainer)
ZN_CONTAINER_BODY(NameAttachment)

void AttachmentContainer::addAttachment(const AttachmentPtr& attachment)
{
    if (!attachment)
        return;
    std::vector<AttachmentPtr> list = getAttachments();
    std::erase_if(list, [&](const AttachmentPtr& other) {
        return !other || other->getType() == attachment->getType();
    });
    list.push_back(attachment);
    setAttachments(list);
}

void AttachmentContainer::subAttachment(const AttachmentPtr& attachment)
{
    std::vector<AttachmentPtr> list = getAttachments();
    std::erase(list, attachment);
    setAttachments(list);
}

AttachmentPtr AttachmentContainer::findAttachment(const FieldContainerType& type) const
{
    for (const AttachmentPtr& attachment : getAttachments())
        if (attachment && attachment->getType().isDerivedFrom(type))
            return attachment;
    return {};
}

const std::string& getName(const FCHandle& container)
{
    static const std::string noName;
    const auto attachment = NameAttachment::getAttachment(container);
    return attachment ? attachment->getName() : noName;
}

void setName(const FCHandle& container, const std::string& name)
{
    const auto owner = FCPtr<AttachmentContainer>::dcast(container);
    if (!owner)
        return;
    auto attachment = owner->findAttachment<NameAttachment>();
    if (!attachment) {
        attachment = NameAttachment::create();
        owner->addAttachment(attachment);
    }
    attachment->setName(name);
}

} // namespace osg
