#pragma once

// How what lies behind a surface mixes with what the surface shows itself: the same arithmetic for
// one colour and for every layer of a fragment.

#include "core/rayTypes.h"
#include "render/znRTFragment.h"

/// Whether rays have to go on behind their surfaces. Rays that continue behind a surface themselves
/// do not: who follows them composes the surfaces.
inline bool showsBehind(const znRTRayPacket& ray, const znRTThroughput& throughput)
{
    if (!anyLane(throughput.hitLanes))
        return false;
    const znIntType<2> flags = ray.type & znIntType<2>(int(rayType::passThrough));
    return !anyLane(andNot(asFloat(flags == znIntType<2>(0)), throughput.hitLanes));
}

/// Factor that the surface's transparency colour puts on what lies behind; alpha is 1. The colour
/// is divided by what its alpha leaves of it, unless that is nothing.
inline znRTColorPacket tintOfBehind(const znRTColorPacket& transparencyColor,
                                    const znRTThroughput& throughput)
{
    const znFloatType<2> one(1.0f);
    const znFloatType<2> rest = one - transparencyColor.a;
    const znFloatType<2> isDivided = (rest > znFloatType<2>(0.0f)) & throughput.hitLanes;
    const znFloatType<2> inverse = reciprocalOrZero(select(isDivided, rest, one));
    znRTColorPacket tint(one);
    for (int channel = 0; channel < 3; ++channel)
        tint[channel] = mix(one, transparencyColor[channel] * inverse, throughput.cutoutAlpha);
    return tint;
}

/// Mixes a tinted colour from behind, and its opacity, with the surface's own.
class BehindMix
{
public:
    explicit BehindMix(const znRTThroughput& newThroughput)
        : throughput(newThroughput),
          isBlended(anyLane(newThroughput.hitLanes & newThroughput.blend))
    {
    }

    /// Red, green and blue; the own alpha stays.
    void addBehind(znRTColorPacket& own, const znRTColorPacket& behind) const
    {
        znRTColorPacket mixed;
        if (isBlended) {
            mixed.mixColor(behind, own, throughput.surfaceAlpha);
            own.maskedUpdateNoAlpha(mixed, throughput.hitLanes);
            return;
        }
        // Each lane shows either its own result or what is behind: a surface that decided by
        // chance.
        mixed = (own & throughput.blend) + (behind & throughput.hitLanes);
        own = {mixed.r, mixed.g, mixed.b, own.a};
    }
    /// @param own  of the lanes that show nothing of what is behind
    znFloatType<2> opacity(const znFloatType<2>& own, const znFloatType<2>& behind) const
    {
        const znFloatType<2> shown =
            isBlended ? mix(behind, 1.0f, throughput.surfaceAlpha) : behind;
        return select(throughput.hitLanes, shown, own);
    }
    /// Share of a lane that the surface itself has.
    znFloatType<2> ownShare() const
    {
        const znFloatType<2> one(1.0f);
        return isBlended ? select(throughput.hitLanes, throughput.surfaceAlpha, one)
                         : throughput.blend & one;
    }

private:
    const znRTThroughput& throughput;
    bool isBlended;
};
