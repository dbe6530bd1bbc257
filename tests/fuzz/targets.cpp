#include "targets.h"

#include "host/osg/Geometry.h"
#include "host/osg/Node.h"
#include "io/gltfReader.h"
#include "io/imageReader.h"
#include "io/looks.h"
#include "io/sceneArchive.h"
#include "io/sceneImage.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace {

/// Small enough for a run of a few milliseconds, large enough for every path.
io::Limits fuzzLimits()
{
    io::Limits limits;
    limits.imageSide = 1024;
    limits.imageSize = 4 << 20;
    limits.jsonSize = 1 << 20;
    limits.nodes = 10'000;
    limits.accessors = 10'000;
    limits.instances = 10'000;
    limits.textures = 1'000;
    limits.triangles = 1'000'000;
    return limits;
}

/// Every pixel is read as shading would.
void use(const io::ImageData& image)
{
    double sum = 0;
    for (u32 y = 0; y < image.height; y += 1 + image.height / 16)
        for (u32 x = 0; x < image.width; x += 1 + image.width / 16)
            for (u32 c = 0; c < image.channels; ++c)
                sum += image.getNormalized(x, y, c);
    if (image.values.size() != image.getRowSize() * image.height || sum == 1.2345678)
        std::abort();
    const osg::Ref<osg::Image> scene = io::sceneImageOf(image, "fuzz");
    if (!scene || scene->getPixels().size() != image.values.size())
        std::abort();
}

void readImage(std::span<const u8> bytes, std::string_view signature)
{
    // With the right first bytes each run reaches the reader in question.
    std::vector<u8> content(bytes.begin(), bytes.end());
    content.resize(std::max(content.size(), signature.size()));
    std::copy(signature.begin(), signature.end(), content.begin());
    use(io::readImage(content, "fuzz", fuzzLimits()));
}

void readPng(std::span<const u8> bytes)
{
    readImage(bytes, "\x89PNG\r\n\x1a\n");
}
void readJpeg(std::span<const u8> bytes)
{
    readImage(bytes, "\xff\xd8\xff");
}
void readExr(std::span<const u8> bytes)
{
    readImage(bytes, "\x76\x2f\x31\x01");
}
void readHdr(std::span<const u8> bytes)
{
    readImage(bytes, "#?");
}

void readTiff(std::span<const u8> bytes)
{
    const bool isBig = !bytes.empty() && bytes[0] == 'M';
    readImage(bytes, isBig ? std::string_view("MM\0*", 4) : std::string_view("II*\0", 4));
}

void readPfm(std::span<const u8> bytes)
{
    readImage(bytes, bytes.size() > 1 && bytes[1] == 'f' ? "Pf\n" : "PF\n");
}

void readSmall(std::span<const u8> bytes)
{
    readImage(bytes, "");
}

/// Every corner with all its attributes, as geometry nodes read them.
float sumOfCorners(const osg::Geometry& geometry)
{
    float sum = 0;
    const auto add = [&sum](const osg::GeoPropertyPtr& property, u32 index) {
        if (property)
            sum += property->getVec3(index)[0];
    };
    for (auto at = geometry.beginTriangles(), end = geometry.endTriangles(); !(at == end); ++at)
        for (int corner = 0; corner < 3; ++corner) {
            sum += at.getPosition(corner)[2];
            add(geometry.getNormals(), at.getNormalIndex(corner));
            add(geometry.getColors(), at.getColorIndex(corner));
            for (int set = 0; set < osg::Geometry::texCoordSetCount; ++set)
                add(geometry.getTexCoordSet(set), at.getTexCoordsIndex(corner, set));
        }
    for (auto at = geometry.beginLines(), end = geometry.endLines(); !(at == end); ++at)
        sum += at.getPosition(0)[0] + at.getPosition(1)[0];
    return sum;
}

/// Bounds, all triangles, and every field of every container on the way into an archive.
void use(const osg::NodePtr& root)
{
    if (!root)
        return;
    const osg::Box box = root->getWorldBox();
    if (!box.isEmpty() && !(box.minimum[0] <= box.maximum[0]))
        std::abort();
    // Instances share cores: each is walked once.
    std::set<const osg::Geometry*> walked;
    volatile float sum = 0;
    osg::traverse(root, [&](const osg::NodePtr& node) {
        const auto geometry = osg::GeometryPtr::dcast(node->getCore());
        if (geometry && walked.insert(geometry.get()).second)
            sum = sumOfCorners(*geometry);
        return true;
    });
    io::writeSceneArchive(root, [&](const void*, std::size_t size) { sum = float(size); });
}

/// Puts the numbers of a header together.
template <class... Numbers>
std::vector<u8> bytesOf(std::string_view magic, Numbers... numbers)
{
    std::vector<u8> bytes(magic.size() + (sizeof(numbers) + ...));
    u8* to = std::copy(magic.begin(), magic.end(), bytes.data());
    const auto put = [&](auto number) {
        std::memcpy(to, &number, sizeof(number));
        to += sizeof(number);
    };
    (put(numbers), ...);
    return bytes;
}

/// JSON, a zero byte, binary part: the header with the sizes is made here.
void readArchive(std::span<const u8> bytes)
{
    const auto zero = std::find(bytes.begin(), bytes.end(), 0);
    const u64 json = u64(zero - bytes.begin());
    const u64 binary = zero == bytes.end() ? 0 : bytes.size() - json - 1;
    std::vector<u8> content = bytesOf("ZNSCENE\n", u32(1), u32(0), json, binary);
    content.insert(content.end(), bytes.begin(), zero);
    content.insert(content.end(), bytes.end() - long(binary), bytes.end());
    io::InputFile file = io::InputFile::fromMemory(content, "fuzz", fuzzLimits());
    const osg::Ref<osg::FieldContainer> scene = io::readSceneArchive(file);
    use(osg::NodePtr::dcast(scene.get()));
}

void readGltf(std::span<const u8> bytes)
{
    io::InputFile file = io::InputFile::fromMemory(bytes, "fuzz.gltf", fuzzLimits());
    use(io::readGltf(file, nullptr).root.get());
}

void readGlb(std::span<const u8> bytes)
{
    std::vector<u8> content = bytesOf("glTF", u32(2), u32(std::max<std::size_t>(bytes.size(), 12)));
    if (bytes.size() > content.size())
        content.insert(content.end(), bytes.begin() + long(content.size()), bytes.end());
    readGltf(content);
}

/// A look over a small scene; it reaches no files.
void readLook(std::span<const u8> bytes)
{
    static const char* const scene =
        R"({"asset": {"version": "2.0"}, "scenes": [{"nodes": [0, 1, 2]}],
        "nodes": [{"name": "car", "children": [3]}, {"name": "eye", "camera": 0},
                  {"name": "lamp", "extensions": {"KHR_lights_punctual": {"light": 0}}},
                  {"name": "body", "mesh": 0}],
        "cameras": [{"type": "perspective", "perspective": {"yfov": 1, "znear": 1}}],
        "extensions": {"KHR_lights_punctual": {"lights": [{"type": "point", "name": "lamp"}]}},
        "materials": [{"name": "paint"}],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0}, "material": 0}]}],
        "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3"}],
        "bufferViews": [{"buffer": 0, "byteLength": 36}],
        "buffers": [{"byteLength": 36, "uri":
            "data:application/octet-stream;base64,AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA"}]})";
    const std::string_view text(scene);
    io::InputFile file = io::InputFile::fromMemory(
        {reinterpret_cast<const u8*>(text.data()), text.size()}, "fuzz.gltf");
    io::SceneFile read = io::readGltf(file, nullptr);
    io::SceneReadOptions options;
    options.limits = fuzzLimits();
    io::applyLookText(read, {reinterpret_cast<const char*>(bytes.data()), bytes.size()},
                      "fuzz.zn.json", nullptr, options);
    use(read.root.get());
}

const FuzzTarget targets[] = {
    {"png", readPng}, {"jpeg", readJpeg}, {"tiff", readTiff},   {"exr", readExr},
    {"hdr", readHdr}, {"pfm", readPfm},   {"small", readSmall}, {"archive", readArchive},
    {"glb", readGlb}, {"gltf", readGltf}, {"look", readLook},
};

} // namespace

std::span<const FuzzTarget> fuzzTargets()
{
    return targets;
}
