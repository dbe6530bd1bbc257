#include "host/osg/FieldContainer.h"

#include <cmath>
#include <optional>

namespace osg {

namespace {

/// The value as a double and, for whole numbers beyond 2^53, exactly.
struct Number
{
    double value;
    std::optional<u64> whole;
};

std::optional<Number> numberOf(const FieldVariant& variant)
{
    return std::visit(
        [](const auto& value) -> std::optional<Number> {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, u64>)
                return Number{double(value), value};
            else if constexpr (std::is_arithmetic_v<T> && !std::is_same_v<T, bool>)
                return Number{double(value), std::nullopt};
            else
                return std::nullopt;
        },
        variant);
}

/// Integers only take whole numbers that they can hold.
template <class T>
std::optional<T> toWhole(const Number& number)
{
    if (number.whole)
        return *number.whole <= u64(std::numeric_limits<T>::max()) ? std::optional(T(*number.whole))
                                                                   : std::nullopt;
    // 2^63 and 2^64 are exact as doubles while the greatest integers below them are not.
    const double limit = std::ldexp(1.0, std::numeric_limits<T>::digits);
    if (number.value != std::floor(number.value) || number.value >= limit ||
        number.value < double(std::numeric_limits<T>::lowest()))
        return std::nullopt;
    return T(number.value);
}

template <class T>
bool assignIf(FieldVariant& variant, const std::optional<T>& value)
{
    if (value)
        variant = *value;
    return value.has_value();
}

bool convertNumber(FieldVariant& variant, const Number& number, FieldKind kind)
{
    switch (kind) {
    case FieldKind::boolean:
        if (number.value != 0.0 && number.value != 1.0)
            return false;
        variant = number.value != 0.0;
        return true;
    case FieldKind::integer:
        return assignIf(variant, toWhole<int>(number));
    case FieldKind::unsignedInteger:
        return assignIf(variant, toWhole<u32>(number));
    case FieldKind::unsignedLong:
        return assignIf(variant, toWhole<u64>(number));
    case FieldKind::real:
        variant = float(number.value);
        return true;
    case FieldKind::doubleReal:
        variant = number.value;
        return true;
    default:
        return false;
    }
}

template <int N>
Vector<float, N> vectorOf(const std::vector<float>& list)
{
    Vector<float, N> v;
    for (int i = 0; i < N; ++i)
        v[i] = list[i];
    return v;
}

bool convertList(FieldVariant& variant, const std::vector<float>& list, FieldKind kind)
{
    const std::size_t n = list.size();
    if (kind == FieldKind::vector2 && n == 2)
        variant = vectorOf<2>(std::vector(list));
    else if (kind == FieldKind::vector3 && n == 3)
        variant = vectorOf<3>(std::vector(list));
    else if (kind == FieldKind::vector4 && n == 4)
        variant = vectorOf<4>(std::vector(list));
    else if (kind == FieldKind::color && n == 3)
        variant = ColorComponent(vectorOf<3>(std::vector(list)));
    else if (kind == FieldKind::matrix && n == 16) {
        Matrix m;
        for (int i = 0; i < 16; ++i)
            m[i / 4][i % 4] = list[i];
        variant = m;
    } else if (kind == FieldKind::integerList || kind == FieldKind::bytes) {
        std::vector<u32> whole;
        for (const float value : list) {
            const auto number = toWhole<u32>({value, std::nullopt});
            if (!number || (kind == FieldKind::bytes && *number > 255))
                return false;
            whole.push_back(*number);
        }
        if (kind == FieldKind::bytes)
            variant = std::vector<u8>(whole.begin(), whole.end());
        else
            variant = std::move(whole);
    } else
        return false;
    return true;
}

struct RangeCheck
{
    const FieldDescription& field;

    FieldError one(double value) const
    {
        if (!std::isfinite(value))
            return FieldError::notFinite;
        return value < field.minimum || value > field.maximum ? FieldError::outOfRange
                                                              : FieldError::none;
    }
    template <class Values>
    FieldError all(const Values& values, int count) const
    {
        for (int i = 0; i < count; ++i)
            if (const FieldError error = one(double(values[i])); error != FieldError::none)
                return error;
        return FieldError::none;
    }
    template <class T>
    FieldError operator()(const T& value) const
    {
        if constexpr (std::is_arithmetic_v<T>)
            return one(double(value));
        else
            return FieldError::none;
    }
    FieldError operator()(const Vec2f& v) const { return all(v, 2); }
    FieldError operator()(const Vec3f& v) const { return all(v, 3); }
    FieldError operator()(const Vec4f& v) const { return all(v, 4); }
    FieldError operator()(const Matrix& m) const
    {
        for (int i = 0; i < 16; ++i)
            if (!std::isfinite(m.getValues()[i]))
                return FieldError::notFinite;
        return FieldError::none;
    }
    FieldError operator()(const ColorComponent& c) const
    {
        if (!std::isfinite(c.intensity) || !std::isfinite(c.temperature))
            return FieldError::notFinite;
        return all(c.color, 3);
    }
    FieldError operator()(const std::vector<float>& list) const
    {
        for (const float value : list)
            if (const FieldError error = one(value); error != FieldError::none)
                return error;
        return FieldError::none;
    }
    FieldError target(const FieldContainerPtr& container) const
    {
        return !container || container->getType().isDerivedFrom(*field.targetType())
                   ? FieldError::none
                   : FieldError::wrongContainer;
    }
    FieldError operator()(const FieldContainerPtr& container) const { return target(container); }
    FieldError operator()(const std::vector<FieldContainerPtr>& list) const
    {
        for (const FieldContainerPtr& container : list)
            if (target(container) != FieldError::none)
                return FieldError::wrongContainer;
        return FieldError::none;
    }
};

} // namespace

const char* getFieldKindName(FieldKind kind)
{
    static const char* const names[] = {
        "bool", "int",    "u32",   "u64",       "float",      "double", "string", "vec2", "vec3",
        "vec4", "matrix", "color", "container", "containers", "floats", "u32s",   "bytes"};
    return names[int(kind)];
}

bool convertVariant(FieldVariant& value, FieldKind kind)
{
    if (value.index() == std::size_t(kind))
        return true;
    if (const auto number = numberOf(value))
        return convertNumber(value, *number, kind);
    if (const auto* list = std::get_if<std::vector<float>>(&value))
        return convertList(value, *list, kind);
    if (kind == FieldKind::color)
        if (const auto* v = std::get_if<Vec3f>(&value)) {
            value = ColorComponent(Vec3f(*v));
            return true;
        }
    return false;
}

bool FieldDescription::hasRange() const
{
    return std::isfinite(minimum) || std::isfinite(maximum);
}

FieldError FieldDescription::set(FieldContainer& container, FieldVariant value) const
{
    if (!convertVariant(value, kind))
        return FieldError::wrongKind;
    if (const FieldError error = std::visit(RangeCheck{*this}, value); error != FieldError::none)
        return error;
    write(container, value);
    return FieldError::none;
}

} // namespace osg
