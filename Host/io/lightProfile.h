#pragma once

// Measured luminaires: reader of photometric files after ANSI/IESNA LM-63 (1986, 1991, 1995, 2002)
// and their distributions as images that lights read.

#include "host/osg/LightProfileAttachment.h"
#include "io/InputFile.h"

#include <vector>

namespace io {

/// Luminous intensities over a grid of angles.
struct LightProfile
{
    /// As the file numbers them. C: vertical angles count from straight down (the light's -z), the
    /// horizontal ones turn about that axis, from x towards y. B: a horizontal polar axis, the
    /// light's x. A: a vertical one, the light's y; B and A count both angles from -z.
    enum Type { typeC = 1, typeB = 2, typeA = 3 };

    int type = typeC;
    std::vector<float> vertical;   ///< degrees, ascending
    std::vector<float> horizontal; ///< degrees, ascending
    std::vector<float> candela;    ///< per horizontal angle the values of all vertical ones
    float width = 0.0f, length = 0.0f, height = 0.0f; ///< of the opening, metres; below 0: round

    /// Intensity in a direction of the file's own angles, linear between its angles; angles that a
    /// symmetry leaves out are mirrored, beyond the measured ones there is no light.
    float at(double verticalDegrees, double horizontalDegrees) const;
    /// Intensity in a direction of the light's frame, see Type.
    /// @param x, y    unit vector with z
    /// @param forward along the light's -z
    float towards(double x, double y, double forward) const;
    /// Flux over the sphere, lumens.
    double lumens() const;
};

/// @throws InputError: no such file, no photometric data, damaged
LightProfile readLightProfile(InputFile& file);
LightProfile readLightProfile(const std::string& path, const Limits& limits = {});

/// The distribution as an attachment of lights, switched on: u is the azimuth from x towards y, v
/// the polar angle from -z. Files that are the same all around give one column.
osg::FCPtr<osg::LightProfileAttachment> makeLightProfileAttachment(const LightProfile& profile);

} // namespace io
