#pragma once

// Directions through the openings of a scene, for light that comes from outside. Inside a room
// most directions to the surroundings end at a wall; those through its windows do not.
//
// For a point an opening is chosen about in proportion to its solid angle, and a direction through
// it is drawn evenly by solid angle; openings that look small are drawn by area, which then differs
// little. An opening lets light through from both of its sides. Guided directions are one of two
// ways to draw: others reach the surroundings beside the openings too, so that light that comes in
// elsewhere is not lost.

#include "core/znRTVector2fPacket.h"
#include "core/znRTVector3fPacket.h"
#include "light/portalOpenings.h"

class znRTPortalGuide
{
public:
    /// Openings that are drawn at most: the largest ones, by area times strength.
    static constexpr std::size_t s_mostOpenings = 64;

    /// Takes over the openings of a scene; those without area or strength are left out.
    void set(std::vector<znRTPortalOpening> newOpenings);
    void clear() { set({}); }
    bool isEmpty() const { return openings.empty(); }
    const std::vector<znRTPortalOpening>& getOpenings() const { return openings; }

    /// Draws directions through the openings.
    /// @param position  of the illuminated points
    /// @param u         numbers in [0, 1]
    /// @param direction  out: unit; z in lanes without one
    /// @return density per steradian; 0 in lanes off the mask and where no opening is in sight
    znFloatType<2> sample(const znRTVector3fPacket& position, const znRTVector2fPacket& u,
                          const znFloatType<2>& mask, znRTVector3fPacket& direction) const;
    /// Density with which sample draws a direction, per steradian; 0 beside the openings.
    /// @param direction  unit
    znFloatType<2> pdf(const znRTVector3fPacket& position, const znRTVector3fPacket& direction,
                       const znFloatType<2>& mask) const
    {
        return density(position, direction, mask, znFloatType<2>(-1.0f));
    }

    // For photons, which begin outside.

    /// Draws where light that travels in a direction comes through: openings by area and strength,
    /// points evenly on them.
    /// @param direction  unit, of travel
    /// @param point      out: on an opening
    /// @return density per area across the direction; 0 off the mask and along an opening's plane
    znFloatType<2> sampleRays(const znRTVector3fPacket& direction, const znRTVector2fPacket& u,
                              const znFloatType<2>& mask, znRTVector3fPacket& point) const;
    /// Density with which sampleRays draws the ray through a point; 0 for rays beside the openings.
    znFloatType<2> rayPdf(const znRTVector3fPacket& point, const znRTVector3fPacket& direction,
                          const znFloatType<2>& mask) const
    {
        return rayDensity(point, direction, mask, znFloatType<2>(-1.0f));
    }

private:
    znFloatType<2> rayDensity(const znRTVector3fPacket& point, const znRTVector3fPacket& direction,
                              const znFloatType<2>& mask, const znFloatType<2>& drawn) const;
    /// @param drawn  opening that a direction was drawn from, which it passes for certain; -1 none
    znFloatType<2> density(const znRTVector3fPacket& position, const znRTVector3fPacket& direction,
                           const znFloatType<2>& mask, const znFloatType<2>& drawn) const;

    std::vector<znRTPortalOpening> openings;
    float totalRank = 0.0f; ///< sum of areas times strengths
};
