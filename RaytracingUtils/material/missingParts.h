#pragma once

// What records ask for and no kind does yet, told once each.

#include "render/notAvailable.h"

template <class Record>
void tellOfMissingParts(const Record& record)
{
    static znRTOnceWarning noMaps(
        "Textures of glossiness, bump and occlusion are not read yet: surfaces are smooth and of "
        "one gloss.");
    static znRTOnceWarning noTranslucency("Materials are not translucent yet.");
    static znRTOnceWarning noStructure("Procedural structures are not there yet.");
    if (record.bumpActive || record.occlusionActive)
        noMaps();
    if constexpr (requires { record.glossinessActive; })
        if (record.glossinessActive || record.anisotropyActive)
            noMaps();
    if constexpr (requires { record.translucencyMode; })
        if (record.translucencyMode != 0)
            noTranslucency();
    if constexpr (requires { record.structureType; })
        if (record.structureType != 0)
            noStructure();
}
