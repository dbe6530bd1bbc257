#pragma once

// One sample of the scene's lights at four points. Lanes may hold samples of different lights, so
// that one packet of shadow rays serves several of them.

#include "core/znRTColorPacket.h"
#include "core/znRTDifferentialGeometry.h"

class znRTLight;
class znRTUAreaLight;

/// The light as one to draw points on; null for lights without area.
const znRTUAreaLight* areaOf(const znRTLight& light);

struct LightEvalSample : znAlignedBase16
{
    LightEvalSample() : mask(znFloatType<2>::noLanes()), byArea(znFloatType<2>::noLanes()) {}

    /// Takes a sample of a light over in the lanes that it can light.
    /// @param area    areaOf the light
    /// @param dg      points and normals, on the side that is lit
    /// @param u       place on a light with area; not read by others
    /// @param weight  of the sample: 1 over its probability and number
    void take(const znRTLight& light, const znRTUAreaLight* area,
              const znRTDifferentialGeometry& dg, const znRTVector2fPacket& u,
              const znFloatType<2>& weight, const znFloatType<2>& lanes);

    /// Writes a light's part of a direction.
    /// @param direction  unit, world space
    /// @param way        distance of the point on the light
    /// @param intensity  that arrives, without the light's colour
    /// @param factor     of the intensity: the weight of the direction over its density
    void enter(const znRTLight& light, const znRTVector3fPacket& direction,
               const znFloatType<2>& way, const znRTColorPacket& intensity,
               const znFloatType<2>& factor, const znFloatType<2>& lanes);

    /// From where a shadow ray starts, off the surface, to the point on the light. Along wi it
    /// would meet the light's own surface before its end.
    /// @param position  of the illuminated point
    /// @param end       out: distance up to which there may be occluders
    /// @return any length
    znRTVector3fPacket wayFrom(const znRTVector3fPacket& origin, const znRTVector3fPacket& position,
                               znFloatType<2>& end) const;

    znFloatType<2> mask; ///< lanes with a sample
    /// Samples that the light's draws make per steradian, about wi; 0 where directions that lobes
    /// draw are no way to the light.
    znFloatType<2> density{0.0f};
    znFloatType<2> byArea;   ///< lanes whose point was drawn evenly on a surface, near or far
    znRTVector3fPacket wi;   ///< unit, world space, toward the light
    znFloatType<2> distance; ///< of the point on the light; the largest float at infinity
    znRTColorPacket diffuse; ///< light over density, for diffuse lobes
    znRTColorPacket glossy;  ///< the same for glossy lobes
    znFloatType<2> shadowIntensity;
    znFloatType<2> groundShadowIntensity; ///< the same on surfaces that catch shadows
};
