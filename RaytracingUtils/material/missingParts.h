#pragma once

// What records ask for and no kind does yet.

struct znRTMissingParts
{
    bool maps = false;      ///< textures of glossiness, parallax and occlusion
    bool structure = false; ///< procedural unevenness
};

/// Warns of each the first time.
void tellOfMissingParts(const znRTMissingParts& missing);

/// @tparam Record  of a material with lobes
template <class Record>
znRTMissingParts missingParts(const Record& record)
{
    znRTMissingParts missing;
    missing.maps = record.occlusionActive || (record.bumpActive && record.bumpMode != 0);
    if constexpr (requires { record.glossinessActive; })
        missing.maps |= record.glossinessActive || record.anisotropyActive;
    if constexpr (requires { record.structureType; })
        missing.structure = record.structureType != 0;
    return missing;
}
