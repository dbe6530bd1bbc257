#include "litFrames.h"

#include "cycles.h"
#include "driver/FrameDriver.h"
#include "host/osg/RaytracingSettingsAttachment.h"
#include "host/znPixelfilter.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracingManager.h"
#include "io/imageReader.h"
#include "io/imageWriter.h"
#include "litScenes.h"

#include <cmath>
#include <ctime>
#include <filesystem>
#include <fmt/format.h>
#include <stdexcept>
#include <unistd.h>

namespace {
using Json = nlohmann::ordered_json;
using Settings = znRTRaytracingSettings;

/// Of all threads of the process.
double getProcessorSeconds()
{
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

double luminance(const io::ImageData& image, u32 x, u32 y)
{
    return 0.2125 * image.getValue(x, y, 0) + 0.7154 * image.getValue(x, y, 1) +
           0.0721 * image.getValue(x, y, 2);
}

/// A picture of few samples beside one of many.
struct Frame
{
    io::ImageData image, reference;
    double secondsPerSample; ///< processor time of one sample of every pixel
    double setUpSeconds;     ///< processor time that any number of samples needs

    /// Of a pixel's luminance, mean over the picture; the reference's own share is taken out.
    double getVariance(const LitOptions& o) const
    {
        double sum = 0.0;
        for (u32 y = 0; y < image.height; ++y)
            for (u32 x = 0; x < image.width; ++x) {
                const double d = luminance(image, x, y) - luminance(reference, x, y);
                sum += d * d;
            }
        return sum / (double(image.width) * image.height) / (1.0 + double(o.samples) / o.reference);
    }
    double getMean(u32 channel) const
    {
        double sum = 0.0;
        for (u32 y = 0; y < image.height; ++y)
            for (u32 x = 0; x < image.width; ++x)
                sum += reference.getValue(x, y, channel);
        return sum / (double(image.width) * image.height);
    }
};

LitScene makeScene(const std::string& name, const LitOptions& o)
{
    if (name == "cornell")
        return makeCornellScene();
    if (name == "sun")
        return makeSunScene(loadMesh(o.mesh));
    if (name == "glossy")
        return makeGlossyScene(loadMesh(o.mesh), io::readImage(o.environment));
    throw std::runtime_error("no scene \"" + name + "\": sun, cornell or glossy");
}

Frame renderOwn(const std::string& name, const LitOptions& o)
{
    const LitScene scene = makeScene(name, o);
    // One new direction per kind of lobe and one sample of the environment: paths, not trees. The
    // scene's own record, since the settings of its update are taken from there.
    const auto quality = osg::RaytracingSettingsAttachment::create();
    quality->setStillFrameQualityMode(3);
    quality->setStillFrameQuality(1);
    quality->setEnvironmentStillQuality(1);
    quality->setStillFrameReflectionDepth(scene.bounces);
    scene.root->addAttachment(quality);
    scene.camera->setFilterType(znPixelfilterFactory::box);

    FrameDriver driver;
    driver.setScene(scene.root.get());
    FrameSettings settings;
    settings.width = u32(o.width);
    settings.height = u32(o.height);
    settings.adaptiveQuality = 5;
    settings.renderMode = 0;
    settings.threads = o.threads;
    const auto render = [&](int first, int count) {
        quality->setRaytracingSampleOffset(first);
        settings.samples = count;
        const double start = getProcessorSeconds();
        driver.render(settings, scene.camera.get());
        return getProcessorSeconds() - start;
    };
    Frame frame;
    const double few = render(0, o.samples);
    frame.image = driver.getImage(FrameDriver::Colors::linear);
    // The second render finds its trees built.
    frame.secondsPerSample = render(o.samples, o.reference) / o.reference;
    frame.setUpSeconds = few - o.samples * frame.secondsPerSample;
    frame.reference = driver.getImage(FrameDriver::Colors::linear);
    driver.setScene(nullptr);
    return frame;
}

Frame renderOther(const std::string& name, const LitOptions& o, const std::string& folder)
{
    CyclesJob job{
        o.cyclesScript, name,      o.mesh, o.environment, o.width,
        o.height,       o.samples, 1,      o.threads,     folder + "/" + name + "_cycles.exr"};
    CyclesFrame few = renderWithCycles(job);
    job.samples = o.reference;
    job.seed = 2;
    CyclesFrame many = renderWithCycles(job);
    // The scene's translation and its trees are the same in both.
    const double perSample =
        (many.processorSeconds - few.processorSeconds) / double(o.reference - o.samples);
    return {std::move(few.image), std::move(many.image), perSample,
            few.processorSeconds - o.samples * perSample};
}

double rounded(double v)
{
    return v == 0.0 ? 0.0 : std::stod(fmt::format("{:.4g}", v));
}

Json describe(const Frame& frame, const LitOptions& o)
{
    const double variance = frame.getVariance(o);
    Json json;
    json["msPerSample"] = rounded(1e3 * frame.secondsPerSample);
    json["Msamples/s"] = rounded(1e-6 * o.width * o.height / frame.secondsPerSample);
    json["setUpMs"] = rounded(1e3 * frame.setUpSeconds);
    json["deviation"] = rounded(std::sqrt(variance));
    json["varianceSeconds"] = rounded(variance * frame.secondsPerSample * o.samples);
    json["mean"] = {rounded(frame.getMean(0)), rounded(frame.getMean(1)),
                    rounded(frame.getMean(2))};
    return json;
}

/// A folder of its own, removed at the end.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "frameXXXXXX").string();
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no temporary folder");
        path = pattern;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path;
};

} // namespace

Json measureLitFrames(const LitOptions& o)
{
    const TemporaryFolder temporary;
    Json all = Json::array();
    for (const std::string& name : o.scenes) {
        const Frame own = renderOwn(name, o);
        Json json;
        json["scene"] = name;
        json["pixels"] = {o.width, o.height};
        json["samples"] = o.samples;
        json["threads"] = o.threads;
        json["own"] = describe(own, o);
        if (!o.folder.empty())
            io::writeImage(o.folder + "/" + name + ".exr", own.reference);
        if (!o.cyclesScript.empty()) {
            const Frame other = renderOther(name, o, o.folder.empty() ? temporary.path : o.folder);
            json["cycles"] = describe(other, o);
            for (u32 channel = 0; channel < 3; ++channel)
                json["meanRatio"].push_back(rounded(own.getMean(channel) / other.getMean(channel)));
            json["varianceSecondsRatio"] = rounded(double(json["own"]["varianceSeconds"]) /
                                                   double(json["cycles"]["varianceSeconds"]));
        }
        all.push_back(std::move(json));
    }
    return all;
}
