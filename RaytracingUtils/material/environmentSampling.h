#pragma once

// Environments sampled at a hit, by directions drawn from the environment and from each lobe.

#include "material/surroundingLight.h"

class znRTInfiniteAreaLight;

/// Light of an environment on the lobes of a hit, with shadows; per lobe the two ways of drawing
/// are weighted against each other by the balance heuristic. Mirrors get nothing here.
/// @param diffuse, glossy  out: without the colours of the lobes, alpha 0
void sampleEnvironment(const znRTLitHit& hit, const znRTInfiniteAreaLight& light,
                       znRTColorPacket& diffuse, znRTColorPacket& glossy);
