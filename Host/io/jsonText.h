#pragma once

// JSON from untrusted files: size and nesting are checked before the parser builds anything.

#include "io/InputFile.h"

#include <nlohmann/json.hpp>

namespace io {

/// How deep objects and arrays stand inside each other; brackets in strings do not count. Text that
/// is no JSON gives some number.
u64 jsonNesting(std::string_view text);

/// "line 3, column 14" of a byte.
std::string jsonPlace(std::string_view text, std::size_t byte);
/// What the parser found wrong, without its own name, its number and the place.
std::string jsonReason(const nlohmann::json::exception& error);

/// @param name  of the file, for messages
/// @throws InputError with line and column
nlohmann::json parseJson(std::string_view text, const std::string& name, const Limits& limits);

} // namespace io
