#pragma once

// The import library never ends on some damaged PLY headers; they are refused before it sees them.

#include "io/InputFile.h"

/// Checks each line of the header: G. Turk, "The PLY Polygon File Format", 1994.
/// @throws io::InputError with the number of the line
void checkPlyHeader(io::InputFile& file);
