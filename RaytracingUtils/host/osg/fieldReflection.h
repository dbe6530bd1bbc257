#pragma once

// Reflection of field containers: what readers, writers, property panels and listings use instead
// of code per type. A field is described once, by its declaration (see fieldMacros.h).

#include "host/osg/ColorComponent.h"
#include "host/osg/FCPtr.h"
#include "host/osg/TransformationMatrix.h"
#include "host/osg/Vector.h"
#include "host/znAligned.h"

#include <array>
#include <limits>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace osg {

class FieldContainer;
class FieldContainerType;

/// Kinds of values; the number is the index in FieldVariant.
enum class FieldKind : int {
    boolean,
    integer,
    unsignedInteger,
    unsignedLong,
    real,
    doubleReal,
    string,
    vector2,
    vector3,
    vector4,
    matrix,
    color,
    container,
    containerList,
    realList,
    integerList,
    bytes
};

using FieldVariant =
    std::variant<bool, int, u32, u64, float, double, std::string, Vec2f, Vec3f, Vec4f, Matrix,
                 ColorComponent, FieldContainerPtr, std::vector<FieldContainerPtr>,
                 std::vector<float>, std::vector<u32>, std::vector<u8>>;

const char* getFieldKindName(FieldKind kind);

/// Why a value was refused; nothing changed then.
enum class FieldError {
    none,
    wrongKind,     ///< and no exact conversion exists
    outOfRange,    ///< outside the field's range
    notFinite,     ///< NaN or infinite
    wrongContainer ///< a container of a type that the field does not hold
};

/// Brings a value to the wanted kind where that loses nothing: numbers among each other, lists of
/// 2, 3, 4 or 16 numbers to vectors, colours and matrices, three numbers to a colour.
/// @return false when there is no exact conversion; value is then unchanged
bool convertVariant(FieldVariant& value, FieldKind kind);

/// One field of a type.
struct FieldDescription
{
    const char* name = ""; ///< as getters spell it, first letter small
    const char* unit = ""; ///< "" for plain numbers, "u" for lengths in scene units
    FieldKind kind = FieldKind::boolean;
    int index = 0; ///< counted from the root of the ancestry
    u64 mask = 0;  ///< bit of the index; all from 63 on share bit 63
    double minimum = -std::numeric_limits<double>::infinity();
    double maximum = std::numeric_limits<double>::infinity();
    FieldVariant defaultValue;
    std::vector<const char*> choices; ///< names of an enumeration's values from 0 on, else empty
    /// A link does not own its target and must not be followed when a graph is copied in depth.
    bool isLink = false;
    /// The type of which targets must be; answers null for kinds without targets.
    const FieldContainerType* (*targetType)() = nullptr;

    FieldVariant (*read)(const FieldContainer&) = nullptr;
    void (*write)(FieldContainer&, const FieldVariant&) = nullptr;

    FieldVariant get(const FieldContainer& container) const { return read(container); }
    /// Converts, checks kind, range and target, and calls the setter.
    FieldError set(FieldContainer& container, FieldVariant value) const;
    bool hasRange() const;
};

/// Type of a container. One object per type, alive for the whole process.
class FieldContainerType
{
public:
    using Create = FieldContainer* (*)();
    using Describe = void (*)(std::vector<FieldDescription>&);

    FieldContainerType(const char* name, const FieldContainerType* parent, Create create,
                       Describe describe);
    FieldContainerType(const FieldContainerType&) = delete;
    FieldContainerType& operator=(const FieldContainerType&) = delete;

    u32 getId() const { return id; }
    const char* getName() const { return name; }
    const FieldContainerType* getParent() const { return parent; }
    /// True for the type itself and for every ancestor.
    bool isDerivedFrom(const FieldContainerType& ancestor) const;
    bool isAbstract() const { return create == nullptr; }
    bool operator==(const FieldContainerType& other) const { return this == &other; }

    /// All fields, those of the ancestors first.
    const std::vector<FieldDescription>& getFields() const { return fields; }
    /// @return null when there is no such field
    const FieldDescription* findField(std::string_view fieldName) const;
    /// A new container without references; null for abstract types.
    FieldContainerPtr createContainer() const;

private:
    const char* name;
    const FieldContainerType* parent;
    Create create;
    u32 id;
    std::vector<FieldDescription> fields;
};

/// How a C++ type travels through a FieldVariant. Value is the alternative that carries it.
template <class T>
struct FieldTraits;

template <class T, class Carrier>
struct FieldTraitsBase
{
    using Value = Carrier;
    static FieldVariant wrap(const T& value) { return Carrier(value); }
    static T unwrap(const FieldVariant& value) { return T(std::get<Carrier>(value)); }
    static const FieldContainerType* targetType() { return nullptr; }
};

template <>
struct FieldTraits<bool> : FieldTraitsBase<bool, bool>
{
};
template <>
struct FieldTraits<int> : FieldTraitsBase<int, int>
{
};
template <>
struct FieldTraits<u8> : FieldTraitsBase<u8, u32>
{
};
template <>
struct FieldTraits<u16> : FieldTraitsBase<u16, u32>
{
};
template <>
struct FieldTraits<u32> : FieldTraitsBase<u32, u32>
{
};
template <>
struct FieldTraits<u64> : FieldTraitsBase<u64, u64>
{
};
template <>
struct FieldTraits<float> : FieldTraitsBase<float, float>
{
};
template <>
struct FieldTraits<double> : FieldTraitsBase<double, double>
{
};
template <>
struct FieldTraits<std::string> : FieldTraitsBase<std::string, std::string>
{
};
template <>
struct FieldTraits<Vec2f> : FieldTraitsBase<Vec2f, Vec2f>
{
};
template <>
struct FieldTraits<Vec3f> : FieldTraitsBase<Vec3f, Vec3f>
{
};
template <>
struct FieldTraits<Pnt3f> : FieldTraitsBase<Pnt3f, Vec3f>
{
};
template <>
struct FieldTraits<Vec4f> : FieldTraitsBase<Vec4f, Vec4f>
{
};
template <>
struct FieldTraits<znRTVector2f> : FieldTraitsBase<znRTVector2f, Vec2f>
{
};
template <>
struct FieldTraits<znRTVector3f> : FieldTraitsBase<znRTVector3f, Vec3f>
{
};
template <>
struct FieldTraits<znRTVector4f> : FieldTraitsBase<znRTVector4f, Vec4f>
{
};
template <>
struct FieldTraits<Matrix> : FieldTraitsBase<Matrix, Matrix>
{
};
template <>
struct FieldTraits<znMatrix4x4> : FieldTraitsBase<znMatrix4x4, Matrix>
{
};
template <>
struct FieldTraits<ColorComponent> : FieldTraitsBase<ColorComponent, ColorComponent>
{
};
template <>
struct FieldTraits<std::vector<float>> : FieldTraitsBase<std::vector<float>, std::vector<float>>
{
};
template <>
struct FieldTraits<std::vector<u32>> : FieldTraitsBase<std::vector<u32>, std::vector<u32>>
{
};
template <>
struct FieldTraits<std::vector<u8>> : FieldTraitsBase<std::vector<u8>, std::vector<u8>>
{
};

template <class T>
requires std::is_enum_v<T>
struct FieldTraits<T>
{
    using Value = int;
    static FieldVariant wrap(T value) { return int(value); }
    static T unwrap(const FieldVariant& value) { return T(std::get<int>(value)); }
    static const FieldContainerType* targetType() { return nullptr; }
};

template <std::size_t N>
struct FieldTraits<std::array<float, N>>
{
    using Value = std::vector<float>;
    static FieldVariant wrap(const std::array<float, N>& a) { return Value(a.begin(), a.end()); }
    static std::array<float, N> unwrap(const FieldVariant& value)
    {
        std::array<float, N> a{};
        const Value& list = std::get<Value>(value);
        for (std::size_t i = 0; i < N && i < list.size(); ++i)
            a[i] = list[i];
        return a;
    }
    static const FieldContainerType* targetType() { return nullptr; }
};

template <class T>
struct FieldTraits<Handle<T>>
{
    using Value = FieldContainerPtr;
    static FieldVariant wrap(const Handle<T>& value) { return Value(value.getContainer()); }
    static Handle<T> unwrap(const FieldVariant& value)
    {
        return Handle<T>::dcast(std::get<Value>(value));
    }
    static const FieldContainerType* targetType() { return &T::getClassType(); }
};

template <class T>
struct FieldTraits<std::vector<Handle<T>>>
{
    using Value = std::vector<FieldContainerPtr>;
    static FieldVariant wrap(const std::vector<Handle<T>>& list)
    {
        Value value;
        for (const Handle<T>& handle : list)
            value.emplace_back(handle.getContainer());
        return value;
    }
    static std::vector<Handle<T>> unwrap(const FieldVariant& value)
    {
        std::vector<Handle<T>> list;
        for (const FieldContainerPtr& handle : std::get<Value>(value))
            list.push_back(Handle<T>::dcast(handle));
        return list;
    }
    static const FieldContainerType* targetType() { return &T::getClassType(); }
};

/// Position of a type in a list of alternatives.
template <class T, class... Types>
constexpr std::size_t indexAmong(const std::variant<Types...>*)
{
    std::size_t index = 0;
    (void)((std::is_same_v<T, Types> || (++index, false)) || ...);
    return index;
}

template <class T>
constexpr FieldKind fieldKindOf()
{
    return FieldKind(indexAmong<typename FieldTraits<T>::Value>((const FieldVariant*)nullptr));
}

} // namespace osg
