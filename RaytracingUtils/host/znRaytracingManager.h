#pragma once

// Loads the ray tracing core and holds its instance.

#include <string>

class znRaytracingUtilsBase;

class znRaytracingManager
{
public:
    static constexpr const char* libraryName = "libznRaytracingUtilsSSE2.so";

    /// The current instance, null before load or setRaytracingUtils.
    static znRaytracingUtilsBase* getRaytracingUtils();

    /// Loads the core from the folder in which this library lies, or from the one that the
    /// environment variable ZN_PLUGIN_PATH names by an absolute path, and makes an instance. A
    /// second call returns the instance that is there.
    /// @return null after one error line
    static znRaytracingUtilsBase* load();
    /// Loads the core from a file; the current instance must have been unloaded before.
    static znRaytracingUtilsBase* load(const std::string& path);
    /// Deletes the instance. The library stays in memory: workers may still stand in its code.
    static void unload();

    /// For programs that link the core: takes over an instance, which unload deletes.
    static void setRaytracingUtils(znRaytracingUtilsBase* instance);

    /// File that load() opens.
    /// @return "" after one error line
    static std::string getLibraryPath();
};
