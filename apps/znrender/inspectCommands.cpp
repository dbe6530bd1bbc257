// znrender info, list and convert: what a scene holds, and the scene as an archive.

#include "commands.h"

#include "chooseView.h"
#include "lightScene.h"
#include "listMaterials.h"
#include "loadScene.h"

#include "driver/FrameDriver.h"
#include "host/nodePaths.h"
#include "host/osg/Geometry.h"
#include "host/osg/UberCamera.h"
#include "host/znRaytracingUtilsBase.h"
#include "io/InputError.h"
#include "io/OutputFile.h"
#include "io/sceneArchive.h"
#include "scene/sceneQueries.h"
#include "settings/fieldChoices.h"

#include <fmt/format.h>

#include <cmath>

namespace {

std::string nearestTypeName(const std::string& name)
{
    std::vector<std::string> names;
    for (const osg::FieldContainerType* type : osg::FieldContainerFactory::the()->getTypes())
        names.push_back(type->getName());
    return nearestName(name, names);
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
        const scene::NamedCamera& entry = scene.cameras[i];
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

void printPasses()
{
    for (u32 pass = 0; pass < znRenderPassCount; ++pass)
        fmt::print("{:2}  {:36} {}\n", pass, znRenderPassNames[pass],
                   isCryptomattePass(pass) ? "id matte"
                   : isDataPass(pass)      ? "data"
                                           : "light");
}

void printTypes()
{
    for (const osg::FieldContainerType* type : osg::FieldContainerFactory::the()->getTypes())
        fmt::print("{:32} {}\n", type->getName(),
                   type->getParent() ? type->getParent()->getName() : "");
}

/// "[0, 1]", the names of an enumeration, or nothing.
std::string rangeText(const osg::FieldContainerType& type, const osg::FieldDescription& field)
{
    if (const auto choices = getFieldChoices(type, field); !choices.empty())
        return fmt::format("{{{}}}", fmt::join(choices, ", "));
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
                   defaultText(field), field.unit, rangeText(*type, field));
}

/// What a pixel shows: the first hit of the ray through its middle.
void printPick(const Options& options, io::SceneFile& loaded)
{
    const unsigned x = (*options.pixel)[0], y = (*options.pixel)[1];
    View view = chooseView(options, loaded);
    const SceneLight light(options, loaded, view);
    light.show();
    FrameDriver driver;
    driver.setScene(loaded.root.get());
    driver.render(pixelSettings(options), view.camera.get());

    znRTVector3f position, normal;
    osg::NodePtr node;
    fmt::print("pixel      {}, {} of {} x {}\n", x, y, options.width, options.height);
    if (!driver.utils().getHitPoint(float(x) + 0.5f, float(options.height - y) - 0.5f, position,
                                    normal, node)) {
        fmt::print("node       none, the background\n");
        return;
    }
    const osg::GeometryPtr geometry =
        node ? osg::Geometry::Ptr::dcast(node->getCore()) : osg::GeometryPtr();
    const osg::MaterialPtr shown = geometry ? geometry->getMaterial() : osg::MaterialPtr();
    if (osg::FCPtr<osg::UEnvironmentMaterial>::dcast(shown)) {
        // They are infinitely far away.
        fmt::print("node       none, the surroundings\n");
        return;
    }
    osg::Pnt3f from, at;
    osg::Vec3f up;
    view.camera->getFromAtUp(from, at, up);
    const auto paths = getNodePaths(loaded.root.get());
    const auto path = node ? paths.find(node->getId()) : paths.end();
    const std::string material = shown ? osg::getName(shown) : "";
    fmt::print("node       {}\nmaterial   {}\nposition   {:.6g}, {:.6g}, {:.6g}\n"
               "normal     {:.6g}, {:.6g}, {:.6g}\ndistance   {:.6g}\n",
               path == paths.end() ? "without a name" : io::printable(path->second),
               material.empty() ? "none" : io::printable(material), position.x, position.y,
               position.z, normal.x, normal.y, normal.z,
               std::hypot(position.x - from[0], position.y - from[1], position.z - from[2]));
}

} // namespace

int runInfo(const Options& options)
{
    io::SceneFile loaded = loadScene(options);
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
    if (options.showAssignments)
        printAssignments(loaded);
    if (options.pixel)
        printPick(options, loaded);
    return exitDone;
}

int runList(const Options& options)
{
    if (options.listWhat == "types")
        printTypes();
    else if (options.listWhat == "passes")
        printPasses();
    else if (options.listWhat == "fields")
        printFields(options.listType);
    else if (options.listWhat == "materials" && options.scenes.empty())
        printMaterialKinds();
    else {
        const io::SceneFile scene = loadScene(options);
        if (options.listWhat == "materials")
            printMaterials(scene);
        else if (options.listWhat == "variants")
            printVariants(scene);
        else
            printCameras(scene);
    }
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
