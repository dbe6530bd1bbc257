#include "io/fileName.h"

#include "io/InputError.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

using io::safeFileName;

TEST(SafeFileName, KeepsPlainNames)
{
    EXPECT_EQ(safeFileName("Camera 01"), "Camera 01");
    EXPECT_EQ(safeFileName("v\xc3\xb6rne_\xe2\x9d\xa4.left"), "v\xc3\xb6rne_\xe2\x9d\xa4.left");
}

TEST(SafeFileName, StaysInItsFolder)
{
    const std::string longName(5000, 'x');
    const std::string hearts = [] {
        std::string text;
        for (int i = 0; i < 500; ++i)
            text += "\xe2\x9d\xa4";
        return text;
    }();
    const std::string names[] = {"",
                                 ".",
                                 "..",
                                 "/",
                                 "../../etc/passwd",
                                 "/etc/passwd",
                                 "a/../../b",
                                 "..\\..\\b",
                                 "C:\\b",
                                 "-rf",
                                 ".hidden",
                                 "a\nb",
                                 "a\x1b[31mb",
                                 std::string("a\0b", 3),
                                 "\xff\xfe",
                                 "\xe2\x80\xae gpj.exe",
                                 "nul:",
                                 "a*?\"<>|",
                                 "trailing. ",
                                 longName,
                                 hearts,
                                 "  "};
    const TemporaryFolder folder;
    for (const std::string& name : names) {
        const std::string safe = safeFileName(name);
        EXPECT_FALSE(safe.empty());
        EXPECT_LE(safe.size(), 101u);
        EXPECT_EQ(safe.find_first_of("/\\"), safe.npos) << safe;
        EXPECT_TRUE(io::isUtf8(safe)) << safe;
        EXPECT_EQ(io::printable(safe), safe);
        EXPECT_NE(safe, ".");
        EXPECT_NE(safe, "..");
        folder.write(safe, "x");
        EXPECT_EQ(folder.names(), std::set<std::string>{safe});
        std::filesystem::remove(folder.path(safe));
    }
}
