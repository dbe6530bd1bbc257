#include "io/iccProfile.h"

#include <lcms2.h>
#include <memory>

namespace io {

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
        return "";
    return isColor ? "the ICC profile is not one for RGB" : "the ICC profile is not one for grey";
}

} // namespace io
