#pragma once

// Names from scenes (cameras, passes, nodes) as parts of output file names.

#include <string>
#include <string_view>

namespace io {

/// One plain name: no folder, no leading dot or dash, no control bytes, valid UTF-8, at most
/// 100 bytes; what is left out becomes '_'. Never empty, never "." or "..". Different names may
/// give the same one.
std::string safeFileName(std::string_view name);

} // namespace io
