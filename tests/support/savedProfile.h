#pragma once

// Colour profiles as the bytes of a file.

#include "host/znAligned.h"

#include <lcms2.h>

#include <vector>

/// @param profile  closed afterwards
inline std::vector<u8> savedProfile(cmsHPROFILE profile)
{
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    std::vector<u8> bytes(size);
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    cmsCloseProfile(profile);
    return bytes;
}
