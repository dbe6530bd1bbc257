#pragma once

// The JSON Schema (draft 07) of looks, written from the reflection: editors complete names and show
// ranges and defaults by it. What the reader of looks accepts fits it; names that stand elsewhere
// (nodes, materials, files) and texts of patterns are the reader's to check.

#include <string>

namespace io {

std::string lookSchema();

} // namespace io
