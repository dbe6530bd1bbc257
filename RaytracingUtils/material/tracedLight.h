#pragma once

// Rays that smooth surfaces send on, one per lane: into the mirror direction, or through glass.
// They see everything that a camera sees, light sources too; no light is drawn for such surfaces
// elsewhere. Where a ray meets nothing, or may go no deeper, the surroundings are seen.

#include "core/znRTRayPacket.h"
#include "core/znRTShadingState.h"
#include "material/surroundingLight.h"

/// Used in this order: a share of the light, then a direction for the lanes that are left, then
/// what comes from there.
class znRTLightPath
{
public:
    /// Ends the lanes whose light would matter too little. In still frames they go on by chance, so
    /// that the mean of the samples misses nothing.
    /// @param share  of the light that counts at the hit, per channel
    znRTLightPath(const znRTLitHit& hit, const znRTColorPacket& share, const znFloatType<2>& mask);

    bool isEmpty() const { return !anyLane(lanes); }
    /// Rays off the surface, without differentials.
    /// @param direction  unit, world space
    /// @param rayClass   of rayTypes.h
    void start(const znRTVector3fPacket& direction, u32 rayClass);
    /// Light along the rays, without the share; alpha is the opacity of what was hit; 0 in lanes
    /// that ended.
    /// @param state       of the rays, one deeper than the hit
    /// @param depthLimit  surfaces that a path passes
    znRTColorPacket follow(const znRTShadingState& state, int depthLimit);

    znRTRayDifferentialPacket rays; ///< after start; may be changed before they are followed
    znFloatType<2> lanes;           ///< mask: lanes that go on
    /// Lanes that see the surroundings where they meet nothing.
    znFloatType<2> seesSurroundings = znFloatType<2>::allLanes();
    znFloatType<2> distance; ///< to what was hit, after follow; 0 in lanes that hit nothing

private:
    const znRTLitHit& hit;
    znRTColorPacket weight;
    znFloatType<2> scale; ///< of lanes that went on by chance
};
