#pragma once

// What a displaced mesh holds of its material's displacement, so that a change can be told.

#include "host/znRTVector.h"

class znRTTextureSampler;
class znRTTextureAttributes;

class znRTDisplacementSettings
{
public:
    /// @param sampler     height texture: lower bound, upper bound, height in r, g, b; not owned
    /// @param height      scene units per unit of the texture
    /// @param offset      texture value that stays on the surface
    /// @param heightRange lowest and highest texture value; brought into this order
    /// @param attributes  mapping of the texture; not owned, may be null
    void setDisplacement(const znRTTextureSampler* sampler, float height, float offset,
                         const znRTVector2f& heightRange, const znRTTextureAttributes* attributes);
    /// Same surface: equal numbers, same texture, same mapping. The mapping is compared as it was
    /// when each of the two was set.
    bool equals(const znRTDisplacementSettings& other) const;

    const znRTTextureSampler* sampler = nullptr;
    const znRTTextureAttributes* textureAttributes = nullptr;
    float height = 0.0f, offset = 0.0f;
    znRTVector2f heightRange{0.0f, 1.0f};
    int mappingType = 0, uvSet = 0;
    znRTVector2f repeat{1.0f, 1.0f};
    int projectionMode = 0; ///< of the sampler: 0 none, 1 planar, 2 cylindrical
};
