#include "io/sceneReader.h"

#include "host/osg/EnvironmentAttachment.h"
#include "host/osg/RaytracingSettingsAttachment.h"
#include "host/znLog.h"
#include "io/InputError.h"
#include "io/gltfReader.h"
#include "io/importerProcess.h"
#include "io/looks.h"
#include "io/sceneArchive.h"
#include "scene/sceneQueries.h"
#include "scene/variants.h"

#include <algorithm>

namespace io {

namespace {

enum class SceneFormat { gltf, archive, imported };

std::string lowerSuffix(const std::string& path)
{
    const std::size_t dot = path.rfind('.'), slash = path.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return "";
    std::string suffix = path.substr(dot);
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return suffix;
}

/// By the first bytes where a format has a signature, else by the suffix.
SceneFormat recognizeScene(const std::string& path, const Limits& limits)
{
    InputFile file = InputFile::open(path, limits);
    char start[4] = {};
    if (file.read(start, sizeof start) == sizeof start && std::equal(start, start + 4, "glTF"))
        return SceneFormat::gltf;
    if (isSceneArchive(file))
        return SceneFormat::archive;
    const std::string suffix = lowerSuffix(path);
    if (suffix == ".gltf" || suffix == ".glb")
        return SceneFormat::gltf;
    const char* const imported[] = {".obj", ".ply", ".stl", ".fbx", ".dae"};
    if (std::find(std::begin(imported), std::end(imported), suffix) == std::end(imported))
        throw InputError(path, "not a scene format that can be read; there are glTF, OBJ, PLY, "
                               "STL, FBX, Collada and scene archives");
    return SceneFormat::imported;
}

/// Whether a format leaves up axis and unit to its users.
bool isOpenToConventions(const std::string& path, SceneFormat format)
{
    const std::string suffix = lowerSuffix(path);
    return format == SceneFormat::imported && suffix != ".fbx" && suffix != ".dae";
}

SceneFile fromRoot(const std::string& path, const osg::Ref<osg::FieldContainer>& content)
{
    osg::Ref<osg::Node> root = osg::Node::Ptr::dcast(content.get());
    if (!root)
        throw InputError(path, "is an archive of something else than a scene");
    SceneFile scene;
    scene.cameras = scene::findCameras(root.get());
    scene.lights = findLights(root.get());
    scene.variants = scene::findVariants(root.get());
    scene.triangles = scene::countContent(root.get()).triangles;
    scene.root = std::move(root);
    return scene;
}

} // namespace

SceneFile readScene(const std::string& path, const SceneReadOptions& options)
{
    SceneFile scene;
    const SceneFormat format = recognizeScene(path, options.limits);
    switch (format) {
    case SceneFormat::gltf:
        scene = readGltf(path, options.includeFolders, options.limits);
        if (!scene.look.empty())
            applyLookBlock(scene, path, options);
        break;
    case SceneFormat::archive: {
        InputFile file = InputFile::open(path, options.limits);
        scene = fromRoot(path, readSceneArchive(file));
        break;
    }
    case SceneFormat::imported:
        scene = fromRoot(
            path, importScene(path, options.includeFolders, options.limits, options.conventions));
        break;
    }
    if (options.conventions.isGiven() && !isOpenToConventions(path, format))
        znLog::warning((printable(path) + ": states its up axis and unit itself; --up and --unit "
                                          "are left out")
                           .c_str());
    if (scene.root->getWorldBox().isEmpty())
        throw InputError(path, "holds nothing that could be seen");
    return scene;
}

SceneFile readScenes(const std::vector<std::string>& paths, const SceneReadOptions& options)
{
    if (paths.size() == 1)
        return readScene(paths.front(), options);
    SceneFile all;
    all.root = osg::Node::create(nullptr, "scenes");
    for (const std::string& path : paths) {
        SceneFile scene = readScene(path, options);
        appendScene(all, scene);
    }
    return all;
}

void appendScene(SceneFile& all, SceneFile& part)
{
    const auto takeOver = [&](const osg::AttachmentPtr& attachment) {
        if (attachment && !all.root->findAttachment(attachment->getType()))
            all.root->addAttachment(attachment);
    };
    takeOver(osg::RaytracingSettingsAttachment::getAttachment(part.root.get()));
    takeOver(osg::EnvironmentAttachment::getAttachment(part.root.get()));
    all.root->addChild(part.root.get());
    std::move(part.cameras.begin(), part.cameras.end(), std::back_inserter(all.cameras));
    std::move(part.lights.begin(), part.lights.end(), std::back_inserter(all.lights));
    all.looks.materials.merge(part.looks.materials);
    all.looks.assignments.merge(part.looks.assignments);
    all.looks.settings.merge(part.looks.settings);
    all.variants = scene::findVariants(all.root.get());
    all.warnings += part.warnings;
    all.triangles += part.triangles;
}

std::vector<SceneFile::LightEntry> findLights(const osg::NodePtr& root)
{
    std::vector<SceneFile::LightEntry> lights;
    osg::traverse(root, [&](const osg::NodePtr& node) {
        if (const auto light = osg::FCPtr<osg::UberLight>::dcast(node->getCore())) {
            const std::string& name = osg::getName(light);
            lights.push_back({name.empty() ? osg::getName(node) : name, light, node});
        }
        return true;
    });
    return lights;
}

} // namespace io
