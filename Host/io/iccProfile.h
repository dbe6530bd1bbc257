#pragma once

// ICC profiles that go into image files.

#include "host/znAligned.h"

#include <string>
#include <vector>

namespace io {

/// Checks that a profile can be read and is made for colour or for grey images.
/// @return what is wrong with it; empty if nothing
std::string iccFault(const std::vector<u8>& profile, bool isColor);

} // namespace io
