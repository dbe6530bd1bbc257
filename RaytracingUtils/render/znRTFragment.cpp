#include "render/znRTFragment.h"

namespace {

znFloatType<2> validOrZero(znFloatType<2> value)
{
    return maximum(andNot(isNaN(value), value), 0.0f);
}

znFloatType<2> clampChannel(znFloatType<2> value, znFloatType<2> max)
{
    return maximum(0.0f, minimum(value, max));
}

} // namespace

void znRTFragment::clear()
{
    colour = znRTColorPacket(0.0f);
}

void znRTFragment::invertAlpha()
{
    colour.a = znFloatType<2>(1.0f) - colour.a;
}

void znRTFragment::blendFragment(const znRTFragment& other, const znFloatType<2>& mask,
                                 const znFloatType<2>& alpha)
{
    // What stands in the other's lanes outside the mask may be anything, even NaN.
    colour.alphaBlend(other.colour & mask, alpha & mask);
}

void znRTFragment::blendFragment(const znRTFragment& other, const znFloatType<2>& mask)
{
    blendFragment(other, mask, other.colour.a);
}

void znRTFragment::updateFragmentColor(const znRTColorPacket& color, const znFloatType<2>& alpha,
                                       const znFloatType<2>& mask)
{
    updateColor(color, alpha, colour, mask);
}

void znRTFragment::updateDiffuseColor(const znRTMaterial*, const znRTRayDifferentialPacket&,
                                      const znRTDataBlockPacket&, const znRTColorPacket& color,
                                      const znFloatType<2>& alpha, const znFloatType<2>& mask)
{
    updateFragmentColor(color, alpha, mask);
}

void znRTFragment::updateBackgroundColor(const znRTMaterial*, const znRTRayDifferentialPacket&,
                                         const znRTDataBlockPacket&, const znRTColorPacket& color,
                                         const znFloatType<2>& alpha, const znFloatType<2>& mask)
{
    updateFragmentColor(color, alpha, mask);
}

void znRTFragment::maskInvalidRGBA()
{
    filterNaN();
}

void znRTFragment::filterNaN()
{
    for (int channel = 0; channel < 4; ++channel)
        colour[channel] = validOrZero(colour[channel]);
}

void znRTFragment::clampRGB(const znFloatType<2>& max)
{
    for (int channel = 0; channel < 3; ++channel)
        colour[channel] = clampChannel(colour[channel], max);
}

void znRTFragment::clampRGBA(const znFloatType<2>& max)
{
    clampRGB(max);
    colour.a = clampChannel(colour.a, max);
}

void znRTFragment::updateColor(const znRTColorPacket& color, const znFloatType<2>& alpha,
                               znRTColorPacket& target, const znFloatType<2>& mask)
{
    target.maskedUpdate(color, alpha, mask);
}

void znRTFragment::updateFragment(const znRTFragment& other, const znFloatType<2>& mask)
{
    colour.maskedUpdate(other.colour, mask);
    coverage = select(mask, other.coverage, coverage);
}
