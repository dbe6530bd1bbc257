#pragma once

// The system's reason for a failed call, in English whatever the locale, safe on any thread.

#include <cstring>
#include <string>

namespace io {

/// "No space left on device" for ENOSPC.
inline std::string systemReason(int error)
{
    const char* const text = strerrordesc_np(error);
    return text ? text : "error " + std::to_string(error);
}

} // namespace io
