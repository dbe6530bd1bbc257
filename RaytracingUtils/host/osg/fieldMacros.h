#pragma once

// Declares containers and their fields. One line per field gives the member, getX, setX, the mask
// constant XFieldMask, the change record and the reflection.
//
//     class FogSettings : public FieldContainer
//     {
//         ZN_CONTAINER(FogSettings, FieldContainer)      // or ZN_ABSTRACT_CONTAINER
//         ZN_FLAG(enabled, Enabled, true)
//         ZN_FIELD(float, density, Density, 1.0f, "1/u", 0.0f, 1e6f)
//         ZN_ENUM(falloff, Falloff, 1, "linear", "exponential")
//         ZN_SLOT(ImagePtr, map, Map)                    // handle, list, string: no range
//         ZN_LINK(Node, beacon, Beacon)                  // does not own; null once it is gone
//         ZN_LINK_LIST(Node, nodes, Nodes)
//     };
//     ZN_CONTAINER_BODY(FogSettings)                     // in one .cpp, namespace osg
//
// Arguments: C++ type, member name, the same with a capital, default, unit, least, greatest value.
// Commas inside a type need an alias, inside a default parentheses: Vec3f(1, 1, 1). Handles and
// lists of handles own their targets. Each macro leaves the access at public.
//
// Setters called inside an edit collect, those outside record at once; a value equal to the old one
// does nothing. Setters do not check ranges; FieldDescription::set does.

#include "host/osg/fieldReflection.h"

#include <utility>

namespace osg {

/// Overload ranks by which a class counts its fields while it is being declared.
template <int N>
struct FieldRank : FieldRank<N - 1>
{
};
template <>
struct FieldRank<0>
{
};
constexpr int maximumFieldCount = 250;
using LastFieldRank = FieldRank<maximumFieldCount>;

template <int N>
struct FieldTag
{
};

constexpr u64 fieldMask(int index)
{
    return u64(1) << (index < 63 ? index : 63);
}

template <class T>
inline void retainField(const T&)
{
}
template <class T>
inline void releaseField(const T&)
{
}
inline void retainField(const FCHandle& handle)
{
    addRef(handle);
}
inline void releaseField(const FCHandle& handle)
{
    subRef(handle);
}
template <class T>
inline void retainField(const std::vector<Handle<T>>& list)
{
    for (const FCHandle& handle : list)
        addRef(handle);
}
template <class T>
inline void releaseField(const std::vector<Handle<T>>& list)
{
    for (const FCHandle& handle : list)
        subRef(handle);
}
template <class T>
inline void retainField(const Handle<T>& handle)
{
    addRef(handle);
}
template <class T>
inline void releaseField(const Handle<T>& handle)
{
    subRef(handle);
}

/// Member behind a field: owns the targets of handles, is a plain value otherwise.
template <class T>
class FieldStorage
{
public:
    explicit FieldStorage(T value_) : value(std::move(value_)) { retainField(value); }
    FieldStorage(const FieldStorage&) = delete;
    FieldStorage& operator=(const FieldStorage&) = delete;
    ~FieldStorage() { releaseField(value); }

    const T& get() const { return value; }
    operator const T&() const { return value; }
    bool set(const T& next)
    {
        if (value == next)
            return false;
        retainField(next);
        const T old = std::exchange(value, next);
        releaseField(old);
        return true;
    }

private:
    T value;
};

/// Member behind a link: remembers the id and asks the registry each time.
class FieldLink
{
public:
    FieldContainer* get() const;
    bool set(const FCHandle& next);
    bool operator==(const FieldLink&) const = default;

private:
    u32 id = 0;
};

template <class T>
using FieldResult =
    std::conditional_t<std::is_scalar_v<T> || std::is_base_of_v<FCHandle, T>, T, const T&>;

template <class Container, class T>
FieldDescription describeField(const char* name, const char* unit, int index, double minimum,
                               double maximum, const T& defaultValue)
{
    FieldDescription field;
    field.name = name;
    field.unit = unit;
    field.kind = fieldKindOf<T>();
    field.index = index;
    field.mask = fieldMask(index);
    field.minimum = minimum;
    field.maximum = maximum;
    field.defaultValue = FieldTraits<T>::wrap(defaultValue);
    field.targetType = &FieldTraits<T>::targetType;
    return field;
}

template <class Container, int Index, int End>
void describeFields(std::vector<FieldDescription>& list)
{
    if constexpr (Index < End) {
        Container::znDescribe(FieldTag<Index>(), list, static_cast<Container*>(nullptr));
        describeFields<Container, Index + 1, End>(list);
    }
}

} // namespace osg

#define ZN_CONTAINER_COMMON(Type, Parent)                                                          \
public:                                                                                            \
    using Self = Type;                                                                             \
    using Inherited = Parent;                                                                      \
    using Ptr = osg::FCPtr<Type>;                                                                  \
    static const osg::FieldContainerType& getClassType();                                          \
    const osg::FieldContainerType& getType() const override                                        \
    {                                                                                              \
        return getClassType();                                                                     \
    }                                                                                              \
    static constexpr int znFirstField = decltype(Parent::znCount(osg::LastFieldRank()))::value;    \
    static std::integral_constant<int, znFirstField> znCount(osg::FieldRank<znFirstField>);        \
    static void znDescribe();

/// First line of a container that can be created.
#define ZN_CONTAINER(Type, Parent)                                                                 \
    ZN_CONTAINER_COMMON(Type, Parent)                                                              \
    /** A new container without references, recorded as created. */                                \
    static Ptr create()                                                                            \
    {                                                                                              \
        return Ptr(new Type);                                                                      \
    }

/// First line of a container that only serves as a base.
#define ZN_ABSTRACT_CONTAINER(Type, Parent) ZN_CONTAINER_COMMON(Type, Parent)

// Index, mask and count of the next field.
#define ZN_FIELD_NUMBER(Name)                                                                      \
public:                                                                                            \
    static constexpr int Name##FieldIndex = decltype(znCount(osg::LastFieldRank()))::value;        \
    static constexpr u64 Name##FieldMask = osg::fieldMask(Name##FieldIndex);                       \
    static std::integral_constant<int, Name##FieldIndex + 1> znCount(                              \
        osg::FieldRank<Name##FieldIndex + 1>);

// Reflection entry; Z is the class itself, late enough to be complete with all it points to.
#define ZN_FIELD_DESCRIPTION(type, name, Name, getter, unit, least, greatest, ...)                 \
    template <class Z>                                                                             \
    static void znDescribe(osg::FieldTag<Name##FieldIndex>,                                        \
                           std::vector<osg::FieldDescription>& list, Z*)                           \
    {                                                                                              \
        osg::FieldDescription field = osg::describeField<Z, type>(                                 \
            #name, unit, Name##FieldIndex, double(least), double(greatest), znDefault##Name());    \
        field.read = [](const osg::FieldContainer& c) {                                            \
            return osg::FieldTraits<type>::wrap(static_cast<const Z&>(c).getter());                \
        };                                                                                         \
        field.write = [](osg::FieldContainer& c, const osg::FieldVariant& value) {                 \
            static_cast<Z&>(c).set##Name(osg::FieldTraits<type>::unwrap(value));                   \
        };                                                                                         \
        __VA_ARGS__                                                                                \
        list.push_back(std::move(field));                                                          \
    }

#define ZN_FIELD_CORE(type, name, Name, getter, default_, unit, least, greatest, ...)              \
    ZN_FIELD_NUMBER(Name)                                                                          \
    static type znDefault##Name()                                                                  \
    {                                                                                              \
        return default_;                                                                           \
    }                                                                                              \
    osg::FieldResult<type> getter() const                                                          \
    {                                                                                              \
        return name.get();                                                                         \
    }                                                                                              \
    void set##Name(const type& value)                                                              \
    {                                                                                              \
        if (name.set(value))                                                                       \
            noteChange(Name##FieldMask);                                                           \
    }                                                                                              \
    ZN_FIELD_DESCRIPTION(type, name, Name, getter, unit, least, greatest, __VA_ARGS__)             \
private:                                                                                           \
    osg::FieldStorage<type> name{znDefault##Name()};                                               \
                                                                                                   \
public:

/// A number, vector or colour with default, unit and range (per component).
#define ZN_FIELD(type, name, Name, default_, unit, least, greatest)                                \
    ZN_FIELD_CORE(type, name, Name, get##Name, default_, unit, least, greatest, )

/// As ZN_FIELD, but the plain value is read by getStored<Name>: the class writes get<Name> itself,
/// which converts (units, scene scale). Setter and reflection work on the stored value.
#define ZN_STORED_FIELD(type, name, Name, default_, unit, least, greatest)                         \
    ZN_FIELD_CORE(type, name, Name, getStored##Name, default_, unit, least, greatest, )

/// A bool.
#define ZN_FLAG(name, Name, default_)                                                              \
    ZN_FIELD_CORE(bool, name, Name, get##Name, default_, "", 0, 1, )

/// An int whose values from 0 on have the given names.
#define ZN_ENUM(name, Name, default_, ...)                                                         \
    ZN_FIELD_CORE(int, name, Name, get##Name, default_, "", 0,                                     \
                  (std::size(std::initializer_list<const char*>{__VA_ARGS__}) - 1),                \
                  field.choices = {__VA_ARGS__};)

/// A handle, a list, a string or an array: starts empty, has no range.
#define ZN_SLOT(type, name, Name)                                                                  \
    ZN_FIELD_CORE(type, name, Name, get##Name, type(), "",                                         \
                  -std::numeric_limits<double>::infinity(),                                        \
                  std::numeric_limits<double>::infinity(), )

/// A handle that does not own: for targets that may own this container, or come and go.
#define ZN_LINK(Target, name, Name)                                                                \
    ZN_FIELD_NUMBER(Name)                                                                          \
    static osg::FCPtr<Target> znDefault##Name()                                                    \
    {                                                                                              \
        return {};                                                                                 \
    }                                                                                              \
    osg::FCPtr<Target> get##Name() const                                                           \
    {                                                                                              \
        return osg::linkTarget<Target>(name.get());                                                \
    }                                                                                              \
    void set##Name(const osg::FCPtr<Target>& value)                                                \
    {                                                                                              \
        if (name.set(value))                                                                       \
            noteChange(Name##FieldMask);                                                           \
    }                                                                                              \
    ZN_FIELD_DESCRIPTION(osg::FCPtr<Target>, name, Name, get##Name, "",                            \
                         -std::numeric_limits<double>::infinity(),                                 \
                         std::numeric_limits<double>::infinity(), field.isLink = true;)            \
private:                                                                                           \
    osg::FieldLink name;                                                                           \
                                                                                                   \
public:

/// A list of handles that do not own; targets that are gone are read as null.
#define ZN_LINK_LIST(Target, name, Name)                                                           \
    ZN_FIELD_NUMBER(Name)                                                                          \
    static std::vector<osg::FCPtr<Target>> znDefault##Name()                                       \
    {                                                                                              \
        return {};                                                                                 \
    }                                                                                              \
    std::vector<osg::FCPtr<Target>> get##Name() const                                              \
    {                                                                                              \
        std::vector<osg::FCPtr<Target>> list;                                                      \
        for (const osg::FieldLink& link : name)                                                    \
            list.push_back(osg::linkTarget<Target>(link.get()));                                   \
        return list;                                                                               \
    }                                                                                              \
    void set##Name(const std::vector<osg::FCPtr<Target>>& list)                                    \
    {                                                                                              \
        std::vector<osg::FieldLink> links(list.size());                                            \
        for (std::size_t i = 0; i < list.size(); ++i)                                              \
            links[i].set(list[i]);                                                                 \
        if (links == name)                                                                         \
            return;                                                                                \
        name = std::move(links);                                                                   \
        noteChange(Name##FieldMask);                                                               \
    }                                                                                              \
    ZN_FIELD_DESCRIPTION(std::vector<osg::FCPtr<Target>>, name, Name, get##Name, "",               \
                         -std::numeric_limits<double>::infinity(),                                 \
                         std::numeric_limits<double>::infinity(), field.isLink = true;)            \
private:                                                                                           \
    std::vector<osg::FieldLink> name;                                                              \
                                                                                                   \
public:

/// Number, mask and reflection alone: the class has get<Name>, set<Name> and the member itself.
#define ZN_CUSTOM_FIELD(type, name, Name)                                                          \
    ZN_FIELD_NUMBER(Name)                                                                          \
    static type znDefault##Name()                                                                  \
    {                                                                                              \
        return type();                                                                             \
    }                                                                                              \
    ZN_FIELD_DESCRIPTION(type, name, Name, get##Name, "",                                          \
                         -std::numeric_limits<double>::infinity(),                                 \
                         std::numeric_limits<double>::infinity(), )                                \
public:

#define ZN_CONTAINER_BODY_COMMON(Type, creator)                                                    \
    const osg::FieldContainerType& Type::getClassType()                                            \
    {                                                                                              \
        static const osg::FieldContainerType type(                                                 \
            #Type, &Inherited::getClassType(), creator,                                            \
            &osg::describeFields<Type, Type::znFirstField,                                         \
                                 decltype(Type::znCount(osg::LastFieldRank()))::value>);           \
        return type;                                                                               \
    }                                                                                              \
    namespace {                                                                                    \
    [[maybe_unused]] const osg::FieldContainerType& zn##Type##Registered = Type::getClassType();   \
    }

/// Defines the type object; in namespace osg (or the class's own) of one source file.
#define ZN_CONTAINER_BODY(Type)                                                                    \
    ZN_CONTAINER_BODY_COMMON(                                                                      \
        Type, []() -> osg::FieldContainer* { return Type::create().getContainer(); })
#define ZN_ABSTRACT_CONTAINER_BODY(Type) ZN_CONTAINER_BODY_COMMON(Type, nullptr)
