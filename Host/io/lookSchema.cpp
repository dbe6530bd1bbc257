#include "io/lookSchema.h"

#include "host/osg/Camera.h"
#include "host/osg/Materials.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "host/osg/RaytracingSettingsAttachment.h"
#include "host/osg/Spectrum.h"
#include "host/osg/UTextureSettings.h"
#include "host/osg/UberCamera.h"
#include "host/osg/UberLight.h"
#include "io/LookFields.h"
#include "settings/fieldChoices.h"

#include <cmath>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace io {

namespace {

using Json = nlohmann::ordered_json;
using osg::FieldContainerType;
using osg::FieldDescription;
using osg::FieldKind;

Json reference(const std::string& definition)
{
    return {{"$ref", "#/definitions/" + definition}};
}

Json numbers(std::size_t count)
{
    return {{"type", "array"},
            {"items", {{"type", "number"}}},
            {"minItems", count},
            {"maxItems", count}};
}

Json hexColor(int channels)
{
    return {{"type", "string"}, {"pattern", fmt::format("^#[0-9a-fA-F]{{{}}}$", 2 * channels)}};
}

void addRange(Json& number, const FieldDescription& field)
{
    if (std::isfinite(field.minimum))
        number["minimum"] = field.minimum;
    if (std::isfinite(field.maximum))
        number["maximum"] = field.maximum;
}

Json vectorOf(const FieldDescription& field, std::size_t count)
{
    Json vector = numbers(count);
    addRange(vector["items"], field);
    if (count == 2)
        return vector;
    return {{"anyOf", {vector, hexColor(int(count))}}};
}

Json numberOf(const FieldContainerType& type, const FieldDescription& field)
{
    const std::vector<const char*> choices = getFieldChoices(type, field);
    const bool isReal = field.kind == FieldKind::real || field.kind == FieldKind::doubleReal;
    Json number = {{"type", isReal ? "number" : "integer"}};
    addRange(number, field);
    if (choices.empty())
        return number;
    Json names = {{"enum", Json::array()}};
    for (const char* const choice : choices)
        names["enum"].push_back(choice);
    return {{"anyOf", {names, number}}};
}

/// Types that hold no further ones of their own kind are described once and referred to.
Json containerOf(const FieldContainerType& target)
{
    if (target.isDerivedFrom(osg::Node::getClassType()))
        return {{"type", "string"}, {"description", "path of a node"}};
    if (target.isDerivedFrom(osg::Image::getClassType()))
        return {{"type", "string"}, {"description", "file of an image"}};
    Json forms = Json::array({{{"type", "null"}}});
    if (target.isDerivedFrom(osg::Material::getClassType()) ||
        target.isDerivedFrom(osg::UTextureSettings::getClassType()))
        forms.push_back({{"type", "string"}});
    for (const FieldContainerType* type : concreteTypes(target))
        forms.push_back(reference(type->getName()));
    // Without a type, what is there already is changed.
    if (target.isAbstract() || forms.size() > 3)
        forms.push_back({{"type", "object"}, {"not", {{"required", {"type"}}}}});
    return {{"anyOf", forms}};
}

Json colorOf(const FieldDescription& field)
{
    Json grey = {{"type", "number"}};
    addRange(grey, field);
    Json plain = vectorOf(field, 3);
    Json parts = {{"color", plain},
                  {"intensity", {{"type", "number"}, {"minimum", 0}}},
                  {"temperature", {{"type", "number"}, {"minimum", 0}}},
                  {"spectrum", containerOf(osg::Spectrum::getClassType())}};
    Json forms = plain["anyOf"];
    forms.push_back(grey);
    forms.push_back({{"type", "object"}, {"properties", parts}, {"additionalProperties", false}});
    return {{"anyOf", forms}};
}

Json valueOf(const FieldContainerType& type, const FieldDescription& field)
{
    switch (field.kind) {
    case FieldKind::boolean:
        return {{"type", "boolean"}};
    case FieldKind::integer:
    case FieldKind::unsignedInteger:
    case FieldKind::unsignedLong:
    case FieldKind::real:
    case FieldKind::doubleReal:
        return numberOf(type, field);
    case FieldKind::string:
        return {{"type", "string"}};
    case FieldKind::vector2:
        return vectorOf(field, 2);
    case FieldKind::vector3:
        return vectorOf(field, 3);
    case FieldKind::vector4:
        return vectorOf(field, 4);
    case FieldKind::matrix:
        return numbers(16);
    case FieldKind::color:
        return colorOf(field);
    case FieldKind::container:
        return containerOf(*field.targetType());
    case FieldKind::containerList:
        return {{"type", "array"}, {"items", containerOf(*field.targetType())}};
    case FieldKind::realList:
    case FieldKind::integerList: {
        Json list = {{"type", "array"}, {"items", {{"type", "number"}}}};
        addRange(list["items"], field);
        return list;
    }
    case FieldKind::bytes:
        break;
    }
    return false;
}

/// @param start  value of a new container
Json defaultOf(const FieldContainerType& type, const FieldDescription& field,
               const osg::FieldVariant& start)
{
    const std::vector<const char*> choices = getFieldChoices(type, field);
    if (!choices.empty()) {
        const int number = std::get<int>(start);
        if (number >= 0 && std::size_t(number) < choices.size())
            return choices[std::size_t(number)];
    }
    return std::visit(
        [](const auto& value) -> Json {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_arithmetic_v<T>)
                return value;
            else if constexpr (std::is_same_v<T, osg::ColorComponent>)
                return {value.color[0], value.color[1], value.color[2]};
            else if constexpr (std::is_same_v<T, osg::Vec2f>)
                return {value[0], value[1]};
            else if constexpr (std::is_same_v<T, osg::Vec3f>)
                return {value[0], value[1], value[2]};
            else if constexpr (std::is_same_v<T, osg::Vec4f>)
                return {value[0], value[1], value[2], value[3]};
            else
                return nullptr;
        },
        start);
}

Json fieldsOf(const FieldContainerType& type)
{
    Json properties = Json::object();
    // A kind may begin with values of its own instead of its fields' defaults.
    const osg::Ref<osg::FieldContainer> blank = type.createContainer();
    for (const FieldDescription& field : type.getFields()) {
        if (!isLookField(type, field))
            continue;
        Json value = valueOf(type, field);
        const Json usual = defaultOf(type, field, field.get(*blank));
        if (!usual.is_null())
            value["default"] = usual;
        if (*field.unit)
            value["description"] = field.unit;
        properties[field.name] = value;
    }
    return properties;
}

/// An object with the fields of a type, its attachments and further members.
Json objectOf(const FieldContainerType& type, const Json& more = Json::object())
{
    Json properties = fieldsOf(type);
    if (type.isDerivedFrom(osg::AttachmentContainer::getClassType())) {
        if (!properties.contains("name"))
            properties["name"] = {{"type", "string"}};
        for (const FieldContainerType* attachment : concreteTypes(osg::Attachment::getClassType()))
            if (!lookFieldNames(*attachment).empty() &&
                std::string(attachment->getName()) != "SkinAttachment")
                properties[attachment->getName()] = reference(attachment->getName());
    }
    properties["type"] = {{"enum", {type.getName(), std::string("osg::") + type.getName()}}};
    for (const auto& [name, value] : more.items())
        properties[name] = value;
    return {{"type", "object"}, {"properties", properties}, {"additionalProperties", false}};
}

Json required(Json object, const char* name)
{
    object["required"] = {name};
    return object;
}

Json places()
{
    Json scale = {{"anyOf", {{{"type", "number"}}, numbers(3)}}};
    return {{"position", numbers(3)}, {"at", numbers(3)}, {"up", numbers(3)},
            {"rotation", numbers(3)}, {"scale", scale},   {"matrix", numbers(16)}};
}

Json listOf(const Json& items)
{
    return {{"type", "array"}, {"items", items}};
}

/// One of the types derived from a base, or, without "type", a change of what is there.
Json oneOfTypes(const std::string& prefix, const FieldContainerType& base)
{
    Json forms = Json::array();
    for (const FieldContainerType* type : concreteTypes(base))
        forms.push_back({{"required", {"type"}}, {"allOf", {reference(prefix + type->getName())}}});
    forms.push_back({{"type", "object"}, {"not", {{"required", {"type"}}}}});
    return {{"anyOf", forms}};
}

/// Everything that a field of a look may hold, by the name of its type.
Json definitions()
{
    Json all = Json::object();
    for (const FieldContainerType* type : concreteTypes(osg::FieldContainer::getClassType()))
        if (!type->isDerivedFrom(osg::NodeCore::getClassType()) && !lookFieldNames(*type).empty())
            all[type->getName()] = objectOf(*type);
    Json light = places();
    light["profile"] = {{"type", "string"}, {"description", "file of a light profile (IES)"}};
    for (const FieldContainerType* type : concreteTypes(osg::UberLight::getClassType()))
        all[std::string("light.") + type->getName()] = objectOf(*type, light);
    for (const FieldContainerType* type : concreteTypes(osg::UEnvironmentMaterial::getClassType()))
        all[std::string("environment.") + type->getName()] =
            objectOf(*type, {{"turn", {{"type", "number"}, {"description", "degrees"}}}});
    return all;
}

Json assets()
{
    Json properties = places();
    properties["file"] = {{"type", "string"}};
    properties["name"] = {{"type", "string"}};
    properties["unit"] = {{"enum", {"m", "cm", "mm", "in"}}};
    properties["upAxis"] = {{"enum", {"y", "z"}}};
    return listOf(required(
        {{"type", "object"}, {"properties", properties}, {"additionalProperties", false}}, "file"));
}

Json rules()
{
    const Json pattern = {{"type", "string"}, {"minLength", 1}};
    const Json patterns = {{"anyOf", {pattern, listOf(pattern)}}};
    const Json properties = {
        {"nodes", patterns}, {"named", patterns}, {"material", {{"type", "string"}}}};
    return listOf(
        required({{"type", "object"}, {"properties", properties}, {"additionalProperties", false}},
                 "material"));
}

} // namespace

std::string lookSchema()
{
    const Json text = {{"type", "string"}};
    Json settings = fieldsOf(osg::RaytracingSettingsAttachment::getClassType());
    Json environment = oneOfTypes("environment.", osg::UEnvironmentMaterial::getClassType());
    environment["anyOf"].push_back({{"type", "null"}});
    const Json parts = {
        {"$schema", text},
        {"include", {{"anyOf", {text, listOf(text)}}}},
        {"assets", assets()},
        {"materials",
         {{"type", "object"},
          {"additionalProperties", oneOfTypes("", osg::Material::getClassType())}}},
        {"assign", rules()},
        {"lights", listOf(oneOfTypes("light.", osg::UberLight::getClassType()))},
        {"cameras", listOf(objectOf(osg::UberCamera::getClassType(), places()))},
        {"environment", environment},
        {"settings",
         {{"type", "object"}, {"properties", settings}, {"additionalProperties", false}}},
        {"set", {{"type", "object"}}},
        {"variant", text}};
    const Json schema = {{"$schema", "http://json-schema.org/draft-07/schema#"},
                         {"title", "Look of znrender"},
                         {"type", "object"},
                         {"properties", parts},
                         {"additionalProperties", false},
                         {"definitions", definitions()}};
    return schema.dump(1) + "\n";
}

} // namespace io
