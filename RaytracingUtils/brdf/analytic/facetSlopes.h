#pragma once

// Slopes of a facet distribution along two axes that may be turned about the normal: as a lobe
// stores them, and per lane.

#include "brdf/lobeSampling.h"
#include "brdf/znRTLobeParameters.h"
#include "core/znRTDifferentialGeometry.h"

struct znRTFacetSlopes
{
    float alphaX = -1.0f, alphaY = -1.0f;         ///< nothing is set up yet
    float sinRotation = 0.0f, cosRotation = 1.0f; ///< of the negated angle
    float degrees = 0.0f;
    bool anisotropic = false;

    /// @param x, y  slopes, held inside lobeMath::minSlope..1: a zero has no density to speak of
    /// @param angle degrees, from the frame's u toward v; 0 when it is not a number
    /// @return whether something changed
    bool set(float x, float y, float angle);
};

inline bool znRTFacetSlopes::set(float x, float y, float angle)
{
    const float newX = lobeMath::held(x, lobeMath::minSlope, 1.0f);
    const float newY = lobeMath::held(y, lobeMath::minSlope, 1.0f);
    const float newDegrees = std::isfinite(angle) ? angle : 0.0f;
    if (newX == alphaX && newY == alphaY && newDegrees == degrees)
        return false;
    alphaX = newX;
    alphaY = newY;
    degrees = newDegrees;
    anisotropic = alphaX != alphaY;
    const float radians = degrees * (lobeMath::pi / 180.0f);
    sinRotation = std::sin(-radians);
    cosRotation = std::cos(radians);
    return true;
}

struct znRTFacetSlopesLanes
{
    /// @tparam PerLane  0: the stored slopes; 1: those of the block in its lanes
    template <int PerLane>
    static znRTFacetSlopesLanes fetch(const znRTFacetSlopes& stored,
                                      const znRTDifferentialGeometry& dg);

    /// From the frame to the distribution's axes.
    znRTVector3fPacket turnBack(const znRTVector3fPacket& w) const
    {
        return {cosRotation * w.x - sinRotation * w.y, sinRotation * w.x + cosRotation * w.y, w.z};
    }
    /// From the distribution's axes to the frame.
    znRTVector3fPacket turn(const znRTVector3fPacket& w) const
    {
        return {cosRotation * w.x + sinRotation * w.y, cosRotation * w.y - sinRotation * w.x, w.z};
    }

    /// Place in filtered environments of the power lobe as wide as the facets spread:
    /// e = 2 / alpha^2 - 2, alpha^2 the product of both slopes.
    znFloatType<2> getEnvironmentLevel() const
    {
        const znFloatType<2> e = reciprocalOrZero(alphaX * alphaY) * 2.0f - 2.0f;
        return lobeMath::environmentLevel(minimum(e, lobeMath::maxExponent));
    }

    znFloatType<2> alphaX, alphaY, sinRotation, cosRotation;
};

template <int PerLane>
inline znRTFacetSlopesLanes znRTFacetSlopesLanes::fetch(const znRTFacetSlopes& stored,
                                                        const znRTDifferentialGeometry& dg)
{
    znRTFacetSlopesLanes lanes{stored.alphaX, stored.alphaY, stored.sinRotation,
                               stored.cosRotation};
    if constexpr (PerLane) {
        if (const znRTLobeParameters* const block = dg.parameters) {
            lanes.alphaX = select(block->slopeMask, block->alphaX, lanes.alphaX);
            lanes.alphaY = select(block->slopeMask, block->alphaY, lanes.alphaY);
            lanes.sinRotation = select(block->slopeMask, block->sinRotation, lanes.sinRotation);
            lanes.cosRotation = select(block->slopeMask, block->cosRotation, lanes.cosRotation);
        }
    }
    return lanes;
}
