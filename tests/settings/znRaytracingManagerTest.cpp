#include "host/znRaytracingManager.h"
#include "host/znLog.h"
#include "settings/SilentInstance.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

/// Loads from a file of the binary folder and collects the error lines.
class RaytracingManager : public testing::Test
{
protected:
    RaytracingManager()
    {
        unsetenv("ZN_TEST_MODULE_WAS_CALLED");
        previous = znLog::setSink([this](znLog::Level level, const char* text) {
            if (level == znLog::Level::error)
                errors.push_back(text);
        });
    }
    ~RaytracingManager() override
    {
        znRaytracingManager::unload();
        znLog::setSink(previous);
        unsetenv("ZN_PLUGIN_PATH");
    }
    static std::string module(const std::string& name)
    {
        return ZN_BINARY_DIR "/lib" + name + ".so";
    }
    /// The only error line, or a text that no test expects.
    std::string errorLine() const { return errors.size() == 1 ? errors[0] : "(not one line)"; }

    std::vector<std::string> errors;
    znLog::Sink previous;
};

TEST_F(RaytracingManager, NamesTheFileThatIsNotThere)
{
    EXPECT_EQ(znRaytracingManager::load("/nowhere/libnothing.so"), nullptr);
    EXPECT_NE(errorLine().find("Cannot load the ray tracing library"), std::string::npos);
    EXPECT_NE(errorLine().find("/nowhere/libnothing.so"), std::string::npos);
    EXPECT_EQ(znRaytracingManager::getRaytracingUtils(), nullptr);
}

TEST_F(RaytracingManager, RefusesALibraryWithoutVersion)
{
    EXPECT_EQ(znRaytracingManager::load(module("znTestNoAbi")), nullptr);
    EXPECT_EQ(errorLine(), "Cannot use " + module("znTestNoAbi") +
                               ": symbol znRaytracingUtilsAbi is missing, this is no ray tracing "
                               "library");
}

// The module counts its calls: with a wrong version not one may happen.
TEST_F(RaytracingManager, RefusesAnotherVersionBeforeAnyCall)
{
    EXPECT_EQ(znRaytracingManager::load(module("znTestWrongAbi")), nullptr);
    EXPECT_NE(errorLine().find("its interface has version 999, version " +
                               std::to_string(znRaytracingUtilsAbiVersion) + " is wanted"),
              std::string::npos);
    EXPECT_EQ(std::getenv("ZN_TEST_MODULE_WAS_CALLED"), nullptr);
}

TEST_F(RaytracingManager, RefusesALibraryWithoutFactory)
{
    EXPECT_EQ(znRaytracingManager::load(module("znTestNoFactory")), nullptr);
    EXPECT_EQ(errorLine(), "Cannot use " + module("znTestNoFactory") +
                               ": symbol CreateRaytracingInstance is missing");
}

TEST_F(RaytracingManager, RefusesALibraryThatMakesNoInstance)
{
    EXPECT_EQ(znRaytracingManager::load(module("znTestNull")), nullptr);
    EXPECT_EQ(errorLine(), "Cannot use " + module("znTestNull") + ": it made no instance");
}

TEST_F(RaytracingManager, HoldsTheInstanceOfAGoodLibrary)
{
    znRaytracingUtilsBase* instance = znRaytracingManager::load(module("znTestGood"));
    ASSERT_NE(instance, nullptr) << errorLine();
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(znRaytracingManager::getRaytracingUtils(), instance);
    EXPECT_EQ(znRaytracingManager::load(module("znTestNull")), instance) << "it is there already";
    EXPECT_EQ(instance->getRayCount(), 4711u) << "the module's own code answers";
    znRaytracingManager::unload();
    EXPECT_EQ(znRaytracingManager::getRaytracingUtils(), nullptr);
    EXPECT_NE(znRaytracingManager::load(module("znTestGood")), nullptr) << "again";
}

TEST_F(RaytracingManager, LooksBesideTheHostLibraryOrWhereItIsTold)
{
    const std::string name = std::string("/") + znRaytracingManager::libraryName;
    EXPECT_EQ(znRaytracingManager::getLibraryPath(), ZN_BINARY_DIR + name);
    setenv("ZN_PLUGIN_PATH", "/opt/plugins", 1);
    EXPECT_EQ(znRaytracingManager::getLibraryPath(), "/opt/plugins" + name);
    EXPECT_TRUE(errors.empty());
    setenv("ZN_PLUGIN_PATH", "plugins", 1);
    EXPECT_EQ(znRaytracingManager::getLibraryPath(), "");
    EXPECT_EQ(errorLine(), "ZN_PLUGIN_PATH must be an absolute path, not \"plugins\"");
    EXPECT_EQ(znRaytracingManager::load(), nullptr);
}

TEST_F(RaytracingManager, TakesOverAnInstanceThatAProgramMade)
{
    auto* instance = new SilentInstance;
    znRaytracingManager::setRaytracingUtils(instance);
    EXPECT_EQ(znRaytracingManager::getRaytracingUtils(), instance);
    znRaytracingManager::setRaytracingUtils(instance); // no second owner
    EXPECT_EQ(znRaytracingManager::load(), instance);
}

} // namespace
