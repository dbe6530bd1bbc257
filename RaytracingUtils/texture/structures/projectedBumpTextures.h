#pragma once

// Bumps whose image does not follow the first set of texture coordinates: it lies on a further set,
// is projected through space by a plane or a cylinder, or along the three axes at once. Normals
// come from getNormal, which knows the hits' object and all their coordinates; heights and maps are
// read as znRTBumpTexture reads them, over derivatives along the mapping in place of those of the
// mesh.

#include "texture/znRTBumpTexture.h"

#include <memory>

/// By a set of coordinates, a plane or a cylinder.
class znRTProjectedBumpTexture : public znRTBumpTexture
{
public:
    using znRTBumpTexture::znRTBumpTexture;

    znRTVector3fPacket getNormal(const znRTRayDifferentialPacket& ray,
                                 const znRTDataBlockPacket& data,
                                 const znFloatType<2>& mask) const override;
    znRTVector3fPacket getShift(const znRTRayDifferentialPacket& ray,
                                const znRTDataBlockPacket& data,
                                const znFloatType<2>& mask) const override;

private:
    /// Coordinates of the image in place of those of the mesh.
    /// @param unit  out: way in scene units that a step of the first coordinate stands for
    /// @return lanes of the mask that the image reaches
    znFloatType<2> lay(const znRTDataBlockPacket& data, const znFloatType<2>& mask,
                       znRTDifferentialGeometry& dg, znFloatType<2>& unit) const;
};

/// Along the axes: the normals of the projections, mixed by the weights of the axes, and so are the
/// ways by which parallax shifts each of them.
class znRTTriplanarBumpTexture : public znRTBumpTexture
{
public:
    using znRTBumpTexture::znRTBumpTexture;

    znRTVector3fPacket getNormal(const znRTRayDifferentialPacket& ray,
                                 const znRTDataBlockPacket& data,
                                 const znFloatType<2>& mask) const override;
    znRTVector3fPacket getShift(const znRTRayDifferentialPacket& ray,
                                const znRTDataBlockPacket& data,
                                const znFloatType<2>& mask) const override;

private:
    template <class Visit>
    void visitAxes(const znRTDataBlockPacket& data, const znFloatType<2>& mask,
                   const Visit& visit) const;
};

/// The bump of a slot, by how its image lies.
std::unique_ptr<znRTBumpTexture> makeBumpTexture(const znRTTextureSampler& sampler,
                                                 const znRTTextureAttributes* attributes,
                                                 znRTBumpTexture::Kind kind, float amplitude,
                                                 bool isDownward = false);
/// Whether normals of an image come from getNormal alone.
bool readsOwnCoordinates(const znRTTextureAttributes* attributes);
