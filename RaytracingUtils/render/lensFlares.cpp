#include "render/lensFlares.h"

#include "render/notAvailable.h"

znRTColorPacket evaluateLensFlares(const znRTRayPacket&)
{
    static znRTOnceWarning notDrawn("Lens flares are not drawn yet.");
    notDrawn();
    return znRTColorPacket(0.0f);
}

void addLensFlares(const znRTRayPacket& ray, znRTColorPacket& color)
{
    color += evaluateLensFlares(ray);
    color.a = minimum(color.a, 1.0f);
}
