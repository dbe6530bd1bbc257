#pragma once

// Stripes of surface analysis: how long lights, or a sphere or a plane of lights, would show on a
// perfect mirror. Bends of the stripes tell of bends of the surface. Isophotes take the normal in
// place of the mirrored ray: their lines follow equal light.

#include "core/znRTVector3fPacket.h"

class znRTSurfaceAnalysisSettings;

/// Place among the stripes, in periods.
///  linear  angle to the direction of the lights, from 0 to the stripe count at the opposite
///  sphere  angle about the axis from the tangent, from -1/2 to 1/2 of the stripe count
///  plane   place along U where the direction meets the rectangle origin +- U +- V, from 0 to the
///          stripe count
/// @param position   world space; only the plane looks at it
/// @param direction  unit, away from the surface
/// @return NaN where the direction meets no light
znFloatType<2> stripePlace(const znRTSurfaceAnalysisSettings& settings,
                           const znRTVector3fPacket& position, const znRTVector3fPacket& direction);

/// Lanes that show a light: the first part of each period.
znFloatType<2> isInStripe(const znRTSurfaceAnalysisSettings& settings,
                          const znFloatType<2>& stripePlace);
