#pragma once

// Environments sampled at a hit, by directions drawn from the environment and from each lobe.

#include "material/gatherPlan.h"

/// Light of an environment on the lobes of a hit, with shadows; per lobe the two ways of drawing
/// are weighted against each other by the balance heuristic. Mirrors get nothing here. Of a plan
/// whose rays bring light of the environment, the part of the directions drawn by its light.
/// @param diffuse, glossy  out: without the colours of the lobes, alpha 0
void sampleEnvironment(const znRTLitHit& hit, const znRTInfiniteAreaLight& light,
                       const znRTGatherPlan& plan, znRTColorPacket& diffuse,
                       znRTColorPacket& glossy);
