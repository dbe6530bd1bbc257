#pragma once

// Carbon weaves on surfaces: the arches of the strands as normals, the fibres as directions. Frames
// have u along the fibres. Strands that are narrower than a pixel flatten out.

#include "texture/procedural/znRTCarbonTexture.h"
#include "texture/structures/znRTSpatialStructure.h"

#include <memory>

/// Along texture coordinates.
class znRTCarbon2DStructure : public znRTSurfaceStructure
{
public:
    static const znRTTypeId id;

    /// @param newTexture  the weave, owned
    /// @param tiles       of the weave per step of either texture coordinate
    /// @param newHeight   of the strands, in widths of a strand
    znRTCarbon2DStructure(std::unique_ptr<const znRTCarbonTexture> newTexture,
                          const znRTVector2f& tiles, float newHeight);

    znRTONB getFrameAt(const znRTDifferentialGeometry& dg,
                       const znFloatType<2>& mask) const override;
    znRTVector3fPacket getNormalAt(const znRTDifferentialGeometry& dg,
                                   const znFloatType<2>& mask) const override;
    u32 getRequirements() const override;

private:
    znCarbonStrand strandAt(const znRTDifferentialGeometry& dg, const znFloatType<2>& mask) const;

    std::unique_ptr<const znRTCarbonTexture> texture;
    znRTVector2f repeat;
    float height;
};

/// Through the space of an object: on each side the weave is projected along the axis that the
/// surface faces most.
class znRTCarbon3DStructure : public znRTSpatialStructure
{
public:
    static const znRTTypeId id;

    /// @param newTexture  the weave, owned
    /// @param tiles       of the weave per scene unit
    /// @param newHeight   of the strands, in widths of a strand
    znRTCarbon3DStructure(std::unique_ptr<const znRTCarbonTexture> newTexture, float tiles,
                          float newHeight);

protected:
    znRTVector3fPacket tiltAt(const Place& place, const znFloatType<2>& mask) const override;
    znRTVector3fPacket directionAt(const Place& place, const znFloatType<2>& mask) const override;

private:
    /// Coordinates in the plane across the axis that a surface faces, and their directions.
    struct Plane
    {
        znRTVector2fPacket uv;
        znRTVector3fPacket u, v;
    };
    static Plane planeOf(const Place& place);

    std::unique_ptr<const znRTCarbonTexture> texture;
    float repeat, height;
};
