// znrender debug-pixel: the rays that make a pixel, as a tree. For those who ask why a pixel looks
// as it does.

#include "commands.h"

#include "chooseView.h"
#include "lightScene.h"
#include "loadScene.h"

#include "host/nodePaths.h"
#include "host/osg/Material.h"
#include "host/znRTRayObserver.h"
#include "io/InputError.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace {

class Recorder : public znRTRayObserver
{
public:
    Recorder(int x, int y)
    {
        pixelX = x;
        pixelY = y;
        s_current = this;
    }
    ~Recorder() override { s_current = nullptr; }
    void onRay(const znRTObservedRay& ray) override { rays.push_back(ray); }

    std::vector<znRTObservedRay> rays;
};

/// Where rays that leave a hit may begin: they are moved off the surface by a small share of the
/// coordinates.
bool startsAt(const znRTObservedRay& ray, const znRTObservedRay& parent)
{
    const auto largest = [](const znRTVector3f& v) {
        return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)});
    };
    const znRTVector3f gap{ray.origin.x - parent.position.x, ray.origin.y - parent.position.y,
                           ray.origin.z - parent.position.z};
    return largest(gap) <= 1e-4f * std::max({1.0f, largest(parent.position), parent.t});
}

constexpr int noParent = -1;

/// The latest earlier ray that hit where each one starts.
std::vector<int> findParents(const std::vector<znRTObservedRay>& rays)
{
    std::vector<int> parents(rays.size(), noParent);
    for (std::size_t i = 1; i < rays.size(); ++i)
        for (int k = int(i) - 1; k >= 0 && parents[i] == noParent; --k) {
            const znRTObservedRay& before = rays[std::size_t(k)];
            if (before.query == znRTObservedRay::nearest && before.isHit &&
                startsAt(rays[i], before))
                parents[i] = k;
        }
    return parents;
}

/// The classes in a ray's type word, each a pair of bits.
std::string typeText(u32 type)
{
    const char* const names[] = {"stochastic",
                                 "camera",
                                 "diffuse",
                                 "glossy reflection",
                                 "reflection",
                                 "glossy transmission",
                                 "refraction",
                                 "light",
                                 "stochastic transmission",
                                 "stochastic reflection",
                                 "pass-through",
                                 "environment or occlusion",
                                 "in reflection",
                                 "shadow material",
                                 "photon",
                                 "projector"};
    std::string text;
    for (u32 pair = 0; pair < std::size(names); ++pair)
        if (type >> 2 * pair & 3)
            text += (text.empty() ? "" : ", ") + std::string(names[pair]);
    return text.empty() ? "none" : text;
}

class TreePrinter
{
public:
    TreePrinter(const std::vector<znRTObservedRay>& observed,
                std::unordered_map<u32, std::string> nodePaths)
        : rays(observed), parents(findParents(observed)), paths(std::move(nodePaths))
    {
    }

    /// Depth by a list of its own, not by recursion.
    void print() const
    {
        std::vector<std::pair<int, int>> open; // ray, depth; the next one last
        const auto addChildren = [&](int parent, int depth) {
            for (int i = int(rays.size()) - 1; i >= 0; --i)
                if (parents[std::size_t(i)] == parent)
                    open.push_back({i, depth});
        };
        addChildren(noParent, 0);
        while (!open.empty()) {
            const auto [ray, depth] = open.back();
            open.pop_back();
            printRay(ray, depth);
            addChildren(ray, depth + 1);
        }
    }

private:
    std::string nodeText(u32 id) const
    {
        const auto path = paths.find(id);
        return path == paths.end() ? "an object without node" : io::printable(path->second);
    }

    static std::string materialText(const znRTObservedRay& ray)
    {
        const auto material = osg::MaterialPtr::dcast(
            osg::FieldContainerFactory::the()->getContainer(ray.materialId));
        const std::string name = material ? osg::getName(material) : "";
        return fmt::format("{}{}", name.empty() ? "default" : io::printable(name),
                           ray.materialClass ? fmt::format(" ({})", ray.materialClass) : "");
    }

    std::string hitText(const znRTObservedRay& ray) const
    {
        if (ray.query == znRTObservedRay::shadow)
            return !ray.isHit             ? "unoccluded"
                   : ray.isTransparentHit ? "occluded by something transparent"
                                          : "occluded";
        if (!ray.isHit)
            return "hits nothing";
        return fmt::format("hits {} at {:.6g}, {:.6g}, {:.6g}, distance {:.6g}, material {}, "
                           "primitive {}, u {:.4f}, v {:.4f}",
                           nodeText(ray.nodeId), ray.position.x, ray.position.y, ray.position.z,
                           ray.t, materialText(ray), ray.primitive, ray.u, ray.v);
    }

    void printRay(int index, int depth) const
    {
        const znRTObservedRay& ray = rays[std::size_t(index)];
        const char* const queries[] = {"ray", "shadow ray", "selection ray"};
        const std::string indent(std::size_t(2 * std::min(depth, 40)), ' ');
        fmt::print("{}{} {} [{}] from {:.6g}, {:.6g}, {:.6g} along {:.4f}, {:.4f}, {:.4f}, range "
                   "{:.4g} to {:.4g}, weight {:.4g}, {:.4g}, {:.4g}\n{}    {}\n",
                   indent, index, queries[std::min<u32>(ray.query, 2)], typeText(ray.type),
                   ray.origin.x, ray.origin.y, ray.origin.z, ray.direction.x, ray.direction.y,
                   ray.direction.z, ray.tMin, ray.tMax, ray.weight.x, ray.weight.y, ray.weight.z,
                   indent, hitText(ray));
    }

    const std::vector<znRTObservedRay>& rays;
    std::vector<int> parents;
    std::unordered_map<u32, std::string> paths;
};

} // namespace

int runDebugPixel(const Options& options)
{
    io::SceneFile scene = loadScene(options);
    View view = chooseView(options, scene);
    const SceneLight light(options, scene, view);
    const unsigned x = (*options.pixel)[0], y = (*options.pixel)[1];
    FrameDriver driver;
    driver.setScene(scene.root.get());
    applyPathOptions(options, scene.root.get(), driver.utils());
    light.turnToLight(options, driver, view);
    light.show();
    Recorder recorder(int(x), int(options.height - 1 - y));
    FrameSettings settings = pixelSettings(options);
    settings.isStill = true; // the first sample of the picture
    driver.render(settings, view.camera.get());
    fmt::print("pixel {}, {} of {} x {}: {} rays\n", x, y, options.width, options.height,
               recorder.rays.size());
    TreePrinter(recorder.rays, getNodePaths(scene.root.get())).print();
    return exitDone;
}
