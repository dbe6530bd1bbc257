#pragma once

// The import library never ends on some damaged PLY headers, and takes a file that is cut off for a
// shorter one; both are refused before it sees them.

#include "io/InputFile.h"

/// Checks each line of the header, and that the rest of the file has room for what it announces:
/// G. Turk, "The PLY Polygon File Format", 1994.
/// @throws io::InputError with the number of the line
void checkPly(io::InputFile& file);
