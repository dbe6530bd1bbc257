#pragma once

// Weaves of flat carbon strands. A tile of the pattern is one unit wide; warp strands run along v,
// side by side along u, and weft strands across them. Where a strand lies on top it arches: over
// its own width, and along its run from one dive below a crossing strand to the next.

#include "core/znRTVector2fPacket.h"
#include "texture/procedural/znRTTexture3D.h"

/// The strand that is seen at a place.
struct znCarbonStrand
{
    znFloatType<2> isWarp; ///< mask
    /// Of the fibres against the first coordinate: 0 degrees of weft, 90 of warp strands.
    znFloatType<2> cosRotation, sinRotation;
    znFloatType<2> height;    ///< [0, 1]: edge of a strand where it dives, middle of its run
    znRTVector2fPacket slope; ///< of the height, along u and v, per width of a strand
};

class znRTCarbonTexture : public znRTTexture3D
{
public:
    // The order of the virtual operations is part of the interface.

    /// Height of the strands, in the plane of x and y.
    /// @param p  in tiles
    znRTColorPacket evaluate(const znRTVector3fPacket& p,
                             const znFloatType<2>& mask) const override;
    /// @param p  in tiles
    virtual znCarbonStrand evaluateStrand(const znRTVector2fPacket& p,
                                          const znFloatType<2>& mask) const = 0;

    /// Strands side by side in a tile.
    int getStrandCount() const { return strandCount; }

protected:
    znRTCarbonTexture(const znRTTypeId& typeId, int strands)
        : znRTTexture3D(typeId), strandCount(strands)
    {
    }

private:
    int strandCount;
};

/// Twill: over two, under two, one further on each row.
class znRTCarbon2x2Texture : public znRTCarbonTexture
{
public:
    static const znRTTypeId id;

    znRTCarbon2x2Texture() : znRTCarbonTexture(id, 4) {}
    znCarbonStrand evaluateStrand(const znRTVector2fPacket& p,
                                  const znFloatType<2>& mask) const override;
};

/// Twill: over three, under one, one further on each row.
class znRTCarbon3x1RegularTexture : public znRTCarbonTexture
{
public:
    static const znRTTypeId id;

    znRTCarbon3x1RegularTexture() : znRTCarbonTexture(id, 4) {}
    znCarbonStrand evaluateStrand(const znRTVector2fPacket& p,
                                  const znFloatType<2>& mask) const override;
};

/// Over three, under one, one further on every second row: steps two rows high.
class znRTCarbon3x1StaircaseTexture : public znRTCarbonTexture
{
public:
    static const znRTTypeId id;

    znRTCarbon3x1StaircaseTexture() : znRTCarbonTexture(id, 4) {}
    znCarbonStrand evaluateStrand(const znRTVector2fPacket& p,
                                  const znFloatType<2>& mask) const override;
};

/// Over five, under one, in the order of the irregular satin of six shafts: 0, 2, 4, 1, 5, 3.
class znRTCarbon5x1Texture : public znRTCarbonTexture
{
public:
    static const znRTTypeId id;

    znRTCarbon5x1Texture() : znRTCarbonTexture(id, 6) {}
    znCarbonStrand evaluateStrand(const znRTVector2fPacket& p,
                                  const znFloatType<2>& mask) const override;
};
