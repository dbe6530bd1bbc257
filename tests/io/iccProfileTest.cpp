#include "io/iccProfile.h"

#include "support/TemporaryFolder.h"
#include "support/savedProfile.h"

#include "io/InputError.h"
#include "io/imageWriter.h"

#include <gtest/gtest.h>
#include <random>

// Places are those of the header and of the first entry of the tag table, ICC.1:2022, 7.2 and 7.3.
TEST(ColorProfile, IsRefusedWithTheReason)
{
    const std::vector<u8> good = savedProfile(cmsCreate_sRGBProfile());
    EXPECT_EQ(io::iccFault(good, true), "");
    EXPECT_EQ(io::iccFault(good, false), "the ICC profile is not one for grey");
    EXPECT_EQ(io::iccFault({}, true), "the ICC profile cannot be read");
    struct Case
    {
        std::size_t place;
        u8 value;
        const char* fault;
    };
    const Case cases[] = {
        {64 + 3, 4, "the ICC profile has no known rendering intent"},
        {20, 'Q', "the ICC profile does not lead to XYZ or Lab"},
        {68 + 3, 0xD7, "the white of the ICC profile is not D50"},
        {132 + 4 + 3, 1, "a tag lies outside of the ICC profile"},
    };
    for (const Case& c : cases) {
        std::vector<u8> bytes = good;
        bytes[c.place] = c.value;
        EXPECT_EQ(io::iccFault(bytes, true), c.fault) << c.place;
    }
    std::vector<u8> longer = good;
    longer.resize(good.size() + 8);
    EXPECT_EQ(io::iccFault(longer, true), "the ICC profile has another length than it says");
}

// A profile that was accepted at the start must not cost the picture at the end.
TEST(ColorProfile, CanBeWrittenWheneverItIsAccepted)
{
    const std::vector<u8> good = savedProfile(cmsCreate_sRGBProfile());
    const TemporaryFolder folder;
    io::ImageData image;
    image.allocate(2, 2, 3, io::ImageData::Type::byte);
    std::mt19937 random(1);
    int accepted = 0;
    for (int i = 0; i < 250; ++i) {
        image.iccProfile = good;
        // The header and the table of tags, where a wrong byte matters.
        for (unsigned n = 1 + random() % 3; n > 0; --n)
            image.iccProfile[random() % 240] = u8(random());
        if (!io::iccFault(image.iccProfile, true).empty())
            continue;
        ++accepted;
        const std::string picture = folder.path("a.png");
        EXPECT_NO_THROW(io::writeImage(picture, image, {})) << i;
        std::filesystem::remove(picture);
    }
    EXPECT_GT(accepted, 30);
}
