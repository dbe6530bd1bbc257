// The update operations of the plain fragment, and what shows through a surface.

#include "core/rayTypes.h"
#include "core/znRTShadingState.h"
#include "render/znRTFragment.h"

template <int... Lobes>
void znRTFragment::updateLobes(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                               const znRTColorPacket* surface, const znRTLightTerms& terms,
                               znRTShadingState& state, const znRTThroughput& throughput,
                               const znFloatType<2>& mask)
{
    znRTColorPacket color = surface[surfaceEmission];
    ((color += (terms.ibl[Lobes] + terms.light[Lobes] + terms.indirect[Lobes]) * surface[Lobes]),
     ...);
    updateToColor(ray, block, color, surface[surfaceTransparency], state, throughput, mask);
}

void znRTFragment::updateToColor(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                                 const znRTColorPacket& color,
                                 const znRTColorPacket& transparencyColor, znRTShadingState& state,
                                 const znRTThroughput& throughput, const znFloatType<2>& mask)
{
    znRTColorPacket result = color;
    const znFloatType<2> opacity =
        computeTransparency(ray, block, transparencyColor, throughput, state, result);
    updateFragmentColor(result, opacity, mask);
}

#define ZN_FRAGMENT_UPDATE(name, ...)                                                              \
    void znRTFragment::name(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,      \
                            const znRTColorPacket* surface, const znRTLightTerms& terms,           \
                            znRTShadingState& state, const znRTThroughput& throughput,             \
                            const znFloatType<2>& mask)                                            \
    {                                                                                              \
        updateLobes<__VA_ARGS__>(ray, block, surface, terms, state, throughput, mask);             \
    }
ZN_FRAGMENT_UPDATE(updateD, surfaceDiffuse)
ZN_FRAGMENT_UPDATE(updateG, surfaceGlossy)
ZN_FRAGMENT_UPDATE(updateS, surfaceSpecular)
ZN_FRAGMENT_UPDATE(updateDG, surfaceDiffuse, surfaceGlossy)
ZN_FRAGMENT_UPDATE(updateDS, surfaceDiffuse, surfaceSpecular)
ZN_FRAGMENT_UPDATE(updateDGS, surfaceDiffuse, surfaceGlossy, surfaceSpecular)
ZN_FRAGMENT_UPDATE(updateDGT, surfaceDiffuse, surfaceGlossy, surfaceTranslucent)
ZN_FRAGMENT_UPDATE(updateDGST, surfaceDiffuse, surfaceGlossy, surfaceSpecular, surfaceTranslucent)
ZN_FRAGMENT_UPDATE(updateDST, surfaceDiffuse, surfaceSpecular, surfaceTranslucent)
#undef ZN_FRAGMENT_UPDATE

namespace {

bool continuesBehindASurface(const znRTRayPacket& ray, const znFloatType<2>& lanes)
{
    const znIntType<2> flags = ray.type & znIntType<2>(int(rayType::passThrough));
    return anyLane(andNot(asFloat(flags == znIntType<2>(0)), lanes));
}

/// What lies behind, in the colour that the surface gives to it.
znRTColorPacket tintBehind(const znRTColorPacket& behind, const znRTColorPacket& transparencyColor,
                           const znRTThroughput& throughput)
{
    const znFloatType<2> one(1.0f);
    const znFloatType<2> rest = one - transparencyColor.a;
    const znFloatType<2> isDivided = (rest > znFloatType<2>(0.0f)) & throughput.hitLanes;
    const znFloatType<2> inverse = reciprocalOrZero(select(isDivided, rest, one));
    znRTColorPacket tinted = behind;
    for (int channel = 0; channel < 3; ++channel) {
        const znFloatType<2> tint = transparencyColor[channel] * inverse;
        tinted[channel] = mix(behind[channel], tint * behind[channel], throughput.cutoutAlpha);
    }
    return tinted;
}

} // namespace

znFloatType<2> znRTFragment::computeTransparency(const znRTRayDifferentialPacket& ray,
                                                 znRTDataBlockPacket& block,
                                                 const znRTColorPacket& transparencyColor,
                                                 const znRTThroughput& throughput,
                                                 znRTShadingState& state, znRTColorPacket& color)
{
    const znFloatType<2> one(1.0f);
    const znFloatType<2>& lanes = throughput.hitLanes;
    if (!anyLane(lanes))
        return one;
    if (continuesBehindASurface(ray, lanes))
        return throughput.surfaceAlpha;

    const znRTColorPacket behind =
        getPassThroughColor(ray, block, one - throughput.surfaceAlpha, lanes, state);
    const znRTColorPacket shown = tintBehind(behind, transparencyColor, throughput);
    if (anyLane(lanes & throughput.blend)) {
        znRTColorPacket mixed;
        mixed.mixColor(shown, color, throughput.surfaceAlpha);
        color.maskedUpdate(mixed, lanes);
        return select(lanes, mix(behind.a, one, throughput.surfaceAlpha), one);
    }
    // Each lane shows either its own result or what is behind: a surface that decided by chance.
    const znFloatType<2> alpha = color.a & throughput.blend;
    color = (color & throughput.blend) + (shown & lanes);
    color.a = alpha;
    return select(lanes, behind.a, one);
}
