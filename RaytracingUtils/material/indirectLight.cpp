#include "material/indirectLight.h"

#include "core/znRTDataBlockPacket.h"
#include "material/znRTMaterial.h"

namespace {

/// Light baked into the vertices; alpha 0.
znRTColorPacket bakedIrradiance(const znRTDataBlockPacket& data, const znRTColorPacket& tint)
{
    znRTColorPacket light = data.bakedIrradiance * tint;
    light.a = 0.0f;
    return light;
}

} // namespace

void evaluateIndirect(const znRTLitHit& hit, const znRTColorPacket&, const znRTColorPacket&,
                      const znRTColorPacket& ambient, znRTColorPacket& diffuse,
                      znRTColorPacket& glossy)
{
    diffuse = glossy = znRTColorPacket(0.0f);
    const znRTMaterialState& quality = hit.material.getState();
    if (quality.traceIndirect || !quality.usesIndirectTerm)
        return;
    // Lanes with a baked colour have their light already.
    diffuse = hit.material.useBaking(bakedIrradiance(hit.data, ambient), znRTColorPacket(0.0f),
                                     hit.data) &
              hit.mask;
}
