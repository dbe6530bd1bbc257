#include "io/InputError.h"

#include "host/znAligned.h"

namespace io {
namespace {

/// Length of the valid UTF-8 sequence at the start of a text, 0 if there is none. Overlong forms,
/// surrogates and what lies above U+10FFFF are invalid.
std::size_t sequenceLength(std::string_view text, u32& codePoint)
{
    const auto byteAt = [&](std::size_t i) { return u32(static_cast<unsigned char>(text[i])); };
    const u32 first = byteAt(0);
    if (first < 0x80) {
        codePoint = first;
        return 1;
    }
    const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < length)
        return 0;
    codePoint = first & (0xffu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xc0) != 0x80)
            return 0;
        codePoint = codePoint << 6 | (byteAt(i) & 0x3f);
    }
    const u32 smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = codePoint >= 0xd800 && codePoint <= 0xdfff;
    return codePoint < smallest[length] || codePoint > 0x10ffff || isSurrogate ? 0 : length;
}

/// Controls of C0 and C1, line and paragraph separators, and those that turn the direction of
/// writing (they make one name look like another).
bool isControl(u32 codePoint)
{
    return codePoint < 0x20 || (codePoint >= 0x7f && codePoint < 0xa0) ||
           (codePoint >= 0x2028 && codePoint <= 0x202e) ||
           (codePoint >= 0x2066 && codePoint <= 0x2069);
}

void appendEscaped(std::string& result, unsigned char byte)
{
    const char digits[] = "0123456789abcdef";
    result += "\\x";
    result += digits[byte >> 4];
    result += digits[byte & 15];
}

std::string escaped(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        u32 codePoint = 0;
        const std::size_t length = sequenceLength(text, codePoint);
        const std::size_t taken = length ? length : 1;
        if (length && !isControl(codePoint))
            result += text.substr(0, taken);
        else
            for (const char c : text.substr(0, taken))
                appendEscaped(result, static_cast<unsigned char>(c));
        text.remove_prefix(taken);
    }
    return result;
}

/// Moves a cut so that it does not split a UTF-8 sequence.
std::size_t characterStart(std::string_view text, std::size_t at)
{
    for (int i = 0; i < 3 && at > 0 && at < text.size() && (text[at] & 0xc0) == 0x80; ++i)
        --at;
    return at;
}

} // namespace

bool isUtf8(std::string_view text)
{
    u32 codePoint = 0;
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text, codePoint);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string printable(std::string_view text, std::size_t maxBytes)
{
    if (text.size() <= maxBytes)
        return escaped(text);
    const std::size_t head = characterStart(text, maxBytes / 2);
    const std::size_t tail = characterStart(text, text.size() - maxBytes / 2);
    return escaped(text.substr(0, head)) + "..." + escaped(text.substr(tail));
}

} // namespace io
