// znimport-assimp [-I DIR]... [--limit NAME=N]... [--up y|z] [--metres-per-unit N]
//                 [--check-confinement] -- SCENE
//
// Reads OBJ, PLY, STL, FBX or Collada and writes a scene archive to standard output. Standard error
// takes one line per message: "info: ", "warning: " or "error: ". Exit 0 done, 1 the file is no
// good, 2 wrong use, 3 out of memory. Meant to be run by the render host under limits.

#include "AssimpFiles.h"
#include "axesAndUnit.h"
#include "buildScene.h"
#include "checkPly.h"
#include "cleanScene.h"
#include "host/znLog.h"
#include "io/InputError.h"
#include "io/sceneArchive.h"
#include "mtlPlacement.h"
#include "sandbox.h"
#include "timeBudget.h"

#include <algorithm>
#include <array>
#include <assimp/Importer.hpp>
#include <assimp/importerdesc.h>
#include <assimp/postprocess.h>
#include <cerrno>
#include <charconv>
#include <new>
#include <strings.h>
#include <unistd.h>

namespace {

constexpr int exitDone = 0, exitBadFile = 1, exitUsage = 2, exitOutOfMemory = 3;

// Edges sharper than this stay edges in files without normals.
constexpr float creaseAngle = 60.0f; // degrees

struct Options
{
    std::string scene;
    std::vector<std::string> folders;
    io::Limits limits;
    io::FileConventions conventions;
    bool checksConfinement = false;
};

char upAxis(std::string_view text)
{
    if (text != "y" && text != "z")
        throw std::invalid_argument("no upward axis: " + io::printable(text));
    return text[0];
}

double metres(std::string_view text)
{
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !(value > 0.0 && value < 1e9))
        throw std::invalid_argument("no length of a unit: " + io::printable(text));
    return value;
}

Options parse(int count, char** arguments)
{
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        if (argument == "-I" && i + 1 < count)
            options.folders.push_back(arguments[++i]);
        else if (argument == "--limit" && i + 1 < count)
            options.limits.set(arguments[++i]);
        else if (argument == "--up" && i + 1 < count)
            options.conventions.upAxis = upAxis(arguments[++i]);
        else if (argument == "--metres-per-unit" && i + 1 < count)
            options.conventions.metresPerUnit = metres(arguments[++i]);
        else if (argument == "--check-confinement")
            options.checksConfinement = true;
        else if (argument == "--" && i + 2 == count)
            options.scene = arguments[++i];
        else
            throw std::invalid_argument("unknown argument " + io::printable(argument));
    }
    if (options.scene.empty())
        throw std::invalid_argument("no scene given");
    return options;
}

/// The library knows some 50 formats and also tries those whose signature fits: only five of them
/// are meant to see the file.
void keepFormats(Assimp::Importer& importer)
{
    const std::array kept = {"obj", "ply", "stl", "fbx", "dae"};
    for (std::size_t i = importer.GetImporterCount(); i-- > 0;) {
        const aiImporterDesc* const description = importer.GetImporterInfo(i);
        const std::string suffixes = std::string(" ") + description->mFileExtensions + " ";
        const bool isKept = std::any_of(kept.begin(), kept.end(), [&](const char* suffix) {
            return suffixes.find(std::string(" ") + suffix + " ") != suffixes.npos;
        });
        if (!isKept)
            importer.UnregisterLoader(importer.GetImporter(i));
    }
}

/// Damage that the library does not get over, or does not notice.
void checkFile(const Options& options)
{
    const std::size_t dot = std::min(options.scene.rfind('.'), options.scene.size());
    if (::strcasecmp(options.scene.c_str() + dot, ".ply") != 0)
        return;
    io::InputFile file = io::InputFile::open(options.scene, options.limits);
    checkPly(file);
}

/// What the library threw, or its message. Its name for the file is not the user's.
[[noreturn]] void rethrow(const Assimp::Importer& importer, const io::SceneFolder& folder)
{
    if (importer.GetException()) {
        try {
            std::rethrow_exception(importer.GetException());
        } catch (const io::InputError&) {
            throw;
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception&) {
        }
    }
    std::string reason = importer.GetErrorString();
    for (std::size_t at; (at = reason.find("/zn/")) != reason.npos;)
        reason.erase(at, 4);
    throw io::InputError(folder.getSceneFile(),
                         reason.empty() ? "cannot be imported" : "cannot be imported: " + reason);
}

void writeToOutput(const void* data, std::size_t size)
{
    const char* bytes = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t count = ::write(STDOUT_FILENO, bytes, size);
        if (count < 0 && errno != EINTR)
            throw std::runtime_error("the archive cannot be handed over");
        bytes += std::max<ssize_t>(count, 0);
        size -= std::size_t(std::max<ssize_t>(count, 0));
    }
}

void addMaterialPlacements(aiScene& scene, const AssimpFiles& files)
{
    for (const std::string& name : files.getMaterialFiles()) {
        const std::vector<u8> bytes = files.open(name).readAll();
        addPlacements(scene, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }
}

void import(const Options& options)
{
    const io::SceneFolder folder(options.scene, options.folders, options.limits);
    confine(folder.getFolders(), options.scene);
    if (options.checksConfinement) {
        for (const std::string& door : openDoors())
            writeToOutput((door + "\n").data(), door.size() + 1);
        return;
    }
    limitTime(options.limits);
    checkFile(options);
    Assimp::Importer importer;
    keepFormats(importer);
    AssimpFiles* const files = new AssimpFiles(folder);
    importer.SetIOHandler(files); // takes it over
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_ANIMATIONS, false);
    importer.SetPropertyFloat(AI_CONFIG_PP_GSN_MAX_SMOOTHING_ANGLE, creaseAngle);
    if (!importer.ReadFile(files->getSceneName(), 0))
        rethrow(importer, folder);
    // The library hands out its scene as const, but works on the same object afterwards.
    aiScene& scene = const_cast<aiScene&>(*importer.GetScene());
    if (!scene.mRootNode || removeBadMeshes(scene) == 0)
        throw io::InputError(options.scene, "holds no usable geometry");
    if (!importer.ApplyPostProcessing(aiProcess_Triangulate | aiProcess_SortByPType |
                                      aiProcess_GenSmoothNormals | aiProcess_JoinIdenticalVertices))
        rethrow(importer, folder);
    if (removeBadMeshes(scene) == 0)
        throw io::InputError(options.scene, "holds no usable geometry");
    addMaterialPlacements(scene, *files);
    if (scene.mNumCameras + scene.mNumLights + scene.mNumAnimations > 0)
        znLog::info("info: cameras, lights and animations of this format are left out");
    const osg::Ref<osg::Node> root =
        buildScene(scene, axesAndUnit(scene, options.scene, options.conventions), folder);
    io::writeSceneArchive(root.get(), writeToOutput);
}

/// The library catches exceptions of its own accord and goes on with what it has; out of memory is
/// out of memory.
void leaveOutOfMemory()
{
    ::_exit(exitOutOfMemory);
}

} // namespace

int main(int count, char** arguments)
{
    std::set_new_handler(leaveOutOfMemory);
    try {
        import(parse(count, arguments));
        return exitDone;
    } catch (const std::invalid_argument& error) {
        znLog::error(error.what());
        return exitUsage;
    } catch (const std::bad_alloc&) {
        return exitOutOfMemory;
    } catch (const std::exception& error) {
        znLog::error(error.what());
        return exitBadFile;
    }
}
