#include "texture/procedural/znRTCarbonTexture.h"

const znRTTypeId znRTCarbon2x2Texture::id("znRTCarbon2x2Texture");
const znRTTypeId znRTCarbon3x1RegularTexture::id("znRTCarbon3x1RegularTexture");
const znRTTypeId znRTCarbon3x1StaircaseTexture::id("znRTCarbon3x1StaircaseTexture");
const znRTTypeId znRTCarbon5x1Texture::id("znRTCarbon5x1Texture");

namespace {

using F = znFloatType<2>;

/// Remainder of whole numbers, [0, n).
F modulo(F x, float n)
{
    return x - floor(x / F(n)) * n;
}

/// The strand on top at a place, from where the warp is: warpIsUp(column, row) as a mask.
/// @param p  in strands
template <class Pattern>
znCarbonStrand strandAt(const znRTVector2fPacket& p, const F& mask, const Pattern& warpIsUp)
{
    const F zero(0.0f), one(1.0f), half(0.5f);
    const F column = floor(p.x), row = floor(p.y);
    znCarbonStrand strand;
    strand.isWarp = warpIsUp(column, row) & mask;
    strand.sinRotation = strand.isWarp & one;
    strand.cosRotation = one - strand.sinRotation;

    const F x = (p.x - column) * 2.0f - 1.0f, y = (p.y - row) * 2.0f - 1.0f;
    const F across = select(strand.isWarp, x, y), along = select(strand.isWarp, y, x);
    // The crossing that the half of the strand leads to: does the strand stay on top there?
    const F onward = select(along < zero, F(-1.0f), one);
    const F up = onward & strand.isWarp, right = andNot(strand.isWarp, onward);
    const F warpAhead = warpIsUp(column + right, row + up);
    const F dives = warpAhead ^ strand.isWarp;
    const F bend = along & dives;

    strand.height = (one - across * across) * half + (one - bend * bend) * half;
    const F acrossSlope = across * -2.0f, alongSlope = bend * -2.0f;
    strand.slope = {select(strand.isWarp, acrossSlope, alongSlope) & mask,
                    select(strand.isWarp, alongSlope, acrossSlope) & mask};
    strand.height &= mask;
    return strand;
}

/// Where the one warp strand that is below, of n, lies in a row.
F sixShaftSatin(F row)
{
    const F j = modulo(row, 6.0f);
    return select(j < F(3.0f), j + j, modulo(j * 4.0f - 11.0f, 6.0f));
}

} // namespace

znRTColorPacket znRTCarbonTexture::evaluate(const znRTVector3fPacket& p,
                                            const znFloatType<2>& mask) const
{
    const F height = evaluateStrand({p.x, p.y}, mask).height;
    return znRTColorPacket(height, height, height, 1.0f) & mask;
}

znCarbonStrand znRTCarbon2x2Texture::evaluateStrand(const znRTVector2fPacket& p,
                                                    const znFloatType<2>& mask) const
{
    return strandAt(p * F(4.0f), mask, [](const F& column, const F& row) {
        return modulo(column + row, 4.0f) < F(2.0f);
    });
}

znCarbonStrand znRTCarbon3x1RegularTexture::evaluateStrand(const znRTVector2fPacket& p,
                                                           const znFloatType<2>& mask) const
{
    return strandAt(p * F(4.0f), mask, [](const F& column, const F& row) {
        return modulo(column + row, 4.0f) != F(0.0f);
    });
}

znCarbonStrand znRTCarbon3x1StaircaseTexture::evaluateStrand(const znRTVector2fPacket& p,
                                                             const znFloatType<2>& mask) const
{
    return strandAt(p * F(4.0f), mask, [](const F& column, const F& row) {
        return modulo(column + floor(row * 0.5f), 4.0f) != F(0.0f);
    });
}

znCarbonStrand znRTCarbon5x1Texture::evaluateStrand(const znRTVector2fPacket& p,
                                                    const znFloatType<2>& mask) const
{
    return strandAt(p * F(6.0f), mask, [](const F& column, const F& row) {
        return modulo(column + sixShaftSatin(row), 6.0f) != F(0.0f);
    });
}
