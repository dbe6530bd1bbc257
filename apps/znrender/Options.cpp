#include "Options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace {

const std::vector<std::pair<std::string, Verb>> verbs = {{"render", Verb::render},
                                                         {"info", Verb::info},
                                                         {"list", Verb::list},
                                                         {"convert", Verb::convert}};

double parseNumber(const std::string& text, const std::string& option)
{
    std::size_t used = 0;
    double value = 0.0;
    try {
        value = std::stod(text, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (text.empty() || used != text.size() || !std::isfinite(value))
        throw UsageError(fmt::format("{}: '{}' is not a number", option, text));
    return value;
}

std::vector<double> parseNumbers(const std::string& text, char separator, std::size_t count,
                                 const std::string& option, const std::string& form)
{
    std::vector<double> values;
    std::string rest = text;
    while (true) {
        const std::size_t end = rest.find(separator);
        values.push_back(parseNumber(rest.substr(0, end), option));
        if (end == std::string::npos)
            break;
        rest.erase(0, end + 1);
    }
    if (values.size() != count)
        throw UsageError(fmt::format("{}: '{}' should have the form {}", option, text, form));
    return values;
}

std::optional<std::array<double, 3>> parsePoint(const std::string& text, const std::string& option)
{
    if (text.empty())
        return std::nullopt;
    const std::vector<double> v = parseNumbers(text, ',', 3, option, "X,Y,Z");
    return std::array<double, 3>{v[0], v[1], v[2]};
}

/// Seconds from "90", "90s", "5m" or "2h".
double parseDuration(const std::string& text)
{
    double factor = 1.0;
    std::string number = text;
    if (!text.empty() && std::isalpha(static_cast<unsigned char>(text.back()))) {
        switch (text.back()) {
        case 's':
            factor = 1.0;
            break;
        case 'm':
            factor = 60.0;
            break;
        case 'h':
            factor = 3600.0;
            break;
        default:
            throw UsageError(
                fmt::format("--time-limit: '{}' has an unknown unit; use s, m or h", text));
        }
        number.pop_back();
    }
    const double seconds = parseNumber(number, "--time-limit") * factor;
    if (seconds <= 0.0)
        throw UsageError(fmt::format("--time-limit: '{}' is not above 0", text));
    return seconds;
}

void parseResolution(const std::string& text, Options& options)
{
    const std::vector<double> size = parseNumbers(text, 'x', 2, "-r", "WIDTHxHEIGHT");
    const double largest = double(options.limits.imageSide);
    for (double side : size) {
        if (side < 1.0 || side != std::floor(side))
            throw UsageError(fmt::format("-r: '{}' is no image size", text));
        if (side > largest)
            throw UsageError(fmt::format("-r: '{}' is larger than {:.0f} pixels a side "
                                         "(--limit image-side=N allows more)",
                                         text, largest));
    }
    options.width = unsigned(size[0]);
    options.height = unsigned(size[1]);
}

void parseCrop(const std::string& text, Options& options)
{
    const std::vector<double> v = parseNumbers(text, ',', 4, "--crop", "LEFT,BOTTOM,RIGHT,TOP");
    std::copy(v.begin(), v.end(), options.crop.begin());
    const bool inside =
        std::all_of(v.begin(), v.end(), [](double x) { return x >= 0.0 && x <= 1.0; });
    if (!inside || v[0] >= v[2] || v[1] >= v[3])
        throw UsageError(fmt::format("--crop: '{}' is no part of the image; values lie in 0..1, "
                                     "left below right, bottom below top",
                                     text));
}

void parseFilter(const std::string& text, Options& options)
{
    const std::size_t colon = text.find(':');
    options.filterName = text.substr(0, colon);
    if (colon != std::string::npos)
        options.filterWidth = parseNumber(text.substr(colon + 1), "--filter");
    const std::vector<std::string> names = {"box",      "triangle", "gaussian",
                                            "mitchell", "lanczos",  "blackman-harris"};
    if (std::find(names.begin(), names.end(), options.filterName) == names.end())
        throw UsageError(fmt::format("--filter: '{}' is unknown; there are {}", options.filterName,
                                     fmt::join(names, ", ")));
    if (options.filterWidth <= 0.0 || options.filterWidth > 32.0)
        throw UsageError(
            fmt::format("--filter: a width of {} pixels is outside 0..32", options.filterWidth));
}

void applyLimits(const std::vector<std::string>& assignments, Options& options)
{
    for (const std::string& assignment : assignments) {
        try {
            options.limits.set(assignment);
        } catch (const std::invalid_argument& error) {
            throw UsageError(fmt::format("--limit: {}", error.what()));
        }
    }
}

} // namespace

Options parseOptions(const std::vector<std::string>& arguments)
{
    Options options;
    std::string resolution, crop, eye, at, up, timeLimit, filter, mode = "still";
    std::vector<std::string> limits;
    double fov = 0.0;
    bool showVersion = false;

    CLI::App app("Renders scenes with the ray tracing core.", "znrender");
    app.add_flag("-V,--version", showVersion, "Print the version");

    // Options that every verb shares.
    const auto addCommon = [&](CLI::App* command) {
        command->add_flag("-V,--version", showVersion, "Print the version");
        command
            ->add_option("-I", options.includeFolders,
                         "Folder from which a scene may load further files (repeatable)")
            ->expected(1)
            ->take_all();
        command->add_option("--limit", limits, "Raise or lower an input limit: NAME=N (repeatable)")
            ->expected(1)
            ->take_all();
        command->add_option("--log-level", options.logLevel, "error, warning or info")
            ->check(CLI::IsMember({"error", "warning", "info"}));
        command->add_flag("-q,--quiet", options.quiet, "No progress, errors only");
    };
    const auto addScenes = [&](CLI::App* command) {
        command
            ->add_option("SCENE", options.scenes,
                         "glTF, OBJ, PLY, STL, FBX, Collada or a scene archive")
            ->required();
    };

    CLI::App* render = app.add_subcommand("render", "Render a picture (the default)");
    addScenes(render);
    addCommon(render);
    render
        ->add_option("-o,--output", options.outputs,
                     "Picture to write; the suffix decides (repeatable)")
        ->expected(1)
        ->take_all()
        ->required();
    render->add_option("-r,--resolution", resolution,
                       "Size in pixels, WIDTHxHEIGHT (default 1280x720)");
    render->add_option("--scale", options.scale, "Percent of the resolution (default 100)")
        ->check(CLI::Range(0.01, 10000.0));
    render->add_option("--crop", crop, "Part of the image: LEFT,BOTTOM,RIGHT,TOP in 0..1");
    render
        ->add_option("--bit-depth", options.bitDepth, "8 or 16 (PNG, TIFF), 32 (TIFF) (default 8)")
        ->check(CLI::IsMember({8, 16, 32}));
    render->add_flag("!--exr-float", options.halfFloat, "EXR in 32-bit floats instead of half");
    render->add_option("--exr-compression", options.exrCompression, "zip, zips, piz or none")
        ->check(CLI::IsMember({"zip", "zips", "piz", "none"}));
    render->add_option("--jpeg-quality", options.jpegQuality, "1 to 100 (default 92)")
        ->check(CLI::Range(1, 100));
    render->add_option("-c,--camera", options.view.camera,
                       "Camera of the scene, by name or number");
    render->add_option("--eye", eye, "Viewpoint X,Y,Z (z up)");
    render->add_option("--at", at, "Point to look at, X,Y,Z");
    render->add_option("--up", up, "Upward direction X,Y,Z");
    CLI::Option* fovOption = render->add_option("--fov", fov, "Vertical field of view, degrees")
                                 ->check(CLI::Range(0.1, 179.0));
    render->add_option("-s,--samples", options.samples, "Samples per pixel (default 64)")
        ->check(CLI::Range(1, 65536));
    render->add_option("--time-limit", timeLimit, "Stop after this time: 90, 90s, 5m, 2h");
    render->add_option("--mode", mode, "still (accumulates samples) or interactive (one frame)")
        ->check(CLI::IsMember({"still", "interactive"}));
    render->add_option("--integrator", options.integrator, "What to show: normal")
        ->check(CLI::IsMember({"normal"}));
    render->add_option("--filter", filter, "Pixel filter NAME:WIDTH (default gaussian:2)");
    render->add_option("-t,--threads", options.threads, "Threads (default: all cores)")
        ->check(CLI::Range(1, 1024));
    render->add_option("--tile", options.tileSize, "Tile edge in pixels (default 32)")
        ->check(CLI::Range(4, 1024));
    render->add_flag("--overwrite", options.overwrite, "Replace existing pictures");
    render->add_flag("--json-progress", options.jsonProgress, "Progress as one JSON object a line");
    render->add_option("--stats", options.statsFile, "Write times, counts and memory as JSON");

    CLI::App* info = app.add_subcommand("info", "Tell what a scene holds");
    addScenes(info);
    addCommon(info);

    CLI::App* list =
        app.add_subcommand("list", "List cameras of a scene, container types or fields");
    list->add_option("WHAT", options.listWhat, "cameras, types or fields")
        ->required()
        ->check(CLI::IsMember({"cameras", "types", "fields"}));
    list->add_option("NAME", options.scenes, "SCENE for cameras, TYPE for fields");
    addCommon(list);

    CLI::App* convert = app.add_subcommand("convert", "Write a scene as the host's scene archive");
    addScenes(convert);
    addCommon(convert);
    convert->add_option("-o,--output", options.outputs, "Archive to write")
        ->expected(1)
        ->required();
    convert->add_flag("--overwrite", options.overwrite, "Replace an existing file");

    app.require_subcommand(0, 1);
    app.fallthrough(false);

    // Without a verb the command is "render"; only help and version stand without one.
    std::vector<std::string> words = arguments;
    const bool hasVerb =
        !words.empty() && std::any_of(verbs.begin(), verbs.end(),
                                      [&](const auto& v) { return v.first == words.front(); });
    const bool bareFlag = words.size() == 1 && (words[0] == "-h" || words[0] == "--help" ||
                                                words[0] == "-V" || words[0] == "--version");
    if (!hasVerb && !bareFlag)
        words.insert(words.begin(), "render");
    try {
        std::vector<std::string> reversed(words.rbegin(), words.rend());
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        options.verb = Verb::help;
        const auto chosen = app.get_subcommands();
        options.helpText = chosen.empty() || !hasVerb ? app.help() + "\n" + render->help("znrender")
                                                      : chosen.front()->help("znrender");
        return options;
    } catch (const CLI::ParseError& error) {
        if (showVersion) {
            options.verb = Verb::version;
            return options;
        }
        throw UsageError(error.what());
    }
    if (showVersion) {
        options.verb = Verb::version;
        return options;
    }
    for (const auto& [name, verb] : verbs)
        if (app.got_subcommand(name))
            options.verb = verb;

    applyLimits(limits, options);
    if (options.verb == Verb::list) {
        if (options.listWhat == "fields") {
            if (options.scenes.size() != 1)
                throw UsageError("list fields: name one container type, see 'znrender list types'");
            options.listType = options.scenes.front();
        } else if (options.listWhat == "cameras" && options.scenes.empty()) {
            throw UsageError("list cameras: name a scene");
        }
    }
    if (options.verb == Verb::render) {
        if (!resolution.empty())
            parseResolution(resolution, options);
        if (!crop.empty())
            parseCrop(crop, options);
        if (!timeLimit.empty())
            options.timeLimit = parseDuration(timeLimit);
        if (!filter.empty())
            parseFilter(filter, options);
        options.view.eye = parsePoint(eye, "--eye");
        options.view.at = parsePoint(at, "--at");
        options.view.up = parsePoint(up, "--up");
        if (fovOption->count() > 0)
            options.view.fov = fov;
        options.still = mode == "still";
        const double width = std::floor(options.width * options.scale / 100.0 + 0.5);
        const double height = std::floor(options.height * options.scale / 100.0 + 0.5);
        const double largest = double(options.limits.imageSide);
        if (width > largest || height > largest)
            throw UsageError(
                fmt::format("--scale: {:.0f} x {:.0f} is larger than {:.0f} pixels a side "
                            "(--limit image-side=N allows more)",
                            width, height, largest));
        options.width = unsigned(std::max(1.0, width));
        options.height = unsigned(std::max(1.0, height));
    }
    return options;
}
