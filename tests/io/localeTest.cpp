// Applications set the user's locale before they load the host. Files mean the same in all of them.

#include "io/imageReader.h"
#include "io/imageWriter.h"
#include "io/importerProcess.h"
#include "io/sceneArchive.h"
#include "io/sceneReader.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <locale>

namespace {

/// A locale of the C and C++ libraries with a comma in numbers, for as long as the object lives.
class CommaLocale
{
public:
    CommaLocale()
    {
        const std::string command =
            "localedef -i de_DE -f UTF-8 '" + folder.path("de_DE.UTF-8") + "' > /dev/null 2>&1";
        if (std::system(command.c_str()) < 0)
            return;
        ::setenv("LOCPATH", folder.path().c_str(), 1);
        if (!std::setlocale(LC_ALL, "de_DE.UTF-8"))
            return;
        std::locale::global(std::locale("de_DE.UTF-8"));
        char text[8];
        std::snprintf(text, sizeof(text), "%.1f", 0.5);
        isSet = text == std::string("0,5");
    }
    ~CommaLocale()
    {
        std::locale::global(std::locale::classic());
        ::unsetenv("LOCPATH");
    }

    bool isSet = false;

private:
    TemporaryFolder folder;
};

std::string archiveOf(const std::string& path)
{
    std::string bytes;
    const io::SceneFile scene = io::readScene(path);
    io::writeSceneArchive(scene.root.get(), [&](const void* data, std::size_t size) {
        bytes.append(static_cast<const char*>(data), size);
    });
    return bytes;
}

/// What becomes of scenes, images and limits, as bytes.
std::vector<std::string> everything(const TemporaryFolder& folder)
{
    std::vector<std::string> results;
    results.push_back(archiveOf(std::string(ZN_SOURCE_DIR) + "/examples/studio.glb"));
    const std::string archive = folder.write("studio.zna", results.back());
    results.push_back(archiveOf(archive));
    if (!io::findImportProgram().empty()) {
        io::SceneReadOptions options;
        options.conventions.metresPerUnit = 0.0254;
        const std::string path = folder.write(
            "a.obj", "mtllib a.mtl\nusemtl a\nv 0.5 0.25 0\nv 2.5 0 0\nv 0 3.75 0\nf 1 2 3\n");
        folder.write("a.mtl", "newmtl a\nKd 0.5 0.25 0.125\nNs 20.5\n");
        const io::SceneFile scene = io::readScene(path, options);
        const osg::Box box = scene.root->getWorldBox();
        results.push_back(archiveOf(path) + std::to_string(std::lround(box.maximum[2] * 1e6f)));
    }
    io::ImageData image;
    image.allocate(5, 3, 3, io::ImageData::Type::float32);
    for (std::size_t i = 0; i < 45; ++i) {
        const float value = 0.37f * float(i);
        std::memcpy(image.values.data() + 4 * i, &value, 4);
    }
    image.gamma = 1.0f;
    for (const char* name : {"a.exr", "a.hdr", "a.pfm", "a.tif", "a.png", "a.jpg"}) {
        const std::string path = folder.path(name);
        const bool isInteger = std::string(name) == "a.png" || std::string(name) == "a.jpg";
        io::writeImage(path, isInteger ? io::converted(image, io::ImageData::Type::byte) : image);
        results.push_back(folder.read(name));
        const io::ImageData back = io::readImage(path);
        results.emplace_back(back.values.begin(), back.values.end());
    }
    return results;
}

} // namespace

TEST(Locale, ChangesNoFile)
{
    const TemporaryFolder folder;
    const std::vector<std::string> expected = everything(folder);
    const CommaLocale german;
    if (!german.isSet)
        GTEST_SKIP() << "no locale with a comma can be made here (package locales)";
    const std::vector<std::string> results = everything(folder);
    ASSERT_EQ(results.size(), expected.size());
    for (std::size_t i = 0; i < results.size(); ++i)
        EXPECT_TRUE(results[i] == expected[i]) << "result " << i << " differs";
}
