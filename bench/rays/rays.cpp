// Rays per second and triangles built per second of the core's trees on fixed rays; with --embree
// next to Embree 3 on the very same rays in the same run. Prints JSON.
//
//   rays [--embree] [--size N] [--repeat N] [--threads N] [--only PREFIX] [--tracer NAME]
//        [--no-build] [--instances] MESH...
//
// A mesh may carry a suffix :N, which refines it N times by four. Times with one thread are that
// thread's processor time, so that other work on the machine matters little; with several they are
// wall times. The programs take turns; median and spread (half of the range between the quartiles)
// are over the repetitions.

#include "tracer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <nlohmann/json.hpp>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <thread>
#include <xmmintrin.h>

namespace {
using Json = nlohmann::ordered_json;

struct Options
{
    bool withEmbree = false, withBuild = true, withInstances = false;
    int size = 1024, repeat = 5, threads = 1;
    std::string only, tracer; ///< beginnings of names of sets and of tracers
    std::vector<std::string> meshes;
};

Options parse(int argc, char** argv)
{
    Options o;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        const auto next = [&] { return i + 1 < argc ? argv[++i] : ""; };
        if (a == "--embree")
            o.withEmbree = true;
        else if (a == "--instances")
            o.withInstances = true;
        else if (a == "--no-build")
            o.withBuild = false;
        else if (a == "--size")
            o.size = std::max(16, std::atoi(next()) / 16 * 16);
        else if (a == "--repeat")
            o.repeat = std::max(1, std::atoi(next()));
        else if (a == "--threads")
            o.threads = std::max(1, std::atoi(next()));
        else if (a == "--tracer")
            o.tracer = next();
        else if (a == "--only")
            o.only = next();
        else
            o.meshes.push_back(a);
    }
    return o;
}

double now(int threads)
{
    timespec t;
    clock_gettime(threads == 1 ? CLOCK_THREAD_CPUTIME_ID : CLOCK_MONOTONIC, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

struct Samples
{
    std::vector<double> values;

    double getQuantile(double q) const
    {
        std::vector<double> sorted = values;
        std::sort(sorted.begin(), sorted.end());
        return sorted[std::size_t(q * double(sorted.size() - 1) + 0.5)];
    }
    double getMedian() const { return getQuantile(0.5); }
    double getSpread() const { return (getQuantile(0.75) - getQuantile(0.25)) / 2; }
};

void traceAll(const Tracer& tracer, const RaySet& set, int threads, std::vector<HitRecord>& out)
{
    const std::size_t count = set.packets.size();
    constexpr std::size_t block = 64;
    if (threads == 1)
        return tracer.trace(set, 0, count, out.data());
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count / block, 16), [&](const auto& r) {
        const unsigned saved = _mm_getcsr();
        _mm_setcsr(saved | 0x8040);
        tracer.trace(set, r.begin() * block, r.end() * block, out.data() + 4 * block * r.begin());
        _mm_setcsr(saved);
    });
}

double round(double v)
{
    return std::round(v * 1000) / 1000;
}

/// Runs all tracers on a set, in turns.
Json measure(const std::vector<const Tracer*>& tracers, const RaySet& set, const Options& o)
{
    std::vector<const Tracer*> used;
    for (const Tracer* t : tracers)
        if (t->accepts(set) && t->getName().rfind(o.tracer, 0) == 0)
            used.push_back(t);
    std::vector<Samples> times(used.size());
    std::vector<Json> checks(used.size());
    std::vector<HitRecord> hits(4 * set.packets.size());
    for (int r = 0; r <= o.repeat; ++r)
        for (std::size_t i = 0; i < used.size(); ++i) {
            const double start = now(o.threads);
            traceAll(*used[i], set, o.threads, hits);
            const double time = now(o.threads) - start;
            if (r == 0) { // warms up and checks
                u64 count = 0;
                double sum = 0;
                for (std::size_t k = 0; k < hits.size(); ++k)
                    if (std::isfinite(hits[k].t)) {
                        ++count;
                        sum += hits[k].t;
                    }
                checks[i] = {{"hits", count}, {"meanT", count ? sum / double(count) : 0.0}};
            } else
                times[i].values.push_back(time);
        }
    const double rays = double(set.getRayCount());
    // A faster wrong answer is no result. Rays within float distance of an edge may differ.
    for (std::size_t i = 1; i < used.size(); ++i) {
        const double difference =
            std::abs(checks[i]["hits"].get<double>() - checks[0]["hits"].get<double>());
        if (difference > 2.0 + 1e-4 * rays)
            throw std::runtime_error(used[i]->getName() + " and " + used[0]->getName() +
                                     " hit different numbers of rays");
    }
    Json result;
    for (std::size_t i = 0; i < used.size(); ++i) {
        Json entry;
        entry["mraysPerSecond"] = round(rays / times[i].getMedian() * 1e-6);
        entry["spread"] = round(times[i].getSpread() / times[i].getMedian());
        entry.update(checks[i]);
        result[used[i]->getName()] = entry;
    }
    return result;
}

/// Ratios that the core is held against.
void addRatios(Json& set)
{
    const auto rate = [&](const std::string& name) {
        return set.contains(name) ? set[name]["mraysPerSecond"].get<double>() : 0.0;
    };
    const double packets = std::max(rate("embree.packet4"), rate("embree.packet4coherent"));
    double best = 0;
    for (const auto& [name, entry] : set.items())
        if (name.rfind("embree", 0) == 0)
            best = std::max(best, entry["mraysPerSecond"].get<double>());
    Json ratios;
    for (const char* name : {"core.bundle", "core.packet", "core.lane"})
        if (rate(name) > 0 && packets > 0) {
            ratios[std::string(name) + "/embree.packet4"] = round(rate(name) / packets);
            ratios[std::string(name) + "/embree.single"] =
                round(rate(name) / rate("embree.single"));
            ratios[std::string(name) + "/best"] = round(rate(name) / best);
        }
    if (!ratios.empty())
        set["ratios"] = ratios;
}

std::vector<Instance> makeInstances(const Bounds& b)
{
    std::vector<Instance> all;
    for (int k = 0; k < 10; ++k)
        for (int j = 0; j < 10; ++j)
            for (int i = 0; i < 10; ++i) {
                const double angle = 2 * M_PI * hashNumber(u32(i + 10 * j + 100 * k));
                const double c = std::cos(angle), s = std::sin(angle);
                const double* m = b.center;
                const double cell[3] = {i - 4.5, j - 4.5, k - 4.5};
                // p' = R (p - m) + m + diag cell, with R about y.
                const double t[3] = {m[0] - (c * m[0] + s * m[2]) + b.diagonal * cell[0],
                                     b.diagonal * cell[1],
                                     m[2] - (-s * m[0] + c * m[2]) + b.diagonal * cell[2]};
                all.push_back({{{float(c), 0, float(-s), 0},
                                {0, 1, 0, 0},
                                {float(s), 0, float(c), 0},
                                {float(t[0]), float(t[1]), float(t[2]), 1}}});
            }
    return all;
}

Json measureBuild(const Mesh& mesh, const Options& o)
{
    const std::string threads = "threads=" + std::to_string(o.threads);
    std::vector<std::pair<std::string, std::function<void()>>> builds = {
        {"core", [&] { buildCore(mesh); }}};
#ifdef ZN_WITH_EMBREE
    if (o.withEmbree) {
        builds.push_back({"embree", [&] { buildEmbree(mesh, threads + ",isa=sse2", false); }});
        builds.push_back({"embreeBest", [&] { buildEmbree(mesh, threads, false); }});
    }
#endif
    std::vector<Samples> times(builds.size());
    for (int r = 0; r < o.repeat; ++r)
        for (std::size_t i = 0; i < builds.size(); ++i) {
            const double start = now(o.threads);
            builds[i].second();
            times[i].values.push_back(now(o.threads) - start);
        }
    Json result;
    for (std::size_t i = 0; i < builds.size(); ++i)
        result[builds[i].first] = {
            {"mtrisPerSecond", round(double(mesh.triangles.size()) / times[i].getMedian() * 1e-6)},
            {"spread", round(times[i].getSpread() / times[i].getMedian())}};
    return result;
}

/// A thousand instances, seen from afar.
Json measureInstances(const Mesh& mesh, const Bounds& bounds, const Options& o)
{
    const std::vector<Instance> instances = makeInstances(bounds);
    std::vector<std::unique_ptr<Structure>> structures;
    structures.push_back(buildCoreInstances(mesh, instances));
#ifdef ZN_WITH_EMBREE
    if (o.withEmbree) {
        const std::string threads = "threads=" + std::to_string(o.threads);
        structures.push_back(buildEmbree(mesh, threads + ",isa=sse2", false, &instances));
        structures.push_back(buildEmbree(mesh, threads, true, &instances));
    }
#endif
    std::vector<const Tracer*> tracers;
    for (const auto& s : structures)
        for (const auto& t : s->getTracers())
            tracers.push_back(t.get());
    // The camera looks at the cube of all cells, whose diagonal is that of a cube of side 10.
    Bounds all = bounds;
    all.diagonal = 10.0 * std::sqrt(3.0) * bounds.diagonal;
    Json entry = measure(tracers, makePrimary(all, 'A', o.size, o.size), o);
    addRatios(entry);
    return entry;
}

Json run(const std::string& argument, const Options& o)
{
    const std::size_t colon = argument.rfind(':');
    Mesh mesh = loadMesh(argument.substr(0, colon));
    if (colon != std::string::npos)
        for (int i = std::atoi(argument.c_str() + colon + 1); i > 0; --i)
            mesh = refine(mesh, 0.03f);
    const Bounds bounds = getBounds(mesh);
    const auto wanted = [&](const std::string& name) {
        return o.only.empty() || name.rfind(o.only, 0) == 0;
    };

    Json result;
    result["mesh"] = argument;
    result["triangles"] = mesh.triangles.size();
    result["threads"] = o.threads;
    if (o.withBuild && wanted("build"))
        result["build"] = measureBuild(mesh, o);

    const std::unique_ptr<CoreStructure> core = buildCore(mesh);
    result["bytesPerTriangle"] = round(double(core->getMemory()) / double(mesh.triangles.size()));
    std::vector<std::unique_ptr<Structure>> others;
#ifdef ZN_WITH_EMBREE
    if (o.withEmbree) {
        const std::string threads = "threads=" + std::to_string(o.threads);
        others.push_back(buildEmbree(mesh, threads + ",isa=sse2", false));
        others.push_back(buildEmbree(mesh, threads, true));
        result["embreeBytesPerTriangle"] =
            round(double(others[0]->getMemory()) / double(mesh.triangles.size()));
    }
#endif
    std::vector<const Tracer*> tracers;
    for (const auto& t : core->getTracers())
        tracers.push_back(t.get());
    for (const auto& other : others)
        for (const auto& t : other->getTracers())
            tracers.push_back(t.get());

    for (const char camera : {'A', 'B', 'C'}) {
        const RaySet primary = makePrimary(bounds, camera, o.size, o.size);
        std::vector<HitRecord> hits(4 * primary.packets.size());
        core->getTracers()[1]->trace(primary, 0, primary.packets.size(), hits.data());
        const auto& order = core->getTriangles();
        const auto add = [&](const RaySet& set) {
            Json entry = measure(tracers, set, o);
            addRatios(entry);
            result[set.name] = entry;
        };
        if (wanted(primary.name))
            add(primary);
        if (wanted(std::string("shadow") + camera))
            add(makeShadow(mesh, order, bounds, camera, primary, hits));
        if (wanted(std::string("diffuse") + camera))
            add(makeDiffuse(mesh, order, bounds, camera, primary, hits, o.size));
    }
    if (o.withInstances && wanted("instances"))
        result["instances"] = measureInstances(mesh, bounds, o);
    return result;
}
} // namespace

int main(int argc, char** argv)
try {
    const Options o = parse(argc, argv);
    if (o.meshes.empty()) {
        std::fprintf(stderr, "usage: rays [--embree] [--size N] [--repeat N] [--threads N] "
                             "[--only PREFIX] [--tracer NAME] [--no-build] "
                             "[--instances] MESH[:REFINE]...\n");
        return 2;
    }
    tbb::global_control control(tbb::global_control::max_allowed_parallelism,
                                std::size_t(o.threads));
    _mm_setcsr(_mm_getcsr() | 0x8040);
    Json all = Json::array();
    for (const std::string& mesh : o.meshes)
        all.push_back(run(mesh, o));
    std::puts(all.dump(2).c_str());
    return 0;
} catch (const std::exception& e) {
    std::fprintf(stderr, "rays: %s\n", e.what());
    return 1;
}
