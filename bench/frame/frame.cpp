// What a frame costs above its rays, on one thread: the walk alone over the rays of the rays
// benchmark (camera A), the camera's rays with their walk, and whole frames of the normal display.
// Prints JSON: median times in ms over the repetitions, in turns, and their ratios.
//
//   frame [--width N] [--height N] [--repeat N] [--refine N] [--only PREFIX] MESH...
//   frame --scene FILE [--width N] [--height N] [--repeat N] [--samples N]
//   frame lit [SCENE...] [OPTIONS]
//
// The second form renders a scene with its lights and materials, see sceneFrames.h; the third three
// fixed scenes for their noise, see litFrames.h.
//
// Times are the thread's processor time, so that other work on the machine matters little.

#include "../rays/tracer.h"
#include "litFrames.h"
#include "sceneFrames.h"

#include "camera/znRTCamera.h"
#include "driver/ViewBuffers.h"
#include "host/osg/Geometry.h"
#include "host/osg/OffsetCameraDecorator.h"
#include "host/osg/UberCamera.h"
#include "host/osg/nodeCores.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTSceneHandler.h"
#include "host/znRaytracerP.h"
#include "host/znRaytracingManager.h"
#include "host/znRenderPasses.h"
#include "render/integrateBlock.h"
#include "render/integrators/znRTNormalRenderingIntegrator.h"
#include "render/multiSampleBlock.h"
#include "render/znRTFragment.h"
#include "render/znRTRenderUtils.h"
#include "render/znRaytracingUtils.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <tbb/global_control.h>
#include <xmmintrin.h>

namespace {
using Json = nlohmann::ordered_json;
using Settings = znRTRaytracingSettings;

struct Options
{
    int width = 1920, height = 1088, repeat = 9, refinements = 0;
    int samples = 8;
    std::string only;    ///< beginning of the names of what is measured
    bool isValid = true; ///< false: an option that is not known, or --help
    std::vector<std::string> meshes, scenes;
};

Options parse(int argc, char** argv)
{
    Options o;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        const auto next = [&] { return i + 1 < argc ? std::atoi(argv[++i]) : 0; };
        if (a == "--width")
            o.width = std::max(16, next() / 16 * 16);
        else if (a == "--height")
            o.height = std::max(16, next() / 16 * 16);
        else if (a == "--repeat")
            o.repeat = std::max(1, next());
        else if (a == "--refine")
            o.refinements = std::max(0, next());
        else if (a == "--samples")
            o.samples = std::max(1, next());
        else if (a == "--only")
            o.only = i + 1 < argc ? argv[++i] : "";
        else if (a == "--scene" && i + 1 < argc)
            o.scenes.push_back(argv[++i]);
        else if (a.starts_with("--"))
            o.isValid = false;
        else
            o.meshes.push_back(a);
    }
    return o;
}

double now()
{
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return 1e3 * double(t.tv_sec) + 1e-6 * double(t.tv_nsec);
}

osg::GeometryPtr makeGeometry(const Mesh& mesh)
{
    std::vector<osg::Pnt3f> positions;
    for (std::size_t i = 0; i + 2 < mesh.positions.size(); i += 3)
        positions.emplace_back(mesh.positions[i], mesh.positions[i + 1], mesh.positions[i + 2]);
    std::vector<u32> indices;
    for (const znRTTriangle& t : mesh.triangles)
        indices.insert(indices.end(), {t.a, t.b, t.c});
    const osg::GeometryPtr geometry = osg::Geometry::create();
    geometry->setPositions(osg::GeoProperty::create(std::span<const osg::Pnt3f>(positions)));
    geometry->setIndices(osg::GeoProperty::create(std::span<const u32>(indices)));
    geometry->setLengths({u32(indices.size())});
    geometry->setTypes({osg::Geometry::triangles});
    return geometry;
}

/// The place of the rays benchmark's camera A: looks along -z of its node.
osg::NodePtr makeBeacon(const Bounds& b)
{
    osg::Vec3d z(0.6, 0.35, 0.72);
    z.normalize();
    osg::Vec3d x = osg::Vec3d(0, 1, 0).cross(z);
    x.normalize();
    const osg::Vec3d y = z.cross(x);
    osg::Matrix matrix;
    for (int i = 0; i < 3; ++i) {
        matrix[0][i] = x[i];
        matrix[1][i] = y[i];
        matrix[2][i] = z[i];
        matrix[3][i] = b.center[i] + 1.5 * b.diagonal * z[i];
    }
    const auto transform = osg::Transform::create();
    transform->setMatrix(matrix);
    return osg::Node::create(transform);
}

/// A view with buffers for everything, and the scene of one mesh.
class Stage
{
public:
    Stage(const Mesh& mesh, const Bounds& bounds, const Options& o)
    {
        znRTSceneHandler::initializeChangeList();
        instance = static_cast<znRaytracingUtils*>(CreateRaytracingInstance());
        znRaytracingManager::setRaytracingUtils(instance);
        instance->initialize();
        root = osg::Node::create(osg::NodeCorePtr());
        root->addChild(osg::Node::create(makeGeometry(mesh)));
        instance->setSuperRoot(root.get());
        instance->setRoot(root.get());
        beacon = makeBeacon(bounds);
        camera = osg::Ref<osg::UberCamera>(osg::UberCamera::create());
        camera->setBeacon(beacon.get());
        camera->setFov(40.0f);
        camera->setNear(float(1e-4 * bounds.diagonal));
        camera->setFar(float(10.0 * bounds.diagonal));
        offsetCamera = osg::Ref<osg::OffsetCameraDecorator>(osg::OffsetCameraDecorator::create());
        offsetCamera->setDecoratee(camera.get());
        makeBuffers(u32(o.width), u32(o.height));
        instance->initTasks(&view);
        instance->generateRenderTiles(&view, 32);
        instance->applyChangeList(0);
    }
    ~Stage()
    {
        instance->terminateTasks(&view);
        instance->clear(&view);
        instance->destroy(&view);
        instance->setRoot(nullptr);
        instance->setSuperRoot(nullptr);
        znRaytracingManager::unload();
        znRTSceneHandler::destroyChangeList();
    }

    void begin(bool isStill, bool hasPasses)
    {
        view.m_iteration = 0;
        view.m_renderPassesEnabled = hasPasses;
        for (u32 pass = 1; pass < znRenderPassCount; ++pass)
            view.m_passBuffers[pass] = hasPasses ? layers[pass] : nullptr;
        Settings::s_qualityMode = isStill ? Settings::stillFrame : Settings::interactive;
        instance->updateScene(&view, true);
        updateCamera(isStill);
        instance->updateRendertargets(&view, false);
    }
    void updateCamera(bool isStill)
    {
        osg::Camera* const used = isStill ? static_cast<osg::Camera*>(offsetCamera.get().get())
                                          : static_cast<osg::Camera*>(camera.get().get());
        instance->updateCamera(&view, used, nullptr);
    }
    /// Iterations that make one sample of every pixel.
    /// @return ms of tracing
    double traceSample(bool isStill)
    {
        double time = 0.0;
        for (u32 i = 0; i < (isStill ? 4u : 1u); ++i) {
            view.m_iteration = i;
            updateCamera(isStill);
            const double start = now();
            instance->traceImage(&view, 1, true);
            time += now() - start;
        }
        return time;
    }
    /// The camera's rays and their walk, block by block in the order of the tiles.
    /// @param isShaded  also the colours that a frame would take, which go nowhere
    double traceRays(bool isStill, bool isShaded)
    {
        double time = 0.0;
        for (u32 i = 0; i < (isStill ? 4u : 1u); ++i) {
            view.m_iteration = i;
            updateCamera(isStill);
            const znRTCamera& lens = *znRTRenderUtils::getCamera();
            const double start = now();
            for (const znRTRenderTile& tile : view.m_allTiles) {
                znRTPacketBlock block;
                forEachBlock(tile, znBlockSize, [&](const znRTPixelRectangle& r) {
                    const int count = int(lens.trace_eye_rays(
                        r.x0, r.x1, r.y0, r.y1, block.rays, block.hits, block.tMin, block.tMax,
                        block.laneMasks, 0, 1, 1.0f, isStill ? view.m_activePixels : nullptr));
                    if (isShaded)
                        integrateBlock<znRTNormalRenderingIntegrator<znRTFragment>, znRTFragment>(
                            block, count, lens, 1e23f, 0);
                });
            }
            time += now() - start;
        }
        return time;
    }
    u64 countHits() const
    {
        const ZN_RGBA32F* const frame = layers[0];
        return u64(std::count_if(frame, frame + u64(view.m_renderWidth) * view.m_renderHeight,
                                 [](const ZN_RGBA32F& pixel) { return pixel.a > 0.0f; }));
    }

    osg::Ref<osg::UberCamera> camera;

private:
    void makeBuffers(u32 width, u32 height)
    {
        constexpr u64 all = (u64(1) << znRenderPassCount) - 1;
        constexpr u64 mattes = u64(63) << ZN_PASS_CRYPTO_OBJECT_00;
        buffers.resize(width, height, 1, true, all & ~mattes);
        layers = view.m_passBuffers;
        std::fill_n(view.m_activePixels, u64(width) * height, u8(1));
        view.m_renderMode = 1;
        view.m_forceSoftwareCopy = 1;
    }

    znRaytracingUtils* instance = nullptr;
    osg::Ref<osg::Node> root, beacon;
    osg::Ref<osg::OffsetCameraDecorator> offsetCamera;
    ViewBuffers buffers;
    znRaytracerP& view = buffers.view();
    std::array<ZN_RGBA32F*, znRenderPassCount> layers{};
};

double getMedian(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double round(double v)
{
    return std::round(v * 1000) / 1000;
}

Json run(const std::string& path, const Options& o)
{
    Mesh mesh = loadMesh(path);
    for (int i = 0; i < o.refinements; ++i)
        mesh = refine(mesh, 0.03f);
    const Bounds bounds = getBounds(mesh);
    const std::unique_ptr<CoreStructure> core = buildCore(mesh);
    const auto bundles =
        std::find_if(core->getTracers().begin(), core->getTracers().end(),
                     [](const auto& tracer) { return tracer->getName() == "core.bundle"; });
    const RaySet set = makePrimary(bounds, 'A', o.width, o.height);
    std::vector<HitRecord> hits(4 * set.packets.size());
    Stage stage(mesh, bounds, o);

    const auto walk = [&] {
        const double start = now();
        (*bundles)->trace(set, 0, set.packets.size(), hits.data());
        return now() - start;
    };
    const auto frame = [&stage](bool isStill, bool hasPasses, int filter) {
        return [=, &stage] {
            stage.camera->setFilterType(filter);
            stage.camera->setFilterSizeX(filter == znPixelfilterFactory::box ? 1.0f : 4.0f);
            stage.camera->setFilterSizeY(filter == znPixelfilterFactory::box ? 1.0f : 4.0f);
            stage.begin(isStill, hasPasses);
            stage.traceSample(isStill); // tasks and their memory are made for the first frame
            stage.begin(isStill, hasPasses);
            return stage.traceSample(isStill);
        };
    };
    const auto rays = [&stage](bool isStill, bool isShaded) {
        return [=, &stage] {
            stage.begin(isStill, false);
            return stage.traceRays(isStill, isShaded);
        };
    };
    constexpr int box = znPixelfilterFactory::box, gaussian = znPixelfilterFactory::gaussian;
    const std::vector<std::pair<std::string, std::function<double()>>> works = {
        {"walk", walk},
        {"rays", rays(false, false)},
        {"normals", frame(false, false, box)},
        {"passes", frame(false, true, box)},
        {"stillRays", rays(true, false)},
        {"stillShading", rays(true, true)},
        {"stillBox", frame(true, false, box)},
        {"stillGaussian", frame(true, false, gaussian)},
        {"stillPasses", frame(true, true, box)}};
    std::map<std::string, std::vector<double>> times;
    u64 hitPixels = 0;
    for (int r = 0; r <= o.repeat; ++r)
        for (const auto& [name, work] : works) {
            if (name.rfind(o.only, 0) != 0)
                continue;
            const double time = work();
            if (r > 0) // the first one warms up
                times[name].push_back(time);
            if (name == "normals")
                hitPixels = stage.countHits();
        }

    Json result;
    result["mesh"] = path;
    result["triangles"] = mesh.triangles.size();
    result["pixels"] = {o.width, o.height};
    if (o.only.empty())
        result["hits"] = {{"walk", std::count_if(hits.begin(), hits.end(),
                                                 [](const auto& h) { return std::isfinite(h.t); })},
                          {"frame", hitPixels}};
    for (const auto& [name, values] : times)
        result["ms"][name] = round(getMedian(values));
    const auto ratio = [&](const char* a, const char* b) {
        if (!times.contains(a) || !times.contains(b))
            return;
        result["ratios"][std::string(a) + "/" + b] =
            round(getMedian(times[a]) / getMedian(times[b]));
    };
    ratio("rays", "walk");
    ratio("normals", "walk");
    ratio("normals", "rays");
    ratio("passes", "normals");
    ratio("stillBox", "stillRays");
    ratio("stillBox", "stillShading");
    ratio("stillGaussian", "stillBox");
    ratio("stillPasses", "stillBox");
    return result;
}
} // namespace

int main(int argc, char** argv)
try {
    if (argc > 1 && std::string(argv[1]) == "lit")
        return litMain(argc - 1, argv + 1);
    const Options o = parse(argc, argv);
    if (!o.isValid || (o.meshes.empty() && o.scenes.empty())) {
        std::fprintf(stderr, "usage: frame [--width N] [--height N] [--repeat N] [--refine N] "
                             "[--samples N] [--only PREFIX] [--scene FILE] MESH...\n"
                             "       frame lit [SCENE...] [OPTIONS], see frame lit --help\n"
                             "Of the ratios, normals/walk is meant to stay below 1.35, "
                             "stillBox/stillShading below 1.15,\n"
                             "passes/normals and stillPasses/stillBox below 2.5.\n");
        return 2;
    }
    tbb::global_control control(tbb::global_control::max_allowed_parallelism, 1);
    _mm_setcsr(_mm_getcsr() | 0x8040);
    Json all = Json::array();
    for (const std::string& mesh : o.meshes)
        all.push_back(run(mesh, o));
    for (const std::string& scene : o.scenes)
        all.push_back(measureSceneFrames(scene, {o.width, o.height, o.samples, o.repeat}));
    std::puts(all.dump(2).c_str());
    return 0;
} catch (const std::exception& e) {
    std::fprintf(stderr, "frame: %s\n", e.what());
    return 1;
}
