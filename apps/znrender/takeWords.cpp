#include "optionWords.h"
#include "valueChecks.h"

#include "io/InputError.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr std::size_t firstVariant = 7;
constexpr int luminanceRenderer = 4; ///< the first variant's
constexpr u32 beautyMode = 0;
/// Thresholds of noise, one per quality of adaptive sampling from coarse to fine.
const double noiseThresholds[] = {0.04, 0.02, 0.01, 0.005, 0.0025};

void takeResolution(const Words& words, Options& options)
{
    const double largest = double(options.limits.imageSide);
    const auto tooLarge = [&](const char* option, const std::string& text) {
        return UsageError(fmt::format("{}: {} is larger than {:.0f} pixels a side "
                                      "(--limit image-side=N allows more)",
                                      option, text, largest));
    };
    if (words.resolution) {
        const std::string text = io::printable(*words.resolution);
        const std::vector<double> size =
            parseNumbers(*words.resolution, 'x', 2, "-r", "WIDTHxHEIGHT");
        for (const double side : size) {
            if (side < 1.0 || side != std::floor(side))
                throw UsageError(fmt::format("-r: '{}' is no image size", text));
            if (side > largest || side > 0x7fffffff)
                throw tooLarge("-r", "'" + text + "'");
        }
        options.width = unsigned(size[0]);
        options.height = unsigned(size[1]);
    }
    const double width = std::floor(options.width * options.scale / 100.0 + 0.5);
    const double height = std::floor(options.height * options.scale / 100.0 + 0.5);
    if (std::max(width, height) > std::min(largest, double(0x7fffffff)))
        throw tooLarge("--scale", fmt::format("{:.0f} x {:.0f}", width, height));
    options.width = unsigned(std::max(1.0, width));
    options.height = unsigned(std::max(1.0, height));
}

void takeCrop(const std::string& text, Options& options)
{
    const std::vector<double> v = parseNumbers(text, ',', 4, "--crop", "LEFT,BOTTOM,RIGHT,TOP");
    std::copy(v.begin(), v.end(), options.crop.begin());
    const bool inside =
        std::all_of(v.begin(), v.end(), [](double x) { return x >= 0.0 && x <= 1.0; });
    if (!inside || v[0] >= v[2] || v[1] >= v[3])
        throw UsageError(fmt::format("--crop: '{}' is no part of the image; values lie in 0..1, "
                                     "left below right, bottom below top",
                                     io::printable(text)));
}

/// Place of a name in a list; an error names the nearest.
std::size_t findName(const std::string& name, const std::vector<std::string>& names,
                     const std::string& option)
{
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end())
        throw UsageError(option + ": " + unknownWord(name, names));
    return std::size_t(found - names.begin());
}

void takeFilter(const std::string& text, Options& options)
{
    const std::size_t colon = text.find(':');
    options.filterName = text.substr(0, colon);
    if (colon != text.npos)
        options.filterWidth = parseNumber(text.substr(colon + 1), "--filter");
    findName(options.filterName, filterNames, "--filter");
    if (options.filterWidth <= 0.0 || options.filterWidth > 32.0)
        throw UsageError(
            fmt::format("--filter: a width of {} pixels is outside 0..32", options.filterWidth));
}

u32 findPass(const std::string& name, const std::string& option)
{
    const int pass = findRenderPass(name);
    if (pass >= 0)
        return u32(pass);
    const std::vector<std::string> names(znRenderPassNames.begin(), znRenderPassNames.end());
    throw UsageError(fmt::format("{}: there is no pass '{}', perhaps '{}'; 'znrender list "
                                 "passes' names them",
                                 option, io::printable(name), nearestName(name, names)));
}

u64 passMask(const std::string& text)
{
    u64 mask = 0;
    for (const std::string& name : parseList(text, "--passes")) {
        if (name == "none")
            continue;
        if (name != "all" && name != "data") {
            mask |= u64(1) << findPass(name, "--passes");
            continue;
        }
        const u32 first = name == "all" ? u32(ZN_PASS_BEAUTY) : u32(ZN_PASS_NORMAL);
        for (u32 pass = first; pass < znRenderPassCount; ++pass)
            mask |= u64(1) << pass;
    }
    return mask;
}

void takePasses(const Words& words, Options& options)
{
    PassOptions& passes = options.passes;
    if (words.passes)
        passes.written = passMask(*words.passes);
    if (words.shownPass)
        passes.shown = findPass(*words.shownPass, "--pass");
    if (passes.written && words.shownPass)
        throw UsageError("--pass: shows one layer and cannot stand beside --passes");
    if (isCryptomattePass(passes.shown))
        throw UsageError("--pass: id mattes are no picture; --passes writes them to an EXR");
    passes.layout = words.exrLayout == "flat"    ? PassOptions::Layout::flat
                    : words.exrLayout == "files" ? PassOptions::Layout::files
                                                 : PassOptions::Layout::multipart;
    passes.allRgba = words.exrChannels == "rgba";
    options.halfFloat = words.exrFloat == "data";
    const std::size_t shown =
        findName(words.integrator.value_or("beauty"), integratorNames, "--integrator");
    options.renderMode = shown < firstVariant ? u32(shown) : beautyMode;
    if (shown >= firstVariant)
        options.renderer = luminanceRenderer + int(shown - firstVariant);
    if (!words.passes && !words.shownPass)
        return;
    if (words.integrator && options.renderMode != beautyMode)
        throw UsageError("--integrator: passes belong to the beauty");
    options.renderMode = beautyMode;
}

/// A direction rather than the name of an axis.
bool isPoint(const std::string& word)
{
    return word.find(',') != std::string::npos;
}

void takeView(const Words& words, Options& options)
{
    const auto point = [](const std::optional<std::string>& text, const char* option) {
        return text ? std::optional(parsePoint(*text, option)) : std::nullopt;
    };
    ViewOptions& view = options.view;
    view.eye = point(words.eye, "--eye");
    view.at = point(words.at, "--at");
    view.up = point(words.up, "--view-up");
    if (words.upAxis && isPoint(*words.upAxis))
        view.up = parsePoint(*words.upAxis, "--up");
    if (view.up && *view.up == std::array{0.0, 0.0, 0.0})
        throw UsageError(fmt::format("{}: 0,0,0 is no direction", words.up ? "--view-up" : "--up"));
    if (view.eye && view.eye == view.at)
        throw UsageError("--at: is where --eye is: there is no direction to look into");
    view.fov = words.fov;
    view.exposure = words.exposure;
    view.camera = words.camera.value_or("");
    if (words.camera && words.camera->empty())
        throw UsageError("-c: no camera named");
    if (words.camera && (view.eye || view.at || view.up || view.fov))
        throw UsageError("-c: a camera of the scene has its own view; leave out --eye, --at, "
                         "--view-up and --fov");
}

void takeSurroundings(const Words& words, Options& options)
{
    SurroundingOptions& around = options.surroundings;
    around.floor = !words.noFloor;
    if (words.environment && words.environment->empty())
        throw UsageError("--env: names no picture");
    around.environment = words.environment.value_or("");
    if (!words.sun)
        return;
    const std::vector<double> sun = parseNumbers(*words.sun, ',', 2, "--sun", "AZIMUTH,ELEVATION");
    if (std::abs(sun[0]) > 360.0 || std::abs(sun[1]) > 90.0)
        throw UsageError(fmt::format("--sun: '{}' is no direction: the azimuth lies in -360..360, "
                                     "the elevation in -90..90",
                                     io::printable(*words.sun)));
    if (!around.environment.empty() && around.environment != "sky")
        throw UsageError("--sun: belongs to the sky and cannot stand beside another --env");
    around.sun = {sun[0], sun[1]};
}

void takeColor(const Words& words, Options& options)
{
    ColorOptions& color = options.color;
    const char* const variable = std::getenv("OCIO");
    color.configuration = words.ocio.value_or(variable && !words.noTonemap ? variable : "");
    if (color.configuration == "none")
        color.configuration.clear();
    color.display = words.display.value_or("");
    if (words.noTonemap && (words.view || words.ocio || words.display))
        throw UsageError("--no-tonemap: cannot stand beside --view, --display and --ocio");
    if (color.configuration.empty() && words.display)
        throw UsageError("--display: belongs to an OpenColorIO configuration; name it by --ocio or "
                         "in the variable OCIO");
    if (words.noTonemap)
        color.tonemapper = znImagePostprocessor::tonemapClamp;
    if (!words.view)
        return;
    if (!color.configuration.empty()) {
        color.view = *words.view;
        return;
    }
    std::vector<std::string> names;
    for (const auto& [name, kind] : viewNames)
        names.push_back(name);
    color.tonemapper = viewNames[findName(*words.view, names, "--view")].second;
}

void takeQuality(const Words& words, Options& options)
{
    QualityOptions& quality = options.quality;
    if (words.illumination) {
        const std::string& word = *words.illumination;
        if (word.size() == 1 && word[0] >= '0' && word[0] < char('0' + illuminationNames.size()))
            quality.illumination = word[0] - '0';
        else if (word == "off")
            quality.illumination = 0;
        else
            quality.illumination = int(findName(word, illuminationNames, "--gi"));
    }
    quality.bounces = words.bounces;
    quality.clamp = words.clamp;
    if (words.noise) {
        // The coarsest quality that keeps the noise below what is asked for.
        quality.adaptive = 0;
        while (quality.adaptive < 4 && noiseThresholds[quality.adaptive] > *words.noise)
            ++quality.adaptive;
        if (*words.noise == 0.0)
            quality.adaptive = 5;
    }
}

void takeConventions(const Words& words, Options& options)
{
    if (words.upAxis && !isPoint(*words.upAxis)) {
        if (*words.upAxis != "y" && *words.upAxis != "z")
            throw UsageError(fmt::format("--up: '{}' is neither y nor z nor X,Y,Z",
                                         io::printable(*words.upAxis)));
        options.conventions.upAxis = words.upAxis->front();
    }
    if (words.unit) {
        const std::vector<std::string> names = {"m", "cm", "mm", "in"};
        const double metres[] = {1.0, 0.01, 0.001, 0.0254};
        options.conventions.metresPerUnit = metres[findName(*words.unit, names, "--unit")];
    }
}

void takeRender(const Words& words, Options& options)
{
    if (words.crop)
        takeCrop(*words.crop, options);
    if (words.timeLimit)
        options.timeLimit = parseDuration(*words.timeLimit, "--time-limit");
    if (words.filter)
        takeFilter(*words.filter, options);
    if (words.snapshot)
        options.snapshotSeconds = parseDuration(*words.snapshot, "--snapshot");
    takeColor(words, options);
    options.still = words.mode == "still";
}

void takeList(Options& options)
{
    const bool isOfFields = options.listWhat == "fields",
               isOfCameras = options.listWhat == "cameras" || options.listWhat == "variants",
               isOfMaterials = options.listWhat == "materials";
    if (isOfFields && options.scenes.size() != 1)
        throw UsageError("list fields: name one container type ('list types' names them)");
    if (isOfCameras && options.scenes.empty())
        throw UsageError(fmt::format("list {}: name a scene", options.listWhat));
    if (!isOfFields && !isOfCameras && !isOfMaterials && !options.scenes.empty())
        throw UsageError(fmt::format("list {}: takes no name, not '{}'", options.listWhat,
                                     io::printable(options.scenes.front())));
    if (isOfFields)
        options.listType = options.scenes.front();
}

/// A pixel of debug-pixel or of info --pick.
void takePixel(const Words& words, Options& options)
{
    if (options.verb == Verb::debugPixel)
        options.pixel = parsePixel(words.pixel, "debug-pixel");
    else if (words.pick)
        options.pixel = parsePixel(*words.pick, "--pick");
    if (options.pixel &&
        ((*options.pixel)[0] >= options.width || (*options.pixel)[1] >= options.height))
        throw UsageError(fmt::format("pixel {},{} lies outside of the image of {} x {} pixels",
                                     (*options.pixel)[0], (*options.pixel)[1], options.width,
                                     options.height));
}

} // namespace

void takeWords(const Words& words, Options& options)
{
    for (const std::string& assignment : words.limits) {
        try {
            options.limits.set(assignment);
        } catch (const std::invalid_argument& error) {
            throw UsageError(error.what());
        }
    }
    takeConventions(words, options);
    takeResolution(words, options);
    takeView(words, options);
    takePasses(words, options);
    takePixel(words, options);
    takeSurroundings(words, options);
    takeQuality(words, options);
    if (options.verb == Verb::render)
        takeRender(words, options);
    if (options.verb == Verb::list)
        takeList(options);
}
