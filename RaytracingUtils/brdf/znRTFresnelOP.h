#pragma once

// Reflectance of an interface over the angle of incidence. Cosines are those between a direction
// and the facet normal, in [0, 1], one per lane. Terms are immutable once set up.

#include "core/znRTColorPacket.h"
#include "host/znRTNode.h"

class znRTFresnelOP : public znRTNode, public znAlignedBase32
{
public:
    using znRTNode::znRTNode;

    // The order of the virtual operations is part of the interface.

    /// Index of refraction n - i k on the far side, relative to the near side.
    /// @param blend  share of the term, kept for the caller
    virtual void setRefraction(float n, float k, float blend) = 0;
    /// @param f0  reflectance at normal incidence, held inside 1e-6..0.999999
    virtual void setReflectance(float f0) = 0;
    /// One value near the reflectance at normal incidence; absorption is left out.
    virtual float getApproximateReflectance() const = 0;
    virtual unsigned getTableIndex() const = 0;
    /// Optical constants of a metal; an index beyond the table is the neutral entry 0.
    virtual void setFromTable(unsigned index) = 0;
    /// f0 + (1 - f0) (1 - cos)^5. C. Schlick, "An Inexpensive BRDF Model for Physically-based
    /// Rendering", Computer Graphics Forum 13(3), 1994, eq. 24.
    virtual znFloatType<2> schlick(const znFloatType<2>& cosTheta,
                                   const znFloatType<2>& f0) const = 0;
    virtual znRTColorPacket schlickColor(const znFloatType<2>& cosTheta,
                                         const znRTColorPacket& f0) const = 0;
    virtual znRTColorPacket evaluateColor() const = 0;
    /// Unpolarised reflectance from both cosines, of the incident and of the refracted direction.
    virtual znFloatType<2> dielectricExact(const znFloatType<2>& cosI,
                                           const znFloatType<2>& cosT) const = 0;
    virtual znFloatType<2> dielectric(const znFloatType<2>& cosTheta) const = 0;
    /// @param n  index of the far side over that of the near side, above 0
    /// @return exactly 1 in lanes with total reflection
    virtual znFloatType<2> dielectric(const znFloatType<2>& cosTheta,
                                      const znFloatType<2>& n) const = 0;
    virtual znRTColorPacket dielectricColor(const znFloatType<2>& cosI,
                                            const znFloatType<2>& cosT) const = 0;
    virtual znFloatType<2> conductor(const znFloatType<2>& cosTheta) const = 0;
    virtual znRTColorPacket conductorColor(const znFloatType<2>& cosTheta) const = 0;
    virtual void setReflectanceColor(const znRTColor& color) = 0;
};
