#pragma once

// Split search for many primitives: sixteen planes per axis. One pass sorts the primitives into
// the seventeen intervals between the planes; what lies left and right of each plane then follows
// from running maxima and minima over the intervals, which are exact, so the split is the one that
// comparing every primitive with every plane would find.

#include "accel/build/buildReference.h"

/// The sixteen planes of three axes and the interval of a coordinate among them.
class znRTSplitPlanes
{
public:
    static constexpr int s_count = 16;

    explicit znRTSplitPlanes(const znRTBuildBox& box);

    float getPlane(int axis, int k) const { return planes[axis][k + 1]; }
    znFloatType<2> guess(znFloatType<2> center) const
    {
        // NaN, from an inverted box, falls into the last interval: it is left of no plane.
        const znFloatType<2> position = (center - low) * scale;
        return maximum(minimum(position, znFloatType<2>(float(s_count))), znFloatType<2>(0.0f));
    }
    /// Number of planes below a coordinate; a coordinate on a plane counts as left of it.
    int refine(int axis, float center, int interval) const
    {
        // Planes are rounded one by one, so the guess may be off by one, and by more where the box
        // is a few units in the last place wide.
        const float* const p = planes[axis] + 1;
        while (center > p[interval])
            ++interval;
        while (center <= p[interval - 1])
            --interval;
        return interval;
    }

private:
    znFloatType<2> low, scale;
    /// With a NaN at either end, which stops both searches.
    float planes[3][s_count + 2];
};

/// Contents of the intervals between the planes.
struct alignas(16) znRTSplitBins
{
    static constexpr int s_count = znRTSplitPlanes::s_count + 1;

    /// Lowest low and lowest negated high of what lies in an interval, per axis.
    alignas(16) float bounds[3][s_count + 1][2];
    u32 counts[3][s_count + 1];

    void clear();
    void add(const znRTSplitPlanes& planes, const znRTBuildReference* begin,
             const znRTBuildReference* end);
    void add(const znRTSplitBins& other);
    /// Cheapest plane of all axes that are wide enough.
    void findSplit(const znRTSplitPlanes& planes, const znRTBuildBox& box, u32 count,
                   znRTSplit& split) const;
};
