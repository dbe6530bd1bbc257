#pragma once

// Textures that drive the width of a lobe. The lobe turns their values into its own parameters
// (znRTBRDF::prepareParameterLanes); whoever knows textures reads them.

#include "core/znFloatType.h"

struct znRTDifferentialGeometry;

class znRTRoughnessTextures
{
public:
    virtual ~znRTRoughnessTextures() = default;

    /// Texel of the glossiness texture per lane, [0, 1]; undefined outside mask.
    virtual znFloatType<2> getGlossiness(const znRTDifferentialGeometry& dg,
                                         const znFloatType<2>& mask) const = 0;
    /// The same of the texture for the second axis; without one, the glossiness.
    virtual znFloatType<2> getAnisotropy(const znRTDifferentialGeometry& dg,
                                         const znFloatType<2>& mask) const = 0;

    // What texels 0 and 1 stand for, in the unit that the lobe's convertExponent takes.
    float minimum = 0.0f, maximum = 1.0f;
};
