#pragma once

// Surface of the sky: an analytic sky with the sun's disk.

#include "core/znRTColor.h"
#include "material/znRTSphereEnvironmentMaterial.h"

#include <vector>

class znRTSkylightMaterial : public znRTSphereEnvironmentMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTSkylightMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override;

    /// Radiance of the sun's disk in the directions that meet it, 0 in all others.
    /// @param direction  unit, world space
    znRTColorPacket lookupSun(const znRTVector3fPacket& direction,
                              const znFloatType<2>& mask) const;
    /// The sky without the sun as a map of equal areas (Lambert's cylinder, which Peters
    /// stretches): u is the azimuth in turns, z falls evenly from 1 in the first row to -1. The
    /// plain mean of the texels is that of the sphere.
    /// @return width * height colours, row by row; empty without a scene that has the sky
    std::vector<znRTColor> getPetersMap(int width, int height) const;
};
