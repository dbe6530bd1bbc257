#include "host/znRTDisplacementSettings.h"

#include "host/znRTTextureAttributes.h"
#include "host/znRTTextureSampler.h"

#include <algorithm>

void znRTDisplacementSettings::setDisplacement(const znRTTextureSampler* newSampler,
                                               float newHeight, float newOffset,
                                               const znRTVector2f& newHeightRange,
                                               const znRTTextureAttributes* newAttributes)
{
    sampler = newSampler;
    textureAttributes = newAttributes;
    height = newHeight;
    offset = newOffset;
    heightRange = {std::min(newHeightRange.x, newHeightRange.y),
                   std::max(newHeightRange.x, newHeightRange.y)};
    mappingType = newAttributes ? newAttributes->mappingType : 0;
    uvSet = newAttributes ? newAttributes->uvSet : 0;
    repeat = newAttributes ? newAttributes->repeat : znRTVector2f(1.0f, 1.0f);
    projectionMode = newSampler ? newSampler->projectionMode : 0;
}

bool znRTDisplacementSettings::equals(const znRTDisplacementSettings& other) const
{
    return sampler == other.sampler && textureAttributes == other.textureAttributes &&
           height == other.height && offset == other.offset && heightRange == other.heightRange &&
           mappingType == other.mappingType && uvSet == other.uvSet && repeat == other.repeat &&
           projectionMode == other.projectionMode;
}
