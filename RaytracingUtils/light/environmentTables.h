#pragma once

// Tables by which directions are drawn from an environment, in proportion to its light. Three of
// them, so that what looks up draws from the upper half alone, and a floor what falls on it. Tables
// stay in image space: turning the environment leaves them as they are.

#include "host/znDistribution2D.h"

class znRTEnvironmentMap;

struct znRTEnvironmentTables
{
    znDistribution2D full;  ///< over v in [0, 1]
    znDistribution2D upper; ///< over v in [0, 0.5]; a row's place in the table is 2 v
    /// As upper, times the cosine to the axis: what a surface that faces up receives.
    znDistribution2D onGround;
    /// Irradiance of that surface over the light of all directions.
    float groundShare = 0.0f;
    /// Share of the light that is brighter than the mean: 0 for one value all around.
    float peakShare = 0.0f;

    /// Luminance of the map times the sine of the polar angle, averaged over each cell: no cell is
    /// dark that lookups between the texels find light in. On several threads.
    /// @return false, and empty tables, for an empty map
    bool calculate(const znRTEnvironmentMap& map);
};
