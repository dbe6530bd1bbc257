#pragma once

// ICC profiles that go into image files.

#include "host/znAligned.h"

#include <string>
#include <vector>

namespace io {

/// Checks that a profile can be read, is made for colour or for grey images, and is formed as
/// readers of pictures demand: a picture would otherwise be refused, or lost when it is written.
/// @return what is wrong with it; empty if nothing
std::string iccFault(const std::vector<u8>& profile, bool isColor);

} // namespace io
