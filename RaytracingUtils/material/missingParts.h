#pragma once

// What records ask for and no kind does yet.

struct znRTMissingParts
{
    bool axes = false; ///< a width of its own along the second axis of a highlight
};

/// Warns of each the first time.
void tellOfMissingParts(const znRTMissingParts& missing);

/// @tparam Record  of a material with lobes
template <class Record>
znRTMissingParts missingParts([[maybe_unused]] const Record& record)
{
    znRTMissingParts missing;
    if constexpr (requires { record.anisotropyActive; })
        missing.axes = record.anisotropyActive;
    return missing;
}
