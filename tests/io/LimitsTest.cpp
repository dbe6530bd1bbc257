#include "io/Limits.h"

#include "io/InputError.h"
#include "support/messageOf.h"

#include <gtest/gtest.h>

#include <set>

using io::Limits;

TEST(Limits, AreSetByName)
{
    Limits limits;
    limits.set("image-side=123");
    limits.set("file-size=3G");
    limits.set("json-size=2K");
    EXPECT_EQ(limits.imageSide, 123u);
    EXPECT_EQ(limits.fileSize, u64(3) << 30);
    EXPECT_EQ(limits.jsonSize, 2048u);
}

TEST(Limits, HaveOneRowPerFieldWithItsOwnName)
{
    std::set<std::string> names;
    for (const Limits::Entry& entry : Limits::entries()) {
        names.insert(entry.name);
        Limits limits;
        limits.set(std::string(entry.name) + "=7");
        EXPECT_EQ(limits.*entry.value, 7u) << entry.name;
    }
    EXPECT_EQ(names.size() * sizeof(u64), sizeof(Limits));
}

TEST(Limits, RefuseWhatIsNoAssignment)
{
    for (const char* text :
         {"", "=", "nonsense=1", "image-side", "image-side=", "image-side=-1", "image-side=1.5",
          "image-side=K", "image-side=1KK", "image-side= 1", "image-side=99999999999999999999",
          "image-side=18446744073709551615K"}) {
        Limits limits;
        EXPECT_THROW(limits.set(text), std::invalid_argument) << text;
        EXPECT_EQ(limits.imageSide, 65536u);
    }
    EXPECT_NE(messageOf([] { Limits().set("imge-side=1"); }).find("image-side"), std::string::npos);
}

TEST(Limits, NameTheOptionWhenTheyRefuse)
{
    const Limits limits;
    EXPECT_NO_THROW(limits.check(&Limits::imageSide, 65536, "a.png", "width"));
    EXPECT_EQ(messageOf([&] { limits.check(&Limits::imageSide, 65537, "a.png", "width"); }),
              "a.png: width 65537 is above the limit of 65536 (--limit image-side=N)");
}
