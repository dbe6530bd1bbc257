#pragma once

// What gives a hit its final normal and frame: nothing at all, images of heights or normals, weaves
// and brushed patterns. Each material owns one, chosen when it is updated; all operations are const
// and run on all render threads at once.
//
// Order at a hit: shiftCoordinates, so that textures are read where parallax shows them; getNormal;
// then, with the normal in place, getFrame. Normals are unit, in world space, on the viewer's side
// of the surface as far as the structure knows; who shades bends them until they mirror no ray into
// the surface.

#include "brdf/znRTONB.h"
#include "core/znRTDifferentialGeometry.h"
#include "host/znAligned.h"
#include "host/znRTNode.h"

class znRTDataBlockPacket;
class znRTRayDifferentialPacket;
class znRTTextureAttributes;

/// What a structure does to hits, so that nobody asks for the rest: bits.
enum znRTStructureTrait : unsigned {
    bendsNormals = 1,
    shiftsCoordinates = 2,
    /// Lies in the space of the object: normals come from getNormal alone.
    liesInObject = 4,
    /// Frames follow fibres or brush strokes, which getFrame finds.
    givesDirections = 8
};

class znRTSurfaceStructure : public znRTNode, public znAlignedBase16
{
public:
    // The order of the virtual operations is part of the interface.

    ~znRTSurfaceStructure() override;
    /// Frame at the hits of a block.
    virtual znRTONB getFrame(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                             const znFloatType<2>& mask) const;
    /// Frame whose third axis is the shading normal. Here a fixed one that knows nothing of the
    /// surface, and is left-handed: structures that shade replace it.
    virtual znRTONB getFrameAt(const znRTDifferentialGeometry& dg,
                               const znFloatType<2>& mask) const;
    /// Shading normal at the hits of a block.
    virtual znRTVector3fPacket getNormal(const znRTRayDifferentialPacket& ray,
                                         const znRTDataBlockPacket& data,
                                         const znFloatType<2>& mask) const;
    virtual znRTVector3fPacket getNormalAt(const znRTDifferentialGeometry& dg,
                                           const znFloatType<2>& mask) const = 0;
    /// Shading requirements beyond those of the material.
    virtual u32 getRequirements() const { return 0; }
    /// Moves texture coordinates to where the ray meets the structure.
    virtual void shiftCoordinates(const znRTRayDifferentialPacket&, znRTDifferentialGeometry&,
                                  const znFloatType<2>& /*mask*/) const
    {
    }

    /// Whether a structure has a trait.
    bool is(znRTStructureTrait trait) const { return (traits & trait) != 0; }
    /// Whether normals are other than those of the surface.
    bool perturbs() const { return is(bendsNormals); }
    /// Projection of the structure's image; null without one.
    const znRTTextureAttributes* getTextureAttributes() const { return attributes; }

protected:
    /// @param newTraits  bits of znRTStructureTrait
    znRTSurfaceStructure(const znRTTypeId& typeId, unsigned newTraits)
        : znRTNode(typeId), traits(newTraits)
    {
    }

    const znRTTextureAttributes* attributes = nullptr;

private:
    unsigned traits;
};
