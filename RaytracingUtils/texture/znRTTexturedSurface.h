#pragma once

// Base of the structures that an image makes: bumps, parallax.

#include "host/znRTTextureAttributes.h"
#include "texture/znRTSurfaceStructure.h"
#include "texture/znRTTextureFunctions.h"

class znRTTexturedSurface : public znRTSurfaceStructure
{
public:
    /// Along the tangents of the vertices, about the shading normal as it stands.
    znRTONB getFrameAt(const znRTDifferentialGeometry& dg,
                       const znFloatType<2>& mask) const override;
    u32 getRequirements() const override;

protected:
    /// @param newSampler     with data, not owned
    /// @param newAttributes  null for the plain texture coordinates
    znRTTexturedSurface(const znRTTypeId& typeId, const znRTTextureSampler& newSampler,
                        const znRTTextureAttributes* newAttributes);

    const znRTTextureSampler& sampler;
};
