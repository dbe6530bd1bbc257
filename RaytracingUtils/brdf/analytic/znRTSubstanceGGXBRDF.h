#pragma once

// The facet lobe of the metallic workflow: slopes and colour at normal incidence come per lane from
// the parameter block, and from the record in lanes without. Axes of unequal slope after
// B. Burley, "Physically-Based Shading at Disney", SIGGRAPH 2012 course notes.

#include "brdf/analytic/znRTGGXBRDF.h"

struct znRTSubstanceAttributes;

class znRTSubstanceGGXBRDF : public znRTGGXBRDF<1>
{
public:
    static const znRTTypeId s_typeId;

    znRTSubstanceGGXBRDF() : znRTGGXBRDF<1>(s_typeId) {}

    /// Reads a znRTSubstanceAttributes; other records are ignored.
    void setup(const znRTBxDFAttributes& attributes, unsigned count) override;

    /// Slopes of both axes.
    /// @param roughness   linear, [0, 1]
    /// @param anisotropy  [0, 1]
    static znRTVector2fPacket getSlopesOf(znFloatType<2> roughness, znFloatType<2> anisotropy);
    /// Reflectance at normal incidence: the base colour of metals, up to 0.08 of all else.
    static znRTColorPacket getReflectanceOf(const znRTColorPacket& baseColor,
                                            znFloatType<2> metallic, znFloatType<2> specularLevel);
};
