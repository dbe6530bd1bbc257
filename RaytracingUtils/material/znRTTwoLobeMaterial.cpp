#include "material/znRTTwoLobeMaterial.h"

#include "brdf/znRTBxDFAttributes.h"
#include "core/znRTRayPacket.h"

template <class DiffuseLobe, template <int> class GlossyLobe>
void znRTTwoLobeMaterial<DiffuseLobe, GlossyLobe>::setupLobes(const znRTBxDFAttributes& record)
{
    if (isTexturedGlossy())
        blend.setLobes(diffuseLobe, texturedGlossyLobe);
    else
        blend.setLobes(diffuseLobe, uniformGlossyLobe);
    texturedGlossyLobe.setSamplePower(znRTGlossinessTexture::exponentPower);
    blend.setup(record, lobeSamples());
    blend.setMix(diffuse.getPhotometricValue(), glossy.getPhotometricValue());
    setPlainRequirements();
    diffuse.addRequirements(materialState);
    for (const znRTAttributeTexture* texture :
         {&glossy.getTexture(), &translucency.getTexture(), &glossiness.getTexture()})
        texture->addRequirements(materialState);
}

template <class DiffuseLobe, template <int> class GlossyLobe>
void znRTTwoLobeMaterial<DiffuseLobe, GlossyLobe>::fetchParameters(
    const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
    const znFloatType<2>& mask, Hit& hit) const
{
    hit.diffuse = diffuse.fetch(data, mask);
    hit.glossy = glossy.fetch(data, mask);
    hit.translucent = translucency.fetch(ray, data, mask);
    hit.ambient = ambient.fetch(data, mask);
    fetchShared(data, mask, hit);
    if (isTexturedGlossy())
        glossiness.prepare(blend.getSecond(), data, mask, hit.useLanes()[0]);
}

template <class DiffuseLobe, template <int> class GlossyLobe>
void znRTTwoLobeMaterial<DiffuseLobe, GlossyLobe>::addLobes(Hit& hit,
                                                            const znFloatType<2>& lanes) const
{
    hit.lobes.add(diffuseLobe, hit.onb, hit.diffuse, lanes);
    hit.lobes.add(blend.getSecond(), hit.onb, hit.glossy, lanes);
    hit.lobes.mixture = &blend;
    translucency.addTo(hit, lanes);
}

template <class DiffuseLobe, template <int> class GlossyLobe>
void znRTTwoLobeMaterial<DiffuseLobe, GlossyLobe>::shade(const znRTRayDifferentialPacket& ray,
                                                         znRTDataBlockPacket& data,
                                                         znRTFragment& fragment,
                                                         const znFloatType<2>& mask,
                                                         znRTShadingState& state) const
{
    shadeByPipeline(*this, ray, data, fragment, mask, state);
}

template <class DiffuseLobe, template <int> class GlossyLobe>
void znRTTwoLobeMaterial<DiffuseLobe, GlossyLobe>::evaluateMaterial(
    znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data, znRTSurfaceProperties& surface,
    const znFloatType<2>& mask, znRTShadingState&, int group, EvaluationType type) const
{
    evaluateByPipeline(*this, ray, data, surface, mask, group, type);
}

template class znRTTwoLobeMaterial<znRTLambertBRDF, znRTPhongBRDF>;
template class znRTTwoLobeMaterial<znRTDiffuseASBRDF, znRTIsotropicASBRDF>;
