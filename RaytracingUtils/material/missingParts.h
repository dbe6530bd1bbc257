#pragma once

// What records ask for and no kind does yet.

struct znRTMissingParts
{
    bool parallax = false;  ///< relief that hides parts of itself
    bool structure = false; ///< procedural unevenness
    bool axes = false;      ///< a width of its own along the second axis of a highlight
};

/// Warns of each the first time.
void tellOfMissingParts(const znRTMissingParts& missing);

/// @tparam Record  of a material with lobes
template <class Record>
znRTMissingParts missingParts(const Record& record)
{
    znRTMissingParts missing;
    missing.parallax = record.bumpActive && record.bumpMode != 0;
    if constexpr (requires { record.anisotropyActive; })
        missing.axes = record.anisotropyActive;
    if constexpr (requires { record.structureType; })
        missing.structure = record.structureType != 0;
    return missing;
}
