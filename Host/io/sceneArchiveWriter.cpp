#include "host/osg/Spectrum.h"
#include "io/OutputFile.h"
#include "io/sceneArchive.h"
#include "io/sceneArchiveFormat.h"
#include "scene/ownedContainers.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <nlohmann/json.hpp>
#include <unordered_map>

static_assert(std::endian::native == std::endian::little, "numbers are written as they are");

namespace io {
namespace {

using nlohmann::json;
using osg::FieldContainer;
using osg::FieldContainerPtr;
using osg::FieldDescription;
using osg::FieldVariant;

/// Lists up to this length stay readable in the JSON.
constexpr std::size_t longestInlineList = 16;

/// The numbers of a list, or the bytes of a text, as they stand in memory.
template <class Value>
std::span<const u8> bytesOf(const Value& value)
{
    return {reinterpret_cast<const u8*>(value.data()), value.size() * sizeof(value[0])};
}

/// What stands in the binary part: asked again from the container when its turn comes, so that no
/// second copy of a scene's arrays is held.
struct Blob
{
    const FieldContainer* container;
    const FieldDescription* field;
    u64 size;
};

class Writer
{
public:
    explicit Writer(const FieldContainerPtr& root) : m_containers(scene::collectOwned(root))
    {
        for (const FieldContainerPtr& container : m_containers)
            m_places.emplace(container.getContainer(), u32(m_places.size()));
    }

    std::string describe();
    u64 getBinarySize() const { return m_binarySize; }
    void writeBlobs(const ByteSink& sink) const;

private:
    json reference(const FieldContainerPtr& container) const;
    json blob(const FieldContainer& container, const FieldDescription& field, u64 count, u64 size);
    json encode(const FieldContainer& container, const FieldDescription& field,
                const FieldVariant& value);

    std::vector<FieldContainerPtr> m_containers;
    std::unordered_map<const FieldContainer*, u32> m_places;
    std::unordered_map<const osg::FieldContainerType*, osg::Ref<FieldContainer>> m_blanks;
    std::vector<Blob> m_blobs;
    u64 m_binarySize = 0;
};

json Writer::reference(const FieldContainerPtr& container) const
{
    const auto place = m_places.find(container.getContainer());
    return place == m_places.end() ? json() : json(place->second);
}

json Writer::blob(const FieldContainer& container, const FieldDescription& field, u64 count,
                  u64 size)
{
    const json result = {{"blob", {m_binarySize, count}}};
    m_blobs.push_back({&container, &field, size});
    m_binarySize += padded(size);
    return result;
}

json Writer::encode(const FieldContainer& container, const FieldDescription& field,
                    const FieldVariant& value)
{
    const auto list = [&](const auto& numbers) {
        return numbers.size() <= longestInlineList
                   ? json(numbers)
                   : blob(container, field, numbers.size(), bytesOf(numbers).size());
    };
    const auto vector = [](const auto& v, int count) {
        json numbers = json::array();
        for (int i = 0; i < count; ++i)
            numbers.push_back(v[i]);
        return numbers;
    };
    struct Encoder
    {
        Writer& writer;
        const FieldContainer& container;
        const FieldDescription& field;
        decltype(list)& encodeList;
        decltype(vector)& encodeVector;

        json operator()(const osg::Vec2f& v) const { return encodeVector(v, 2); }
        json operator()(const osg::Vec3f& v) const { return encodeVector(v, 3); }
        json operator()(const osg::Vec4f& v) const { return encodeVector(v, 4); }
        json operator()(const osg::Matrix& m) const { return encodeVector(m.getValues(), 16); }
        json operator()(const std::string& text) const
        {
            return isUtf8(text) ? json(text)
                                : writer.blob(container, field, text.size(), text.size());
        }
        json operator()(const osg::ColorComponent& color) const
        {
            return {{"color", encodeVector(color.color, 3)},
                    {"intensity", color.intensity},
                    {"temperature", color.temperature},
                    {"spectrum", writer.reference(color.spectrum.get())}};
        }
        json operator()(const FieldContainerPtr& target) const { return writer.reference(target); }
        json operator()(const std::vector<FieldContainerPtr>& targets) const
        {
            json places = json::array();
            for (const FieldContainerPtr& target : targets)
                places.push_back(writer.reference(target));
            return places;
        }
        json operator()(const std::vector<float>& numbers) const { return encodeList(numbers); }
        json operator()(const std::vector<u32>& numbers) const { return encodeList(numbers); }
        json operator()(const std::vector<u8>& bytes) const
        {
            return writer.blob(container, field, bytes.size(), bytes.size());
        }
        json operator()(bool number) const { return number; }
        json operator()(int number) const { return number; }
        json operator()(u32 number) const { return number; }
        json operator()(u64 number) const { return number; }
        json operator()(float number) const { return number; }
        json operator()(double number) const { return number; }
    };
    return std::visit(Encoder{*this, container, field, list, vector}, value);
}

std::string Writer::describe()
{
    std::string text = "{\"root\": 0, \"containers\": [";
    for (const FieldContainerPtr& container : m_containers) {
        json fields = json::object();
        // Left out is what a new container has by itself; a kind may begin with values of its own
        // instead of its fields' defaults.
        osg::Ref<FieldContainer>& blank = m_blanks[&container->getType()];
        if (!blank)
            blank = container->getType().createContainer();
        for (const FieldDescription& field : container->getType().getFields()) {
            const FieldVariant value = field.get(*container);
            if (value != field.get(*blank))
                fields[field.name] = encode(*container, field, value);
        }
        const json entry = {{"type", container->getType().getName()}, {"fields", fields}};
        text += text.back() == '[' ? "\n" : ",\n";
        text += entry.dump();
    }
    return text + "\n]}\n";
}

void Writer::writeBlobs(const ByteSink& sink) const
{
    const u8 zeros[blobAlignment] = {};
    for (const Blob& blob : m_blobs) {
        const FieldVariant value = blob.field->get(*blob.container);
        std::span<const u8> bytes;
        if (const auto* floats = std::get_if<std::vector<float>>(&value))
            bytes = bytesOf(*floats);
        else if (const auto* numbers = std::get_if<std::vector<u32>>(&value))
            bytes = bytesOf(*numbers);
        else if (const auto* text = std::get_if<std::string>(&value))
            bytes = bytesOf(*text);
        else if (const auto* plain = std::get_if<std::vector<u8>>(&value))
            bytes = bytesOf(*plain);
        sink(bytes.data(), bytes.size());
        sink(zeros, padded(blob.size) - blob.size);
    }
}

} // namespace

void writeSceneArchive(const FieldContainerPtr& root, const ByteSink& sink)
{
    if (!root)
        throw OutputError("scene archive", "there is no scene to write");
    Writer writer(root);
    const std::string text = writer.describe();
    ArchiveHeader header;
    header.jsonSize = text.size();
    header.binarySize = writer.getBinarySize();
    sink(&header, sizeof(header));
    sink(text.data(), text.size());
    writer.writeBlobs(sink);
}

void writeSceneArchive(const FieldContainerPtr& root, const std::string& path)
{
    OutputFile file(path);
    writeSceneArchive(root, [&](const void* data, std::size_t size) { file.write(data, size); });
    file.commit();
}

} // namespace io
