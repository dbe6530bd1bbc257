#pragma once

// What lobes share: ways to draw directions, and the vectors between two of them. All directions
// are in the lobe's frame and point away from the surface.

#include "brdf/lobeMath.h"
#include "core/znRTVector2fPacket.h"
#include "core/znRTVector3fPacket.h"

namespace lobeSampling {

/// Commits a drawn direction: (0, 0, 1) in the other lanes, so that no NaN travels.
inline void commit(const znRTVector3fPacket& direction, znFloatType<2> valid,
                   znRTVector3fPacket& wi, znFloatType<2>& mask)
{
    wi = select(valid, direction, znRTVector3fPacket(0.0f, 0.0f, 1.0f));
    mask = valid;
}

/// The unit square onto the unit disk, areas in proportion. P. Shirley, K. Chiu, "A Low Distortion
/// Map Between Disk and Square", Journal of Graphics Tools 2(3), 1997.
inline znRTVector2fPacket concentricDisk(const znRTVector2fPacket& u)
{
    constexpr float quarterPi = 0.25f * lobeMath::pi;
    const znFloatType<2> a = u.x + u.x - 1.0f, b = u.y + u.y - 1.0f;
    const znFloatType<2> isSteep = square(a) < square(b);
    const znFloatType<2> r = select(isSteep, b, a), other = select(isSteep, a, b);
    const znFloatType<2> ratio = other * reciprocalOrZero(r) * quarterPi;
    znFloatType<2> sine, cosine;
    sincos(select(isSteep, znFloatType<2>(2.0f * quarterPi) - ratio, ratio), sine, cosine);
    return {r * cosine, r * sine};
}

/// Direction with a density in proportion to its z. The height follows from the point on the disk,
/// so the vector is unit whatever the sine misses.
inline znRTVector3fPacket cosineHemisphere(const znRTVector2fPacket& u)
{
    const znRTVector2fPacket p = concentricDisk(u);
    return {p.x, p.y, squareRoot(lobeMath::positive(znFloatType<2>(1.0f) - p.getSquareLength()))};
}

/// Density of cosineHemisphere for reflection: 0 unless both directions lie above the horizon.
inline znFloatType<2> cosinePdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi)
{
    return lobeMath::positive(wi.z) * lobeMath::invPi & (wo.z > znFloatType<2>(0.0f));
}

/// Unit vector at a polar angle.
/// @param turn  azimuth, in turns
inline znRTVector3fPacket fromPolar(znFloatType<2> cosTheta, znFloatType<2> turn)
{
    const znFloatType<2> sinTheta = squareRoot(clamp01(znFloatType<2>(1.0f) - cosTheta * cosTheta));
    znFloatType<2> sine, cosine;
    sincos(turn * lobeMath::twoPi, sine, cosine);
    return znRTVector3fPacket(sinTheta * cosine, sinTheta * sine, cosTheta).getNormalized();
}

/// Direction about z with density (e + 1) / (2 pi) cos^e.
/// @param invExponentPlusOne  1 / (e + 1)
inline znRTVector3fPacket powerCosine(const znRTVector2fPacket& u,
                                      znFloatType<2> invExponentPlusOne)
{
    return fromPolar(pow(clamp01(u.y), invExponentPlusOne), u.x);
}

/// Mirror image of wo about h, both pointing away from the surface.
inline znRTVector3fPacket reflect(const znRTVector3fPacket& wo, const znRTVector3fPacket& h)
{
    const znFloatType<2> twice = dot(wo, h) * 2.0f;
    return twice * h - wo;
}

/// Reflection about a drawn half vector. Directions that end below the horizon are dropped, since
/// turning them around would break the density.
inline void reflectAbout(const znRTVector3fPacket& wo, const znRTVector3fPacket& h,
                         znRTVector3fPacket& wi, znFloatType<2>& mask)
{
    const znFloatType<2> zero(0.0f);
    const znRTVector3fPacket direction = reflect(wo, h);
    commit(direction, (direction.z > zero) & (wo.z > zero) & (dot(wo, h) > zero), wi, mask);
}

/// Refraction at z.
/// @param eta  index on wo's side over that of the other
/// @return lanes without total reflection and with wo above the surface; wi is undefined elsewhere
inline znFloatType<2> refract(const znRTVector3fPacket& wo, znFloatType<2> eta,
                              znRTVector3fPacket& wi)
{
    const znFloatType<2> zero(0.0f);
    const znFloatType<2> q = znFloatType<2>(1.0f) - (square(wo.x) + square(wo.y)) * square(eta);
    wi = {-eta * wo.x, -eta * wo.y, -squareRoot(lobeMath::positive(q))};
    return (q > zero) & (wo.z > zero);
}

/// A pair of directions for reflection, and the vector half way between them.
struct HalfVector
{
    HalfVector(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi)
    {
        const znFloatType<2> zero(0.0f);
        h = (wo + wi).getNormalized();
        // Not above 1: a high power would make much of the rounding.
        cosine = minimum(lobeMath::positive(h.z), 1.0f);
        woDotH = lobeMath::positive(dot(wo, h));
        valid = (wo.z > zero) & (wi.z > zero) & (cosine > zero) & (woDotH > zero);
    }

    znRTVector3fPacket h;  ///< unit; NaN where wi = -wo
    znFloatType<2> cosine; ///< h.z, or 0
    znFloatType<2> woDotH; ///< wo.h, or 0
    znFloatType<2> valid;  ///< lanes that can reflect
};

} // namespace lobeSampling
