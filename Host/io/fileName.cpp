#include "io/fileName.h"

#include "io/InputError.h"

#include <algorithm>

namespace io {
namespace {

constexpr std::size_t longestName = 100;

/// Separators of this system and of others, and what other file systems do not take.
bool isReplaced(char c)
{
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f ||
           std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos;
}

/// A cut that does not split a UTF-8 sequence.
std::size_t cutOf(std::string_view text)
{
    std::size_t at = std::min(text.size(), longestName);
    while (at > 0 && at < text.size() && (text[at] & 0xc0) == 0x80)
        --at;
    return at;
}

} // namespace

std::string safeFileName(std::string_view name)
{
    // Invalid sequences and invisible controls come out as \xNN; the backslash goes below.
    const std::string text = printable(name.substr(0, 4 * longestName), 4 * longestName);
    const bool needsLead = text.empty() || std::string_view(".- ").find(text[0]) != text.npos;
    std::string result(needsLead ? 1 : 0, '_');
    result.append(text, 0, cutOf(text));
    std::replace_if(result.begin(), result.end(), isReplaced, '_');
    while (result.back() == '.' || result.back() == ' ')
        result.back() = '_';
    return result;
}

} // namespace io
