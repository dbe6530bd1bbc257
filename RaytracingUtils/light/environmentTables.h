#pragma once

// Tables by which directions are drawn from an environment, in proportion to its light. Two of
// them, so that what looks up draws from the upper half alone. Tables stay in image space: turning
// the environment leaves them as they are.

#include "host/znDistribution2D.h"

class znRTEnvironmentMap;

struct znRTEnvironmentTables
{
    znDistribution2D full;  ///< over v in [0, 1]
    znDistribution2D upper; ///< over v in [0, 0.5]; a row's place in the table is 2 v
    /// Share of the light that is brighter than the mean: 0 for one value all around.
    float peakShare = 0.0f;

    /// Luminance of the map times the sine of the polar angle, averaged over each cell: no cell is
    /// dark that lookups between the texels find light in. On several threads.
    /// @return false, and empty tables, for an empty map
    bool calculate(const znRTEnvironmentMap& map);
};
