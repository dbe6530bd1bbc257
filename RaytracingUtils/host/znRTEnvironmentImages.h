#pragma once

// Images of surroundings, brought into the one form that environment lookups read: latitude and
// longitude with row 0 at the zenith. A unit direction (x, y, z), z up, is found at
//     u = atan2(x, y) / (2 pi), plus 1 where negative;  v = acos(z) / pi
// so u grows to the right for someone who stands inside.

#include "host/znRTTextureSampler.h"

class znRTEnvironmentImages
{
public:
    enum Layout {
        latitudeLongitude = 0, ///< the top row of the picture is the zenith
        cube = 1,              ///< six sides, +x -x +y -y +z -z of the world, oriented as in OpenGL
        cross = 2              ///< unfolded cube, 4 x 3 or 3 x 4, front (+y) in the inner crossing
    };

    /// Fills an environment sampler: floats (RGBA), wrap repeat in u and clamp in v, linear values.
    /// Sides are read with 2 x 2 samples per texel.
    /// @param gamma  curve of the stored values, as for znRTTextureSampler::setGamma; floats are
    ///               taken as linear
    /// @return false, and an empty sampler, for no image or one that does not fit the layout
    static bool prepare(const osg::ImagePtr& image, int layout, float gamma, znRTSampler2D& target);

    /// Fills a stack of blurred environments for rough reflection: slice i holds, for each
    /// direction, the mean of the radiance weighted by max(0, cos)^e with e = 2^(16 i / (slices -
    /// 1)). Slice 0 is the mean under the cosine (irradiance over pi), the last one the sharp
    /// picture at the stack's size.
    /// @param slices  at least 2
    /// @param height  texels from zenith to nadir, at least 2; the width is twice that
    static bool buildStack(const znRTSampler2D& environment, znRTSampler3D& stack, int slices = 9,
                           int height = 128);

    /// Direction of a place in the image, and back.
    static znRTVector3f toDirection(float u, float v);
    static znRTVector2f toCoordinates(const znRTVector3f& direction);
};
