#pragma once

// Frame of a lobe, one per lane: three orthonormal vectors, right-handed (u x v = n). Directions
// only; lengths and dot products survive the change of frame.

#include "core/znRTVector3fPacket.h"

struct znRTONB
{
    znRTVector3fPacket u, v, n;

    /// Coordinates in this frame of a vector in the frame that u, v, n are given in.
    znRTVector3fPacket toLocal(const znRTVector3fPacket& w) const
    {
        return {dot(w, u), dot(w, v), dot(w, n)};
    }
    znRTVector3fPacket toWorld(const znRTVector3fPacket& w) const
    {
        return w.x * u + w.y * v + w.z * n;
    }

    /// Any frame about a unit normal. It turns where |n.x| = |n.y|: for lobes that do not care.
    void set(const znRTVector3fPacket& normal);
    /// Frame whose u is the tangent made orthogonal to the normal, in the lanes of mask; the frame
    /// of the normal alone in the others, and where the tangent is parallel to the normal.
    void set(const znRTVector3fPacket& normal, const znRTVector3fPacket& tangent,
             znFloatType<2> mask);
    /// The frame turned about u so that the normal points the other way; still right-handed.
    znRTONB getFlipped() const { return {u, -v, -n}; }
};

inline void znRTONB::set(const znRTVector3fPacket& normal)
{
    const znFloatType<2> zero(0.0f);
    const znFloatType<2> isAlongX = absolute(normal.x) > absolute(normal.y);
    n = normal;
    u = select(isAlongX, znRTVector3fPacket(-normal.z, zero, normal.x),
               znRTVector3fPacket(zero, normal.z, -normal.y));
    u.normalize();
    v = cross(n, u);
}

inline void znRTONB::set(const znRTVector3fPacket& normal, const znRTVector3fPacket& tangent,
                         znFloatType<2> mask)
{
    set(normal);
    const znRTVector3fPacket across = cross(normal, tangent);
    const znFloatType<2> squareLength = across.getSquareLength();
    // Sine below 1e-3 of the tangent's length: what is left of the direction is rounding.
    const znFloatType<2> isUsable =
        mask & (squareLength > znFloatType<2>(1e-6f) * tangent.getSquareLength());
    if (!anyLane(isUsable))
        return;
    const znRTVector3fPacket unitAcross = across * reciprocalSquareRoot(squareLength);
    v.setMasked(unitAcross, isUsable);
    u.setMasked(cross(unitAcross, normal), isUsable);
}
