#include "material/znRTTwoLobeMaterial.h"

#include "brdf/znRTBxDFAttributes.h"

#include <algorithm>

template <class DiffuseLobe, class GlossyLobe>
void znRTTwoLobeMaterial<DiffuseLobe, GlossyLobe>::setupLobes(const znRTBxDFAttributes& record)
{
    blend.setup(record, unsigned(std::max(0, getEnvironmentQuality())));
    blend.setMix(diffuse.getPhotometricValue(), glossy.getPhotometricValue());
    setPlainRequirements();
    diffuse.getTexture().addRequirements(materialState);
    glossy.getTexture().addRequirements(materialState);
    translucency.getTexture().addRequirements(materialState);
}

template <class DiffuseLobe, class GlossyLobe>
void znRTTwoLobeMaterial<DiffuseLobe, GlossyLobe>::fetchParameters(const znRTRayDifferentialPacket&,
                                                                   const znRTDataBlockPacket& data,
                                                                   const znFloatType<2>& mask,
                                                                   Hit& hit) const
{
    hit.diffuse = diffuse.fetch(data, mask);
    hit.glossy = glossy.fetch(data, mask);
    hit.translucent = translucency.fetch(data, mask);
    hit.ambient = ambient.fetch(data, mask);
    hit.emission = evaluateEmissionColor(data, mask);
    hit.transparency = evaluateTransparencyColor(data, mask);
    hit.alpha = hit.transparency.a;
}

template <class DiffuseLobe, class GlossyLobe>
void znRTTwoLobeMaterial<DiffuseLobe, GlossyLobe>::addLobes(Hit& hit,
                                                            const znFloatType<2>& lanes) const
{
    hit.lobes.add(diffuseLobe, hit.onb, hit.diffuse, lanes);
    hit.lobes.add(glossyLobe, hit.onb, hit.glossy, lanes);
    hit.lobes.mixture = &blend;
    translucency.addTo(hit, lanes);
}

template <class DiffuseLobe, class GlossyLobe>
void znRTTwoLobeMaterial<DiffuseLobe, GlossyLobe>::shade(const znRTRayDifferentialPacket& ray,
                                                         znRTDataBlockPacket& data,
                                                         znRTFragment& fragment,
                                                         const znFloatType<2>& mask,
                                                         znRTShadingState& state) const
{
    shadeByPipeline(*this, ray, data, fragment, mask, state);
}

template <class DiffuseLobe, class GlossyLobe>
void znRTTwoLobeMaterial<DiffuseLobe, GlossyLobe>::evaluateMaterial(
    znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data, znRTSurfaceProperties& surface,
    const znFloatType<2>& mask, znRTShadingState&, int group, EvaluationType type) const
{
    evaluateByPipeline(*this, ray, data, surface, mask, group, type);
}

template class znRTTwoLobeMaterial<znRTLambertBRDF, znRTPhongBRDF<0>>;
template class znRTTwoLobeMaterial<znRTDiffuseASBRDF, znRTIsotropicASBRDF<0>>;
