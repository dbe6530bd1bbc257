#include "io/sceneArchive.h"

#include "host/osg/Geometry.h"
#include "host/osg/Image.h"
#include "host/osg/Materials.h"
#include "host/osg/SkinAttachment.h"
#include "host/osg/Spectrum.h"
#include "host/znLog.h"
#include "io/InputError.h"
#include "io/OutputFile.h"
#include "support/TemporaryFolder.h"
#include "support/messageOf.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>

using osg::FieldContainer;
using osg::FieldContainerPtr;
using osg::FieldDescription;
using osg::FieldKind;
using osg::FieldVariant;

namespace {

std::vector<u8> archiveOf(const FieldContainerPtr& root)
{
    std::vector<u8> bytes;
    io::writeSceneArchive(root, [&](const void* data, std::size_t size) {
        const u8* const from = static_cast<const u8*>(data);
        bytes.insert(bytes.end(), from, from + size);
    });
    return bytes;
}

osg::Ref<FieldContainer> readArchive(const std::vector<u8>& bytes, const io::Limits& limits = {})
{
    io::InputFile file = io::InputFile::fromMemory(bytes, "test", limits);
    return io::readSceneArchive(file);
}

/// An archive around a hand-written description.
std::vector<u8> archiveWith(const std::string& json, const std::string& binary = "")
{
    const u32 version[] = {1, 0};
    const u64 sizes[] = {json.size(), binary.size()};
    std::string text = "ZNSCENE\n";
    text.append(reinterpret_cast<const char*>(version), sizeof(version));
    text.append(reinterpret_cast<const char*>(sizes), sizeof(sizes));
    text += json;
    text += binary;
    return {text.begin(), text.end()};
}

std::string refusal(const std::string& json, const std::string& binary = "")
{
    return messageOf([&] { readArchive(archiveWith(json, binary)); });
}

/// Counts the lines that the log gets, instead of printing them.
class QuietLog
{
public:
    QuietLog() : m_before(znLog::setSink([this](znLog::Level, const char*) { ++lines; })) {}
    ~QuietLog() { znLog::setSink(m_before); }
    int lines = 0;

private:
    znLog::Sink m_before;
};

/// A value of a field's kind that is inside of its range and not the default.
FieldVariant otherValue(const FieldDescription& field, int salt)
{
    const auto number = [&](int i) {
        const bool hasLeast = field.minimum > -1e12, hasGreatest = field.maximum < 1e12;
        const double low = hasLeast      ? field.minimum
                           : hasGreatest ? field.maximum - 1000.0
                                         : -1000.0;
        const double high = hasGreatest ? field.maximum : low + 2000.0;
        return float(low + (high - low) * ((salt * 7 + i * 3) % 31 + 1) / 33.0);
    };
    const auto numbers = [&](std::size_t count) {
        std::vector<float> list(count);
        for (std::size_t i = 0; i < count; ++i)
            list[i] = number(int(i));
        return list;
    };
    switch (field.kind) {
    case FieldKind::boolean:
        return !std::get<bool>(field.defaultValue);
    case FieldKind::integer:
    case FieldKind::unsignedInteger:
    case FieldKind::unsignedLong: {
        FieldVariant value = std::floor(double(number(0)));
        if (value == field.defaultValue || !osg::convertVariant(value, field.kind))
            value = field.maximum;
        osg::convertVariant(value, field.kind);
        return value;
    }
    case FieldKind::real:
        return number(0);
    case FieldKind::doubleReal:
        return double(number(0)) + 1e-9;
    case FieldKind::string:
        return salt % 2 ? std::string("na\xefme \x01") : std::string("\xe2\x9d\xa4 \"name\"\n");
    case FieldKind::color: {
        osg::ColorComponent color(0.25f, 0.5f, 0.75f);
        color.intensity = 3.0f;
        color.temperature = 4500.0f;
        color.spectrum = osg::Spectrum::create();
        color.spectrum->setSamples(std::vector<float>(40, 0.125f));
        return color;
    }
    case FieldKind::realList:
        return numbers(std::size_t(salt % 3 ? 5 : 100));
    case FieldKind::integerList:
        return std::vector<u32>(std::size_t(salt % 3 ? 5 : 100), u32(salt));
    case FieldKind::bytes:
        return std::vector<u8>{1, 2, 3, 4, 5, 6, 7};
    case FieldKind::vector2:
    case FieldKind::vector3:
    case FieldKind::vector4:
    case FieldKind::matrix: {
        const std::size_t count =
            field.kind == FieldKind::matrix
                ? 16
                : std::size_t(field.kind) - std::size_t(FieldKind::vector2) + 2;
        FieldVariant value = numbers(count);
        osg::convertVariant(value, field.kind);
        return value;
    }
    default:
        return field.defaultValue;
    }
}

/// Fields whose values must fit together are left to tests of their own.
bool isChecked(const FieldContainer& container)
{
    return container.getType().isDerivedFrom(osg::Image::getClassType()) ||
           container.getType().isDerivedFrom(osg::Geometry::getClassType());
}

bool isTarget(FieldKind kind)
{
    return kind == FieldKind::container || kind == FieldKind::containerList;
}

/// Compares two containers field by field; targets only by type.
void expectSame(const FieldContainer& a, const FieldContainer& b)
{
    ASSERT_EQ(&a.getType(), &b.getType());
    for (const FieldDescription& field : a.getType().getFields()) {
        const FieldVariant x = field.get(a), y = field.get(b);
        if (const auto* color = std::get_if<osg::ColorComponent>(&x)) {
            const auto& other = std::get<osg::ColorComponent>(y);
            EXPECT_EQ(color->color, other.color) << a.getType().getName() << "." << field.name;
            EXPECT_EQ(color->intensity, other.intensity);
            EXPECT_EQ(color->temperature, other.temperature);
            ASSERT_EQ(bool(color->spectrum), bool(other.spectrum));
            if (color->spectrum) {
                EXPECT_EQ(color->spectrum->getSamples(), other.spectrum->getSamples());
            }
        } else if (!isTarget(field.kind)) {
            EXPECT_EQ(x, y) << a.getType().getName() << "." << field.name;
        }
    }
}

osg::Ref<osg::Node> smallScene()
{
    const osg::GeometryPtr geometry = osg::Geometry::create();
    geometry->setPositions(osg::GeoProperty::create({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
    geometry->setIndices(osg::GeoProperty::create({0u, 1u, 2u}));
    geometry->setTypes({osg::Geometry::triangles});
    geometry->setLengths({3});
    osg::Ref<osg::Node> root = osg::Node::create(osg::Transform::create(), "root");
    const osg::NodePtr first = osg::Node::create(geometry, "first");
    const osg::NodePtr second = osg::Node::create(geometry, "second");
    root->addChild(first);
    root->addChild(second);
    const auto skin = osg::SkinAttachment::create();
    skin->setJoints({first, root.get()});
    skin->setSkinNode(second);
    geometry->addAttachment(skin);
    return root;
}

} // namespace

TEST(SceneArchive, KeepsEveryFieldOfEveryType)
{
    int types = 0, fields = 0;
    for (const osg::FieldContainerType* type : osg::FieldContainerFactory::the()->getTypes()) {
        if (type->isAbstract())
            continue;
        const osg::Ref<FieldContainer> container = type->createContainer();
        for (const FieldDescription& field : type->getFields()) {
            if (isChecked(*container) || isTarget(field.kind))
                continue;
            const osg::FieldError error =
                field.set(*container.get(), otherValue(field, field.index));
            EXPECT_EQ(error, osg::FieldError::none) << type->getName() << "." << field.name;
            ++fields;
        }
        const osg::Ref<FieldContainer> back = readArchive(archiveOf(container));
        ASSERT_TRUE(back) << type->getName();
        expectSame(*container, *back);
        ++types;
    }
    EXPECT_GE(types, 20);
    EXPECT_GE(fields, 60);
}

TEST(SceneArchive, KeepsTheShapeOfAGraph)
{
    const osg::Ref<osg::Node> root = smallScene();
    const osg::Ref<FieldContainer> read = readArchive(archiveOf(root.get()));
    const osg::NodePtr back = osg::NodePtr::dcast(read.get());
    ASSERT_TRUE(back);
    EXPECT_EQ(osg::getName(back), "root");
    ASSERT_EQ(back->getNChildren(), 2u);
    const osg::NodePtr first = back->getChild(0), second = back->getChild(1);
    EXPECT_EQ(osg::getName(second), "second");
    EXPECT_EQ(first->getParent(), back);
    EXPECT_EQ(first->getCore(), second->getCore()); // one core, shared
    const auto geometry = osg::GeometryPtr::dcast(first->getCore());
    ASSERT_TRUE(geometry);
    EXPECT_EQ(geometry->getPositions()->getVec3(1), osg::Vec3f(1, 0, 0));
    EXPECT_EQ(geometry->getIndices()->getValue(2), 2u);
    EXPECT_EQ(geometry->getLengths(), std::vector<u32>{3});
    const auto skin = osg::SkinAttachment::getAttachment(geometry);
    ASSERT_TRUE(skin);
    EXPECT_EQ(skin->getJoints(), (std::vector<osg::NodePtr>{first, back}));
    EXPECT_EQ(skin->getSkinNode(), second);
}

TEST(SceneArchive, IsTheSameWhenWrittenAgain)
{
    const std::vector<u8> first = archiveOf(smallScene().get());
    EXPECT_EQ(archiveOf(readArchive(first).get()), first);
}

// Chrome begins with the table of chromium, where other kinds have none: "none" has to be written.
TEST(SceneArchive, KeepsDefaultsOfFieldsWhereAKindBeginsWithOthers)
{
    const osg::Ref<osg::UChromeMaterial> chrome = osg::UChromeMaterial::create();
    ASSERT_EQ(chrome->getFresnelTable(), 7u);
    chrome->setFresnelTable(255);
    const osg::Ref<FieldContainer> kept = readArchive(archiveOf(FieldContainerPtr(chrome.get())));
    EXPECT_EQ(osg::FCPtr<osg::UChromeMaterial>::dcast(kept.get())->getFresnelTable(), 255u);
}

TEST(SceneArchive, LeavesOutLinksThatLeadElsewhere)
{
    const osg::Ref<osg::Node> outside = osg::Node::create(nullptr, "outside");
    const osg::Ref<osg::SkinAttachment> skin = osg::SkinAttachment::create();
    skin->setSkinNode(outside);
    const osg::Ref<FieldContainer> back = readArchive(archiveOf(skin.get()));
    EXPECT_FALSE(osg::FCPtr<osg::SkinAttachment>::dcast(back.get())->getSkinNode());
}

TEST(SceneArchive, ReleasesAllThatARefusedFileHadBuilt)
{
    const std::size_t before = osg::FieldContainerFactory::the()->getContainerCount();
    std::vector<u8> bytes = archiveOf(smallScene().get());
    readArchive(bytes);
    bytes.pop_back();
    EXPECT_THROW(readArchive(bytes), io::InputError);
    EXPECT_NE(refusal(R"({"root": 0, "containers": [{"type": "Node"}, {"type": "Image"},
        {"type": "Nonsense"}]})")
                  .find("unknown type 'Nonsense'"),
              std::string::npos);
    EXPECT_EQ(osg::FieldContainerFactory::the()->getContainerCount(), before);
}

TEST(SceneArchive, GoesThroughAFile)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("scene.znscene");
    io::writeSceneArchive(smallScene().get(), path);
    io::InputFile file = io::InputFile::open(path);
    EXPECT_TRUE(io::isSceneArchive(file));
    EXPECT_TRUE(io::readSceneArchive(file));
    EXPECT_THROW(io::writeSceneArchive(nullptr, path), io::OutputError);
    io::InputFile other = io::InputFile::open(folder.write("short", "ZNSC"));
    EXPECT_FALSE(io::isSceneArchive(other));
}

// 10^5 nodes in a chain: neither reading nor writing nor the release may use stack per node.
TEST(SceneArchive, TakesDeepTrees)
{
    osg::Ref<osg::Node> root = osg::Node::create(nullptr, "leaf");
    for (int i = 0; i < 100'000; ++i) {
        const osg::Ref<osg::Node> parent = osg::Node::create(nullptr);
        parent->addChild(root);
        root = parent;
    }
    osg::Ref<FieldContainer> back = readArchive(archiveOf(root.get()));
    osg::NodePtr node = osg::NodePtr::dcast(back.get());
    int depth = 0;
    for (; node->getNChildren() > 0; ++depth)
        node = node->getChild(0);
    EXPECT_EQ(depth, 100'000);
}

TEST(SceneArchive, IsRefusedWhenItDoesNotFitTogether)
{
    const auto says = [](const std::string& text, const char* part) {
        EXPECT_NE(text.find(part), text.npos) << text;
        EXPECT_EQ(text.rfind("test: ", 0), 0u) << text;
    };
    const auto one = [](const std::string& entry) {
        return refusal(R"({"root": 0, "containers": [)" + entry + "]}", "12345678");
    };
    says(messageOf([] { readArchive({}); }), "is no scene archive");
    says(refusal("{"), "line 1");
    says(refusal("[]"), "no list of containers");
    says(refusal(R"({"containers": []})"), "no list of containers");
    says(refusal(R"({"containers": [{"type": "Node"}]})"), "no root");
    says(refusal(R"({"root": 1, "containers": [{"type": "Node"}]})"), "is not there");
    says(one("{}"), "container 0: has no type");
    says(one(R"({"type": 3})"), "has no type");
    says(one(R"({"type": "NodeCore"})"), "unknown type 'NodeCore'");
    says(one(R"({"type": "Node", "fields": []})"), "its fields are no object");
    says(one(R"({"type": "Node", "fields": {"core": 0}})"), "owns itself");
    says(one(R"({"type": "Node", "fields": {"children": [1]}},
                {"type": "Node", "fields": {"children": [2]}},
                {"type": "Node", "fields": {"children": [0]}})"),
         "owns itself");
    says(one(R"({"type": "Node", "fields": {"core": 7}})"), "is not there");
    says(one(R"({"type": "Node", "fields": {"core": -1}})"), "is not there");
    says(one(R"({"type": "Node", "fields": {"core": 1}}, {"type": "Image"})"), "another type");
    says(one(R"({"type": "Node", "fields": {"flags": "x"}})"), "wrong kind of value");
    says(one(R"({"type": "Node", "fields": {"flags": 1.5}})"), "wrong kind of value");
    says(one(R"({"type": "Node", "fields": {"flags": {"blob": [0, 1]}}})"), "takes no blob");
    says(one(R"({"type": "Spectrum", "fields": {"samples": {"blob": [0, 3]}}})"), "beyond the end");
    says(one(R"({"type": "Spectrum", "fields": {"samples": {"blob": [9, 0]}}})"), "beyond the end");
    says(one(R"({"type": "Spectrum", "fields": {"samples": {"blob": [4611686018427387904,
             4611686018427387904]}}})"),
         "beyond the end");
    says(one(R"({"type": "Spectrum", "fields": {"samples": {"blob": 3}}})"), "damaged blob");
    says(one(R"({"type": "Spectrum", "fields": {"samples": {"blob": [-1, 1]}}})"), "damaged blob");
    says(one(R"({"type": "Spectrum", "fields": {"samples": ["x"]}})"), "no number");
    says(one(R"({"type": "GeoProperty", "fields": {"bytes": {"blob": [0, 8]}}},
                {"type": "GeoProperty", "fields": {"bytes": {"blob": [0, 8]}}})"),
         "blobs overlap");
    says(one(R"({"type": "Image", "fields": {"width": 2, "height": 2, "depth": 1,
             "pixels": {"blob": [0, 8]}}})"),
         "8 bytes of pixels");
    says(one(R"({"type": "Image", "fields": {"width": 65536, "height": 65536, "depth": 65536,
             "frameCount": 65536, "sideCount": 65536, "pixels": {"blob": [0, 8]}}})"),
         "8 bytes of pixels");
    says(one(R"({"type": "Geometry", "fields": {"positions": 1, "indices": 2, "lengths": [2]}},
                {"type": "GeoProperty", "fields": {"dataType": 5121, "dimension": 1,
                 "bytes": {"blob": [0, 2]}}},
                {"type": "GeoProperty", "fields": {"dataType": 5121, "dimension": 1,
                 "bytes": {"blob": [4, 2]}}})"),
         "index 53 of vertex 0 is beyond the 2 positions");
    says(one(std::string(300, '[')), "nesting of JSON");
}

TEST(SceneArchive, WarnsOfWhatItCannotUse)
{
    QuietLog log;
    const auto read = readArchive(archiveWith(R"({"root": 0, "containers": [{"type": "Spectrum",
        "fields": {"useSpectrum": true, "unheardOf": [1, 2], "samples": [null]}}]})"));
    EXPECT_TRUE(read);
    EXPECT_EQ(log.lines, 2);
}

TEST(SceneArchive, IsRefusedAtEveryLengthAndSurvivesDamage)
{
    QuietLog log;
    const std::vector<u8> whole = archiveOf(smallScene().get());
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_THROW(readArchive({whole.begin(), whole.begin() + long(size)}), io::InputError);
    std::vector<u8> longer = whole;
    longer.push_back(0);
    EXPECT_NE(messageOf([&] { readArchive(longer); }).find("goes on behind its end"),
              std::string::npos);

    const std::size_t before = osg::FieldContainerFactory::the()->getContainerCount();
    std::mt19937 random(5);
    int accepted = 0;
    for (int round = 0; round < 5000; ++round) {
        std::vector<u8> damaged = whole;
        for (int flips = 1 + int(random() % 3); flips > 0; --flips)
            damaged[random() % damaged.size()] ^= u8(1u << random() % 8);
        try {
            readArchive(damaged);
            ++accepted;
        } catch (const io::InputError& error) {
            EXPECT_EQ(std::string(error.what()).rfind("test: ", 0), 0u);
        }
    }
    EXPECT_GT(accepted, 0);
    EXPECT_LT(accepted, 5000);
    EXPECT_EQ(osg::FieldContainerFactory::the()->getContainerCount(), before);
}
