#pragma once

// A clear coat: a mirror on top, whose reflection is missing from what lies below it. Its
// reflectance rises toward the rim by Schlick's formula, which meets the given value exactly. It
// may be uneven by itself, as paint that ran before it dried: orange peel.

#include "brdf/analytic/znRTSpecularBRDF.h"
#include "material/colorAttribute.h"
#include "material/shadePipeline.h"
#include "texture/structures/spaceStructures.h"

#include <memory>

class znRTCoat
{
public:
    /// Takes the rows of a coat.
    template <class Record>
    void read(const Record& record)
    {
        color.set(record.clearcoat, record.clearcoatSpectrum, record.clearcoatSampler,
                  record.clearcoatActive, record.clearcoatAttributes);
        set(record.clearcoatReflectance, record.clearcoatBumpAmount, record.clearcoatBumpSize);
    }
    bool isOn() const { return f0 > 0.0f; }

    /// Colour and unevenness at the hits.
    void fetch(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
               const znFloatType<2>& mask, znRTHitSurface& hit) const;

    /// Takes the reflected share from the colours of a hit, as far as the greatest channel of
    /// hit.specular, the coat's colour, says that there is a coat; and enters the mirror with that
    /// share of it. After the frame, before the lobes below.
    void addTo(znRTHitSurface& hit, const znFloatType<2>& lanes) const;

    znRTColorAttribute color;

private:
    /// @param newF0   reflectance at normal incidence; 0 is no coat at all, at any angle
    /// @param amount  tangent of the tilt of the peel
    /// @param size    of its waves, scene units
    void set(float newF0, float amount, float size);

    float f0 = 0.0f;
    std::unique_ptr<const znRTSimplex3DStructure> peel; ///< null for an even coat
    znRTSpecularBRDF mirror;
};
