#pragma once

// Containers that carry attachments: nodes, cores, materials, cameras, viewports and lights.
// An attachment of a type occurs at most once per container.

#include "host/osg/FieldContainer.h"

#include <string>

namespace osg {

/// Extra data on an attachment container; one attachment may be shared by several.
class Attachment : public FieldContainer
{
    ZN_ABSTRACT_CONTAINER(Attachment, FieldContainer)
};

class AttachmentContainer : public FieldContainer
{
    ZN_ABSTRACT_CONTAINER(AttachmentContainer, FieldContainer)

    /// In the order of addition.
    ZN_SLOT(std::vector<AttachmentPtr>, attachments, Attachments)

    /// Takes a reference; an attachment of the same type that was there before goes.
    void addAttachment(const AttachmentPtr& attachment);
    void subAttachment(const AttachmentPtr& attachment);
    /// The attachment whose type is the given one or derived from it; null without.
    AttachmentPtr findAttachment(const FieldContainerType& type) const;
    template <class T>
    FCPtr<T> findAttachment() const
    {
        return FCPtr<T>::dcast(findAttachment(T::getClassType()));
    }
};

/// Adds the static T::getAttachment(container) to an attachment class: null without one, and for a
/// null container.
#define ZN_ATTACHMENT_ACCESS(Type)                                                                 \
    static osg::FCPtr<Type> getAttachment(const osg::FCHandle& container)                          \
    {                                                                                              \
        const auto owner = osg::FCPtr<osg::AttachmentContainer>::dcast(container);                 \
        return owner ? owner->findAttachment<Type>() : osg::FCPtr<Type>();                         \
    }

class NameAttachment : public Attachment
{
    ZN_CONTAINER(NameAttachment, Attachment)
    ZN_ATTACHMENT_ACCESS(NameAttachment)
    ZN_SLOT(std::string, name, Name)
};

/// @return "" for a container without a name
const std::string& getName(const FCHandle& container);
/// Attaches the name; without a container nothing happens.
void setName(const FCHandle& container, const std::string& name);

} // namespace osg
