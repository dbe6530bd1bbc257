#include "light/textureLookup.h"

#include "host/znRTTextureSampler.h"

#include <cmath>

namespace {

znRTVector4f mixTexels(const znRTVector4f& a, const znRTVector4f& b, float t)
{
    return a * (1.0f - t) + b * t;
}

/// Texel centres are asked for, so that the wrap modes are the sampler's affair.
znRTVector4f lookUp(const znRTTextureSampler& sampler, float u, float v)
{
    if (sampler.hasTransform || !sampler.isValid())
        return sampler.getNearest(u, v);
    const float x = u * float(sampler.width) - 0.5f, y = v * float(sampler.height) - 0.5f;
    const float left = std::floor(x), low = std::floor(y);
    const auto texel = [&](float column, float row) {
        return sampler.getNearest((column + 0.5f) / float(sampler.width),
                                  (row + 0.5f) / float(sampler.height));
    };
    const float across = x - left, up = y - low;
    return mixTexels(mixTexels(texel(left, low), texel(left + 1.0f, low), across),
                     mixTexels(texel(left, low + 1.0f), texel(left + 1.0f, low + 1.0f), across),
                     up);
}

} // namespace

znRTColorPacket lookUpTexture(const znRTTextureSampler& sampler, const znRTVector2fPacket& uv,
                              const znFloatType<2>& mask)
{
    znRTColorPacket colour(0.0f);
    const int lanes = moveMask(mask);
    for (int lane = 0; lane < 4; ++lane) {
        if (!((lanes >> lane) & 1))
            continue;
        const znRTVector4f texel = lookUp(sampler, uv.x[lane], uv.y[lane]);
        colour.setComponent(lane, {texel.x, texel.y, texel.z, texel.w});
    }
    return colour;
}
