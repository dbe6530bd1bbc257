#include "material/znRTShadowMaterial.h"

#include "brdf/lobeSampling.h"
#include "core/rayTypes.h"
#include "gi/randomDecisions.h"
#include "host/osg/materials/utilityMaterials.h"
#include "host/znRTRaytracingSettings.h"
#include "light/znRTInfiniteAreaLight.h"
#include "material/lightSample.h"
#include "material/shadowOrigin.h"
#include "material/surroundingLight.h"
#include "material/znRTPlasticMaterial.h"
#include "render/znRTFragment.h"
#include "render/znRTRenderUtils.h"

const znRTTypeId znRTShadowMaterial::id("znRTShadowMaterial");

namespace {

const znFloatType<2> zero(0.0f), one(1.0f);

/// Directions of the environment that one shadow ray is chosen from, by what each brings.
constexpr int candidates = 8;
constexpr int allLights = -1;

/// Chooses one of a stream per lane, in proportion to weights, with one random number per lane
/// (M. Chao, "A general purpose unequal probability sampling plan", Biometrika 69, 1982): the
/// number is stretched again after each choice.
class WeightedChoice
{
public:
    explicit WeightedChoice(const znFloatType<2>& number) : u(number), total(0.0f) {}

    /// @return lanes in which the next one takes the place of what was chosen
    znFloatType<2> offer(const znFloatType<2>& weight)
    {
        total += weight;
        const znFloatType<2> share = weight * reciprocalOrZero(total);
        const znFloatType<2> isTaken = u < share;
        u = select(isTaken, u * reciprocalOrZero(share),
                   (u - share) * reciprocalOrZero(one - share));
        return isTaken;
    }
    const znFloatType<2>& getTotal() const { return total; }

private:
    znFloatType<2> u, total;
};

/// What a sample brings to a white diffuse surface without shadows.
znFloatType<2> reflectedBy(const znRTLitHit& hit, const LightEvalSample& sample)
{
    const znFloatType<2> cosine = maximum(dot(sample.wi, hit.dg.shadingNormal), zero);
    return (luminance(sample.diffuse) * cosine * lobeMath::invPi) & sample.mask;
}

znRTVector2fPacket placeOn(const znRTUAreaLight* area, const znRTLitHit& hit, int samples, int i)
{
    return area ? drawPair(hit.state, RandomDecision::lightPoint, samples, i, moveMask(hit.mask))
                : znRTVector2fPacket(0.0f, 0.0f);
}

znFloatType<2> litLanes(const znRTLight& light, const znRTLitHit& hit)
{
    if (!light.isOn() || light.getDirectWithPhotons() || !light.getCastShadowOnShadowMaterial() ||
        light.getLocalLighting())
        return znFloatType<2>::noLanes();
    return light.cullLight(hit.dg.position, hit.dg.shadingNormal, hit.mask);
}

/// A direction for a shadow ray, with what all light would bring that it stands for.
struct ChosenDirection
{
    znRTVector3fPacket wi;
    znFloatType<2> weight; ///< radiosity of a white diffuse surface over pi, luminance
};

/// Directions to the environment, in proportion to what each brings to a white diffuse surface.
class EnvironmentDirections
{
public:
    EnvironmentDirections(const znRTLitHit& newHit, const znRTInfiniteAreaLight& newLight)
        : hit(newHit), light(newLight)
    {
        frame.set(hit.dg.shadingNormal);
        constexpr float nearlyUp = 0.9999f;
        const znFloatType<2> isUp =
            light.getLocalLightDir(hit.dg.shadingNormal).z > znFloatType<2>(nearlyUp);
        isGround = everyLane(isUp | andNot(hit.mask, znFloatType<2>::allLanes()));
    }

    /// @param i  of rays
    ChosenDirection draw(int rays, int i) const
    {
        return isGround ? drawOnGround(rays, i) : chooseOfSeveral(rays, i);
    }

private:
    /// Floors have a table of their own.
    ChosenDirection drawOnGround(int rays, int i) const
    {
        return {light.getGroundSample(numbers(rays, i), hit.mask),
                znFloatType<2>(light.getGroundIrradiance() * lobeMath::invPi) & hit.mask};
    }

    ChosenDirection chooseOfSeveral(int rays, int i) const
    {
        WeightedChoice choice(
            drawPair(hit.state, RandomDecision::lobeChoice, rays, i, moveMask(hit.mask)).x);
        ChosenDirection chosen{hit.dg.shadingNormal, 0.0f};
        for (int k = 0; k < candidates; ++k) {
            znFloatType<2> weight;
            const znRTVector3fPacket next =
                candidate(numbers(rays * candidates, i * candidates + k), weight);
            chosen.wi.setMasked(next, choice.offer(weight));
        }
        chosen.weight = choice.getTotal() * (1.0f / float(candidates));
        return chosen;
    }

    znRTVector2fPacket numbers(int samples, int i) const
    {
        return drawPair(hit.state, RandomDecision::environment, samples, i, moveMask(hit.mask));
    }

    znRTVector3fPacket candidate(const znRTVector2fPacket& u, znFloatType<2>& weight) const
    {
        znFloatType<2> pdf, unused;
        znRTVector3fPacket wi;
        if (light.isEven()) {
            wi = frame.toWorld(lobeSampling::cosineHemisphere(u));
            pdf = maximum(dot(wi, hit.dg.shadingNormal), zero) * lobeMath::invPi;
        } else {
            znRTVector2fPacket uv;
            wi = light.getFullSphereSample(u, pdf, uv, hit.mask);
        }
        const znRTColorPacket radiance = light.getIntensity(hit.dg.position, wi, hit.mask, unused);
        const znFloatType<2> cosine = maximum(dot(wi, hit.dg.shadingNormal), zero);
        weight = (luminance(radiance) * cosine * reciprocalOrZero(pdf) * lobeMath::invPi) &
                 hit.mask & (pdf > zero);
        return wi;
    }

    const znRTLitHit& hit;
    const znRTInfiniteAreaLight& light;
    znRTONB frame;
    bool isGround;
};

} // namespace

znRTShadowMaterial::znRTShadowMaterial(const osg::MaterialPtr& material)
    : znRTPlasticLobesMaterial(id, material)
{
    znRTShadowMaterial::update();
}

void znRTShadowMaterial::update()
{
    const auto host = osg::FCPtr<osg::UShadowMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    auto& record = host->getRaytracingAttributes();
    const bool changed = setRaytracingCommonSettings(record, true);
    photonTarget = true;
    if (!changed)
        return;
    readColors(record);
    shadowTint = getSpectrum(record.shadowColorSpectrum, record.shadowColor);
    environmentTint =
        getSpectrum(record.environmentShadowColorSpectrum, record.environmentShadowColor);
    strength = record.shadowIntensity;
    reflectivity = record.reflectivity;
    evaluatesAllLights = record.lightMode == allLights;
    usesExtractedLights = record.useExtractedLights;
    hasAlpha = record.alphaFromShadow;
    setupLobes(plasticLayerOf(record));
}

void znRTShadowMaterial::evaluateShadowBRDF(const znFloatType<2>& isLight,
                                            const znFloatType<2>& mask,
                                            const znFloatType<2>& weight,
                                            const znRTColorPacket& passed,
                                            znRTColorPacket& result) const
{
    const znRTColorPacket tint =
        select(isLight, znRTColorPacket(shadowTint), znRTColorPacket(environmentTint));
    const znFloatType<2> counted = weight & mask;
    for (int c = 0; c < 3; ++c)
        result[c] += counted * mix(tint[c], one, passed[c]);
    result.a += counted;
}

void znRTShadowMaterial::evaluateLightShadow(const znRTLitHit& hit, const LightEvalSample& sample,
                                             const znFloatType<2>& weight,
                                             znRTColorPacket& result) const
{
    const znFloatType<2> lanes = sample.mask & (weight > zero);
    if (!anyLane(lanes))
        return;
    const znRTVector3fPacket origin = shadowOrigin(hit.data, hit.dg, sample.wi);
    znFloatType<2> end;
    const znRTVector3fPacket way = sample.wayFrom(origin, hit.dg.position, end);
    const znRTColorPacket passed = znRTLight::getShadowFactor(
        hit.ray, origin, way, 0.0f, end, znIntType<2>(int(rayType::shadowMaterialShadow)), lanes,
        sample.groundShadowIntensity * strength, hit.state);
    evaluateShadowBRDF(znFloatType<2>::allLanes(), lanes, weight, passed, result);
}

void znRTShadowMaterial::evaluateAllLights(const znRTLitHit& hit,
                                           const znDynArray<znRTLight*>& lights,
                                           znRTColorPacket& result) const
{
    for (const znRTLight* light : lights) {
        const znFloatType<2> lanes = litLanes(*light, hit);
        if (!anyLane(lanes))
            continue;
        const znRTUAreaLight* const area = areaOf(*light);
        const int samples = area && hit.state.counterC == 0 ? int(area->getNumSamples()) : 1;
        for (int i = 0; i < samples; ++i) {
            LightEvalSample sample;
            sample.take(*light, area, hit.dg, placeOn(area, hit, samples, i), 1.0f / float(samples),
                        lanes);
            evaluateLightShadow(hit, sample, reflectedBy(hit, sample), result);
        }
    }
}

void znRTShadowMaterial::evaluateDrawnLight(const znRTLitHit& hit,
                                            const znDynArray<znRTLight*>& lights,
                                            znRTColorPacket& result) const
{
    WeightedChoice choice(
        drawPair(hit.state, RandomDecision::lightChoice, 1, 0, moveMask(hit.mask)).x);
    LightEvalSample chosen;
    for (const znRTLight* light : lights) {
        const znFloatType<2> lanes = litLanes(*light, hit);
        if (!anyLane(lanes))
            continue;
        const znRTUAreaLight* const area = areaOf(*light);
        const znRTVector2fPacket place = placeOn(area, hit, 1, 0);
        LightEvalSample sample;
        sample.take(*light, area, hit.dg, place, 1.0f, lanes);
        const znFloatType<2> taken = lanes & choice.offer(reflectedBy(hit, sample));
        if (anyLane(taken))
            chosen.take(*light, area, hit.dg, place, 1.0f, taken);
    }
    evaluateLightShadow(hit, chosen, choice.getTotal(), result);
}

void znRTShadowMaterial::evaluateEnvironmentShadow(const znRTLitHit& hit,
                                                   const znRTInfiniteAreaLight& light,
                                                   znRTColorPacket& result) const
{
    const znFloatType<2> noLight = znFloatType<2>::noLanes();
    if (!materialState.sampleEnvironment) {
        const znRTColorPacket around =
            light.getFilteredIntensity(hit.dg.shadingNormal, 0.0f, hit.mask);
        znRTColorPacket passed = environmentShare(hit, *this);
        for (int c = 0; c < 3; ++c)
            passed[c] = mix(one, passed[c], strength);
        evaluateShadowBRDF(noLight, hit.mask, luminance(around), passed, result);
        return;
    }
    const EnvironmentDirections directions(hit, light);
    const int rays = hit.state.counterC == 0 ? int(light.getNumSamples()) : 1;
    for (int i = 0; i < rays; ++i) {
        const ChosenDirection chosen = directions.draw(rays, i);
        const znFloatType<2> lanes = hit.mask & (chosen.weight > zero);
        if (!anyLane(lanes))
            continue;
        const znRTColorPacket passed = znRTLight::getEnvironmentShadowFactor(
            hit.ray, shadowOrigin(hit.data, hit.dg, chosen.wi), chosen.wi, 0.0f, lanes,
            light.getGroundShadowIntensity() * strength, hit.state,
            int(rayType::shadowMaterialShadow));
        evaluateShadowBRDF(noLight, lanes, chosen.weight * (1.0f / float(rays)), passed, result);
    }
}

znRTColorPacket znRTShadowMaterial::evaluateShadows(const znRTLitHit& hit) const
{
    znRTColorPacket sum(0.0f);
    sum.a = 0.0f;
    const znRTInfiniteAreaLight* const environmentLight = getEnvironmentLight();
    if (environmentLight && environmentLight->isOn() && materialState.usesEnvironmentMap) {
        if (usesExtractedLights)
            evaluateAllLights(hit, environmentLight->getEnvironmentLights(), sum);
        evaluateEnvironmentShadow(hit, *environmentLight, sum);
    }
    if (materialState.usesDirectLights) {
        const znDynArray<znRTLight*>& lights = znRTRenderUtils::getLights();
        if (lights.size < 2 || evaluatesAllLights ||
            znRTRaytracingSettings::s_lightOptimizationMode == 0)
            evaluateAllLights(hit, lights, sum);
        else
            evaluateDrawnLight(hit, lights, sum);
    }
    const znFloatType<2> scale = reciprocalOrZero(sum.a);
    znRTColorPacket left = select(sum.a > zero, sum * scale, znRTColorPacket(1.0f));
    left.a = one;
    return left;
}

znFloatType<2> znRTShadowMaterial::ownOpacity(const Hit& hit) const
{
    return minimum(luminance(hit.diffuse) + luminance(hit.glossy), one);
}

znRTColorPacket znRTShadowMaterial::getTransparency(const znRTRayDifferentialPacket& ray,
                                                    znRTDataBlockPacket& data,
                                                    const znFloatType<2>& mask,
                                                    znRTShadingState&) const
{
    Hit hit(ray, data);
    fetchParameters(ray, data, mask, hit);
    hit.glossy *= reflectivity;
    const znFloatType<2> passes = (one - ownOpacity(hit) * hit.alpha) & mask;
    return {passes, passes, passes, one};
}

void znRTShadowMaterial::shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                               znRTFragment& fragment, const znFloatType<2>& mask,
                               znRTShadingState& state) const
{
    Hit hit(ray, data);
    {
        const znRTShiftedCoordinates shifted(*this, ray, data, hit, mask);
        fetchParameters(ray, data, mask, hit);
        bendNormal(ray, data, hit, mask);
    }
    buildFrame(hit);
    hit.glossy *= reflectivity;
    const znRTLitHit lit{ray, data, hit.dg, hit.lobes, hit.wo, mask, *this, state};
    // Of the background: what the shadows leave, under what the surface has itself.
    const znFloatType<2> own = ownOpacity(hit);
    znRTColorPacket left = evaluateShadows(lit);
    for (int c = 0; c < 3; ++c)
        left[c] = mix(one, left[c] * (one - own), hit.alpha);
    if (!hasAlpha) {
        znRTThroughput throughput;
        throughput.shadingNormal = &hit.dg.shadingNormal;
        throughput.material = this;
        fragment.updateToColor(ray, data, left, znRTColorPacket(zero, zero, zero, one), state,
                               throughput, mask);
        return;
    }

    const znFloatType<2> alpha = maximum(one - luminance(left), zero);
    hit.transparency = {left.r, left.g, left.b, alpha};
    const znRTAlphaSplit split{mask, mask & (alpha < one), alpha};
    if (!anyLane(mask & (own > zero))) {
        const znRTThroughput throughput = throughputOf(*this, hit, split);
        fragment.updateToColor(ray, data, znRTColorPacket(zero), hit.transparency, state,
                               throughput, mask);
        return;
    }
    // The mix multiplies what the surface shows with the alpha, which the colours hold already.
    const znFloatType<2> share = reciprocalOrZero(alpha) * hit.alpha;
    hit.diffuse *= share;
    hit.glossy *= share;
    addLobes(hit, split.shaded);
    shadeLobes(*this, terms, ray, data, hit, split, fragment, mask, state);
}
