#pragma once

// Test of a ray against the primitives of a leaf. One object per geometry node; the tree walk calls
// it with the rays in object space and a range of primitives.
//
// A test writes only the lanes it is asked for, and of these only those with a hit strictly between
// tMin and the lane's present t: t, primitive index, geometry index, u, v, its bit in hitMask and,
// as the leaf's transparent switch says, in hitFlags. A shadow test of an opaque leaf writes t 0
// instead, which no later surface can beat: tMin must not be negative there.

#include "core/znFloatType.h"
#include "host/znAligned.h"

class znRTHitInfoPacket;
class znRTRayPacket;

class znRTLeafIntersector : public znAlignedBase32
{
public:
    virtual ~znRTLeafIntersector() = default;

    /// 1 front, 2 back, 3 both sides.
    virtual int getSideness() const = 0;
    /// Leaves whose primitives are found by Newton iteration on a parametric surface.
    virtual bool isFreeForm() const { return false; }
    /// Leaves that march a height field over their triangles.
    virtual bool isDisplacement() const { return false; }
    virtual float getNewtonEpsilon() const { return 0.0f; }
    virtual void setNewtonEpsilon(float) {}
    /// Distance below which a surface does not hit a ray that starts on it.
    virtual float getIntersectEpsilon() const { return 0.0f; }
    virtual void setIntersectEpsilon(float) {}

    /// @param laneMask  four bits, lanes to test
    /// @param first     first primitive; a count of 0 returns at once
    virtual void intersect(const znRTRayPacket& ray, znRTHitInfoPacket& hit,
                           const znFloatType<2>& tMin, int laneMask, u32 first,
                           u32 count) const = 0;
    /// @param lane  0 to 3
    virtual void intersect(const znRTRayPacket& ray, znRTHitInfoPacket& hit, int lane,
                           const znFloatType<2>& tMin, u32 first, u32 count) const = 0;
    virtual void intersectShadow(const znRTRayPacket& ray, znRTHitInfoPacket& hit,
                                 const znFloatType<2>& tMin, int laneMask, u32 first,
                                 u32 count) const = 0;
    virtual void intersectShadow(const znRTRayPacket& ray, znRTHitInfoPacket& hit, int lane,
                                 const znFloatType<2>& tMin, u32 first, u32 count) const = 0;

    u32 getGeometryIndex() const { return geometryIndex; }
    void setGeometryIndex(u32 index) { geometryIndex = index; }
    bool isTransparent() const { return transparent; }
    void setTransparent(bool isTransparent) { transparent = isTransparent; }
    /// True for the three triangle leaves without displacement: their test depends on nothing but
    /// positions, so that a walk may run it in place on positions kept in leaf order.
    bool isPlainTriangles() const { return plainTriangles; }

protected:
    u32 geometryIndex = 0; ///< written to every hit
    bool transparent = false;
    bool plainTriangles = false;
    u8 reserved = 0;
};
