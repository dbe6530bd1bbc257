#include "host/znRaytracingManager.h"

#include "host/znLog.h"
#include "host/znRaytracingUtilsBase.h"

#include <cstdlib>
#include <dlfcn.h>
#include <fmt/format.h>

namespace {

znRaytracingUtilsBase* s_instance = nullptr;

std::string dlMessage()
{
    const char* text = dlerror();
    return text ? text : "unknown reason";
}

/// An instance from an opened library.
znRaytracingUtilsBase* createInstance(void* library, const std::string& path)
{
    // The number is looked at before any code of the library is called.
    const auto* abi = static_cast<const u32*>(dlsym(library, "znRaytracingUtilsAbi"));
    if (!abi) {
        znLog::error(fmt::format("Cannot use {}: symbol znRaytracingUtilsAbi is missing, this is "
                                 "no ray tracing library",
                                 path)
                         .c_str());
        return nullptr;
    }
    if (*abi != znRaytracingUtilsAbiVersion) {
        znLog::error(
            fmt::format("Cannot use {}: its interface has version {}, version {} is wanted", path,
                        *abi, znRaytracingUtilsAbiVersion)
                .c_str());
        return nullptr;
    }
    const auto create = reinterpret_cast<znCreateRaytracingInstanceFunction>(
        dlsym(library, "CreateRaytracingInstance"));
    if (!create) {
        znLog::error(
            fmt::format("Cannot use {}: symbol CreateRaytracingInstance is missing", path).c_str());
        return nullptr;
    }
    znRaytracingUtilsBase* instance = create();
    if (!instance)
        znLog::error(fmt::format("Cannot use {}: it made no instance", path).c_str());
    return instance;
}

} // namespace

znRaytracingUtilsBase* znRaytracingManager::getRaytracingUtils()
{
    return s_instance;
}

std::string znRaytracingManager::getLibraryPath()
{
    // Never by a bare name: the loader's search path is not ours.
    if (const char* folder = secure_getenv("ZN_PLUGIN_PATH"); folder && *folder) {
        if (folder[0] != '/') {
            znLog::error(
                fmt::format("ZN_PLUGIN_PATH must be an absolute path, not \"{}\"", folder).c_str());
            return {};
        }
        return std::string(folder) + "/" + libraryName;
    }
    Dl_info info{};
    if (!dladdr(reinterpret_cast<const void*>(&znRaytracingManager::getLibraryPath), &info) ||
        !info.dli_fname) {
        znLog::error("Cannot tell the folder of the render host library");
        return {};
    }
    // A library that was found by name may be named relative to the working directory.
    char* resolved = realpath(info.dli_fname, nullptr);
    const std::string file = resolved ? resolved : info.dli_fname;
    std::free(resolved);
    const std::size_t slash = file.rfind('/');
    if (slash == std::string::npos) {
        znLog::error("Cannot tell the folder of the render host library");
        return {};
    }
    return file.substr(0, slash + 1) + libraryName;
}

znRaytracingUtilsBase* znRaytracingManager::load()
{
    if (s_instance)
        return s_instance;
    const std::string path = getLibraryPath();
    return path.empty() ? nullptr : load(path);
}

znRaytracingUtilsBase* znRaytracingManager::load(const std::string& path)
{
    if (s_instance)
        return s_instance;
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (!library) {
        znLog::error(fmt::format("Cannot load the ray tracing library: {}", dlMessage()).c_str());
        return nullptr;
    }
    s_instance = createInstance(library, path);
    dlclose(library); // it stays in memory: RTLD_NODELETE
    return s_instance;
}

void znRaytracingManager::unload()
{
    delete s_instance;
    s_instance = nullptr;
}

void znRaytracingManager::setRaytracingUtils(znRaytracingUtilsBase* instance)
{
    if (instance == s_instance)
        return;
    delete s_instance;
    s_instance = instance;
}
