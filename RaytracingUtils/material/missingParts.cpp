#include "material/missingParts.h"

#include "render/notAvailable.h"

void tellOfMissingParts(const znRTMissingParts& missing)
{
    static znRTOnceWarning noParallax("Parallax is not there yet: bumps hide nothing.");
    static znRTOnceWarning noStructure("Procedural structures are not there yet.");
    static znRTOnceWarning oneWidth(
        "Highlights are as wide in all directions: a texture of anisotropy is not read.");
    if (missing.parallax)
        noParallax();
    if (missing.axes)
        oneWidth();
    if (missing.structure)
        noStructure();
}
