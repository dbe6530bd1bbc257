#pragma once

// What lies beyond the edges of a texture: from a coordinate to the interval [0, 1], and from a
// texel's number to one that exists. A coordinate that is NaN, or has no fraction left, reads as 0.

#include "core/packetMath.h"
#include "core/znIntType.h"
#include "host/znRTTextureSampler.h"

/// Held inside 0..size - 1.
inline znIntType<2> clampTexel(znIntType<2> i, znIntType<2> size)
{
    const znIntType<2> last = size - 1;
    return andNot(i < znIntType<2>(0), select(i > last, last, i));
}

inline znFloatType<2> zeroForNaN(znFloatType<2> x)
{
    return andNot(isNaN(x), x);
}

struct znRTTextureRepeatWrapper
{
    static constexpr int mode = znRTTextureSampler::repeat;

    static znFloatType<2> wrap(znFloatType<2> s, znFloatType<2>&)
    {
        return zeroForNaN(s - floor(s));
    }
    /// @param i  from -1 to size
    static znIntType<2> index(znIntType<2> i, znIntType<2> size)
    {
        const znIntType<2> fromBelow = i + ((i < znIntType<2>(0)) & size);
        return fromBelow - ((fromBelow >= size) & size);
    }
};

/// The neighbour of an edge texel is the texel itself, which lies on both sides of the mirror.
struct znRTTextureMirroredRepeatWrapper
{
    static constexpr int mode = znRTTextureSampler::mirroredRepeat;

    static znFloatType<2> wrap(znFloatType<2> s, znFloatType<2>&)
    {
        const znFloatType<2> tile = floor(s), half = tile * 0.5f, one(1.0f);
        const znFloatType<2> fraction = s - tile;
        return zeroForNaN(select(half != floor(half), one - fraction, fraction));
    }
    static znIntType<2> index(znIntType<2> i, znIntType<2> size) { return clampTexel(i, size); }
};

/// Lanes off the texture are no longer valid: the border colour takes their place.
struct znRTTextureDecalWrapper
{
    static constexpr int mode = znRTTextureSampler::decal;

    static znFloatType<2> wrap(znFloatType<2> s, znFloatType<2>& valid)
    {
        const znFloatType<2> place = zeroForNaN(s);
        valid &= (place >= znFloatType<2>(0.0f)) & (place <= znFloatType<2>(1.0f));
        return clamp01(place);
    }
    static znIntType<2> index(znIntType<2> i, znIntType<2> size) { return clampTexel(i, size); }
};

struct znRTTextureClampWrapper
{
    static constexpr int mode = znRTTextureSampler::clamp;

    static znFloatType<2> wrap(znFloatType<2> s, znFloatType<2>&) { return clamp01(s); }
    static znIntType<2> index(znIntType<2> i, znIntType<2> size) { return clampTexel(i, size); }
};

/// Two axes that are known to the compiler.
template <class WrapS, class WrapT>
struct znFixedWraps
{
    static znFloatType<2> wrapS(znFloatType<2> s, znFloatType<2>& valid)
    {
        return WrapS::wrap(s, valid);
    }
    static znFloatType<2> wrapT(znFloatType<2> t, znFloatType<2>& valid)
    {
        return WrapT::wrap(t, valid);
    }
    static znIntType<2> indexS(znIntType<2> i, znIntType<2> size) { return WrapS::index(i, size); }
    static znIntType<2> indexT(znIntType<2> i, znIntType<2> size) { return WrapT::index(i, size); }
};

/// Two axes as a sampler names them.
struct znSamplerWraps
{
    explicit znSamplerWraps(int wrapMode) : modeS(wrapMode & 3), modeT((wrapMode >> 2) & 3) {}

    static znFloatType<2> wrap(int mode, znFloatType<2> s, znFloatType<2>& valid)
    {
        switch (mode) {
        case znRTTextureSampler::repeat:
            return znRTTextureRepeatWrapper::wrap(s, valid);
        case znRTTextureSampler::mirroredRepeat:
            return znRTTextureMirroredRepeatWrapper::wrap(s, valid);
        case znRTTextureSampler::decal:
            return znRTTextureDecalWrapper::wrap(s, valid);
        default:
            return znRTTextureClampWrapper::wrap(s, valid);
        }
    }
    static znIntType<2> index(int mode, znIntType<2> i, znIntType<2> size)
    {
        return mode == znRTTextureSampler::repeat ? znRTTextureRepeatWrapper::index(i, size)
                                                  : clampTexel(i, size);
    }
    znFloatType<2> wrapS(znFloatType<2> s, znFloatType<2>& valid) const
    {
        return wrap(modeS, s, valid);
    }
    znFloatType<2> wrapT(znFloatType<2> t, znFloatType<2>& valid) const
    {
        return wrap(modeT, t, valid);
    }
    znIntType<2> indexS(znIntType<2> i, znIntType<2> size) const { return index(modeS, i, size); }
    znIntType<2> indexT(znIntType<2> i, znIntType<2> size) const { return index(modeT, i, size); }

    int modeS, modeT;
};
