#include "io/LookFields.h"

#include "host/osg/Geometry.h"
#include "host/osg/Materials.h"
#include "host/osg/SkinAttachment.h"
#include "host/osg/Spectrum.h"
#include "host/osg/UTextureSettings.h"
#include "io/InputError.h"
#include "io/decodeImages.h"
#include "io/imageReader.h"
#include "io/sceneImage.h"
#include "scene/ownedContainers.h"
#include "settings/fieldChoices.h"
#include "system/nearestName.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace io {

using osg::FieldContainer;
using osg::FieldContainerPtr;
using osg::FieldContainerType;
using osg::FieldDescription;
using osg::FieldKind;
using osg::FieldVariant;

namespace {

template <class T>
bool isOrDerives(const FieldContainerType& type)
{
    return type.isDerivedFrom(T::getClassType());
}

/// sRGB (IEC 61966-2-1) to linear light.
double linearOf(double encoded)
{
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

/// "#rrggbb", or with an alpha "#rrggbbaa".
/// @return false for other texts
bool parseHexColor(const std::string& text, int channels, double* out)
{
    if (text.size() != std::size_t(1 + 2 * channels) || text[0] != '#')
        return false;
    for (int i = 0; i < channels; ++i) {
        int byte = 0;
        for (const char c : text.substr(std::size_t(1 + 2 * i), 2)) {
            const bool isDigit = c >= '0' && c <= '9';
            const char lower = char(c | 0x20);
            if (!isDigit && (lower < 'a' || lower > 'f'))
                return false;
            byte = byte * 16 + (isDigit ? c - '0' : lower - 'a' + 10);
        }
        out[i] = i == 3 ? byte / 255.0 : linearOf(byte / 255.0);
    }
    return true;
}

std::string rangeText(const FieldDescription& field)
{
    return fmt::format("[{:g}, {:g}]", field.minimum, field.maximum);
}

bool isMesh(const FieldContainerType& type)
{
    return isOrDerives<osg::Geometry>(type) || isOrDerives<osg::SkinAttachment>(type) ||
           isOrDerives<osg::GeoProperty>(type);
}

} // namespace

bool isLookField(const FieldContainerType& type, const FieldDescription& field)
{
    const std::string name = field.name;
    if (field.kind == FieldKind::bytes || name == "attachments")
        return false;
    if (isOrDerives<osg::Image>(type))
        return name == "colorSpaceGamma";
    if (isMesh(type))
        return name == "material";
    const FieldContainerType* const target = field.targetType();
    if (!target)
        return true;
    if (isOrDerives<osg::Node>(*target))
        return field.isLink;
    return !isOrDerives<osg::NodeCore>(*target) && !isMesh(*target);
}

std::vector<std::string> lookFieldNames(const FieldContainerType& type)
{
    std::vector<std::string> names;
    for (const FieldDescription& field : type.getFields())
        if (isLookField(type, field))
            names.emplace_back(field.name);
    return names;
}

std::vector<const FieldContainerType*> concreteTypes(const FieldContainerType& base)
{
    std::vector<const FieldContainerType*> types;
    for (const FieldContainerType* type : osg::FieldContainerFactory::the()->getTypes())
        if (!type->isAbstract() && type->isDerivedFrom(base))
            types.push_back(type);
    return types;
}

// Values

double LookFields::number(const LookValue& value)
{
    if (!value.isNumber())
        document.fail(value, fmt::format("should be a number, not {}", value.kindName()));
    return value.number;
}

const std::string& LookFields::text(const LookValue& value)
{
    if (!value.isString())
        document.fail(value, fmt::format("should be a string, not {}", value.kindName()));
    return value.text;
}

std::vector<double> LookFields::numbers(const LookValue& value, std::size_t count, const char* what)
{
    if (!value.isNumbers() || value.numbers.size() != count)
        document.fail(value, fmt::format("should be {}, not {}", what,
                                         value.isNumbers()
                                             ? fmt::format("{} numbers", value.numbers.size())
                                             : std::string(value.kindName())));
    return value.numbers;
}

FieldVariant LookFields::decodeVector(const LookValue& value, int size)
{
    double channels[4] = {0, 0, 0, 1};
    const bool isHex = value.isString() && size > 2 && parseHexColor(value.text, size, channels);
    if (isHex)
        return std::vector<float>(channels, channels + size);
    static const char* const forms[] = {"2 numbers", "3 numbers or \"#rrggbb\"",
                                        "4 numbers or \"#rrggbbaa\""};
    const std::vector<double> list = numbers(value, std::size_t(size), forms[size - 2]);
    return std::vector<float>(list.begin(), list.end());
}

FieldVariant LookFields::decodeNumber(const FieldContainer& container,
                                      const FieldDescription& field, const LookValue& value)
{
    const std::vector<const char*> choices = getFieldChoices(container.getType(), field);
    if (choices.empty())
        return number(value);
    if (value.isString()) {
        for (std::size_t i = 0; i < choices.size(); ++i)
            if (value.text == choices[i])
                return int(i);
        const std::vector<std::string> names(choices.begin(), choices.end());
        document.fail(value, fmt::format("there is no '{}'{}; there are {}", value.text,
                                         perhaps(value.text, names), fmt::join(names, ", ")));
    }
    if (!value.isNumber())
        document.fail(value, fmt::format("should be one of {}, not {}", fmt::join(choices, ", "),
                                         value.kindName()));
    return value.number;
}

osg::ColorComponent LookFields::decodeColor(const FieldContainer& container,
                                            const FieldDescription& field, const LookValue& value)
{
    osg::ColorComponent color;
    if (value.isNumber())
        return osg::ColorComponent(float(value.number));
    if (!value.isObject()) {
        FieldVariant list = decodeVector(value, 3);
        osg::convertVariant(list, FieldKind::color);
        return std::get<osg::ColorComponent>(list);
    }
    color = std::get<osg::ColorComponent>(field.get(container));
    for (const LookValue& member : value.values) {
        const auto positive = [&] {
            if (number(member) < 0.0)
                document.fail(member, "should not be below 0");
            return float(member.number);
        };
        if (member.key == "color") {
            FieldVariant list = decodeVector(member, 3);
            osg::convertVariant(list, FieldKind::vector3);
            color.color = std::get<osg::Vec3f>(list);
        } else if (member.key == "intensity")
            color.intensity = positive();
        else if (member.key == "temperature")
            color.temperature = positive();
        else if (member.key == "spectrum")
            color.spectrum = osg::SpectrumPtr::dcast(decodeContainer(
                field, osg::Spectrum::getClassType(), color.spectrum.get(), member));
        else
            document.fail(member, fmt::format("a colour has no '{}'{}", member.key,
                                              perhaps(member.key, {"color", "intensity",
                                                                   "temperature", "spectrum"})));
    }
    return color;
}

FieldVariant LookFields::decode(const FieldContainer& container, const FieldDescription& field,
                                const LookValue& value)
{
    switch (field.kind) {
    case FieldKind::boolean:
        if (value.kind != LookValue::Kind::boolean)
            document.fail(value, fmt::format("should be true or false, not {}", value.kindName()));
        return value.flag;
    case FieldKind::integer:
    case FieldKind::unsignedInteger:
    case FieldKind::unsignedLong:
    case FieldKind::real:
    case FieldKind::doubleReal:
        return decodeNumber(container, field, value);
    case FieldKind::string:
        return text(value);
    case FieldKind::vector2:
        return decodeVector(value, 2);
    case FieldKind::vector3:
        return decodeVector(value, 3);
    case FieldKind::vector4:
        return decodeVector(value, 4);
    case FieldKind::matrix: {
        const std::vector<double> list = numbers(value, 16, "16 numbers, column by column");
        return std::vector<float>(list.begin(), list.end());
    }
    case FieldKind::color:
        return decodeColor(container, field, value);
    case FieldKind::container:
        return decodeContainer(field, *field.targetType(),
                               std::get<FieldContainerPtr>(field.get(container)), value);
    case FieldKind::containerList: {
        if (!value.isArray() || !value.numbers.empty())
            document.fail(value, fmt::format("should be a list, not {}", value.kindName()));
        std::vector<FieldContainerPtr> list;
        for (const LookValue& entry : value.values)
            list.push_back(decodeContainer(field, *field.targetType(), nullptr, entry));
        return list;
    }
    case FieldKind::realList:
    case FieldKind::integerList:
        if (!value.isNumbers())
            document.fail(value, "should be a list of numbers");
        return std::vector<float>(value.numbers.begin(), value.numbers.end());
    case FieldKind::bytes:
        break;
    }
    document.fail(value, "cannot be set");
}

// Files

InputFile LookFields::openFile(const LookValue& name)
{
    const std::string& reference = text(name);
    if (!world.folder)
        document.fail(name, "names a file, which is not possible here");
    try {
        return world.folder->open(reference, SceneFolder::Naming::path);
    } catch (const InputError& error) {
        // The look is named by the message that is made of this one.
        std::string cause = error.what();
        const std::string prefix = printable(world.folder->getSceneFile()) + ": ";
        if (cause.starts_with(prefix))
            cause.erase(0, prefix.size());
        document.fail(name, cause);
    }
}

namespace {

/// File names of textures: "diffuseTexture": "a.png" or "diffuseTexture": {"image": "a.png"}.
void findImages(const LookValue& value, std::vector<const LookValue*>& names)
{
    if (value.isString() && (value.key == "image" || value.key.ends_with("Texture")))
        names.push_back(&value);
    for (const LookValue& member : value.values)
        findImages(member, names);
}

} // namespace

void LookFields::decodeImagesAhead(const LookValue& part)
{
    std::vector<const LookValue*> found;
    findImages(part, found);
    std::vector<std::string> names;
    std::vector<EncodedImage> encoded;
    for (const LookValue* name : found) {
        if (!world.folder || world.images.contains(name->text) ||
            std::find(names.begin(), names.end(), name->text) != names.end())
            continue;
        try {
            InputFile file = openFile(*name);
            encoded.push_back({file.getName(), file.readAll(), {}});
            encoded.back().bytes = encoded.back().ownBytes;
            names.push_back(name->text);
        } catch (const InputError&) {
            // The field that asks for it tells, or it was no name of a file.
        }
    }
    std::vector<DecodedImage> decoded = decodeImages(encoded, world.limits);
    for (std::size_t i = 0; i < decoded.size(); ++i)
        if (decoded[i].fault.empty())
            if (auto made = sceneImageOfRows(std::move(decoded[i].pixels), names[i]))
                world.images[names[i]] = std::move(made);
}

FieldContainerPtr LookFields::image(const LookValue& name)
{
    osg::Ref<osg::Image>& entry = world.images[text(name)];
    if (!entry) {
        InputFile file = openFile(name);
        try {
            entry = sceneImageOf(readImage(file), name.text);
        } catch (const InputError& error) {
            document.fail(name, error.what());
        }
        if (!entry)
            document.fail(name, "is an image without pixels");
    }
    return entry.get();
}

FieldContainerPtr LookFields::decodeTexture(const FieldContainerPtr& current,
                                            const LookValue& value)
{
    const auto old = osg::UTextureSettingsPtr::dcast(current);
    const FieldContainerPtr settings =
        old && value.isObject() ? current
                                : keep(osg::FieldContainerPtr(osg::UTextureSettings::create()));
    const auto texture = osg::UTextureSettingsPtr::dcast(settings);
    const osg::EditScope edit(settings);
    if (value.isString()) {
        texture->setImage(osg::ImagePtr::dcast(image(value)));
        texture->setIsActive(true);
        return settings;
    }
    setMembers(settings, value);
    if (value.find("image") && !value.find("isActive"))
        texture->setIsActive(bool(texture->getImage()));
    return settings;
}

// Containers

FieldContainerPtr LookFields::keep(osg::Ref<FieldContainer> container)
{
    kept.push_back(std::move(container));
    return kept.back().get();
}

const FieldContainerType& LookFields::type(const LookValue& name, const FieldContainerType& base)
{
    const FieldContainerType* const found = osg::FieldContainerFactory::the()->findType(text(name));
    if (found && !found->isAbstract() && found->isDerivedFrom(base))
        return *found;
    std::vector<std::string> names;
    for (const FieldContainerType* type : concreteTypes(base))
        names.emplace_back(type->getName());
    document.fail(name, fmt::format("there is no {} '{}'{}", base.getName(), name.text,
                                    perhaps(name.text, names)));
}

osg::Ref<FieldContainer> LookFields::create(const LookValue& object, const FieldContainerType& base)
{
    const LookValue* const name = object.find("type");
    if (!name && base.isAbstract())
        document.fail(object, fmt::format("needs a \"type\", a kind of {}", base.getName()));
    return (name ? type(*name, base) : base).createContainer();
}

osg::MaterialPtr LookFields::material(const LookValue& name)
{
    const osg::MaterialPtr found = world.material(text(name));
    if (!found)
        document.fail(name, fmt::format("there is no material '{}'{}", name.text,
                                        perhaps(name.text, world.materialNames())));
    return found;
}

FieldContainerPtr LookFields::decodeContainer(const FieldDescription& field,
                                              const FieldContainerType& target,
                                              const FieldContainerPtr& current,
                                              const LookValue& value)
{
    if (value.kind == LookValue::Kind::null)
        return {};
    if (isOrDerives<osg::Node>(target)) {
        const osg::NodePtr node = world.node(text(value));
        if (!node)
            document.fail(value, fmt::format("there is no node '{}'{}", value.text,
                                             perhaps(value.text, world.nodePaths())));
        return node;
    }
    if (isOrDerives<osg::Image>(target))
        return image(value);
    if (isOrDerives<osg::UTextureSettings>(target))
        if (value.isString() || value.isObject())
            return decodeTexture(current, value);
    if (isOrDerives<osg::Material>(target) && value.isString()) {
        const osg::MaterialPtr named = material(value);
        if (!named->getType().isDerivedFrom(target))
            document.fail(value, fmt::format("'{}' is a {}, not a kind of {}", value.text,
                                             named->getType().getName(), target.getName()));
        return named;
    }
    if (!value.isObject())
        document.fail(value,
                      fmt::format("{} should be an object, not {}", field.name, value.kindName()));
    const bool isChange = current && !value.find("type") && !field.isLink;
    const FieldContainerPtr container = isChange ? current : keep(create(value, target));
    setMembers(container, value);
    return container;
}

/// A container that owned itself, directly or through others, would never end.
void LookFields::refuseCircle(const FieldContainer& container, const FieldVariant& value,
                              const LookValue& where)
{
    const auto check = [&](const FieldContainerPtr& target) {
        if (!target)
            return;
        for (const FieldContainerPtr& owned : scene::collectOwned(target))
            if (owned.get() == &container)
                document.fail(where, "would contain itself");
    };
    if (const auto* target = std::get_if<FieldContainerPtr>(&value))
        check(*target);
    else if (const auto* list = std::get_if<std::vector<FieldContainerPtr>>(&value))
        for (const FieldContainerPtr& target : *list)
            check(target);
}

// Fields

const FieldDescription* LookFields::findField(const FieldContainer& container,
                                              const std::string& name)
{
    const FieldDescription* const field = container.getType().findField(name);
    return field && isLookField(container.getType(), *field) ? field : nullptr;
}

FieldContainerPtr LookFields::attachment(const FieldContainerPtr& container,
                                         const std::string& typeName)
{
    const auto owner = osg::AttachmentContainerPtr::dcast(container);
    const FieldContainerType* const type = osg::FieldContainerFactory::the()->findType(typeName);
    if (!owner || !type || type->isAbstract() || !isOrDerives<osg::Attachment>(*type) ||
        isMesh(*type))
        return {};
    if (const osg::AttachmentPtr found = owner->findAttachment(*type))
        return found;
    const osg::Ref<osg::Attachment> made = osg::AttachmentPtr::dcast(type->createContainer());
    owner->addAttachment(made.get());
    return made.get();
}

void LookFields::failForField(const LookValue& value, const FieldContainer& container,
                              const std::string& name, const std::vector<std::string>& others)
{
    std::vector<std::string> names = lookFieldNames(container.getType());
    names.insert(names.end(), others.begin(), others.end());
    document.fail(value, fmt::format("{} has no field '{}'{}", container.getType().getName(), name,
                                     perhaps(name, names)));
}

void LookFields::setField(FieldContainer& container, const FieldDescription& field,
                          const LookValue& value)
{
    FieldVariant decoded = decode(container, field, value);
    if (scene::ownsTargets(field))
        refuseCircle(container, decoded, value);
    switch (field.set(container, std::move(decoded))) {
    case osg::FieldError::none:
        return;
    case osg::FieldError::outOfRange:
        document.fail(value, fmt::format("lies outside of {}", rangeText(field)));
    case osg::FieldError::notFinite:
        document.fail(value, "is larger than a float can be");
    case osg::FieldError::wrongKind:
        document.fail(value, field.hasRange()
                                 ? fmt::format("should be a whole number in {}", rangeText(field))
                                 : "should be a whole number");
    case osg::FieldError::wrongContainer:
        document.fail(value, fmt::format("should be a kind of {}", field.targetType()->getName()));
    }
}

void LookFields::setMembers(const FieldContainerPtr& container, const LookValue& object,
                            const std::vector<std::string>& others)
{
    if (!object.isObject())
        document.fail(object, fmt::format("should be an object, not {}", object.kindName()));
    const osg::EditScope edit(container);
    for (const LookValue& member : object.values) {
        if (member.key == "type" ||
            std::find(others.begin(), others.end(), member.key) != others.end())
            continue;
        if (const FieldDescription* const field = findField(*container, member.key))
            setField(*container, *field, member);
        else if (member.key == "name" && osg::isKindOf<osg::AttachmentContainer>(container))
            setName(container, text(member));
        else if (const FieldContainerPtr attached = attachment(container, member.key))
            setMembers(attached, member);
        else
            failForField(member, *container, member.key, others);
    }
}

} // namespace io
