// The update operations of the plain fragment, and what shows through a surface.

#include "core/znRTShadingState.h"
#include "render/surfaceTransparency.h"
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

#define ZN_DEFINE_UPDATE(name, ...)                                                                \
    void znRTFragment::name(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,      \
                            const znRTColorPacket* surface, const znRTLightTerms& terms,           \
                            znRTShadingState& state, const znRTThroughput& throughput,             \
                            const znFloatType<2>& mask)                                            \
    {                                                                                              \
        updateLobes<__VA_ARGS__>(ray, block, surface, terms, state, throughput, mask);             \
    }
ZN_FOR_EACH_LOBE_UPDATE(ZN_DEFINE_UPDATE)
#undef ZN_DEFINE_UPDATE

void znRTFragment::updateGlass(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                               const znRTGlassTerms& terms,
                               const znRTColorPacket& transparencyColor, znRTShadingState& state,
                               const znRTThroughput& throughput, const znFloatType<2>& mask)
{
    znRTColorPacket color = combine(terms);
    const znFloatType<2> opacity = computeTransparency(ray, block, transparencyColor, throughput,
                                                       state, color, terms.tracedColor.a);
    updateFragmentColor(color, opacity, mask);
}

void znRTFragment::updateFrostedGlass(const znRTRayDifferentialPacket& ray,
                                      znRTDataBlockPacket& block, const znRTGlassTerms& terms,
                                      const znRTColorPacket& transparencyColor,
                                      znRTShadingState& state, const znRTThroughput& throughput,
                                      const znFloatType<2>& mask)
{
    znRTFragment::updateGlass(ray, block, terms, transparencyColor, state, throughput, mask);
}

znFloatType<2> znRTFragment::computeTransparency(const znRTRayDifferentialPacket& ray,
                                                 znRTDataBlockPacket& block,
                                                 const znRTColorPacket& transparencyColor,
                                                 const znRTThroughput& throughput,
                                                 znRTShadingState& state, znRTColorPacket& color,
                                                 const znFloatType<2>& opacity)
{
    if (!anyLane(throughput.hitLanes))
        return opacity;
    if (!showsBehind(ray, throughput))
        return throughput.surfaceAlpha;

    const znFloatType<2> weight = znFloatType<2>(1.0f) - throughput.surfaceAlpha;
    const znRTColorPacket behind =
        getPassThroughColor(ray, block, weight, throughput.hitLanes, state);
    const BehindMix mix(throughput);
    mix.addBehind(color, behind * tintOfBehind(transparencyColor, throughput));
    return mix.opacity(opacity, behind.a);
}
