#pragma once

// The command line of znrender. Parsing knows no scene: names of cameras and files are checked by
// the commands that use them.

#include "lookOptions.h"
#include "parseValues.h"

#include "host/znRenderPasses.h"
#include "io/FileConventions.h"
#include "io/Limits.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

enum class Verb { render, info, list, convert, schema, debugPixel, help, version };

/// A view given by numbers instead of a camera of the file; what is missing is chosen to frame the
/// scene.
struct ViewOptions
{
    std::string camera;                       ///< name or number of a camera in the file
    std::optional<std::array<double, 3>> eye; ///< scene units, z up
    std::optional<std::array<double, 3>> at;
    std::optional<std::array<double, 3>> up;
    std::optional<double> fov;      ///< vertical, degrees
    std::optional<double> exposure; ///< stops; unset leaves what the camera says

    /// Somebody chose where to look from or what to look at.
    bool isPlaced() const { return eye || at || up; }
};

/// What stands round the scene.
struct SurroundingOptions
{
    /// A picture's file, "sky" or "none"; empty: a studio for scenes without light.
    std::string environment;
    double rotation = 0.0; ///< degrees, to the right
    double strength = 1.0;
    std::optional<std::array<double, 2>> sun; ///< azimuth from north to east, elevation; degrees
    bool background = true;                   ///< the environment is seen, and pictures are opaque
    bool floor = true;
};

/// From light to the values of a picture.
struct ColorOptions
{
    int tonemapper = -1;       ///< a znImagePostprocessor::Tonemapper; -1 = not said
    std::string configuration; ///< OpenColorIO; empty: none
    std::string display, view; ///< of the configuration; empty: its defaults
    std::string profile;       ///< ICC file, empty: sRGB
};

/// Values that take the place of the scene's settings.
struct QualityOptions
{
    /// 0 light sources only, 1 blurred environment with shadows, 2 sampled environment, 3 all light
    std::optional<int> illumination;
    std::optional<int> bounces;
    std::optional<double> clamp;
    int adaptive = 2; ///< see FrameSettings::adaptiveQuality
};

/// Which layers are written beside the picture, and how.
struct PassOptions
{
    enum class Layout {
        multipart, ///< one part per pass
        flat,      ///< all channels in one part
        files      ///< one file per pass: NAME.PASS.exr
    };
    u64 written = 0; ///< one bit per pass; the beauty is always written
    u32 shown = 0;   ///< what the picture shows instead of the beauty
    Layout layout = Layout::multipart;
    bool allRgba = false; ///< four channels R G B A for every pass
};

struct Options
{
    Verb verb = Verb::render;
    std::string helpText; ///< for Verb::help

    std::vector<std::string> scenes;
    std::vector<std::string> outputs;
    std::vector<std::string> includeFolders;
    io::Limits limits;
    io::FileConventions conventions;

    // Image.
    unsigned width = 1280, height = 720;
    double scale = 100.0;                   ///< percent of width and height
    std::array<double, 4> crop{0, 0, 1, 1}; ///< left, bottom, right, top in 0..1
    ViewOptions view;
    int bitDepth = 8;      ///< of PNG and TIFF: 8, 16 or 32 (TIFF)
    bool halfFloat = true; ///< EXR, of all that is light
    std::string exrCompression = "zip";
    int jpegQuality = 92;
    PassOptions passes;
    SurroundingOptions surroundings;
    ColorOptions color;

    // Quality.
    QualityOptions quality;
    int samples = 0;        ///< 0: as the scene says, or else 64
    double timeLimit = 0.0; ///< seconds, 0 = none
    bool still = true;
    u32 renderMode = 0; ///< integrator, a znRenderMode
    int renderer = -1;  ///< variant of the beauty, see FrameSettings
    std::string filterName = "gaussian";
    double filterWidth = 2.0; ///< pixels, full width

    // Machine.
    int threads = 0; ///< 0 = all cores
    unsigned tileSize = 32;
    bool overwrite = false;
    bool quiet = false;
    bool jsonProgress = false;
    std::string logLevel = "warning";
    std::string statsFile;
    std::string logFile;
    double snapshotSeconds = 0.0; ///< between pictures written while it renders; 0 = none
    unsigned seed = 0;
    bool nice = false;
    bool namesHost = false; ///< EXR headers tell the machine's name

    LookOptions look;

    // Verbs list, info and debug-pixel.
    bool showAssignments = false;
    std::string listWhat;
    std::string listType;
    /// Column and row from the upper left corner of the image.
    std::optional<std::array<unsigned, 2>> pixel;
};

/// @param arguments  without the program's name
/// @throws UsageError
Options parseOptions(const std::vector<std::string>& arguments);
