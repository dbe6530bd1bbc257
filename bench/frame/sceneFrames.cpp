#include "sceneFrames.h"

#include "driver/FrameDriver.h"
#include "driver/viewFraming.h"
#include "host/osg/Transform.h"
#include "host/osg/UberCamera.h"
#include "host/znPixelfilter.h"
#include "io/sceneReader.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <map>
#include <vector>

namespace {

double processorTime()
{
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return 1e3 * double(t.tv_sec) + 1e-6 * double(t.tv_nsec);
}

/// The first camera of the scene, or one that sees all of it.
struct View
{
    View(const io::SceneFile& scene, float aspect)
    {
        if (!scene.cameras.empty())
            camera = osg::UberCamera::Ptr::dcast(scene.cameras.front().camera);
        if (camera)
            return;
        ViewRequest request;
        request.aspect = aspect;
        const FramedView framed = frameScene(scene.root->getWorldBox(), request);
        const osg::Transform::Ptr place = osg::Transform::create();
        place->setMatrix(lookAtMatrix(framed));
        beacon = osg::Node::create(place, "view");
        camera = osg::UberCamera::create();
        camera->setBeacon(beacon.get());
        camera->setFov(request.fov);
        camera->setNear(framed.nearClip);
        camera->setFar(framed.farClip);
    }
    osg::Ref<osg::Node> beacon;
    osg::Ref<osg::UberCamera> camera;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double rounded(double v)
{
    return std::round(v * 1000) / 1000;
}

} // namespace

nlohmann::ordered_json measureSceneFrames(const std::string& path, const SceneFrameOptions& o)
{
    const io::SceneFile scene = io::readScene(path);
    const View view(scene, float(o.width) / float(o.height));
    FrameDriver driver;
    driver.setScene(scene.root.get());

    const auto frame = [&](bool isStill, u64 passes, int filter) {
        view.camera->setFilterType(filter);
        view.camera->setFilterSizeX(2.0f);
        view.camera->setFilterSizeY(2.0f);
        FrameSettings settings;
        settings.width = u32(o.width);
        settings.height = u32(o.height);
        settings.isStill = isStill;
        settings.samples = isStill ? o.samples : 1;
        settings.adaptiveQuality = 5;
        settings.renderMode = 0;
        settings.passes = passes;
        settings.threads = 1;
        const double start = processorTime();
        driver.render(settings, view.camera.get());
        return processorTime() - start;
    };
    constexpr u64 all = (u64(1) << znRenderPassCount) - 1;
    constexpr int none = znPixelfilterFactory::none, gaussian = znPixelfilterFactory::gaussian;
    struct Work
    {
        const char* name;
        bool isStill;
        u64 passes;
        int filter;
    };
    const Work works[] = {
        {"stillBox", true, 0, none},         {"stillGaussian", true, 0, gaussian},
        {"stillBoxPasses", true, all, none}, {"stillGaussianPasses", true, all, gaussian},
        {"interactive", false, 0, none},     {"interactivePasses", false, all, none},
    };
    std::map<std::string, std::vector<double>> times;
    for (int r = 0; r < o.repeat; ++r)
        for (const Work& work : works) {
            frame(work.isStill, work.passes, work.filter); // buffers of this kind exist now
            times[work.name].push_back(frame(work.isStill, work.passes, work.filter));
        }

    nlohmann::ordered_json result;
    result["scene"] = path;
    result["pixels"] = {o.width, o.height};
    result["samples"] = o.samples;
    for (const auto& [name, values] : times)
        result["ms"][name] = rounded(median(values));
    const auto ratio = [&](const char* a, const char* b) {
        result["ratios"][std::string(a) + "/" + b] = rounded(median(times[a]) / median(times[b]));
    };
    ratio("stillGaussian", "stillBox");
    ratio("stillBoxPasses", "stillBox");
    ratio("stillGaussianPasses", "stillGaussian");
    ratio("interactivePasses", "interactive");
    return result;
}
