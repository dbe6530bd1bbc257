// imgdiff: compares two images of one size.
// Exit codes: 0 within the bounds that were given (without any: the pixels are the same), 1 outside
// of them, 2 what cannot be compared.

#include "figures.h"

#include "io/InputError.h"
#include "io/imageReader.h"
#include "io/imageWriter.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

namespace {

constexpr int exitSame = 0, exitDifferent = 1, exitTrouble = 2;

struct Options
{
    std::string reference, test, output, map = "perceived";
    double scale = 1.0;
    std::optional<double> most, mostRmse, mostFlip, leastSsim;
    bool asJson = false, overwrite = false;
};

struct Figures
{
    PlainDifference plain;
    double ssim = 1.0, flip = 0.0;
};

/// Black, violet, red, yellow, white for 0 to 1: darker is always less.
void falseColor(float value, u8* rgb)
{
    const float stops[5][3] = {
        {0, 0, 0}, {0.32f, 0.07f, 0.48f}, {0.8f, 0.2f, 0.3f}, {0.98f, 0.75f, 0.25f}, {1, 1, 1}};
    const float place = 4 * (value > 0.0f ? std::min(value, 1.0f) : 0.0f);
    const int below = std::min(3, int(place));
    for (int c = 0; c < 3; ++c) {
        const float mixed =
            stops[below][c] + (place - float(below)) * (stops[below + 1][c] - stops[below][c]);
        rgb[c] = u8(255 * mixed + 0.5f);
    }
}

/// The largest difference of the three channels.
Plane absoluteDifference(const Picture& a, const Picture& b)
{
    Plane result(a.width(), a.height());
    for (int c = 0; c < 3; ++c)
        for (std::size_t i = 0; i < result.values.size(); ++i)
            result.values[i] = std::max(
                result.values[i], std::abs(a.channels[c].values[i] - b.channels[c].values[i]));
    return result;
}

void writeMap(const Options& options, const Plane& plane)
{
    io::ImageData image;
    image.allocate(u32(plane.width), u32(plane.height), 3, io::ImageData::Type::byte);
    for (std::size_t i = 0; i < plane.values.size(); ++i)
        falseColor(float(plane.values[i] * options.scale), image.values.data() + 3 * i);
    io::ImageWriteOptions write;
    write.existing =
        options.overwrite ? io::OutputFile::Existing::replace : io::OutputFile::Existing::refuse;
    io::writeImage(options.output, image, write);
}

void print(const Options& options, const Figures& f)
{
    if (options.asJson) {
        const nlohmann::ordered_json json = {{"largest", f.plain.largest},
                                             {"at", {f.plain.x, f.plain.y}},
                                             {"rmse", f.plain.rootMeanSquare},
                                             {"ssim", f.ssim},
                                             {"flip", f.flip},
                                             {"notFinite", f.plain.notFinite}};
        fmt::print("{}\n", json.dump());
        return;
    }
    fmt::print("largest    {:.6g} at pixel {}, {}\nRMSE       {:.6g}\nSSIM       {:.6f}\n"
               "FLIP       {:.6f}\n",
               f.plain.largest, f.plain.x, f.plain.y, f.plain.rootMeanSquare, f.ssim, f.flip);
    if (f.plain.notFinite)
        fmt::print("not finite {} values in one image alone\n", f.plain.notFinite);
}

bool isWithin(const Options& options, const Figures& f)
{
    const bool hasBounds =
        options.most || options.mostRmse || options.mostFlip || options.leastSsim;
    if (f.plain.notFinite)
        return false;
    if (!hasBounds)
        return f.plain.largest == 0.0f;
    return !(options.most && f.plain.largest > *options.most) &&
           !(options.mostRmse && f.plain.rootMeanSquare > *options.mostRmse) &&
           !(options.mostFlip && f.flip > *options.mostFlip) &&
           !(options.leastSsim && f.ssim < *options.leastSsim);
}

int compare(const Options& options)
{
    if (!options.output.empty() && !io::canWriteImage(options.output))
        throw std::runtime_error("-o " + options.output + ": the suffix names no image format");
    const io::ImageData reference = io::readImage(options.reference);
    const io::ImageData test = io::readImage(options.test);
    if (reference.width != test.width || reference.height != test.height)
        throw std::runtime_error(fmt::format("{} has {} x {} pixels, {} has {} x {}",
                                             options.reference, reference.width, reference.height,
                                             options.test, test.width, test.height));
    const Picture storedA = storedValues(reference), storedB = storedValues(test);
    const Picture lightA = displayedLight(reference), lightB = displayedLight(test);
    const Plane perceived = perceivedDifference(lightA, lightB);
    const Figures figures = {plainDifference(storedA, storedB),
                             structuralSimilarity(lightA, lightB), meanOf(perceived)};
    if (!options.output.empty())
        writeMap(options,
                 options.map == "perceived" ? perceived : absoluteDifference(storedA, storedB));
    print(options, figures);
    return isWithin(options, figures) ? exitSame : exitDifferent;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    Options options;
    CLI::App app("Compares two images: largest difference, RMSE, SSIM, FLIP.", "imgdiff");
    app.add_option("REFERENCE", options.reference, "Image that is right")->required();
    app.add_option("TEST", options.test, "Image that is judged")->required();
    app.add_option("-o,--output", options.output, "Picture of the differences in false colours");
    app.add_option("--map", options.map, "What it shows: perceived or absolute (default perceived)")
        ->check(CLI::IsMember({"perceived", "absolute"}));
    app.add_option("--scale", options.scale, "Factor on what it shows (default 1)");
    app.add_option("--max", options.most, "Exit 1 when a value differs by more");
    app.add_option("--rmse", options.mostRmse, "Exit 1 when the RMSE is larger");
    app.add_option("--flip", options.mostFlip, "Exit 1 when the mean FLIP is larger");
    app.add_option("--ssim", options.leastSsim, "Exit 1 when the SSIM is smaller");
    app.add_flag("--json", options.asJson, "Print the figures as one JSON object");
    app.add_flag("--overwrite", options.overwrite, "Replace an existing picture");
    try {
        app.parse(argumentCount, arguments);
        const int exitCode = compare(options);
        return std::fflush(stdout) == 0 ? exitCode : exitTrouble;
    } catch (const CLI::CallForHelp&) {
        fmt::print("{}", app.help());
        return exitSame;
    } catch (const std::exception& error) {
        fmt::print(stderr, "imgdiff: {}\n", io::printable(error.what(), 1000));
        return exitTrouble;
    }
}
