#pragma once

// Handles on field containers.
//
// osg::FCPtr<Base, T> and osg::FCPtr<T> name the same type: a plain pointer in size and cost, which
// does not own. Ownership is the container's reference count (addRef, subRef); osg::Ref<T> holds a
// reference for a scope or as a member. T may be incomplete until it is dereferenced.

#include <concepts>
#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>

namespace osg {

class FieldContainer;

/// What all handles share, whatever they point to.
class FCHandle
{
public:
    constexpr FCHandle() = default;
    constexpr FCHandle(std::nullptr_t) {}
    explicit FCHandle(FieldContainer* container_) : container(container_) {}

    FieldContainer* getContainer() const { return container; }
    explicit operator bool() const { return container != nullptr; }
    friend bool operator==(const FCHandle& a, const FCHandle& b) = default;
    friend auto operator<=>(const FCHandle& a, const FCHandle& b) = default;

protected:
    FieldContainer* container = nullptr;
};

template <class T>
class Handle : public FCHandle
{
public:
    using Target = T;

    constexpr Handle() = default;
    constexpr Handle(std::nullptr_t) {}
    explicit Handle(T* target) : FCHandle(static_cast<FieldContainer*>(target)) {}
    /// Upcasts happen by themselves.
    template <class U>
    requires(!std::same_as<U, T> && std::derived_from<U, T>) Handle(const Handle<U>& other)
        : FCHandle(other.getContainer())
    {
    }

    /// Checked down-cast: null when the container is of another type.
    static Handle dcast(const FCHandle& other);

    T* get() const { return static_cast<T*>(container); }
    T* operator->() const { return get(); }
    T& operator*() const { return *get(); }
};

/// The last type of the list is what the handle points to.
template <class... Types>
using FCPtr = Handle<std::tuple_element_t<sizeof...(Types) - 1, std::tuple<Types...>>>;

/// Adds or drops one reference; null is ignored.
void addRef(const FCHandle& handle);
void subRef(const FCHandle& handle);

/// Owns one reference for as long as it lives.
template <class T>
class Ref
{
public:
    Ref() = default;
    Ref(std::nullptr_t) {}
    Ref(Handle<T> target_) : target(target_) { addRef(target); }
    template <class U>
    requires(!std::same_as<U, T> && std::derived_from<U, T>) Ref(const Handle<U>& other)
        : Ref(Handle<T>(other))
    {
    }
    template <class U>
    requires(!std::same_as<U, T> && std::derived_from<U, T>) Ref(const Ref<U>& other)
        : Ref(Handle<T>(other.get()))
    {
    }
    Ref(const Ref& other) : Ref(other.target) {}
    Ref(Ref&& other) noexcept : target(std::exchange(other.target, nullptr)) {}
    Ref& operator=(Ref other) noexcept
    {
        std::swap(target, other.target);
        return *this;
    }
    ~Ref() { subRef(target); }

    Handle<T> get() const { return target; }
    operator Handle<T>() const { return target; }
    T* operator->() const { return target.get(); }
    T& operator*() const { return *target; }
    explicit operator bool() const { return bool(target); }
    bool operator==(const Ref& other) const { return target == other.target; }

private:
    Handle<T> target;
};

class Attachment;
class AttachmentContainer;
class Node;
class NodeCore;
class Material;
class Image;
class Spectrum;

using FieldContainerPtr = FCPtr<FieldContainer>;
using AttachmentContainerPtr = FCPtr<FieldContainerPtr, AttachmentContainer>;
using AttachmentPtr = FCPtr<FieldContainerPtr, Attachment>;
using NodePtr = FCPtr<AttachmentContainerPtr, Node>;
using NodeCorePtr = FCPtr<AttachmentContainerPtr, NodeCore>;
using MaterialPtr = FCPtr<AttachmentContainerPtr, Material>;
using ImagePtr = FCPtr<AttachmentContainerPtr, Image>;
using SpectrumPtr = FCPtr<AttachmentContainerPtr, Spectrum>;

} // namespace osg

using znNodePtr = osg::NodePtr;

template <class T>
struct std::hash<osg::Handle<T>>
{
    std::size_t operator()(const osg::Handle<T>& handle) const noexcept
    {
        return std::hash<const void*>()(handle.getContainer());
    }
};
