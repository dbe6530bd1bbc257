#include "optionWords.h"
#include "valueChecks.h"

#include <fmt/format.h>

namespace {

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
        ->check(oneOf({"error", "warning", "info"}));
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
        ->check(numberWithin(0.01, 10000.0));
    command.add_option("-c,--camera", words.camera, "Camera of the scene, by name or number");
    command.add_option("--eye", words.eye, "Viewpoint X,Y,Z (z up)");
    command.add_option("--at", words.at, "Point to look at, X,Y,Z");
    command.add_option("--view-up", words.up, "Upward direction of the view X,Y,Z");
    command.add_option("--fov", words.fov, "Vertical field of view, degrees")
        ->check(numberWithin(0.1, 179.0));
    command
        .add_option("--exposure", words.exposure,
                    "Stops that the picture is brightened by before it is tone mapped; EXR and "
                    "HDR keep the light as it is")
        ->check(numberWithin(-50.0, 50.0));
    command.add_option(
        "--integrator", words.integrator,
        fmt::format("What to show: {} (default beauty)", fmt::join(integratorNames, ", ")));
    command.add_option("-t,--threads", options.threads, "Threads (default: all cores)")
        ->transform(wholeNumberWithin(1, 1024));
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
        ->check(oneOf({"8", "16", "32"}));
    command.add_option("--jpeg-quality", options.jpegQuality, "1 to 100 (default 92)")
        ->transform(wholeNumberWithin(1, 100));
    command.add_option("--passes", words.passes,
                       "Layers for the EXR: names from 'list passes' between commas, all, data or "
                       "none (default none)");
    command.add_option("--pass", words.shownPass, "Show one layer in the picture");
    command
        .add_option("--exr-layout", words.exrLayout,
                    "Passes as parts of one file, flat in one part, or files NAME.PASS.exr: "
                    "multipart, flat or files (default multipart)")
        ->check(oneOf({"multipart", "flat", "files"}));
    command.add_option("--exr-compression", options.exrCompression, "zip, zips, piz or none")
        ->check(oneOf({"zip", "zips", "piz", "none"}));
    command
        .add_option("--exr-float", words.exrFloat,
                    "32-bit floats for data passes, or for all: data or all (default data)")
        ->check(oneOf({"data", "all"}));
    command
        .add_option("--exr-channels", words.exrChannels,
                    "Channels of passes as they mean them, or always R G B A: named or rgba "
                    "(default named)")
        ->check(oneOf({"named", "rgba"}));
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
        ->check(numberWithin(-36000.0, 36000.0));
    command.add_option("--env-strength", around.strength, "Factor on their light (default 1)")
        ->check(numberWithin(0.0, 1e9));
    command.add_option("--sun", words.sun,
                       "Sky with the sun at AZIMUTH,ELEVATION in degrees; azimuth from north (y) "
                       "to east (x) (default 135,40)");
    command
        .add_option_function<std::string>(
            "--background", [&](const std::string& word) { around.background = word == "keep"; },
            "keep, or none: surroundings are not seen, and PNG and TIFF get an alpha channel")
        ->check(oneOf({"keep", "none"}));
    command.add_flag("--no-ground", words.noFloor, "No floor below a scene that has no light");
}

void addColor(CLI::App& command, Options& options, Words& words)
{
    std::vector<std::string> names;
    for (const auto& [name, kind] : viewNames)
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
                                   fmt::join(illuminationNames, ", ")));
    command
        .add_option("--bounces", words.bounces,
                    "Surfaces that a path passes: mirrors, glass, and light between surfaces "
                    "(default 10)")
        ->transform(wholeNumberWithin(0, 64));
    command
        .add_option("--clamp", words.clamp,
                    "Largest value of a sample after the exposure, white is 1: fewer bright specks")
        ->check(numberWithin(1e-4, 1e30));
}

void addQuality(CLI::App& command, Options& options, Words& words)
{
    command
        .add_option("-s,--samples", options.samples,
                    "Samples per pixel (default 64, or what a look says)")
        ->transform(wholeNumberWithin(1, 65536));
    addPaths(command, words);
    command
        .add_option("--noise", words.noise,
                    "Noise at which a pixel is finished early: 0.04 to 0.0025, 0 never (default "
                    "0.01)")
        ->check(numberWithin(0.0, 1.0));
    command.add_option("--seed", options.seed, "Another number gives another noise (default 0)")
        ->transform(wholeNumberWithin(0, 65535));
    command.add_option("--time-limit", words.timeLimit, "Stop after this time: 90, 90s, 5m, 2h");
    command
        .add_option("--mode", words.mode, "still (accumulates samples) or interactive (one frame)")
        ->check(oneOf({"still", "interactive"}));
    command.add_option("--filter", words.filter, "Pixel filter NAME:WIDTH (default gaussian:2)");
    command.add_option("--tile", options.tileSize, "Tile edge in pixels (default 32)")
        ->transform(wholeNumberWithin(4, 1024));
    command.add_flag("--json-progress", options.jsonProgress, "Progress as one JSON object a line");
    command.add_option("--stats", options.statsFile, "Write times, counts and memory as JSON");
    command.add_flag("--nice", options.nice, "Leave the processor to others first");
}

} // namespace

void declareCommands(CLI::App& app, Options& options, Words& words)
{
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
        ->check(oneOf({"passes", "cameras", "materials", "types", "fields", "variants"}));
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
}
