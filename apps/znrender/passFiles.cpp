#include "passFiles.h"

#include "host/osg/UberCamera.h"
#include "host/znLog.h"
#include "io/OutputFile.h"
#include "io/exrParts.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <unistd.h>

namespace {

/// Longer lists of names go into a file beside the picture.
constexpr std::size_t largestManifest = 64 * 1024;

std::vector<u32> writtenPasses(const Options& options)
{
    std::vector<u32> passes = {ZN_PASS_BEAUTY};
    for (u32 pass = 1; pass < znRenderPassCount; ++pass)
        if (options.passes.written >> pass & 1)
            passes.push_back(pass);
    return passes;
}

/// What the components of a pass mean; a digit of the alphabet each.
std::string componentsOf(u32 pass, bool allRgba)
{
    if (isCryptomattePass(pass))
        return "rgba"; // as readers of id mattes expect them
    if (allRgba)
        return "RGBA";
    switch (pass) {
    case ZN_PASS_NORMAL:
    case ZN_PASS_POSITION:
    case ZN_PASS_VIEW:
        return "XYZ";
    case ZN_PASS_DEPTH:
        return "Z";
    case ZN_PASS_MASK:
        return "A";
    case ZN_PASS_MATERIAL_ID:
        return "RGB";
    default:
        return "RGBA";
    }
}

io::ExrPart partOf(u32 pass, const Options& options)
{
    io::ExrPart part;
    part.name = znRenderPassNames[pass];
    part.isHalf = options.halfFloat && pass <= ZN_PASS_OCCLUSION;
    for (const char component : componentsOf(pass, options.passes.allRgba))
        part.channels.push_back(pass == ZN_PASS_BEAUTY ? std::string(1, component)
                                                       : part.name + "." + component);
    return part;
}

std::string withPassName(const std::string& output, u32 pass)
{
    const std::filesystem::path path(output);
    return (path.parent_path() /
            (path.stem().string() + "." + znRenderPassNames[pass] + path.extension().string()))
        .string();
}

// Id mattes.

struct MatteType
{
    znRTCryptomatte::Kind kind;
    const char* name;
    u32 firstPass;
};

const MatteType matteTypes[] = {
    {znRTCryptomatte::objects, "cryptoObject", ZN_PASS_CRYPTO_OBJECT_00},
    {znRTCryptomatte::materials, "cryptoMaterial", ZN_PASS_CRYPTO_MATERIAL_00}};

bool isOfType(u32 pass, const MatteType& type)
{
    return pass >= type.firstPass && pass < type.firstPass + u32(znRTCryptomatte::layersPerKind);
}

/// "picture.cryptoObject.json" beside "picture.exr"
std::string sidecarName(const std::string& output, const MatteType& type)
{
    const std::filesystem::path path(output);
    return (path.parent_path() / (path.stem().string() + "." + type.name + ".json")).string();
}

using Texts = std::map<std::string, std::string>;

/// Keys of one type of matte; a long list of names goes into a file of its own.
Texts matteTexts(const znRTCryptomatte& matte, const MatteType& type, const std::string& output,
                 io::OutputFile::Existing existing)
{
    const std::string key = fmt::format(
        "cryptomatte/{}/", fmt::format("{:08x}", znRTCryptomatte::hash(type.name)).substr(0, 7));
    Texts texts = {{key + "name", type.name},
                   {key + "hash", "MurmurHash3_32"},
                   {key + "conversion", "uint32_to_float32"}};
    const std::string manifest = matte.getManifest(type.kind);
    if (manifest.size() <= largestManifest) {
        texts[key + "manifest"] = manifest;
        return texts;
    }
    const std::string sidecar = sidecarName(output, type);
    io::OutputFile file(sidecar, existing);
    file.write(manifest.data(), manifest.size());
    file.commit();
    // By its plain name: picture and list travel together.
    texts[key + "manif_file"] = std::filesystem::path(sidecar).filename().string();
    return texts;
}

// What the header tells.

/// Row vectors: v * M, as OpenEXR has it.
std::array<float, 16> toRows(const osg::Matrix& matrix)
{
    std::array<float, 16> rows{};
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 4; ++row)
            rows[std::size_t(4 * column + row)] = matrix[column][row];
    return rows;
}

/// World to camera, with the camera looking along -z.
std::optional<osg::Matrix> worldToCamera(const osg::CameraPtr& camera)
{
    if (!camera || !camera->getBeacon())
        return std::nullopt;
    osg::Matrix matrix = camera->getBeacon()->getToWorld();
    matrix.invert();
    return matrix;
}

/// A perspective view's mapping of world space to -1..1 over the whole image; depth runs from 0 at
/// the near plane to 1 at the far plane.
std::optional<osg::Matrix> worldToNdc(const Options& options, const osg::CameraPtr& camera)
{
    const osg::UberCameraPtr uber = osg::UberCamera::Ptr::dcast(camera);
    const auto toCamera = worldToCamera(camera);
    if (!uber || !toCamera || uber->getProjectionMode() != osg::UberCamera::perspective ||
        uber->getFovAxis() != osg::UberCamera::vertical || uber->getLensShift() != osg::Vec2f(0, 0))
        return std::nullopt;
    const float n = uber->getNear(), f = uber->getFar();
    const float scaleY = 1.0f / std::tan(0.5f * uber->getFov() * 3.14159265f / 180.0f);
    osg::Matrix projection;
    for (int column = 0; column < 4; ++column)
        projection[column] = {0, 0, 0, 0};
    projection[0][0] = scaleY * float(options.height) / float(options.width);
    projection[1][1] = scaleY;
    projection[2][2] = f / (n - f);
    projection[2][3] = -1.0f;
    projection[3][2] = n * f / (n - f);
    projection.mult(*toCamera);
    return projection;
}

/// A build or a farm that wants the same bytes every time sets this time (reproducible-builds.org).
const char* fixedTime()
{
    return std::getenv("SOURCE_DATE_EPOCH");
}

/// The time of the picture in the form of the format, UTC.
std::string captureDate()
{
    std::time_t now = std::time(nullptr);
    if (const char* const fixed = fixedTime())
        std::from_chars(fixed, fixed + std::strlen(fixed), now);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[32] = "";
    std::strftime(text, sizeof text, "%Y:%m:%d %H:%M:%S", &parts);
    return text;
}

/// The machine's name, empty when it has none.
std::string hostName()
{
    char name[256] = "";
    gethostname(name, sizeof name - 1);
    return name;
}

io::ExrDescription descriptionOf(const Options& options, const osg::CameraPtr& camera,
                                 const Statistics& statistics)
{
    io::ExrDescription description;
    description.texts = headerTexts(options, statistics);
    if (const auto matrix = worldToCamera(camera))
        description.worldToCamera = toRows(*matrix);
    if (const auto matrix = worldToNdc(options, camera))
        description.worldToNdc = toRows(*matrix);
    return description;
}

} // namespace

std::map<std::string, std::string> headerTexts(const Options& options, const Statistics& statistics)
{
    const nlohmann::ordered_json settings = {
        {"mode", options.still ? "still" : "interactive"},
        {"samples", statistics.samples},
        {"filter", fmt::format("{}:{}", options.filterName, options.filterWidth)}};
    std::map<std::string, std::string> texts = {
        {"Software", fmt::format("znrender {}", ZN_VERSION)},
        {"capDate", captureDate()},
        {"zn/version", ZN_VERSION},
        {"zn/samples", std::to_string(statistics.samples)},
        {"zn/settings", settings.dump()}};
    // What differs from run to run stays out of pictures that are to be equal.
    if (fixedTime())
        return texts;
    texts["zn/renderTime"] = fmt::format("{:.3f}", statistics.traceSeconds);
    if (const std::string host = hostName(); options.namesHost && !host.empty())
        texts["zn/host"] = host;
    return texts;
}

std::vector<std::string> passFiles(const Options& options, const std::string& output)
{
    if (options.passes.layout != PassOptions::Layout::files)
        return {output};
    std::vector<std::string> files;
    for (const u32 pass : writtenPasses(options))
        files.push_back(pass == ZN_PASS_BEAUTY ? output : withPassName(output, pass));
    return files;
}

void writePassFiles(const Options& options, const std::string& output, const osg::CameraPtr& camera,
                    const znRTCryptomatte* matte, const Statistics& statistics,
                    const std::function<io::ImageData(u32)>& image)
{
    const std::vector<u32> passes = writtenPasses(options);
    std::vector<io::ExrPart> parts;
    for (const u32 pass : passes)
        parts.push_back(partOf(pass, options));
    if (!options.still && std::any_of(passes.begin(), passes.end(), isCryptomattePass))
        znLog::warning("Interactive frames collect no ids: the passes cryptoObject and "
                       "cryptoMaterial stay empty. They need --mode still.");
    io::ExrPartsOptions write;
    write.compression = options.exrCompression;
    write.existing =
        options.overwrite ? io::OutputFile::Existing::replace : io::OutputFile::Existing::refuse;
    write.layout = options.passes.layout == PassOptions::Layout::flat ? io::ExrLayout::flat
                                                                      : io::ExrLayout::parts;
    io::ExrDescription description = descriptionOf(options, camera, statistics);
    // Readers look for mattes in the first header or in that of the part; both tell.
    for (const MatteType& type : matteTypes) {
        const bool isWritten = std::any_of(passes.begin(), passes.end(),
                                           [&](u32 pass) { return isOfType(pass, type); });
        if (!matte || !isWritten)
            continue;
        const Texts texts = matteTexts(*matte, type, output, write.existing);
        description.texts.insert(texts.begin(), texts.end());
        for (std::size_t i = 0; i < passes.size(); ++i)
            if (isOfType(passes[i], type))
                parts[i].texts = texts;
    }
    if (options.passes.layout != PassOptions::Layout::files) {
        io::writeExrParts(
            output, parts, [&](std::size_t i) { return image(passes[i]); }, description, write);
        return;
    }
    const std::vector<std::string> files = passFiles(options, output);
    for (std::size_t i = 0; i < passes.size(); ++i)
        io::writeExrParts(
            files[i], {parts[i]}, [&](std::size_t) { return image(passes[i]); }, description,
            write);
}
