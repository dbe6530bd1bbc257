#pragma once

// What a reader throws: one line that names the file and the cause.
// Names come from scenes and may hold anything; what reaches a terminal or a log is printable.

#include <stdexcept>
#include <string>
#include <string_view>

namespace io {

/// The text with everything that is not printable UTF-8 written as \xNN: control bytes (C0, DEL
/// and C1), line ends, invalid sequences. A backslash stays as it is.
/// @param maxBytes  longer texts are cut in the middle, "..." in the place of what is left out
std::string printable(std::string_view text, std::size_t maxBytes = 400);

/// Whether a text is valid UTF-8 throughout (RFC 3629).
bool isUtf8(std::string_view text);

/// Thrown by everything that reads. what() is one line of printable UTF-8: "FILE: CAUSE".
class InputError : public std::runtime_error
{
public:
    /// @param file   as the user or the scene named it; made printable here
    /// @param cause  without the file's name and without a full stop; made printable here
    InputError(std::string_view file, std::string_view cause)
        : std::runtime_error(printable(file) + ": " + printable(cause, 1000))
    {
    }
};

} // namespace io
