#pragma once

// What some formats leave open: which axis is up, and how long one unit is.

namespace io {

/// What a user says of files whose format does not say (OBJ, PLY, STL). Others are read as they
/// state it.
struct FileConventions
{
    char upAxis = 0;            ///< 'y' or 'z'; 0: the custom of the format
    double metresPerUnit = 0.0; ///< 0: one metre

    bool isGiven() const { return upAxis != 0 || metresPerUnit != 0.0; }
};

} // namespace io
