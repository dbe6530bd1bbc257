#include "host/osg/Spectrum.h"
#include "host/znLog.h"
#include "io/InputError.h"
#include "io/checkScene.h"
#include "io/jsonText.h"
#include "io/sceneArchive.h"
#include "io/sceneArchiveFormat.h"
#include "scene/ownedContainers.h"

#include <algorithm>
#include <limits>

namespace io {
namespace {

using nlohmann::json;
using osg::FieldContainer;
using osg::FieldContainerPtr;
using osg::FieldDescription;
using osg::FieldError;
using osg::FieldKind;
using osg::FieldVariant;

constexpr int mostWarnings = 10;

class Reader
{
public:
    explicit Reader(InputFile& file) : m_file(file) {}
    osg::Ref<FieldContainer> read();

private:
    void readDescription();
    void createContainers();
    void createContainer(std::size_t place);
    void refuseCircles();
    std::vector<u32> ownedBy(std::size_t place);
    void setFields(std::size_t place);
    void setField(std::size_t place, const FieldDescription& field, const json& value);

    FieldVariant decode(const FieldDescription& field, const json& value);
    FieldVariant decodeList(const FieldDescription& field, const json& value);
    FieldVariant decodeBlob(const FieldDescription& field, const json& value);
    template <class Value>
    Value readBlob(const json& value);
    osg::ColorComponent decodeColor(const json& value);
    FieldContainerPtr target(const json& value) const;
    bool isPlace(const json& value) const;
    template <class T>
    T number(const json& value) const;

    [[noreturn]] void fail(const std::string& cause) const;
    void warn(const std::string& text);
    std::string whereIs(std::size_t place) const;

    InputFile& m_file;
    json m_description;
    const json* m_entries = nullptr;
    ArchiveHeader m_header;
    u64 m_blobsStart = 0;
    u64 m_blobsRead = 0;
    std::string m_where; ///< container and field in work, for messages
    std::vector<osg::Ref<FieldContainer>> m_containers;
    int m_warningCount = 0;
};

void Reader::fail(const std::string& cause) const
{
    m_file.fail("scene archive: " + (m_where.empty() ? "" : m_where + ": ") + cause);
}

void Reader::warn(const std::string& text)
{
    if (++m_warningCount <= mostWarnings)
        znLog::warning(
            (printable(m_file.getName()) + ": scene archive: " + m_where + ": " + text).c_str());
}

std::string Reader::whereIs(std::size_t place) const
{
    return "container " + std::to_string(place) +
           (place < m_containers.size()
                ? std::string(", ") + m_containers[place]->getType().getName()
                : std::string());
}

void Reader::readDescription()
{
    m_file.seek(0);
    if (m_file.read(&m_header, sizeof(m_header)) != sizeof(m_header) || !m_header.hasMagic())
        m_file.fail("is no scene archive");
    if (m_header.version != 1 || m_header.reserved != 0)
        fail("version " + std::to_string(m_header.version) + " is not known");
    m_blobsStart = sizeof(m_header) + m_header.jsonSize;
    const u64 size = m_file.getSize() - sizeof(m_header);
    if (m_header.jsonSize > size || m_header.binarySize != size - m_header.jsonSize)
        fail(m_header.jsonSize <= size && m_header.binarySize < size - m_header.jsonSize
                 ? "goes on behind its end"
                 : "ends too early");
    const Limits& limits = m_file.getLimits();
    limits.check(&Limits::jsonSize, m_header.jsonSize, m_file.getName(), "bytes of JSON:");
    std::string text(m_header.jsonSize, 0);
    m_file.readExactly(text.data(), text.size());
    m_description = parseJson(text, m_file.getName(), limits);

    const json* const list = m_description.is_object() && m_description.contains("containers")
                                 ? &m_description["containers"]
                                 : nullptr;
    if (!list || !list->is_array() || list->empty())
        fail("no list of containers");
    m_entries = list;
    limits.check(&Limits::nodes, list->size(), m_file.getName(), "number of containers:");
}

void Reader::createContainer(std::size_t place)
{
    m_where = whereIs(place);
    const json& entry = (*m_entries)[place];
    if (!entry.is_object() || !entry.contains("type") || !entry["type"].is_string())
        fail("has no type");
    const std::string name = entry["type"];
    const osg::FieldContainerType* const type = osg::FieldContainerFactory::the()->findType(name);
    if (!type || type->isAbstract())
        fail("unknown type '" + name + "'");
    if (entry.contains("fields") && !entry["fields"].is_object())
        fail("its fields are no object");
    m_containers.emplace_back(type->createContainer());
}

void Reader::createContainers()
{
    m_containers.reserve(m_entries->size());
    for (std::size_t place = 0; place < m_entries->size(); ++place)
        createContainer(place);
}

bool Reader::isPlace(const json& value) const
{
    return value.is_number_unsigned() && value.get<u64>() < m_entries->size();
}

/// Places that a container's fields own, as far as they are places.
std::vector<u32> Reader::ownedBy(std::size_t place)
{
    std::vector<u32> result;
    const json& entry = (*m_entries)[place];
    if (!entry.contains("fields"))
        return result;
    for (const auto& [name, value] : entry["fields"].items()) {
        const FieldDescription* const field = m_containers[place]->getType().findField(name);
        if (!field || !scene::ownsTargets(*field))
            continue;
        const json* const single =
            value.is_object() && value.contains("spectrum") ? &value["spectrum"] : &value;
        if (isPlace(*single))
            result.push_back(single->get<u32>());
        if (value.is_array())
            for (const json& item : value)
                if (isPlace(item))
                    result.push_back(item.get<u32>());
    }
    return result;
}

/// Containers that own each other in a circle would never be released, and walks over them never
/// end. Also a node has one parent. Depth first, without recursion.
void Reader::refuseCircles()
{
    enum class State : u8 { fresh, open, done };
    struct Step
    {
        u32 place;
        std::vector<u32> owned;
        std::size_t next = 0;
    };
    std::vector<State> states(m_containers.size(), State::fresh);
    for (u32 start = 0; start < m_containers.size(); ++start) {
        std::vector<Step> path;
        const auto enter = [&](u32 place) {
            states[place] = State::open;
            path.push_back({place, ownedBy(place)});
        };
        if (states[start] == State::fresh)
            enter(start);
        while (!path.empty()) {
            Step& step = path.back();
            if (step.next == step.owned.size()) {
                states[step.place] = State::done;
                path.pop_back();
                continue;
            }
            const u32 owned = step.owned[step.next++];
            m_where = whereIs(owned);
            if (states[owned] == State::open)
                fail("owns itself through others");
            if (states[owned] == State::fresh)
                enter(owned);
        }
    }
    m_where.clear();
}

/// NaN and infinity have no form in JSON and are written as null.
template <class T>
T Reader::number(const json& value) const
{
    if (value.is_null())
        return std::numeric_limits<T>::quiet_NaN();
    if (!value.is_number())
        fail("is no number");
    return value.get<T>();
}

FieldContainerPtr Reader::target(const json& value) const
{
    if (value.is_null())
        return {};
    if (!isPlace(value))
        fail("refers to a container that is not there");
    return m_containers[value.get<u32>()];
}

template <class Value>
Value Reader::readBlob(const json& value)
{
    const json& blob = value["blob"];
    if (!blob.is_array() || blob.size() != 2 || !blob[0].is_number_unsigned() ||
        !blob[1].is_number_unsigned())
        fail("damaged blob");
    const u64 offset = blob[0], count = blob[1];
    u64 size = 0, end = 0;
    if (__builtin_mul_overflow(count, sizeof(typename Value::value_type), &size) ||
        __builtin_add_overflow(offset, size, &end) || end > m_header.binarySize)
        fail("blob beyond the end");
    // Each byte belongs to one field: no small file can ask for the same big blob again and again.
    m_blobsRead += size;
    if (m_blobsRead > m_header.binarySize)
        fail("blobs overlap");
    Value result(count, typename Value::value_type());
    m_file.seek(m_blobsStart + offset);
    m_file.readExactly(result.data(), size);
    return result;
}

FieldVariant Reader::decodeBlob(const FieldDescription& field, const json& value)
{
    switch (field.kind) {
    case FieldKind::realList:
        return readBlob<std::vector<float>>(value);
    case FieldKind::integerList:
        return readBlob<std::vector<u32>>(value);
    case FieldKind::bytes:
        return readBlob<std::vector<u8>>(value);
    case FieldKind::string:
        return readBlob<std::string>(value);
    default:
        fail("takes no blob");
    }
}

osg::ColorComponent Reader::decodeColor(const json& value)
{
    osg::ColorComponent color;
    for (const auto& [name, part] : value.items()) {
        if (name == "intensity")
            color.intensity = number<float>(part);
        else if (name == "temperature")
            color.temperature = number<float>(part);
        else if (name == "color" && part.is_array() && part.size() == 3)
            for (int i = 0; i < 3; ++i)
                color.color[i] = number<float>(part[std::size_t(i)]);
        else if (name == "spectrum")
            color.spectrum = osg::SpectrumPtr::dcast(target(part));
        else
            fail("damaged colour");
    }
    return color;
}

FieldVariant Reader::decodeList(const FieldDescription& field, const json& value)
{
    if (field.kind == FieldKind::containerList) {
        std::vector<FieldContainerPtr> list;
        for (const json& item : value)
            list.push_back(target(item));
        return list;
    }
    if (field.kind == FieldKind::integerList) {
        std::vector<u32> list;
        for (const json& item : value) {
            if (!item.is_number_unsigned() || item.get<u64>() > 0xffffffffu)
                fail("is no list of whole numbers");
            list.push_back(item.get<u32>());
        }
        return list;
    }
    std::vector<float> list;
    for (const json& item : value)
        list.push_back(number<float>(item));
    return list;
}

FieldVariant Reader::decode(const FieldDescription& field, const json& value)
{
    if (value.is_object() && value.contains("blob"))
        return decodeBlob(field, value);
    if (value.is_object() && field.kind == FieldKind::color)
        return decodeColor(value);
    if (field.kind == FieldKind::container)
        return target(value);
    if (value.is_array())
        return decodeList(field, value);
    if (value.is_boolean())
        return value.get<bool>();
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_number_unsigned())
        return value.get<u64>();
    if (value.is_number_integer() && value.get<std::int64_t>() >= -0x80000000l)
        return value.get<int>();
    if (value.is_number())
        return value.get<double>();
    if (value.is_null())
        return number<double>(value);
    fail("has a value of no known kind");
}

void Reader::setField(std::size_t place, const FieldDescription& field, const json& value)
{
    switch (field.set(*m_containers[place], decode(field, value))) {
    case FieldError::none:
        return;
    case FieldError::outOfRange:
        return warn("outside of its range, keeps its default");
    case FieldError::notFinite:
        return warn("not a finite number, keeps its default");
    case FieldError::wrongKind:
        fail("wrong kind of value");
    case FieldError::wrongContainer:
        fail("refers to a container of another type");
    }
}

void Reader::setFields(std::size_t place)
{
    const json& entry = (*m_entries)[place];
    if (!entry.contains("fields"))
        return;
    const osg::EditScope edit(m_containers[place]);
    for (const auto& [name, value] : entry["fields"].items()) {
        m_where = whereIs(place) + ", field '" + name + "'";
        if (const FieldDescription* const field = m_containers[place]->getType().findField(name))
            setField(place, *field, value);
        else
            warn("unknown field");
    }
}

osg::Ref<FieldContainer> Reader::read()
{
    readDescription();
    createContainers();
    refuseCircles();
    // From the end: what is owned mostly stands behind its owner, and a node that gets children
    // before it gets a parent need not look for itself among its ancestors.
    for (std::size_t place = m_containers.size(); place-- > 0;)
        setFields(place);
    m_where.clear();
    if (m_warningCount > mostWarnings)
        znLog::warning((printable(m_file.getName()) + ": scene archive: " +
                        std::to_string(m_warningCount - mostWarnings) + " more warnings")
                           .c_str());
    for (std::size_t place = 0; place < m_containers.size(); ++place)
        if (const std::string fault = containerFault(m_containers[place]); !fault.empty()) {
            m_where = whereIs(place);
            fail(fault);
        }
    const FieldContainerPtr root =
        m_description.contains("root") ? target(m_description["root"]) : FieldContainerPtr();
    if (!root)
        fail("no root");
    return root;
}

} // namespace

bool isSceneArchive(InputFile& file)
{
    ArchiveHeader header;
    const u64 position = file.getPosition();
    file.seek(0);
    const std::size_t size = file.read(&header, sizeof(header));
    file.seek(position);
    return size == sizeof(header) && header.hasMagic();
}

osg::Ref<FieldContainer> readSceneArchive(InputFile& file)
{
    return Reader(file).read();
}

} // namespace io
