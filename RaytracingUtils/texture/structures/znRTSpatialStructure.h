#pragma once

// Base of the structures that fill space: the surface cuts through them. They lie in the space of
// the object and go with it, so that they need the block of the hits (getNormal, getFrame); what a
// neighbourhood alone gives (getNormalAt, getFrameAt) takes the world for the object.
//
// The normal that the object's own surface has points to one side only; seen from the other side
// its unevenness is turned with it.

#include "core/znRTVector2fPacket.h"
#include "texture/znRTSurfaceStructure.h"

class znRTSpatialStructure : public znRTSurfaceStructure
{
public:
    znRTONB getFrame(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                     const znFloatType<2>& mask) const override;
    /// Along the tangents, or the directions that were found before.
    znRTONB getFrameAt(const znRTDifferentialGeometry& dg,
                       const znFloatType<2>& mask) const override;
    znRTVector3fPacket getNormal(const znRTRayDifferentialPacket& ray,
                                 const znRTDataBlockPacket& data,
                                 const znFloatType<2>& mask) const override;
    znRTVector3fPacket getNormalAt(const znRTDifferentialGeometry& dg,
                                   const znFloatType<2>& mask) const override;
    u32 getRequirements() const override;

protected:
    /// A hit in the space of the structure.
    struct Place
    {
        znRTVector3fPacket position;
        znRTVector3fPacket normal;     ///< unit, outward, as the surface has it
        znRTVector3fPacket dPdx, dPdy; ///< of the pixel

        /// Length of the longer step of the pixel.
        znFloatType<2> getFootprint() const
        {
            return squareRoot(maximum(dPdx.getSquareLength(), dPdy.getSquareLength()));
        }
    };

    /// @param traits  beside liesInObject
    znRTSpatialStructure(const znRTTypeId& typeId, unsigned newTraits)
        : znRTSurfaceStructure(typeId, newTraits | liesInObject)
    {
    }

    /// What is to be added to the outward normal; its part along the normal does not count. 0 where
    /// the surface stays as it is. Structures without bendsNormals leave it at that.
    virtual znRTVector3fPacket tiltAt(const Place& place, const znFloatType<2>& mask) const;
    /// Direction of fibres, any length; 0 where there is none. Structures that give directions
    /// replace it.
    virtual znRTVector3fPacket directionAt(const Place& place, const znFloatType<2>& mask) const;

    /// A place as the neighbourhood of a hit has it, without a space of its own.
    static Place placeOf(const znRTDifferentialGeometry& dg);
    static Place placeOf(const znRTDataBlockPacket& data);

private:
    /// The normal on the viewer's side; in the space of the place.
    znRTVector3fPacket bentNormal(const Place& place, const znFloatType<2>& frontFacing,
                                  const znFloatType<2>& mask, znFloatType<2>& isBent) const;
};
