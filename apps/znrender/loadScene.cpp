#include "loadScene.h"

#include "io/InputError.h"
#include "io/looks.h"
#include "io/sceneReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

io::SceneFile loadScene(const Options& options)
{
    io::SceneReadOptions read;
    read.includeFolders = options.includeFolders;
    read.limits = options.limits;
    read.conventions = options.conventions;
    // A look that names files stands for a scene.
    std::vector<std::string> files = options.scenes;
    LookOptions look = options.look;
    const auto first = std::stable_partition(
        files.begin(), files.end(), [](const std::string& file) { return !io::isLookFile(file); });
    look.looks.insert(look.looks.begin(), first, files.end());
    files.erase(first, files.end());

    io::SceneFile scene = files.empty() ? io::SceneFile() : io::readScenes(files, read);
    applyLooks(scene, look, read);
    if (!look.isEmpty() && scene.root->getWorldBox().isEmpty())
        throw io::InputError(options.scenes.front(), "holds nothing that could be seen");
    return scene;
}

osg::CameraPtr findCamera(const io::SceneFile& scene, const std::string& name)
{
    for (const scene::NamedCamera& camera : scene.cameras)
        if (camera.name == name)
            return camera.camera;
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error == std::errc() && end == name.data() + name.size() && number < scene.cameras.size())
        return scene.cameras[number].camera;

    std::string known;
    for (std::size_t i = 0; i < scene.cameras.size(); ++i)
        known += fmt::format("{}{} '{}'", i ? ", " : "", i, io::printable(scene.cameras[i].name));
    throw UsageError(fmt::format("-c {}: there is no such camera; {}", io::printable(name),
                                 known.empty() ? "the scene has none" : "there are " + known));
}
