#include "io/jsonText.h"

#include "io/InputError.h"

#include <algorithm>

namespace io {

u64 jsonNesting(std::string_view text)
{
    u64 depth = 0, deepest = 0;
    bool isInString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (isInString) {
            i += c == '\\';
            isInString = c != '"';
        } else if (c == '"') {
            isInString = true;
        } else if (c == '[' || c == '{') {
            deepest = std::max(deepest, ++depth);
        } else if ((c == ']' || c == '}') && depth > 0) {
            --depth;
        }
    }
    return deepest;
}

std::string jsonPlace(std::string_view text, std::size_t byte)
{
    const std::string_view before = text.substr(0, std::min(byte, text.size()));
    const auto lines = std::count(before.begin(), before.end(), '\n');
    const std::size_t start = before.rfind('\n');
    const std::size_t column = before.size() - (start == before.npos ? 0 : start + 1);
    return "line " + std::to_string(lines + 1) + ", column " + std::to_string(column);
}

/// "[json.exception.parse_error.101] parse error at line 1, column 2: TEXT" without its head.
std::string jsonReason(const nlohmann::json::exception& error)
{
    std::string text = error.what();
    text.erase(0, text.find("] ") == text.npos ? 0 : text.find("] ") + 2);
    if (text.rfind("parse error at ", 0) == 0 && text.find(": ") != text.npos)
        text.erase(0, text.find(": ") + 2);
    return text;
}

nlohmann::json parseJson(std::string_view text, const std::string& name, const Limits& limits)
{
    limits.check(&Limits::jsonSize, text.size(), name, "bytes of JSON:");
    limits.check(&Limits::jsonNesting, jsonNesting(text), name, "nesting of JSON:");
    try {
        return nlohmann::json::parse(text);
    } catch (const nlohmann::json::parse_error& error) {
        throw InputError(name, "JSON, " + jsonPlace(text, error.byte) + ": " + jsonReason(error));
    } catch (const nlohmann::json::exception& error) {
        throw InputError(name, "JSON: " + jsonReason(error));
    }
}

} // namespace io
