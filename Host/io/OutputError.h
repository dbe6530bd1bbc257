#pragma once

// What a writer throws: one line that names the file and the cause.

#include "io/InputError.h"

namespace io {

/// Thrown by everything that writes. what() is one line of printable UTF-8: "FILE: CAUSE", the
/// cause with the system's reason ("No space left on device").
class OutputError : public std::runtime_error
{
public:
    OutputError(std::string_view file, std::string_view cause)
        : std::runtime_error(printable(file) + ": " + printable(cause, 1000))
    {
    }
};

} // namespace io
