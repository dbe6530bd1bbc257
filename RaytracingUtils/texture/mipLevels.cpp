// Which mip levels a footprint reads.

#include "texture/znRTTextureFunctions.h"

#include <cmath>

bool znRTTextureFunctions::s_useHighQualityTextureFiltering = true;
float znRTTextureFunctions::s_textureSharpness = 1.0f;
float znRTTextureFunctions::s_ewaFilterRescale = 1.0f;

namespace {

/// d as 2^level times a mantissa in [1, 2).
struct Octave
{
    /// @param d  1 or more
    explicit Octave(znFloatType<2> d)
        : level((asInt(d) >> 23) - 127),
          mantissa(asFloat((asInt(d) & znIntType<2>(0x7fffff)) | asInt(znFloatType<2>(1.0f))))
    {
    }
    znIntType<2> level;
    znFloatType<2> mantissa;
};

znIntType<2> limited(const znIntType<2>& level, int last)
{
    return select(level > znIntType<2>(last), znIntType<2>(last), level);
}

/// NaN counts as 1.
znFloatType<2> atLeastOne(znFloatType<2> x)
{
    return maximum(x, 1.0f);
}

} // namespace

void znRTTextureFunctions::setSharpness(float sharpness)
{
    constexpr float least = 1e-3f;
    s_textureSharpness = sharpness > least ? sharpness : least;
    s_ewaFilterRescale = 1.0f / s_textureSharpness;
}

znMipLevels znRTTextureFunctions::calculateMipMapLevel(const znRTTextureSampler& sampler,
                                                       const znTextureFootprint& footprint)
{
    const znFloatType<2> a =
        maximum(absolute(footprint.dx.x), absolute(footprint.dy.x)) * float(sampler.width);
    const znFloatType<2> b =
        maximum(absolute(footprint.dx.y), absolute(footprint.dy.y)) * float(sampler.height);
    const Octave octave(atLeastOne(maximum(atLeastOne(a), atLeastOne(b))));
    const znIntType<2> level = limited(octave.level, sampler.levelCount);
    return {level, limited(octave.level + 1, sampler.levelCount), octave.mantissa - 1.0f};
}

znEllipse znRTTextureFunctions::calculateEWAMipMapLevel(const znRTTextureSampler& sampler,
                                                        const znTextureFootprint& footprint,
                                                        znMipLevels& levels)
{
    const float rescale = s_ewaFilterRescale;
    const znRTVector2fPacket first = footprint.dx * znFloatType<2>(rescale);
    const znRTVector2fPacket second = footprint.dy * znFloatType<2>(rescale);
    const auto texels = [&](const znRTVector2fPacket& axis) {
        return znRTVector2fPacket(axis.x * float(sampler.width), axis.y * float(sampler.height))
            .getLength();
    };
    const znFloatType<2> l1 = texels(first), l2 = texels(second);
    const znFloatType<2> isFirst = l1 >= l2;
    const znFloatType<2> longer = maximum(l1, l2), shorter = minimum(l1, l2);

    znEllipse ellipse;
    ellipse.major = select(isFirst, first, second);
    // A footprint seen edge on has no shorter axis at all: without the limit it would ask for the
    // finest level and for as many lookups as there are texels.
    ellipse.minor = maximum(shorter, longer * (1.0f / sampler.maxAnisotropy));
    const znFloatType<2> minor = atLeastOne(ellipse.minor);
    // Shorter than a texel is no reason to look more often.
    const znFloatType<2> ratio = longer * reciprocalOrZero(minor);
    // A hair below, so that a ratio of 4 in floats does not ask for 5.
    const znFloatType<2> whole = -floor(-(ratio - 1e-4f));
    ellipse.taps = clamp(whole, 1.0f, std::floor(sampler.maxAnisotropy));

    const Octave octave(minor);
    levels.level = limited(octave.level, sampler.levelCount);
    levels.next = limited(octave.level + 1, sampler.levelCount);
    levels.weight = maximum(0.0f, (octave.mantissa - 1.9f) * 10.0f);
    return ellipse;
}
