#include "outputs.h"

#include "passFiles.h"

#include "host/znLog.h"
#include "io/InputError.h"
#include "io/imageWriter.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <set>

namespace {

using Clock = std::chrono::steady_clock;

std::string suffixOf(const std::string& path)
{
    std::string suffix = std::filesystem::path(path).extension().string();
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : char(c); });
    return suffix;
}

bool isFloatFormat(const std::string& path)
{
    const std::string suffix = suffixOf(path);
    return suffix == ".exr" || suffix == ".hdr" || suffix == ".pfm";
}

bool isTiff(const std::string& path)
{
    return suffixOf(path) == ".tif" || suffixOf(path) == ".tiff";
}

io::OutputFile::Existing existing(const Options& options)
{
    return options.overwrite ? io::OutputFile::Existing::replace : io::OutputFile::Existing::refuse;
}

void checkFormat(const Options& options, const std::string& output)
{
    if (!io::canWriteImage(output))
        throw UsageError(fmt::format("-o {}: the suffix names no image format; there are .png, "
                                     ".jpg, .tif, .hdr, .exr and .pfm",
                                     io::printable(output)));
    const bool isPng = suffixOf(output) == ".png";
    if (isPng && options.bitDepth == 32)
        throw UsageError(
            fmt::format("--bit-depth 32: {} takes 8 or 16 bits", io::printable(output)));
}

/// First pixel at or behind a share of a side, as the core rounds its render region.
u32 pixelAt(double share, u32 size)
{
    return std::min(size, u32(share * size + 0.5));
}

/// The cropped part with the first channels of each pixel; it remembers its place in the whole.
io::ImageData cutOut(const io::ImageData& whole, const std::array<double, 4>& crop, u32 channels)
{
    const u32 left = pixelAt(crop[0], whole.width), right = pixelAt(crop[2], whole.width);
    const u32 top = whole.height - pixelAt(crop[3], whole.height);
    const u32 bottom = whole.height - pixelAt(crop[1], whole.height);
    io::ImageData part = whole;
    part.allocate(std::max(1u, right - left), std::max(1u, bottom - top), channels, whole.type);
    part.offsetX = int(std::min(left, whole.width - part.width));
    part.offsetY = int(std::min(top, whole.height - part.height));
    part.displayWidth = whole.width;
    part.displayHeight = whole.height;
    const u64 size = io::ImageData::bytes(whole.type);
    for (u32 y = 0; y < part.height; ++y)
        for (u32 x = 0; x < part.width; ++x) {
            const u64 from = (u64(y + u32(part.offsetY)) * whole.width + x + u32(part.offsetX)) *
                             whole.channels * size;
            const u64 to = (u64(y) * part.width + x) * channels * size;
            std::copy_n(whole.values.data() + from, channels * size, part.values.data() + to);
        }
    return part;
}

void writePicture(const Options& options, const std::string& path, const osg::UberCameraPtr& camera,
                  FrameDriver& driver, const ColorStage& colors, Statistics& statistics)
{
    const bool isFloat = isFloatFormat(path);
    // Pictures for people are opaque unless they are asked for without what is behind; compositing
    // wants the coverage.
    const bool withAlpha =
        !options.surroundings.background && (isTiff(path) || suffixOf(path) == ".png");
    const Clock::time_point start = Clock::now();
    io::ImageData image = cutOut(isFloat ? driver.getImage(FrameDriver::Colors::linear)
                                         : colors.getPicture(driver, camera, withAlpha),
                                 options.crop, isFloat || withAlpha ? 4 : 3);
    statistics.copySeconds += std::chrono::duration<double>(Clock::now() - start).count();
    io::ImageWriteOptions write;
    write.existing = existing(options);
    write.jpegQuality = options.jpegQuality;
    if (isFloat) {
        write.bits = options.halfFloat ? 16 : 32;
        write.compression = options.exrCompression;
    } else {
        // JPEG has 8 bits only; the depth asked for is that of the others.
        write.bits = isTiff(path) || suffixOf(path) == ".png" ? options.bitDepth : 8;
        image = io::converted(image, write.bits == 8    ? io::ImageData::Type::byte
                                     : write.bits == 16 ? io::ImageData::Type::word
                                                        : io::ImageData::Type::float32);
    }
    if (suffixOf(path) == ".exr") {
        image.metadata = headerTexts(options, statistics);
        image.metadata.erase("capDate"); // nothing stands beside it that tells the time zone
    } else {
        image.metadata["Software"] = fmt::format("znrender {}", ZN_VERSION);
    }
    io::writeImage(path, image, write);
}

bool hasPasses(const Options& options, const std::string& path)
{
    return options.passes.written != 0 && suffixOf(path) == ".exr";
}

} // namespace

void checkNames(const Options& options)
{
    std::vector<std::string> paths = options.outputs;
    for (const std::string& path : {options.statsFile, options.logFile})
        if (!path.empty())
            paths.push_back(path);
    std::set<std::filesystem::path> seen;
    for (const std::string& path : paths) {
        std::error_code ignored;
        const auto real =
            std::filesystem::weakly_canonical(std::filesystem::absolute(path), ignored);
        if (!seen.insert(ignored ? std::filesystem::path(path) : real).second)
            throw UsageError(fmt::format("{}: is named twice as output", io::printable(path)));
    }
}

void checkOutputs(const Options& options)
{
    for (const std::string& output : options.outputs)
        checkFormat(options, output);
    if (options.passes.written &&
        std::none_of(options.outputs.begin(), options.outputs.end(),
                     [&](const std::string& output) { return hasPasses(options, output); }))
        throw UsageError(fmt::format("--passes: {} holds one picture only; name an .exr file",
                                     io::printable(options.outputs.front())));
    for (const std::string& output : options.outputs)
        for (const std::string& file :
             hasPasses(options, output) ? passFiles(options, output) : std::vector{output})
            io::OutputFile::checkTarget(file, existing(options));
    if (!options.statsFile.empty())
        io::OutputFile::checkTarget(options.statsFile);
}

void writeOutputs(const Options& options, const osg::UberCameraPtr& camera, FrameDriver& driver,
                  const ColorStage& colors, Statistics& statistics)
{
    const auto part = [&](u32 pass) {
        const Clock::time_point start = Clock::now();
        io::ImageData image = pass == ZN_PASS_BEAUTY ? driver.getImage(FrameDriver::Colors::linear)
                                                     : driver.getPass(pass);
        image = cutOut(image, options.crop, image.channels);
        statistics.copySeconds += std::chrono::duration<double>(Clock::now() - start).count();
        return image;
    };
    std::string firstError;
    for (const std::string& output : options.outputs) {
        try {
            if (hasPasses(options, output))
                writePassFiles(options, output, camera, driver.getCryptomatte(), statistics, part);
            else
                writePicture(options, output, camera, driver, colors, statistics);
        } catch (const io::OutputError& error) {
            if (firstError.empty())
                firstError = error.what();
            else
                znLog::error(error.what());
        }
    }
    if (!firstError.empty())
        throw std::runtime_error(firstError);
}
