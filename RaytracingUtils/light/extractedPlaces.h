#pragma once

// Parts of an environment image that lights of their own stand for. What shades by those lights
// must not find them in the image again.

#include "host/znRTTextureSampler.h"

#include <vector>

namespace osg {
class UEnvironmentMaterial;
}

struct znRTExtractedPlace
{
    znRTVector3f direction; ///< unit, in the frame of the image, z up
    float halfAngle;        ///< radians
    bool operator==(const znRTExtractedPlace&) const = default;
};

/// Places of the lights that an environment is set to use instead of its image.
std::vector<znRTExtractedPlace> extractedPlaces(const osg::UEnvironmentMaterial& material);

/// Copies a latitude-longitude image and gives each place, which is not less than a texel, the mean
/// colour of what surrounds it.
/// @return false, and an empty copy, without an image
bool fillExtractedPlaces(const znRTSampler2D& image, const std::vector<znRTExtractedPlace>& places,
                         znRTSampler2D& filled);
