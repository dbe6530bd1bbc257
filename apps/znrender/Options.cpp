#include "Options.h"

#include "optionDefaults.h"

#include "host/znImagePostprocessor.h"
#include "io/InputError.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace {

const std::vector<std::pair<std::string, Verb>> verbs = {
    {"render", Verb::render},   {"info", Verb::info},     {"list", Verb::list},
    {"convert", Verb::convert}, {"schema", Verb::schema}, {"debug-pixel", Verb::debugPixel}};

/// Places in the list are render modes; behind them come variants of the beauty.
const std::vector<std::string> integrators = {"beauty",      "normal",    "discontinuity",
                                              "occlusion",   "indirect",  "analysis",
                                              "illuminance", "luminance", "debug"};
constexpr std::size_t firstVariant = 7;
constexpr int luminanceRenderer = 4; ///< the first variant's
constexpr u32 beautyMode = 0;

const std::vector<std::string> filters = {"box",      "triangle", "gaussian",
                                          "mitchell", "lanczos",  "blackman-harris"};

const std::vector<std::pair<std::string, int>> views = {
    {"neutral", znImagePostprocessor::tonemapNeutral},
    {"standard", znImagePostprocessor::tonemapClamp},
    {"filmic", znImagePostprocessor::tonemapFilmic},
    {"aces", znImagePostprocessor::tonemapACES},
    {"reinhard", znImagePostprocessor::tonemapReinhard},
    {"logarithmic", znImagePostprocessor::tonemapLogarithmic},
    {"photographic", znImagePostprocessor::tonemapPhotographic}};

/// Places in the list are levels; "off" is another name of the first.
const std::vector<std::string> illuminations = {"direct", "ambient", "environment", "full"};

/// Thresholds of noise, one per quality of adaptive sampling from coarse to fine.
const double noiseThresholds[] = {0.04, 0.02, 0.01, 0.005, 0.0025};

/// Options as they were typed; those that were not stay empty.
struct Words
{
    std::optional<std::string> resolution, crop, camera, eye, at, up, timeLimit, filter, upAxis,
        unit, passes, shownPass, integrator, pick, sun, view, ocio, display, illumination, snapshot,
        environment;
    std::optional<double> fov, exposure, noise, clamp;
    std::optional<int> bounces;
    std::string mode = "still", exrLayout = "multipart", exrFloat = "data", exrChannels = "named",
                pixel;
    std::vector<std::string> limits;
    std::string config;
    bool showVersion = false, noTonemap = false, noFloor = false;
};

// Which options a command has.

void addCommon(CLI::App& command, Options& options, Words& words)
{
    command.add_flag("-V,--version", words.showVersion, "Print the version");
    command
        .add_option("-I", options.includeFolders,
                    "Folder from which a scene may load further files (repeatable)")
        ->expected(1)
        ->take_all();
    command
        .add_option("--limit", words.limits, "Raise or lower an input limit: NAME=N (repeatable)")
        ->expected(1)
        ->take_all();
    command.add_option("--up", words.upAxis,
                       "Upward axis of files that do not say (OBJ, PLY: y, STL: z): y or z; or "
                       "X,Y,Z for --view-up");
    command.add_option(
        "--unit", words.unit,
        "Unit of files that do not say (OBJ, PLY, STL): m, cm, mm or in (default m)");
    command.add_option(
        "--config", words.config,
        "File with options, one NAME = VALUE a line; the command line and ZNRENDER_* "
        "variables come first");
    command.add_option("--log-file", options.logFile, "File to which all messages are added");
    command.add_option("--log-level", options.logLevel, "error, warning or info")
        ->check(CLI::IsMember({"error", "warning", "info"}));
    command.add_flag("-q,--quiet", options.quiet, "No progress, errors only");
}

void addScenes(CLI::App& command, Options& options)
{
    command
        .add_option(
            "SCENE", options.scenes,
            "glTF, OBJ, PLY, STL, FBX, Collada, a scene archive, or a look that names files")
        ->required();
    addLooks(command, options.look);
}

void addView(CLI::App& command, Options& options, Words& words)
{
    command.add_option("-r,--resolution", words.resolution,
                       "Size in pixels, WIDTHxHEIGHT (default 1280x720)");
    command.add_option("--scale", options.scale, "Percent of the resolution (default 100)")
        ->check(CLI::Range(0.01, 10000.0));
    command.add_option("-c,--camera", words.camera, "Camera of the scene, by name or number");
    command.add_option("--eye", words.eye, "Viewpoint X,Y,Z (z up)");
    command.add_option("--at", words.at, "Point to look at, X,Y,Z");
    command.add_option("--view-up", words.up, "Upward direction of the view X,Y,Z");
    command.add_option("--fov", words.fov, "Vertical field of view, degrees")
        ->check(CLI::Range(0.1, 179.0));
    command
        .add_option("--exposure", words.exposure,
                    "Stops that the picture is brightened by before it is tone mapped; EXR and "
                    "HDR keep the light as it is")
        ->check(CLI::Range(-50.0, 50.0));
    command.add_option(
        "--integrator", words.integrator,
        fmt::format("What to show: {} (default beauty)", fmt::join(integrators, ", ")));
    command.add_option("-t,--threads", options.threads, "Threads (default: all cores)")
        ->check(CLI::Range(1, 1024));
}

void addOutput(CLI::App& command, Options& options, Words& words)
{
    command
        .add_option("-o,--output", options.outputs,
                    "Picture to write; the suffix decides (repeatable)")
        ->expected(1)
        ->take_all()
        ->required();
    command.add_option("--crop", words.crop, "Part of the image: LEFT,BOTTOM,RIGHT,TOP in 0..1");
    command
        .add_option("--bit-depth", options.bitDepth, "8 or 16 (PNG, TIFF), 32 (TIFF) (default 8)")
        ->check(CLI::IsMember({8, 16, 32}));
    command.add_option("--jpeg-quality", options.jpegQuality, "1 to 100 (default 92)")
        ->check(CLI::Range(1, 100));
    command.add_option("--passes", words.passes,
                       "Layers for the EXR: names from 'list passes' between commas, all, data or "
                       "none (default none)");
    command.add_option("--pass", words.shownPass, "Show one layer in the picture");
    command
        .add_option("--exr-layout", words.exrLayout,
                    "Passes as parts of one file, flat in one part, or files NAME.PASS.exr: "
                    "multipart, flat or files (default multipart)")
        ->check(CLI::IsMember({"multipart", "flat", "files"}));
    command.add_option("--exr-compression", options.exrCompression, "zip, zips, piz or none")
        ->check(CLI::IsMember({"zip", "zips", "piz", "none"}));
    command
        .add_option("--exr-float", words.exrFloat,
                    "32-bit floats for data passes, or for all: data or all (default data)")
        ->check(CLI::IsMember({"data", "all"}));
    command
        .add_option("--exr-channels", words.exrChannels,
                    "Channels of passes as they mean them, or always R G B A: named or rgba "
                    "(default named)")
        ->check(CLI::IsMember({"named", "rgba"}));
    command.add_flag("--exr-host", options.namesHost,
                     "Put the name of this machine into the header of EXR files (zn/host)");
    command.add_flag("--overwrite", options.overwrite, "Replace existing pictures");
    command.add_option("--snapshot", words.snapshot,
                       "Write the pictures every so often while rendering: 90, 90s, 5m, 2h; SIGHUP "
                       "and SIGUSR1 write them at once");
}

void addLight(CLI::App& command, Options& options, Words& words)
{
    SurroundingOptions& around = options.surroundings;
    command.add_option("--env", words.environment,
                       "Picture of the surroundings (HDR, EXR, ...; latitude-longitude), sky or "
                       "none; without it, a scene that has no light stands in a studio");
    command
        .add_option("--env-rotation", around.rotation,
                    "Degrees by which the surroundings are turned to the right")
        ->check(CLI::Range(-36000.0, 36000.0));
    command.add_option("--env-strength", around.strength, "Factor on their light (default 1)")
        ->check(CLI::Range(0.0, 1e9));
    command.add_option("--sun", words.sun,
                       "Sky with the sun at AZIMUTH,ELEVATION in degrees; azimuth from north (y) "
                       "to east (x) (default 135,40)");
    command
        .add_option_function<std::string>(
            "--background", [&](const std::string& word) { around.background = word == "keep"; },
            "keep, or none: surroundings are not seen, and PNG and TIFF get an alpha channel")
        ->check(CLI::IsMember({"keep", "none"}));
    command.add_flag("--no-ground", words.noFloor, "No floor below a scene that has no light");
}

void addColor(CLI::App& command, Options& options, Words& words)
{
    std::vector<std::string> names;
    for (const auto& [name, kind] : views)
        names.push_back(name);
    command.add_option("--view", words.view,
                       fmt::format("How light becomes colours of PNG, JPEG and TIFF: {} (default "
                                   "neutral); with --ocio a view of its display",
                                   fmt::join(names, ", ")));
    command.add_option("--display", words.display, "Display of the --ocio configuration");
    command.add_option("--ocio", words.ocio,
                       "OpenColorIO configuration (default $OCIO; none ignores that)");
    command.add_option("--icc", options.color.profile,
                       "ICC profile of the display: pictures are made for it and hold it");
    command.add_flag("--no-tonemap", words.noTonemap, "No tone curve: light, exposed, as sRGB");
}

/// How far light is followed.
void addPaths(CLI::App& command, Words& words)
{
    command.add_option("--gi", words.illumination,
                       fmt::format("How much light is followed, by name or number from 0: {} "
                                   "(default full, or what the scene says)",
                                   fmt::join(illuminations, ", ")));
    command.add_option("--bounces", words.bounces, "Mirror and glass surfaces that a path passes")
        ->check(CLI::Range(0, 64));
    command
        .add_option("--clamp", words.clamp,
                    "Largest value of a sample after the exposure, white is 1: fewer bright specks")
        ->check(CLI::Range(1e-4, 1e30));
}

void addQuality(CLI::App& command, Options& options, Words& words)
{
    command
        .add_option("-s,--samples", options.samples,
                    "Samples per pixel (default 64, or what a look says)")
        ->check(CLI::Range(1, 65536));
    addPaths(command, words);
    command
        .add_option("--noise", words.noise,
                    "Noise at which a pixel is finished early: 0.04 to 0.0025, 0 never (default "
                    "0.01)")
        ->check(CLI::Range(0.0, 1.0));
    command.add_option("--seed", options.seed, "Another number gives another noise (default 0)")
        ->check(CLI::Range(0u, 65535u));
    command.add_option("--time-limit", words.timeLimit, "Stop after this time: 90, 90s, 5m, 2h");
    command
        .add_option("--mode", words.mode, "still (accumulates samples) or interactive (one frame)")
        ->check(CLI::IsMember({"still", "interactive"}));
    command.add_option("--filter", words.filter, "Pixel filter NAME:WIDTH (default gaussian:2)");
    command.add_option("--tile", options.tileSize, "Tile edge in pixels (default 32)")
        ->check(CLI::Range(4, 1024));
    command.add_flag("--json-progress", options.jsonProgress, "Progress as one JSON object a line");
    command.add_option("--stats", options.statsFile, "Write times, counts and memory as JSON");
    command.add_flag("--nice", options.nice, "Leave the processor to others first");
}

// What the words mean.

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
        throw UsageError(fmt::format("{}: '{}' is unknown, perhaps '{}'; there are {}", option,
                                     io::printable(name), nearestName(name, names),
                                     fmt::join(names, ", ")));
    return std::size_t(found - names.begin());
}

void takeFilter(const std::string& text, Options& options)
{
    const std::size_t colon = text.find(':');
    options.filterName = text.substr(0, colon);
    if (colon != text.npos)
        options.filterWidth = parseNumber(text.substr(colon + 1), "--filter");
    findName(options.filterName, filters, "--filter");
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
        findName(words.integrator.value_or("beauty"), integrators, "--integrator");
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
    for (const auto& [name, kind] : views)
        names.push_back(name);
    color.tonemapper = views[findName(*words.view, names, "--view")].second;
}

void takeQuality(const Words& words, Options& options)
{
    QualityOptions& quality = options.quality;
    if (words.illumination) {
        const std::string& word = *words.illumination;
        if (word.size() == 1 && word[0] >= '0' && word[0] < char('0' + illuminations.size()))
            quality.illumination = word[0] - '0';
        else if (word == "off")
            quality.illumination = 0;
        else
            quality.illumination = int(findName(word, illuminations, "--gi"));
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

/// Words behind "--" are names, also those that look like options. The parser takes the mark for
/// the end of a repeatable option's values; a folder in front of a name says the same.
void takeEndMark(std::vector<std::string>& line)
{
    const auto mark = std::find(line.begin(), line.end(), "--");
    if (mark == line.end())
        return;
    for (auto word = mark + 1; word != line.end(); ++word)
        if (word->starts_with('-'))
            word->insert(0, "./");
    line.erase(mark);
}

} // namespace

Options parseOptions(const std::vector<std::string>& arguments)
{
    Options options;
    Words words;

    CLI::App app("Renders scenes with the ray tracing core.", "znrender");
    app.add_flag("-V,--version", words.showVersion, "Print the version");

    CLI::App* const render = app.add_subcommand("render", "Render a picture (the default)");
    addScenes(*render, options);
    addOutput(*render, options, words);
    addView(*render, options, words);
    addLight(*render, options, words);
    addColor(*render, options, words);
    addQuality(*render, options, words);
    addCommon(*render, options, words);

    CLI::App* const info = app.add_subcommand("info", "Tell what a scene holds");
    addScenes(*info, options);
    info->add_flag("--assign", options.showAssignments,
                   "Tell which rule of a look gave each object its material");
    info->add_option("--pick", words.pick,
                     "Tell what the pixel X,Y shows, counted from the upper left corner");
    addView(*info, options, words);
    addLight(*info, options, words);
    addCommon(*info, options, words);

    CLI::App* const list =
        app.add_subcommand("list", "List passes, container types, fields, kinds of materials, or "
                                   "cameras, materials and variants of a scene");
    list->add_option("WHAT", options.listWhat,
                     "passes, cameras, materials, types, fields or variants")
        ->required()
        ->check(CLI::IsMember({"passes", "cameras", "materials", "types", "fields", "variants"}));
    list->add_option("NAME", options.scenes,
                     "SCENE for cameras, variants and materials, TYPE for fields");
    addLooks(*list, options.look);
    addCommon(*list, options, words);

    CLI::App* const convert =
        app.add_subcommand("convert", "Write a scene as the host's scene archive");
    addScenes(*convert, options);
    addCommon(*convert, options, words);
    convert->add_option("-o,--output", options.outputs, "Archive to write")
        ->expected(1)
        ->required();
    convert->add_flag("--overwrite", options.overwrite, "Replace an existing file");

    CLI::App* const schema =
        app.add_subcommand("schema", "Write the JSON Schema of looks, for editors");
    schema->add_option("-o,--output", options.outputs, "File to write (default: standard output)")
        ->expected(1);
    schema->add_flag("--overwrite", options.overwrite, "Replace an existing file");
    addCommon(*schema, options, words);

    CLI::App* const debugPixel =
        app.add_subcommand("debug-pixel", "Print the rays that make a pixel, as a tree");
    debugPixel
        ->add_option("PIXEL", words.pixel, "The pixel X,Y, counted from the upper left corner")
        ->required();
    addScenes(*debugPixel, options);
    addView(*debugPixel, options, words);
    addLight(*debugPixel, options, words);
    addPaths(*debugPixel, words);
    addCommon(*debugPixel, options, words);

    app.require_subcommand(0, 1);
    app.fallthrough(false);

    // Without a verb the command is "render"; only help and version stand without one.
    std::vector<std::string> line = arguments;
    const bool hasVerb =
        !line.empty() && std::any_of(verbs.begin(), verbs.end(),
                                     [&](const auto& v) { return v.first == line.front(); });
    const bool bareFlag = line.size() == 1 && (line[0] == "-h" || line[0] == "--help" ||
                                               line[0] == "-V" || line[0] == "--version");
    if (!hasVerb && !bareFlag)
        line.insert(line.begin(), "render");
    takeEndMark(line);
    OptionDefaults defaults;
    if (!bareFlag)
        for (CLI::App* const command : app.get_subcommands([](CLI::App*) { return true; }))
            if (command->get_name() == line.front())
                defaults.add(*command, app, line);
    try {
        std::vector<std::string> reversed(line.rbegin(), line.rend());
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        options.verb = Verb::help;
        const auto chosen = app.get_subcommands();
        options.helpText = chosen.empty() || !hasVerb ? app.help() + "\n" + render->help("znrender")
                                                      : chosen.front()->help("znrender");
        return options;
    } catch (const CLI::ParseError& error) {
        if (!words.showVersion)
            throw UsageError(defaults.withSource(error.what()));
    }
    if (words.showVersion) {
        options.verb = Verb::version;
        return options;
    }
    for (const auto& [name, verb] : verbs)
        if (app.got_subcommand(name))
            options.verb = verb;

    try {
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
    } catch (const UsageError& error) {
        throw UsageError(defaults.withSource(error.what()));
    }
    return options;
}
