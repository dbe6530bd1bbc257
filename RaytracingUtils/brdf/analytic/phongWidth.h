#pragma once

// The exponent of a power-cosine lobe and what derives from it: as a lobe stores it, and per lane.

#include "brdf/lobeSampling.h"
#include "brdf/znRTLobeParameters.h"
#include "core/znRTDifferentialGeometry.h"

struct znRTPhongWidth
{
    float exponent = -1.0f; ///< no exponent: the first set rebuilds all
    float invExponentPlusOne = 0.0f;
    float evalNorm = 0.0f; ///< (e + 2) / (2 pi)
    float pdfNorm = 0.0f;  ///< (e + 1) / (2 pi)
    float level = 0.0f;    ///< see lobeMath::environmentLevel

    /// @param e  held inside 0..lobeMath::maxExponent
    /// @return whether it differs from the present one
    bool set(float e);
};

inline bool znRTPhongWidth::set(float e)
{
    const float limited = lobeMath::held(e, 0.0f, lobeMath::maxExponent);
    if (limited == exponent)
        return false;
    exponent = limited;
    invExponentPlusOne = 1.0f / (exponent + 1.0f);
    evalNorm = (exponent + 2.0f) * lobeMath::invTwoPi;
    pdfNorm = (exponent + 1.0f) * lobeMath::invTwoPi;
    level = lobeMath::environmentLevel(exponent);
    return true;
}

struct znRTPhongWidthLanes
{
    /// @tparam PerLane  0: the stored width; 1: that of the block in its lanes
    template <int PerLane>
    static znRTPhongWidthLanes fetch(const znRTPhongWidth& stored,
                                     const znRTDifferentialGeometry& dg);

    znFloatType<2> exponent, invExponentPlusOne, evalNorm, pdfNorm;
};

template <int PerLane>
inline znRTPhongWidthLanes znRTPhongWidthLanes::fetch(const znRTPhongWidth& stored,
                                                      const znRTDifferentialGeometry& dg)
{
    znRTPhongWidthLanes lanes{stored.exponent, stored.invExponentPlusOne, stored.evalNorm,
                              stored.pdfNorm};
    if constexpr (PerLane) {
        if (const znRTLobeParameters* const block = dg.parameters) {
            lanes.exponent = select(block->mask, block->exponent, lanes.exponent);
            lanes.invExponentPlusOne =
                select(block->mask, block->invExponentPlusOne, lanes.invExponentPlusOne);
            lanes.evalNorm = select(block->mask, block->evalNorm, lanes.evalNorm);
            lanes.pdfNorm = select(block->mask, block->pdfNorm, lanes.pdfNorm);
        }
    }
    return lanes;
}

/// Level of the stored width, or in its lanes of the block.
template <int PerLane>
inline znFloatType<2> environmentLevelOfLanes(float stored, const znRTDifferentialGeometry& dg)
{
    if constexpr (PerLane) {
        if (const znRTLobeParameters* const block = dg.parameters)
            return select(block->mask, block->level, stored);
    }
    return stored;
}

/// Reflectance estimate of lobes whose reflectance a texture may drive.
inline znRTColorPacket reflectanceOfLanes(const znRTDifferentialGeometry& dg,
                                          const znRTColor& otherwise)
{
    znRTColorPacket rho(otherwise);
    if (const znRTLobeParameters* const block = dg.parameters)
        rho.maskedUpdate(block->f0, 1.0f, block->reflectanceMask);
    return rho;
}
