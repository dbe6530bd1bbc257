#include "render/znRTMultilayerFragment.h"

#include "material/znRTMaterial.h"

#include <bit>

namespace {

/// Layers that are composed like the beauty, with an alpha each: all up to the occlusion.
constexpr u32 composedLayers = ZN_PASS_NORMAL;

/// The light of a term, not its colour: what tints and fog weaken.
constexpr bool isLight(u32 layer)
{
    return layer < composedLayers && layer != ZN_PASS_OCCLUSION &&
           (layer < ZN_PASS_DIFFUSE_COLOR || layer > ZN_PASS_TRANSPARENCY_COLOR);
}

constexpr znRenderPass dataLayers[] = {ZN_PASS_NORMAL, ZN_PASS_DEPTH, ZN_PASS_MATERIAL_ID,
                                       ZN_PASS_POSITION, ZN_PASS_VIEW};

znFloatType<2> oneWhere(const znFloatType<2>& mask)
{
    return mask & znFloatType<2>(1.0f);
}

znFloatType<2> zeroIfNaN(const znFloatType<2>& value)
{
    return andNot(isNaN(value), value);
}

znRTColorPacket withAlpha(const znRTVector3fPacket& v, const znFloatType<2>& alpha)
{
    return {v.x, v.y, v.z, alpha};
}

/// Distance of the hits along the view axis; the viewer looks down the negative z axis.
znFloatType<2> viewDepth(const znRTDataBlockPacket& block)
{
    return -znRTVectorMath::transformAsLocation(block.position(),
                                                znRTDataBlockPacket::s_worldToViewMatrix)
                .z;
}

} // namespace

void znRTMultilayerFragment::clear()
{
    colour = znRTColorPacket(0.0f);
    for (znRTColorPacket& layer : layers)
        layer = znRTColorPacket(0.0f);
    dataShare = znFloatType<2>(0.0f);
}

void znRTMultilayerFragment::clear(u64 usedLayers)
{
    colour = znRTColorPacket(0.0f);
    for (; usedLayers; usedLayers &= usedLayers - 1)
        layers[std::countr_zero(usedLayers)] = znRTColorPacket(0.0f);
    dataShare = znFloatType<2>(0.0f);
}

u64 znRTMultilayerFragment::findUsedLayers() const
{
    const auto isUsed = [](const znRTColorPacket& layer) {
        const znFloatType<2> bits = layer.r | layer.g | layer.b | layer.a;
        return u64(moveMask(asFloat(asInt(bits) == znIntType<2>(0))) != 15);
    };
    u64 used = isUsed(colour);
    for (u32 i = 0; i < znRenderPassCount; ++i)
        used |= isUsed(layers[i]) << i;
    return used;
}

void znRTMultilayerFragment::invertAlpha()
{
    znRTFragment::invertAlpha();
    for (u32 i = 0; i < composedLayers; ++i)
        layers[i].a = znFloatType<2>(1.0f) - layers[i].a;
}

void znRTMultilayerFragment::updateFragmentColor(const znRTColorPacket& color,
                                                 const znFloatType<2>& alpha,
                                                 const znFloatType<2>& mask)
{
    znRTFragment::updateFragmentColor(color, alpha, mask);
    updateColor(color, alpha, layers[ZN_PASS_BEAUTY], mask);
}

void znRTMultilayerFragment::updateVectorPasses(const znRTRayDifferentialPacket& ray,
                                                const znRTDataBlockPacket& block,
                                                const znFloatType<2>& coverage,
                                                const znFloatType<2>& mask)
{
    const znFloatType<2> hit = oneWhere(coverage > znFloatType<2>(0.0f));
    layers[ZN_PASS_MASK].maskedUpdate(znRTColorPacket(coverage), hit, mask);
    layers[ZN_PASS_NORMAL].maskedUpdate(withAlpha(block.shadingNormal(), hit), mask);
    layers[ZN_PASS_POSITION].maskedUpdate(withAlpha(block.position(), hit), mask);
    layers[ZN_PASS_VIEW].maskedUpdate(withAlpha(ray.direction, hit), mask);
    updateDepth(viewDepth(block), hit, mask);
    for (u32 i = 0; i < block.materialCount; ++i)
        updateMaterialIDColor(block.materials[i]->getMaterialIDColor(),
                              block.materialLanes[i] & mask);
    dataShare = select(mask, coverage, dataShare);
}

void znRTMultilayerFragment::setDiffuseAlpha(const znFloatType<2>& alpha,
                                             const znFloatType<2>& mask)
{
    colour.a = select(mask, alpha, colour.a);
    for (u32 i : {ZN_PASS_BEAUTY, ZN_PASS_DIFFUSE_IBL, ZN_PASS_OCCLUSION})
        layers[i].a = select(mask, alpha, layers[i].a);
    layers[ZN_PASS_MASK].maskedUpdate(znRTColorPacket(alpha),
                                      oneWhere(alpha > znFloatType<2>(0.0f)), mask);
}

void znRTMultilayerFragment::setAlpha(const znFloatType<2>& alpha, const znFloatType<2>& mask)
{
    for (u32 i = 0; i <= ZN_PASS_NORMAL; ++i)
        layers[i].a = select(mask, layers[i].a, alpha);
    colour.a = layers[ZN_PASS_BEAUTY].a;
}

void znRTMultilayerFragment::mixColorWithLayer(int layer, const znRTColorPacket& color,
                                               const znFloatType<2>& mask,
                                               const znFloatType<2>& alpha)
{
    znRTColorPacket mixed;
    mixed.mixColor(layers[layer], color, alpha);
    layers[layer].maskedUpdate(mixed, mask);
    if (layer == ZN_PASS_BEAUTY)
        colour = layers[layer];
}

void znRTMultilayerFragment::updateOcclusionColor(const znRTColorPacket& color,
                                                  const znFloatType<2>& mask)
{
    layers[ZN_PASS_OCCLUSION].maskedUpdate(color, mask);
}

void znRTMultilayerFragment::updateFragment(const znRTMultilayerFragment& other,
                                            const znFloatType<2>& mask)
{
    znRTFragment::updateFragment(other, mask);
    for (u32 i = 0; i < znRenderPassCount; ++i)
        layers[i].maskedUpdate(other.layers[i], mask);
    dataShare = select(mask, other.dataShare, dataShare);
}

void znRTMultilayerFragment::weightFragment(const znRTColorPacket& color)
{
    const znRTColorPacket weight(color.r, color.g, color.b, 1.0f);
    colour *= weight;
    for (u32 i = 0; i < composedLayers; ++i)
        if (isLight(i))
            layers[i] *= weight;
}

void znRTMultilayerFragment::updateAlphaAndClear(const znFloatType<2>& alpha,
                                                 const znFloatType<2>& mask)
{
    const znRTColorPacket black(0.0f);
    updateColor(black, alpha, colour, mask);
    for (u32 i = 0; i < composedLayers; ++i)
        updateColor(black, alpha, layers[i], mask);
}

void znRTMultilayerFragment::updateOcclusionAlphaAndClear(const znFloatType<2>& alpha,
                                                          const znFloatType<2>& mask)
{
    updateColor(znRTColorPacket(0.0f), alpha, layers[ZN_PASS_OCCLUSION], mask);
}

void znRTMultilayerFragment::updateMaterialIDColor(const znRTColorPacket& color,
                                                   const znFloatType<2>& mask)
{
    layers[ZN_PASS_MATERIAL_ID].maskedUpdate(color, mask);
}

void znRTMultilayerFragment::updateMaterialIDColorMix(const znRTColorPacket& color,
                                                      const znFloatType<2>& alpha,
                                                      const znFloatType<2>& mask)
{
    updateMaterialIDColor(color, hasGreaterShare(alpha, mask));
}

void znRTMultilayerFragment::updateDepth(const znFloatType<2>& distance, const znFloatType<2>& hit,
                                         const znFloatType<2>& mask)
{
    layers[ZN_PASS_DEPTH].maskedUpdate(znRTColorPacket(distance), hit, mask);
}

void znRTMultilayerFragment::updateDepthMix(const znFloatType<2>& distance,
                                            const znFloatType<2>& hit, const znFloatType<2>& alpha,
                                            const znFloatType<2>& mask)
{
    updateDepth(distance, hit, hasGreaterShare(alpha, mask));
}

void znRTMultilayerFragment::updateFog(const znRTColorPacket& color, const znRTColorPacket& factor,
                                       const znFloatType<2>& mask)
{
    weightFragment(select(mask, factor, znRTColorPacket(1.0f)));
    const znRTColorPacket added = color & mask;
    setLayer(ZN_PASS_FOG, layers[ZN_PASS_FOG] + added, mask);
    setLayer(ZN_PASS_BEAUTY, layers[ZN_PASS_BEAUTY] + added, mask);
    colour = layers[ZN_PASS_BEAUTY];
}

void znRTMultilayerFragment::maskInvalidRGBA()
{
    filterNaN();
}

void znRTMultilayerFragment::filterNaN()
{
    znRTFragment::filterNaN();
    for (u32 i = 0; i < znRenderPassCount; ++i)
        for (int channel = 0; channel < 4; ++channel) {
            const znFloatType<2> valid = zeroIfNaN(layers[i][channel]);
            layers[i][channel] = i < composedLayers ? maximum(valid, 0.0f) : valid;
        }
}

void znRTMultilayerFragment::clampRGB(const znFloatType<2>& max)
{
    znRTFragment::clampRGB(max);
    for (u32 i = 0; i < ZN_PASS_OCCLUSION; ++i)
        for (int channel = 0; channel < 3; ++channel)
            layers[i][channel] = maximum(0.0f, minimum(layers[i][channel], max));
}

void znRTMultilayerFragment::clampRGBA(const znFloatType<2>& max)
{
    znRTFragment::clampRGBA(max);
    clampRGB(max);
    for (u32 i = 0; i < ZN_PASS_OCCLUSION; ++i)
        layers[i].a = maximum(0.0f, minimum(layers[i].a, max));
}

void znRTMultilayerFragment::blendFragment(const znRTFragment& other, const znFloatType<2>& mask,
                                           const znFloatType<2>& alpha)
{
    const znRTColorPacket color = other.colour & mask;
    const znFloatType<2> opacity = alpha & mask;
    const znFloatType<2> weight = opacity * colour.a;
    znRTFragment::blendFragment(other, mask, alpha);
    layers[ZN_PASS_BEAUTY] = colour;
    znRTColorPacket& ready = layers[ZN_PASS_INCANDESCENCE];
    ready = {ready.r + color.r * weight, ready.g + color.g * weight, ready.b + color.b * weight,
             ready.a};
    const znFloatType<2> left = maximum(0.0f, znFloatType<2>(1.0f) - opacity);
    for (u32 i = 1; i < composedLayers; ++i)
        layers[i].a *= left;
}

void znRTMultilayerFragment::blendFragment(const znRTFragment& other, const znFloatType<2>& mask)
{
    blendFragment(other, mask, other.colour.a);
}

void znRTMultilayerFragment::blendFragment(const znRTMultilayerFragment& other,
                                           const znFloatType<2>& mask, const znFloatType<2>& alpha)
{
    const znFloatType<2> opacity = alpha & mask;
    const znFloatType<2> weight = opacity * colour.a;
    const znFloatType<2> left = maximum(0.0f, znFloatType<2>(1.0f) - opacity);
    colour.alphaBlend(other.colour & mask, opacity);
    layers[ZN_PASS_BEAUTY] = colour;
    for (u32 i = 1; i < composedLayers; ++i) {
        const znRTColorPacket added = (other.layers[i] & mask) * weight;
        layers[i] = {layers[i].r + added.r, layers[i].g + added.g, layers[i].b + added.b,
                     layers[i].a * left};
    }
    const znRTColorPacket& covered = layers[ZN_PASS_MASK];
    layers[ZN_PASS_MASK] = {covered.r + weight, covered.g + weight, covered.b + weight,
                            maximum(covered.a, other.layers[ZN_PASS_MASK].a & mask)};
    takeData(other, weight, mask);
}

void znRTMultilayerFragment::blendFragment(const znRTMultilayerFragment& other,
                                           const znFloatType<2>& mask)
{
    blendFragment(other, mask, other.colour.a);
}

znFloatType<2> znRTMultilayerFragment::hasGreaterShare(const znFloatType<2>& share,
                                                       const znFloatType<2>& mask) const
{
    return (share > dataShare) & mask;
}

void znRTMultilayerFragment::takeData(const znRTMultilayerFragment& other,
                                      const znFloatType<2>& share, const znFloatType<2>& mask)
{
    const znFloatType<2> lanes = hasGreaterShare(share, mask);
    for (znRenderPass i : dataLayers)
        layers[i].maskedUpdate(other.layers[i], lanes);
    dataShare = select(lanes, share, dataShare);
}
