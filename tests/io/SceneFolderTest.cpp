#include "io/SceneFolder.h"

#include "io/InputError.h"
#include "io/faultHook.h"
#include "support/TemporaryFolder.h"
#include "support/messageOf.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using io::SceneFolder;
using Naming = io::SceneFolder::Naming;

namespace {

/// A scene in "scene/", secrets and a library of textures beside it. The parameter turns openat2
/// off, so that every promise holds for the way without it too.
class SceneReach : public testing::TestWithParam<bool>
{
protected:
    SceneReach()
    {
        io::setFault(GetParam() ? nullptr : "openat2:1+:ENOSYS");
        scene = folder.write("scene/car.gltf", "{}");
        folder.write("scene/a.bin", "inside");
        folder.write("scene/A..B.bin", "dots");
        folder.write("scene/sub/deep.png", "deep");
        folder.write("scene/with space.png", "space");
        folder.write("scene/100%25.png", "escaped as it stands");
        folder.write("scene/\xe2\x9d\xa4#?.png", "heart");
        folder.write("secret.txt", "secret");
        folder.write("textures/wood.png", "wood");
        std::filesystem::create_symlink("../secret.txt", folder.path("scene/out.bin"));
        std::filesystem::create_symlink("a.bin", folder.path("scene/link.bin"));
        std::filesystem::create_symlink("..", folder.path("scene/up"));
        std::filesystem::create_symlink("../textures/wood.png", folder.path("scene/wood.png"));
        std::filesystem::create_symlink("scene", folder.path("alias"));
        if (::mkfifo(folder.path("scene/pipe").c_str(), 0600) != 0)
            ADD_FAILURE();
    }
    ~SceneReach() override { io::setFault(nullptr); }

    std::string load(const std::string& reference, Naming naming = Naming::uri,
                     const std::vector<std::string>& includes = {}) const
    {
        io::InputFile file = SceneFolder(scene, includes).open(reference, naming);
        const std::vector<u8> bytes = file.readAll();
        return std::string(bytes.begin(), bytes.end());
    }
    std::string refusal(const std::string& reference, Naming naming = Naming::uri) const
    {
        const std::string text = messageOf([&] { load(reference, naming); });
        EXPECT_EQ(text.find("secret"),
                  reference.find("secret") == reference.npos ? text.npos : text.find("secret"));
        EXPECT_EQ(text.rfind(scene + ": refers to '", 0), 0u) << text;
        for (const char c : text)
            EXPECT_GE(static_cast<unsigned char>(c), 0x20);
        return text;
    }

    TemporaryFolder folder;
    std::string scene;
};

bool says(const std::string& text, const char* part)
{
    return text.find(part) != text.npos;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(WithAndWithoutOpenat2, SceneReach, testing::Bool());

TEST_P(SceneReach, CoversFilesAtAndBelowItsFolder)
{
    for (const Naming naming : {Naming::uri, Naming::path}) {
        EXPECT_EQ(load("a.bin", naming), "inside");
        EXPECT_EQ(load("./a.bin", naming), "inside");
        EXPECT_EQ(load("A..B.bin", naming), "dots");
        EXPECT_EQ(load("sub/deep.png", naming), "deep");
        EXPECT_EQ(load("sub/../a.bin", naming), "inside");
        EXPECT_EQ(load("not-there/../a.bin", naming), "inside");
        EXPECT_EQ(load("link.bin", naming), "inside");
        EXPECT_EQ(load("sub\\deep.png", naming), "deep");
        EXPECT_EQ(load("\xe2\x9d\xa4#?.png", naming), "heart");
        EXPECT_EQ(load(folder.path("scene/a.bin"), naming), "inside");
    }
}

TEST_P(SceneReach, DecodesPercentSignsOfAddressesOnly)
{
    EXPECT_EQ(load("with%20space.png"), "space");
    EXPECT_EQ(load("with space.png"), "space");
    EXPECT_EQ(load("%e2%9D%a4%23%3F.png"), "heart");
    EXPECT_EQ(load("100%2525.png"), "escaped as it stands");
    EXPECT_EQ(load("100%25.png"), "escaped as it stands"); // written without escaping
    EXPECT_EQ(load("100%25.png", Naming::path), "escaped as it stands");
    EXPECT_TRUE(says(refusal("with%20space.png", Naming::path), "not there"));
}

TEST_P(SceneReach, EndsAtItsFolder)
{
    for (const Naming naming : {Naming::uri, Naming::path}) {
        for (const char* reference :
             {"../secret.txt", "sub/../../secret.txt", "out.bin", "up/secret.txt",
              "up/scene/../secret.txt", "/etc/passwd", "../../../../../../../../etc/passwd",
              "/proc/self/environ", "/dev/zero", "/dev/stdin"}) {
            // Of an absolute path only the last name counts in formats that carry foreign paths.
            const bool isMissing = naming == Naming::path && reference[0] == '/';
            const std::string text = refusal(reference, naming);
            EXPECT_TRUE(says(text, "-I DIR")) << text;
            EXPECT_TRUE(says(text, "outside") || isMissing) << text;
        }
    }
    EXPECT_TRUE(says(refusal("%2e%2e/secret.txt"), "outside"));
    EXPECT_TRUE(says(refusal("%2e%2e%2fsecret.txt"), "outside"));
    EXPECT_TRUE(says(refusal("..\\secret.txt"), "outside"));
}

TEST_P(SceneReach, IsWidenedByIncludeFolders)
{
    const std::vector<std::string> includes = {folder.path("textures")};
    for (const Naming naming : {Naming::uri, Naming::path}) {
        EXPECT_EQ(load("wood.png", naming, includes), "wood"); // through a link that leads there
        EXPECT_EQ(load("../textures/wood.png", naming, includes), "wood");
        EXPECT_EQ(load(folder.path("textures/wood.png"), naming, includes), "wood");
        EXPECT_TRUE(says(refusal("../textures/wood.png", naming), "-I DIR"));
    }
    EXPECT_EQ(load("C:\\work\\tex\\wood.png", Naming::path, includes), "wood");
    EXPECT_EQ(load("/home/other/wood.png", Naming::path, includes), "wood");
    EXPECT_TRUE(says(messageOf([&] { load("a.bin", Naming::uri, {folder.path("none")}); }),
                     "cannot be used as a folder: No such file"));
    EXPECT_TRUE(says(messageOf([&] { load("a.bin", Naming::uri, {scene}); }), "is not a folder"));
}

TEST_P(SceneReach, IsTheRealFolderBehindALink)
{
    const SceneFolder reach(folder.path("alias/car.gltf"));
    EXPECT_EQ(reach.getFolders().front(), folder.path("scene"));
    EXPECT_TRUE(reach.exists("a.bin", Naming::uri));
    EXPECT_FALSE(reach.exists("../secret.txt", Naming::uri));
}

TEST_P(SceneReach, LeavesOutPipesFoldersAndAddresses)
{
    EXPECT_TRUE(says(messageOf([&] { load("pipe"); }), "is a pipe"));
    EXPECT_TRUE(says(messageOf([&] { load("sub"); }), "is a folder"));
    EXPECT_TRUE(says(refusal("http://example.org/a.png"), "'http:' addresses are not followed"));
    for (const Naming naming : {Naming::uri, Naming::path}) {
        EXPECT_TRUE(says(refusal("https://example.org/a.png", naming), "'https:' addresses"));
        EXPECT_TRUE(says(refusal("file:///etc/passwd", naming), "'file:' addresses"));
        EXPECT_TRUE(says(refusal(std::string("a.bin\0.png", 10), naming), "zero byte"));
        EXPECT_TRUE(says(refusal(std::string(4097, 'x'), naming), "longer than 4096 bytes"));
        EXPECT_TRUE(says(refusal("", naming), "no name"));
        EXPECT_TRUE(says(refusal(std::string(300, 'x'), naming), "File name too long"));
    }
    EXPECT_TRUE(says(refusal("a.bin%00.png"), "zero byte"));
}

TEST_P(SceneReach, IsNotTheCurrentDirectory)
{
    const std::string before = std::filesystem::current_path();
    folder.write("elsewhere/other.bin", "current directory");
    std::filesystem::current_path(folder.path("elsewhere"));
    EXPECT_TRUE(says(refusal("other.bin"), "not there"));
    std::filesystem::current_path(folder.path("scene"));
    scene = "car.gltf"; // a scene named without a folder lies in the current one
    EXPECT_EQ(load("a.bin"), "inside");
    std::filesystem::current_path(before);
}

TEST(PercentDecoding, LeavesWhatIsNoEscape)
{
    EXPECT_EQ(io::percentDecoded("%41%4a%4Az"), "AJJz");
    EXPECT_EQ(io::percentDecoded("100%"), "100%");
    EXPECT_EQ(io::percentDecoded("%4"), "%4");
    EXPECT_EQ(io::percentDecoded("%zz%"), "%zz%");
    EXPECT_EQ(io::percentDecoded("a+b"), "a+b");
}
