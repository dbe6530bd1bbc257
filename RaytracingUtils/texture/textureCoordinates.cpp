// From coordinates to texels, and what lies off the texture.

#include "texture/filteredLookup.h"

void znRTTextureFunctions::applyTexCoordTransform(const znRTTextureSampler& sampler,
                                                  znFloatType<2>& s, znFloatType<2>& t)
{
    if (!sampler.hasTransform)
        return;
    const znFloatType<2> ds = s - (0.5f + sampler.offsetU), dt = t - (sampler.offsetV + 0.5f);
    const znFloatType<2> sine(sampler.sinRotation), cosine(sampler.cosRotation);
    s = (cosine * ds - sine * dt) * sampler.repeatU + 0.5f;
    t = (cosine * dt + sine * ds) * sampler.repeatV + 0.5f;
}

void znRTTextureFunctions::applyTexCoordTransform(const znRTTextureSampler& sampler,
                                                  znRTVector2fPacket& uv)
{
    applyTexCoordTransform(sampler, uv.x, uv.y);
}

void znRTTextureFunctions::applyTexCoordTransform(const znRTTextureSampler& sampler,
                                                  znRTVector2fPacket& uv,
                                                  znTextureFootprint& footprint)
{
    if (!sampler.hasTransform)
        return;
    applyTexCoordTransform(sampler, uv.x, uv.y);
    for (znRTVector2fPacket* const step : {&footprint.dx, &footprint.dy}) {
        step->x *= sampler.repeatU;
        step->y *= sampler.repeatV;
    }
}

void znRTTextureFunctions::undoTexCoordTransform(const znRTTextureSampler& sampler,
                                                 znRTVector2fPacket& uv)
{
    if (!sampler.hasTransform)
        return;
    const znFloatType<2> ds = (uv.x - 0.5f) * reciprocalOrZero(sampler.repeatU);
    const znFloatType<2> dt = (uv.y - 0.5f) * reciprocalOrZero(sampler.repeatV);
    const znFloatType<2> sine(sampler.sinRotation), cosine(sampler.cosRotation);
    uv.x = cosine * ds + sine * dt + (0.5f + sampler.offsetU);
    uv.y = cosine * dt - sine * ds + (sampler.offsetV + 0.5f);
}

znFloatType<2> znRTTextureFunctions::calculateTexCoord(int mode, const znFloatType<2>& coordinate,
                                                       znFloatType<2>& valid)
{
    return znSamplerWraps::wrap(mode, coordinate, valid);
}

void znRTTextureFunctions::calculateTexCoordIndex(int mode, int size,
                                                  const znFloatType<2>& coordinate,
                                                  znIntType<2>& lower, znIntType<2>& upper,
                                                  znFloatType<2>& weight, znFloatType<2>& valid)
{
    const znIntType<2> sizes(size);
    const znFloatType<2> wrapped = calculateTexCoord(mode, coordinate, valid);
    const znIntType<2> first = filteredLookup::lowerTexel(wrapped, sizes, weight);
    lower = znSamplerWraps::index(mode, first, sizes);
    upper = znSamplerWraps::index(mode, first + 1, sizes);
}

void znRTTextureFunctions::replaceColorByBorderColor(const znRTTextureSampler& sampler,
                                                     znRTColorPacket& color,
                                                     const znFloatType<2>& valid)
{
    if (everyLane(valid))
        return;
    const znRTVector4f& border = sampler.borderColor;
    color =
        select(valid, color, znRTColorPacket(znRTColor(border.x, border.y, border.z, border.w)));
}
