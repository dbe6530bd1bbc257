// znrender info, list and convert: what a scene holds, and the scene as an archive.

#include "commands.h"

#include "loadScene.h"

#include "host/osg/UberCamera.h"
#include "io/InputError.h"
#include "io/OutputFile.h"
#include "io/sceneArchive.h"
#include "scene/sceneQueries.h"

#include <fmt/format.h>

namespace {

/// Names that a user may have meant, by the number of edits that separate them.
std::size_t editDistance(const std::string& a, const std::string& b)
{
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = std::tolower(static_cast<unsigned char>(a[i - 1])) ==
                              std::tolower(static_cast<unsigned char>(b[j - 1]));
            const std::size_t changed = diagonal + (same ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

std::string nearestTypeName(const std::string& name)
{
    std::string nearest;
    std::size_t best = ~std::size_t(0);
    for (const osg::FieldContainerType* type : osg::FieldContainerFactory::the()->getTypes()) {
        const std::size_t distance = editDistance(name, type->getName());
        if (distance < best) {
            best = distance;
            nearest = type->getName();
        }
    }
    return nearest;
}

const char* projectionName(int mode)
{
    const char* const names[] = {"perspective",     "orthographic",     "spherical",
                                 "cylindrical",     "vertical cross",   "horizontal cross",
                                 "stereo panorama", "projection matrix"};
    return mode >= 0 && mode < 8 ? names[mode] : "unknown";
}

void printCameras(const io::SceneFile& scene)
{
    for (std::size_t i = 0; i < scene.cameras.size(); ++i) {
        const io::SceneFile::CameraEntry& entry = scene.cameras[i];
        osg::Pnt3f from, at;
        osg::Vec3f up;
        entry.camera->getFromAtUp(from, at, up);
        fmt::print("{:3}  {:24}  at {:.5g}, {:.5g}, {:.5g}", i, io::printable(entry.name), from[0],
                   from[1], from[2]);
        if (const auto uber = osg::UberCamera::Ptr::dcast(entry.camera)) {
            fmt::print("  {}", projectionName(uber->getProjectionMode()));
            if (uber->getProjectionMode() == osg::UberCamera::perspective)
                fmt::print(", {:.5g} degrees", uber->getFov());
        }
        fmt::print("\n");
    }
}

void printTypes()
{
    for (const osg::FieldContainerType* type : osg::FieldContainerFactory::the()->getTypes())
        fmt::print("{:32} {}\n", type->getName(),
                   type->getParent() ? type->getParent()->getName() : "");
}

/// "[0, 1]", the names of an enumeration, or nothing.
std::string rangeText(const osg::FieldDescription& field)
{
    if (!field.choices.empty())
        return fmt::format("{{{}}}", fmt::join(field.choices, ", "));
    return field.hasRange() ? fmt::format("[{:g}, {:g}]", field.minimum, field.maximum) : "";
}

std::string defaultText(const osg::FieldDescription& field)
{
    const auto toText = [&](const auto& value) -> std::string {
        using T = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<T, bool>)
            return value ? "true" : "false";
        else if constexpr (std::is_same_v<T, int>)
            return value >= 0 && std::size_t(value) < field.choices.size() ? field.choices[value]
                                                                           : std::to_string(value);
        else if constexpr (std::is_arithmetic_v<T>)
            return fmt::format("{:g}", double(value));
        else if constexpr (std::is_same_v<T, osg::Vec2f>)
            return fmt::format("{:g}, {:g}", value[0], value[1]);
        else if constexpr (std::is_same_v<T, osg::Vec3f>)
            return fmt::format("{:g}, {:g}, {:g}", value[0], value[1], value[2]);
        else if constexpr (std::is_same_v<T, osg::Vec4f>)
            return fmt::format("{:g}, {:g}, {:g}, {:g}", value[0], value[1], value[2], value[3]);
        else
            return "";
    };
    return std::visit(toText, field.defaultValue);
}

void printFields(const std::string& name)
{
    const osg::FieldContainerType* const type = osg::FieldContainerFactory::the()->findType(name);
    if (!type)
        throw UsageError(fmt::format("list fields: there is no type '{}', perhaps '{}'",
                                     io::printable(name), nearestTypeName(name)));
    for (const osg::FieldDescription& field : type->getFields())
        fmt::print("{:32} {:12} {:16} {:10} {}\n", field.name, osg::getFieldKindName(field.kind),
                   defaultText(field), field.unit, rangeText(field));
}

} // namespace

int runInfo(const Options& options)
{
    const io::SceneFile loaded = loadScene(options);
    const scene::Content content = scene::countContent(loaded.root.get());
    fmt::print("nodes      {}\ninstances  {} of {} meshes\ntriangles  {}\nvertices   {}\n"
               "materials  {}\nlights     {}\ncameras    {}\n",
               content.nodes, content.instances, content.meshes, content.triangles,
               content.vertices, content.materials.size(), content.lights, content.cameras);
    if (content.box.isEmpty()) {
        fmt::print("box        empty\n");
    } else {
        const osg::Pnt3f &low = content.box.minimum, &high = content.box.maximum;
        fmt::print("box        {:.6g}, {:.6g}, {:.6g} to {:.6g}, {:.6g}, {:.6g}\n", low[0], low[1],
                   low[2], high[0], high[1], high[2]);
    }
    printCameras(loaded);
    return exitDone;
}

int runList(const Options& options)
{
    if (options.listWhat == "types")
        printTypes();
    else if (options.listWhat == "fields")
        printFields(options.listType);
    else
        printCameras(loadScene(options));
    return exitDone;
}

int runConvert(const Options& options)
{
    const auto existing =
        options.overwrite ? io::OutputFile::Existing::replace : io::OutputFile::Existing::refuse;
    io::OutputFile::checkTarget(options.outputs.front(), existing);
    const io::SceneFile loaded = loadScene(options);
    io::writeSceneArchive(loaded.root.get(), options.outputs.front());
    return exitDone;
}
