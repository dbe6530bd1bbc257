#pragma once

// A clear coat: a mirror on top, whose reflection is missing from what lies below it. Its
// reflectance rises toward the rim by Schlick's formula, which meets the given value exactly.

#include "brdf/analytic/znRTSpecularBRDF.h"
#include "material/colorAttribute.h"
#include "material/shadePipeline.h"

class znRTCoat
{
public:
    /// @param newF0  reflectance at normal incidence; 0 is no coat at all, at any angle
    void set(float newF0) { f0 = newF0; }
    bool isOn() const { return f0 > 0.0f; }

    /// Takes the reflected share from the colours of a hit, and enters the mirror with that share
    /// of hit.specular, the coat's colour. After the frame, before the lobes below.
    void addTo(znRTHitSurface& hit, const znFloatType<2>& lanes) const;

    znRTColorAttribute color;

private:
    float f0 = 0.0f;
    znRTSpecularBRDF mirror;
};
