#include "material/missingParts.h"

#include "render/notAvailable.h"

void tellOfMissingParts(const znRTMissingParts& missing)
{
    static znRTOnceWarning noMaps(
        "Textures of glossiness, parallax and occlusion are not read yet: surfaces are flat and of "
        "one gloss.");
    static znRTOnceWarning noStructure("Procedural structures are not there yet.");
    if (missing.maps)
        noMaps();
    if (missing.structure)
        noStructure();
}
