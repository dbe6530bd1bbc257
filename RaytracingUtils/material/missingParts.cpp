#include "material/missingParts.h"

#include "render/notAvailable.h"

void tellOfMissingParts(const znRTMissingParts& missing)
{
    static znRTOnceWarning oneWidth(
        "Highlights are as wide in all directions: a texture of anisotropy is not read.");
    if (missing.axes)
        oneWidth();
}
