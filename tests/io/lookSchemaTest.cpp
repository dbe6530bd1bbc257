// The schema of looks against the reader of looks.

#include "lookFixture.h"

#include "io/LookFields.h"
#include "io/lookSchema.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <regex>

using namespace lookTest;
using Json = nlohmann::json;

namespace {

/// The part of JSON Schema (draft 07) that schemas of looks use, by its rules alone.
class Validator
{
public:
    explicit Validator(const std::string& text) : schema(Json::parse(text)) {}

    bool accepts(const Json& value) const { return accepts(schema, value); }

private:
    bool accepts(const Json& rule, const Json& value) const
    {
        if (rule.is_boolean())
            return rule.get<bool>();
        for (const auto& [key, part] : rule.items())
            if (!fits(key, part, value))
                return false;
        if (value.is_number())
            return fitsNumber(rule, value.get<double>());
        if (value.is_string())
            return fitsText(rule, value.get<std::string>());
        if (value.is_array())
            return fitsList(rule, value);
        return !value.is_object() || fitsObject(rule, value);
    }
    /// Words that are for values of all types.
    bool fits(const std::string& key, const Json& part, const Json& value) const
    {
        if (key == "$ref")
            return accepts(schema["definitions"].at(part.get<std::string>().substr(14)), value);
        if (key == "type")
            return hasType(part, value);
        if (key == "enum")
            return std::find(part.begin(), part.end(), value) != part.end();
        if (key == "not")
            return !accepts(part, value);
        if (key == "anyOf")
            return anyOf(part, value);
        return key != "allOf" || std::all_of(part.begin(), part.end(), [&](const Json& each) {
                   return accepts(each, value);
               });
    }
    static bool hasType(const std::string& type, const Json& value)
    {
        return type == "object"    ? value.is_object()
               : type == "array"   ? value.is_array()
               : type == "string"  ? value.is_string()
               : type == "boolean" ? value.is_boolean()
               : type == "null"    ? value.is_null()
               : type == "integer"
                   ? value.is_number() && value.get<double>() == std::floor(value.get<double>())
                   : value.is_number();
    }
    bool anyOf(const Json& rules, const Json& value) const
    {
        return std::any_of(rules.begin(), rules.end(),
                           [&](const Json& rule) { return accepts(rule, value); });
    }
    static bool fitsNumber(const Json& rule, double value)
    {
        return value >= rule.value("minimum", value) && value <= rule.value("maximum", value);
    }
    static bool fitsText(const Json& rule, const std::string& value)
    {
        return value.size() >= rule.value("minLength", std::size_t(0)) &&
               (!rule.contains("pattern") ||
                std::regex_search(value, std::regex(rule["pattern"].get<std::string>())));
    }
    bool fitsList(const Json& rule, const Json& value) const
    {
        if (value.size() < rule.value("minItems", std::size_t(0)) ||
            value.size() > rule.value("maxItems", value.size()))
            return false;
        for (const Json& item : value)
            if (rule.contains("items") && !accepts(rule["items"], item))
                return false;
        return true;
    }
    bool fitsObject(const Json& rule, const Json& value) const
    {
        if (rule.contains("required"))
            for (const Json& name : rule["required"])
                if (!value.contains(name.get<std::string>()))
                    return false;
        const bool isClosed = rule.contains("additionalProperties");
        for (const auto& [name, member] : value.items())
            if (rule.contains("properties") && rule["properties"].contains(name)) {
                if (!accepts(rule["properties"][name], member))
                    return false;
            } else if (isClosed && !accepts(rule["additionalProperties"], member))
                return false;
        return true;
    }

    const Json schema;
};

class LookSchema : public LookTest
{
protected:
    static const Validator& validator()
    {
        static const Validator s_validator(io::lookSchema());
        return s_validator;
    }
    bool readerAccepts(const Json& look) { return faultOf(look.dump()) == "(nothing thrown)"; }

    /// Both say the same of a look.
    void expectBoth(const Json& look, bool isGood)
    {
        EXPECT_EQ(readerAccepts(look), isGood) << look << "\n" << faultOf(look.dump());
        EXPECT_EQ(validator().accepts(look), isGood) << look;
    }
};

/// Values that a field takes, and some that it does not.
struct Samples
{
    std::vector<Json> good, bad;
};

double inside(double x, const osg::FieldDescription& field)
{
    return std::clamp(x, field.minimum, field.maximum);
}

Samples samplesOf(const osg::FieldDescription& field)
{
    using osg::FieldKind;
    Samples s;
    const auto numbers = [&](int count) {
        const double x = inside(0.5, field);
        s.good = {Json(std::vector<double>(std::size_t(count), x))};
        s.bad = {Json(std::vector<double>(std::size_t(count) + 1, x)), x, "x", true};
        if (std::isfinite(field.maximum))
            s.bad.push_back(Json(std::vector<double>(std::size_t(count), field.maximum * 2 + 1)));
    };
    switch (field.kind) {
    case FieldKind::boolean:
        s = {{true, false}, {1, "true", nullptr}};
        break;
    case FieldKind::integer:
    case FieldKind::unsignedInteger:
        s = {{std::ceil(std::max(field.minimum, -1e6)), std::floor(std::min(field.maximum, 1e6))},
             {0.5, "x", true, Json::array({1}), field.maximum + 1, field.minimum - 1}};
        if (!field.choices.empty())
            s.good.push_back(field.choices.back());
        break;
    case FieldKind::real:
        s = {{inside(0.0, field), inside(1.0, field), inside(2, field)},
             {"x", false, Json::array({1}), Json::object()}};
        if (std::isfinite(field.maximum))
            s.bad.push_back(field.maximum * 2 + 1);
        break;
    case FieldKind::vector2:
        numbers(2);
        break;
    case FieldKind::vector3:
        numbers(3);
        s.good.push_back("#80A090");
        break;
    case FieldKind::vector4:
        numbers(4);
        break;
    case FieldKind::color:
        numbers(3);
        s.bad.erase(s.bad.begin() + 1); // one number is a grey
        s.good.push_back("#102030");
        s.good.push_back({{"color", {0, 1, 0}}, {"intensity", 2}});
        s.bad.push_back({{"colour", {0, 1, 0}}});
        break;
    case FieldKind::string:
        s = {{"text"}, {1, true}};
        break;
    default:
        break;
    }
    return s;
}

/// A look with one field of one kind of material.
Json withField(const std::string& type, const std::string& field, const Json& value)
{
    return {{"materials", {{"m", {{"type", type}, {field, value}}}}}};
}

} // namespace

TEST_F(LookSchema, AcceptsWhatTheReaderAcceptsOfEveryField)
{
    std::size_t count = 0;
    for (const osg::FieldContainerType* type : io::concreteTypes(osg::Material::getClassType()))
        for (const osg::FieldDescription& field : type->getFields()) {
            // Fields of base classes look the same everywhere.
            if (type->getParent()->findField(field.name) || !io::isLookField(*type, field))
                continue;
            for (const Json& value : samplesOf(field).good) {
                expectBoth(withField(type->getName(), field.name, value), true);
                ++count;
            }
        }
    EXPECT_GT(count, 500u);
}

TEST_F(LookSchema, RefusesWhatTheReaderRefusesOfEveryField)
{
    for (const osg::FieldContainerType* type : io::concreteTypes(osg::Material::getClassType())) {
        expectBoth(withField(type->getName(), "noSuchField", 1), false);
        for (const osg::FieldDescription& field : type->getFields())
            if (!type->getParent()->findField(field.name) && io::isLookField(*type, field))
                for (const Json& value : samplesOf(field).bad)
                    expectBoth(withField(type->getName(), field.name, value), false);
    }
}

TEST_F(LookSchema, KnowsAllPartsOfALook)
{
    expectBoth(Json::parse(R"({"$schema": "look.schema.json",
        "materials": {"m": {"type": "osg::SwitchMaterial", "materials": ["grey", {"type": "UGlowMaterial"}]},
                      "grey": {"roughness": 0.5}},
        "assign": [{"nodes": ["/car/**", "ground"], "named": "r*", "material": "m"}],
        "lights": [{"type": "UDiskLight", "name": "d", "position": [0, 0, 1], "at": [0, 0, 0],
                    "sizeX": 0.1, "RaytracingLightAttachment": {"shadowIntensity": 0.5}},
                   {"name": "lamp", "intensity": 2, "rotation": [0, 0, 90], "scale": [1, 1, 1]}],
        "cameras": [{"name": "c", "fov": 30, "fogSettings": {"fogEnableHeight": 1}, "beacon": "/car"}],
        "environment": {"type": "USkylightMaterial", "turn": 30, "sunDirection": [0, 0, 1]},
        "settings": {"photonMode": "off", "clamping": true, "raytracingRenderRegion": [0, 0, 1, 1]},
        "set": {"/car.visible": true}})"),
               true);
    for (const char* look :
         {R"({"materials": []})", R"({"materials": {"m": {"type": "UNoMaterial"}}})",
          R"({"assign": [{"nodes": "/car"}]})", R"({"assign": [{"nodes": 1, "material": "grey"}]})",
          R"({"lights": [{"type": "UPhongMaterial"}]})", R"({"lights": [3]})",
          R"({"lights": [{"type": "UPointLight", "position": [1, 2]}]})",
          R"({"cameras": [{"field": 3}]})", R"({"settings": {"photonMode": "on"}})",
          R"({"settings": {"photonMode": 4}})", R"({"environment": {"type": "UGlassMaterial"}})",
          R"({"set": []})", R"({"variant": 1})", R"({"assign": {}})", R"({"sets": {}})", "[]",
          R"({"assets": [{"name": "a"}]})"})
        expectBoth(Json::parse(look), false);
}
