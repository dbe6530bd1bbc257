#include "io/iccProfile.h"

#include <algorithm>
#include <array>
#include <lcms2.h>
#include <memory>

namespace io {

namespace {

constexpr std::size_t headerSize = 128, tagSize = 12;
/// White of the connection space as 16.16 numbers: 0.9642, 1, 0.8249.
constexpr std::array<u32, 3> d50 = {0xF6D6, 0x10000, 0xD32D};

u32 numberAt(const std::vector<u8>& profile, std::size_t place)
{
    u32 number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number = number << 8 | profile[place + i];
    return number;
}

constexpr u32 signature(const char (&name)[5])
{
    u32 number = 0;
    for (int i = 0; i < 4; ++i)
        number = number << 8 | u8(name[i]);
    return number;
}

bool isOneOf(u32 number, std::initializer_list<u32> list)
{
    return std::find(list.begin(), list.end(), number) != list.end();
}

bool hasOutsideTag(const std::vector<u8>& profile)
{
    const u64 size = profile.size(), count = numberAt(profile, headerSize);
    if (count > (size - headerSize - 4) / tagSize)
        return true;
    for (u64 tag = 0; tag < count; ++tag) {
        const std::size_t entry = headerSize + 4 + std::size_t(tag) * tagSize;
        const u64 start = numberAt(profile, entry + 4), length = numberAt(profile, entry + 8);
        if (start % 4 != 0 || start + length > size)
            return true;
    }
    return false;
}

/// What the colour library reads over, but those who read the picture would refuse: ICC.1:2022,
/// "Image technology colour management", 7.2 and 7.3.
std::string structureFault(const std::vector<u8>& profile)
{
    const std::size_t size = profile.size();
    if (size < headerSize + 4 || numberAt(profile, 0) != size || (profile[8] > 3 && size % 4 != 0))
        return "the ICC profile has another length than it says";
    if (hasOutsideTag(profile))
        return "a tag lies outside of the ICC profile";
    if (numberAt(profile, 64) > 3)
        return "the ICC profile has no known rendering intent";
    if (!isOneOf(numberAt(profile, 12),
                 {signature("scnr"), signature("mntr"), signature("prtr"), signature("spac")}))
        return "the ICC profile is of no kind that belongs into pictures";
    if (!isOneOf(numberAt(profile, 20), {signature("XYZ "), signature("Lab ")}))
        return "the ICC profile does not lead to XYZ or Lab";
    for (std::size_t i = 0; i < d50.size(); ++i)
        if (numberAt(profile, 68 + 4 * i) != d50[i])
            return "the white of the ICC profile is not D50";
    return "";
}

} // namespace

std::string iccFault(const std::vector<u8>& profile, bool isColor)
{
    // A context of its own: no global error handler, and safe on any thread.
    const std::unique_ptr<std::remove_pointer_t<cmsContext>, void (*)(cmsContext)> context(
        cmsCreateContext(nullptr, nullptr), cmsDeleteContext);
    const cmsHPROFILE handle =
        cmsOpenProfileFromMemTHR(context.get(), profile.data(), cmsUInt32Number(profile.size()));
    if (!handle)
        return "the ICC profile cannot be read";
    const cmsColorSpaceSignature space = cmsGetColorSpace(handle);
    cmsCloseProfile(handle);
    if (space == (isColor ? cmsSigRgbData : cmsSigGrayData))
        return structureFault(profile);
    return isColor ? "the ICC profile is not one for RGB" : "the ICC profile is not one for grey";
}

} // namespace io
