#pragma once

// Woven fabrics: which yarn lies on top at a place, and where on its visible run the place is. A
// tile of the pattern has as many warp as weft yarns, its period; warp yarns run along v, side by
// side along u. What a yarn reflects: P. Irawan, S. Marschner, "Specular Reflection from Woven
// Cloth", ACM TOG 31(1), 2012; the parameters carry that paper's names.

#include "core/znRTVector2fPacket.h"
#include "host/znAligned.h"
#include "host/znRTNode.h"

/// A crossing of the weave.
struct znWeaveCell
{
    znIntType<2> column, row;         ///< of the crossing, counted through all tiles
    znIntType<2> tileX, tileY;        ///< the tile that it lies in
    znIntType<2> tileColumn, tileRow; ///< the same within its tile, 0 to period - 1
    znRTVector2fPacket inside;        ///< place in the crossing, [0, 1)
    znFloatType<2> warpIsUp;          ///< mask
};

/// A place on the yarn that is on top.
struct znWeaveStrand
{
    znWeaveCell cell;
    znFloatType<2> along;  ///< [0, 1] over the run from dive to dive
    znFloatType<2> across; ///< [0, 1] over the width
    znFloatType<2> length; ///< of the run, in crossings
};

/// How a yarn reflects at a place of its run.
struct znWeaveYarn
{
    znFloatType<2> spread; ///< angle of the fibres off the yarn's direction, radians
    znFloatType<2> weight; ///< of the cross section: 1 in the middle, 1/e at the rims
};

struct znWeaveParameters
{
    int period = 4;             ///< yarns of a tile, at least 1
    float alpha = 0.05f;        ///< uniform scattering of the fibres
    float beta = 2.0f;          ///< forward scattering of the fibres
    float umax = 0.5f;          ///< inclination of a yarn at the ends of its run, radians
    float yarnVariation = 0.1f; ///< of the brightness from yarn to yarn, [0, 1]
};

class znRTProceduralWeave : public znRTNode, public znAlignedBase16
{
public:
    // The order of the virtual operations is part of the interface.

    ~znRTProceduralWeave() override = default;
    /// @param uv  in tiles
    virtual znWeaveCell getPatternCell(const znRTVector2fPacket& uv,
                                       const znFloatType<2>& mask) const;
    virtual znWeaveStrand getStrandFrame(const znRTVector2fPacket& uv,
                                         const znFloatType<2>& mask) const;
    /// Whether the warp is on top at a crossing, as a mask: what makes one weave of many.
    virtual znFloatType<2> isWarpUp(const znIntType<2>& column, const znIntType<2>& row) const = 0;
    /// Brightness of the yarn on top, mean 1 over all yarns.
    virtual znFloatType<2> getYarnBrightness(const znWeaveCell& cell) const;
    /// @param u    along the run, [0, 1]
    /// @param t    across the yarn, [0, 1]
    /// @param psi  twist of the fibres at the rim, radians
    virtual znWeaveYarn getYarn(const znFloatType<2>& u, const znFloatType<2>& t,
                                const znFloatType<2>& psi) const;

    const znWeaveParameters& getParameters() const { return parameters; }

protected:
    znRTProceduralWeave(const znRTTypeId& typeId, const znWeaveParameters& newParameters)
        : znRTNode(typeId), parameters(newParameters)
    {
    }

    /// Of whole numbers by the period: the tile, and the rest in [0, period).
    znIntType<2> tileOf(const znIntType<2>& index) const;
    znIntType<2> withinTile(const znIntType<2>& index) const
    {
        return index - tileOf(index) * znIntType<2>(parameters.period);
    }

    znWeaveParameters parameters;
};

/// Twill with the warp on top: below one weft yarn of each tile.
class znRTProceduralCottonDenimWeave : public znRTProceduralWeave
{
public:
    static const znRTTypeId id;

    explicit znRTProceduralCottonDenimWeave(const znWeaveParameters& newParameters)
        : znRTProceduralWeave(id, newParameters)
    {
    }
    znFloatType<2> isWarpUp(const znIntType<2>& column, const znIntType<2>& row) const override;
};

/// Twill with as much of either on top.
class znRTProceduralTwillWeave : public znRTProceduralWeave
{
public:
    static const znRTTypeId id;

    explicit znRTProceduralTwillWeave(const znWeaveParameters& newParameters)
        : znRTProceduralWeave(id, newParameters)
    {
    }
    znFloatType<2> isWarpUp(const znIntType<2>& column, const znIntType<2>& row) const override;
};

/// Long runs of the warp whose dives never touch: the pattern moves by two yarns from row to row,
/// or by the next larger step that has no factor in common with the period.
class znRTProceduralSatinWeave : public znRTProceduralWeave
{
public:
    static const znRTTypeId id;

    explicit znRTProceduralSatinWeave(const znWeaveParameters& newParameters);
    znFloatType<2> isWarpUp(const znIntType<2>& column, const znIntType<2>& row) const override;

private:
    int move;
};

/// Plain: over one, under one.
class znRTProceduralSilkWeave : public znRTProceduralWeave
{
public:
    static const znRTTypeId id;

    explicit znRTProceduralSilkWeave(const znWeaveParameters& newParameters)
        : znRTProceduralWeave(id, newParameters)
    {
    }
    znFloatType<2> isWarpUp(const znIntType<2>& column, const znIntType<2>& row) const override;
};
