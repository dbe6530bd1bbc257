#pragma once

// Rays that a surface sends out to gather the light of other surfaces: directions by the lobes of
// one kind, and what light from there counts.

#include "core/znRTRayPacket.h"
#include "core/znRTVector2fPacket.h"
#include "material/surroundingLight.h"

/// Kinds of lobes whose light is written apart.
enum class znRTLobeKind { diffuse, glossy };

inline znRTLobeKind kindOf(const znRTLobeSet::Entry& entry)
{
    return entry.lobe->isSelected(lobeType::glossy) ? znRTLobeKind::glossy : znRTLobeKind::diffuse;
}

/// Directions, one per lane.
struct znRTGatherDirections
{
    /// Replaces the lanes of another's mask.
    void take(const znRTGatherDirections& other);

    znRTVector3fPacket wi;  ///< unit, world space
    znRTColorPacket weight; ///< value * cosine / density, without the colours of the lobes
    znFloatType<2> pdf;     ///< per steradian
    znFloatType<2> mask;    ///< lanes with a direction above the surface; all is 0 in the others
};

/// Light of a direction on all lobes of a kind that have a density.
/// @param pdf  out: per steradian, as drawDirections draws; 0 below the real surface
/// @return values times cosine, without the colours of the lobes; 0 outside mask
znRTColorPacket evaluateKind(const znRTLitHit& hit, znRTLobeKind kind, const znRTVector3fPacket& wi,
                             const znFloatType<2>& mask, znFloatType<2>& pdf);

/// Draws from the lobes of a kind that have a density, evenly where a lane has several. Directions
/// that lie below the real surface, as interpolated normals allow, are dropped: they lead into the
/// body of the object.
/// @param u  uniform numbers in [0, 1)
znRTGatherDirections drawDirections(const znRTLitHit& hit, znRTLobeKind kind,
                                    const znRTVector2fPacket& u, const znFloatType<2>& mask);

/// Rays into the directions, off the surface. Their differentials are as wide as a part of the
/// share of the hemisphere that a ray stands for, so that textures that they meet are read coarse.
/// @param weight    of the paths, those of the rays to the hit included
/// @param isGlossy  mask: lanes whose direction comes from a glossy lobe
/// @param samples   rays that the point sends out for the kind
znRTRayDifferentialPacket gatherRays(const znRTLitHit& hit, const znRTGatherDirections& directions,
                                     const znRTColorPacket& weight, const znFloatType<2>& isGlossy,
                                     int samples);
