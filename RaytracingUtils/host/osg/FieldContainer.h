#pragma once

// Field containers: what the scene graph is made of. Each has an id of its own, a type with
// reflection, a reference count and fields whose changes go to the thread's change list.
//
// Ids start at 1, are unique for the life of the process and never used twice. A container is
// created without references and dies when its last reference is dropped; its id stops resolving
// at that moment. Fields are written by one thread at a time; everything else here is thread-safe.

#include "host/osg/ChangeList.h"
#include "host/osg/fieldMacros.h"

#include <atomic>
#include <string_view>

namespace osg {

class FieldContainer
{
public:
    using Self = FieldContainer;
    using Ptr = FCPtr<FieldContainer>;

    FieldContainer(const FieldContainer&) = delete;
    FieldContainer& operator=(const FieldContainer&) = delete;

    static const FieldContainerType& getClassType();
    virtual const FieldContainerType& getType() const { return getClassType(); }
    static std::integral_constant<int, 0> znCount(FieldRank<0>);

    u32 getId() const { return id; }

    void addRef() { references.fetch_add(1, std::memory_order_relaxed); }
    /// Dropping the last reference destroys the container. What it owned in turn is released in a
    /// loop, so that chains of any length need no stack.
    void subRef();
    u32 getRefCount() const { return references.load(std::memory_order_relaxed); }

    /// Changes between the two make one record. Edits nest; the outermost end counts.
    /// @param mask  fields changed by other means than setters (data written in place)
    void beginEdit(u64 mask = 0);
    void endEdit(u64 mask = 0);

protected:
    FieldContainer();
    virtual ~FieldContainer();

    /// Called by setters whose value differs.
    void noteChange(u64 mask);
    /// Runs after an edit, or after a setter outside of one; derived records are refilled here.
    /// An override calls the one of its base class.
    virtual void changed(u64 mask);

private:
    friend class DestructionQueue;

    void unregister();
    void record(u64 mask);

    u32 id;
    std::atomic<u32> references{0};
    int editDepth = 0;
    u64 pendingMask = 0;
    bool isRegistered = true;
};

inline void beginEdit(const FieldContainerPtr& container, u64 mask = 0)
{
    container->beginEdit(mask);
}
inline void endEdit(const FieldContainerPtr& container, u64 mask = 0)
{
    container->endEdit(mask);
}

/// An edit for the length of a scope, within the life of the container.
class EditScope
{
public:
    explicit EditScope(const FieldContainerPtr& container_, u64 mask_ = 0)
        : container(container_), mask(mask_)
    {
        container->beginEdit(mask);
    }
    EditScope(const EditScope&) = delete;
    EditScope& operator=(const EditScope&) = delete;
    ~EditScope() { container->endEdit(mask); }

private:
    // No reference: the last one dropped would destroy a container that nobody owns yet.
    FieldContainerPtr container;
    u64 mask;
};

/// Finds containers by id and types by name.
class FieldContainerFactory
{
public:
    static FieldContainerFactory* the();

    /// @return null for 0, for ids not yet given out and for containers that are gone
    FieldContainerPtr getContainer(u32 id) const;
    std::size_t getContainerCount() const;

    /// @param name  without the namespace: "UPhongMaterial"; an "osg::" before it is ignored
    const FieldContainerType* findType(std::string_view name) const;
    /// In order of registration: a parent stands before its children.
    std::vector<const FieldContainerType*> getTypes() const;
    /// @return null for unknown and for abstract types
    FieldContainerPtr createContainer(std::string_view typeName) const;
};

template <class T>
Handle<T> Handle<T>::dcast(const FCHandle& other)
{
    FieldContainer* target = other.getContainer();
    if (!target || !target->getType().isDerivedFrom(T::getClassType()))
        return {};
    return Handle(static_cast<T*>(target));
}

/// True when the container is of type T or derived from it; false for null.
template <class T>
bool isKindOf(const FCHandle& container)
{
    return bool(Handle<T>::dcast(container));
}

template <class T>
FCPtr<T> linkTarget(FieldContainer* container)
{
    return FCPtr<T>::dcast(FCHandle(container));
}

inline FieldContainer* FieldLink::get() const
{
    return FieldContainerFactory::the()->getContainer(id).get();
}

} // namespace osg
