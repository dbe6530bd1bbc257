#pragma once

// A surface without structure: its own normal, and a frame along its tangents where it has some.

#include "texture/znRTSurfaceStructure.h"

class znRTCleanSurface : public znRTSurfaceStructure
{
public:
    static const znRTTypeId id;

    znRTCleanSurface();

    /// Right-handed; u is the vertex tangent made orthogonal to the normal, in lanes with one, and
    /// any direction in the plane in the others.
    znRTONB getFrameAt(const znRTDifferentialGeometry& dg,
                       const znFloatType<2>& mask) const override;
    znRTVector3fPacket getNormalAt(const znRTDifferentialGeometry& dg,
                                   const znFloatType<2>& mask) const override;
};
