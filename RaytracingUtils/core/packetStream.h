#pragma once

// Text form of packets for logs and failed tests.

#include "core/znFloatType.h"

#include <ostream>

/// Writes the name, the four lanes separated by ", ", a newline, and flushes.
inline std::ostream& writeLanes(std::ostream& stream, const char* name, znFloatType<2> value)
{
    return stream << name << value[0] << ", " << value[1] << ", " << value[2] << ", " << value[3]
                  << std::endl;
}
