#include "material/znRTGlassMaterial.h"

#include "brdf/znRTBxDFAttributes.h"
#include "host/osg/Spectrum.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTTextureAttributes.h"
#include "material/missingParts.h"
#include "texture/znRTBumpTexture.h"

#include <algorithm>
#include <cmath>
#include <vector>

const znRTTypeId znRTGlassMaterial::id("znRTGlassMaterial");

namespace {

/// Differences of the index from which colours take ways of their own.
constexpr float leastDispersion = 1e-8f;
/// Difference of the index below which a surface is not there for shadows.
constexpr float leastContrast = 1e-4f;
/// Values below are as good as black, and their logarithm stays in range.
constexpr float darkest = 1e-6f;

/// What hosts hold uniform values above.
constexpr float leastRoughness = 1e-3f;

/// Bands with one value for each colour: see znRTRefractionRatios, which reads them there.
std::vector<float> bandsOf(float red, float green, float blue)
{
    constexpr std::size_t greenFrom = 12, redFrom = 20, count = znRTRefractionRatios::s_minBands;
    std::vector<float> bands(count, red);
    std::fill_n(bands.begin(), redFrom, green);
    std::fill_n(bands.begin(), greenFrom, blue);
    return bands;
}

/// Reflectance at normal incidence.
float reflectanceOf(float index)
{
    const float root = (index - 1.0f) / (index + 1.0f);
    return root * root;
}

bool isProjected(const znRTTextureAttributes* attributes)
{
    return attributes && attributes->hasTextureProjection;
}

} // namespace

znRTGlassMaterial::znRTGlassMaterial(const osg::MaterialPtr& material)
    : znRTBRDFMaterial(id, material)
{
    znRTGlassMaterial::update();
}

void znRTGlassMaterial::update()
{
    if (const auto host = osg::FCPtr<osg::UGlassMaterial>::dcast(hostMaterial))
        update(host->getRaytracingAttributes());
}

void znRTGlassMaterial::update(Record& record)
{
    setRaytracingCommonSettings(record, true);
    record.transparent = true;
    // Rays inside see the backs of the surfaces.
    constexpr int bothSides = 3;
    materialState.sideness = bothSides;

    readColors(record);
    readOcclusion(record);
    readStructure(record);
    needsConsistentTangents = surfaceStructure->perturbs();
    setupRefraction(record);
    setupLobes(record);
    addRequirements(record);
}

void znRTGlassMaterial::readColors(const Record& record)
{
    reflectionColor.set(record.reflection, record.reflectionSpectrum, record.reflectionSampler,
                        record.reflectionActive, record.reflectionAttributes);
    transmissionColor.set(record.transmission, record.transmissionSpectrum,
                          record.transmissionSampler, record.transmissionActive,
                          record.transmissionAttributes);
    projectsTextures =
        isProjected(record.reflectionAttributes) || isProjected(record.transmissionAttributes);
    // Nothing is absorbed without a way inside.
    absorbs = record.attenuationDistance > 0.0f && record.useIor;
    if (!absorbs)
        return;
    const znRTColor& color = transmissionColor.getUniform();
    const float channels[3] = {color.r, color.g, color.b};
    for (int i = 0; i < 3; ++i)
        absorption[i] =
            -std::log(std::clamp(channels[i], darkest, 1.0f)) / record.attenuationDistance;
    // What is left for the surface is the image, if there is one.
    transmissionColor.set(znRTColor(1.0f, 1.0f, 1.0f, 1.0f));
}

void znRTGlassMaterial::readStructure(const Record& record)
{
    tellOfMissingParts(missingParts(record));
    if (record.normalActive && !record.bumpActive)
        surfaceStructure.set(
            std::make_unique<znRTBumpTexture>(*record.normalSampler, record.normalAttributes,
                                              znRTBumpTexture::normalMap, record.bumpAmplitude));
    else
        setStructure(record);
}

void znRTGlassMaterial::setupRefraction(const Record& record)
{
    const bool isStill =
        znRTRaytracingSettings::s_qualityMode != znRTRaytracingSettings::interactive;
    useIor = record.useIor;
    depthLimit = record.depthLimit;
    frosted = record.finish == 1;
    dispersive = record.refractionSpectrum && record.refractionSpectrum->isUsable();
    splitsColors =
        isStill && useIor && !frosted && (dispersive || record.dispersion > leastDispersion);
    useMultipleSamples = getIndirectQuality() >= 1 && record.useMultipleSamples;
    // A surface without contrast hides no light, whatever the shadows are to be.
    const bool isSurface = std::abs(record.indexB / record.indexA - 1.0f) >= leastContrast;
    opaqueShadow = isStill && isSurface && !record.colouredShadow;

    znRTRefractionIndices indices;
    indices.indexA = record.indexB;
    indices.indexB = record.indexA;
    const float inside = record.indexB, outside = record.indexA, spread = record.dispersion;
    const std::vector<float> outsideBands = bandsOf(outside, outside, outside);
    const std::vector<float> insideBands =
        dispersive ? record.refractionSpectrum->getSamples()
                   : bandsOf(std::max(inside - spread, 1e-3f), inside, inside + spread);
    if (splitsColors) {
        indices.spectrumA = &insideBands;
        indices.spectrumB = &outsideBands;
    }
    ratios.set(indices);

    // A thin pane bends nothing.
    znRTSpecularBTDFAttributes mirror;
    mirror.indices = indices;
    znRTPhongBTDFAttributes rough;
    rough.exponent = record.exponent;
    rough.indices = indices;
    if (!useIor)
        mirror.indices = rough.indices = {1.0f, 1.0f, nullptr, nullptr};
    mirrorRefraction.setup(mirror, 1);
    roughRefraction0.setup(rough, 1);
    roughRefraction1.setup(rough, 1);
}

void znRTGlassMaterial::setupLobes(const Record& record)
{
    roughness.set(record.roughness, record.roughnessSampler, record.roughnessActive,
                  record.roughnessAttributes);
    glossiness.read(record);
    isPerLane = frosted && (roughness.getTexture().isActive() || glossiness.isActive());

    znRTBSDFAttributes lobes;
    lobes.setExponents(record.exponent, record.exponent);
    lobes.reflectance = reflectanceOf(record.indexB / record.indexA);
    lobes.useSchlick = true;
    const unsigned samples = unsigned(std::max(0, getEnvironmentQuality()));
    roughReflection0.setup(lobes, samples);
    roughReflection1.setup(lobes, samples);
    roughReflection1.setSamplePower(znRTGlossinessTexture::exponentPower);
    fresnelSchlick.setReflectance(lobes.reflectance);
    fresnelApprox.setRefraction(record.indexB / record.indexA, 0.0f, 1.0f);
    hasReflectance = record.reflectanceSpectrum && record.reflectanceSpectrum->isUsable();
    if (!hasReflectance)
        return;
    znRTRefractionIndices indices;
    const std::vector<float> outside = bandsOf(1.0f, 1.0f, 1.0f);
    indices.spectrumA = &record.reflectanceSpectrum->getSamples();
    indices.spectrumB = &outside;
    znRTRefractionRatios byColor;
    byColor.set(indices);
    const znRTColor f0{reflectanceOf(byColor.etaExit[0]), reflectanceOf(byColor.etaExit[1]),
                       reflectanceOf(byColor.etaExit[2]), 1.0f};
    fresnelSchlick.setReflectanceColor(f0);
    roughReflection0.setReflectanceColor(f0);
    roughReflection1.setReflectanceColor(f0);
}

void znRTGlassMaterial::addRequirements(const Record& record)
{
    setPlainRequirements();
    addMirrorRequirements(record.usesVertexTangents);
    for (const znRTAttributeTexture* texture :
         {&reflectionColor.getTexture(), &transmissionColor.getTexture()})
        texture->addRequirements(materialState);
    if (frosted)
        for (const znRTAttributeTexture* texture :
             {&roughness.getTexture(), &glossiness.getTexture()})
            texture->addRequirements(materialState);
    transmissionColor.getTexture().addShadowRequirements(materialState);
}

const znRTBRDF& znRTGlassMaterial::getRoughReflection() const
{
    if (isPerLane)
        return roughReflection1;
    return roughReflection0;
}

const znRTBRDF& znRTGlassMaterial::getRoughRefraction() const
{
    if (isPerLane)
        return roughRefraction1;
    return roughRefraction0;
}

znRTColorPacket znRTGlassMaterial::evaluateFresnel(const znFloatType<2>& cosine,
                                                   const znFloatType<2>& fromOutside) const
{
    const znFloatType<2> one(1.0f), zero(0.0f);
    znRTColorPacket reflected(one);
    // What frosted glass passes is what its glossy lobe, which knows this formula alone, leaves.
    if (hasReflectance || frosted) {
        // Schlick's formula takes the angle on the side of the smaller index.
        constexpr int green = 1;
        const znFloatType<2> eta = ratios.get(fromOutside, green);
        const znFloatType<2> q = one - (one - square(cosine)) * square(eta);
        const znFloatType<2> wide = select(eta > one, squareRoot(maximum(q, zero)), cosine);
        reflected = select(q > zero, fresnelSchlick.conductorColor(wide), reflected);
    } else {
        const int channels = splitsColors ? 3 : 1;
        for (int channel = 0; channel < channels; ++channel)
            reflected[channel] =
                fresnelApprox.dielectric(cosine, ratios.get(~fromOutside, channel));
        if (!splitsColors)
            reflected.g = reflected.b = reflected.r;
    }
    reflected.a = one;
    return reflected;
}

znRTColorPacket znRTGlassMaterial::getTransmittance(const znFloatType<2>& distance) const
{
    return {exp(distance * -absorption[0]), exp(distance * -absorption[1]),
            exp(distance * -absorption[2]), 1.0f};
}

znFloatType<2> znRTGlassMaterial::getInvExponentPlusOne(const Hit& hit) const
{
    return znRTPhongWidthLanes::fetch<1>(roughRefraction1.getWidth(), hit.dg).invExponentPlusOne;
}

void znRTGlassMaterial::fetchParameters(const znRTRayDifferentialPacket&,
                                        const znRTDataBlockPacket& data, const znFloatType<2>& mask,
                                        Hit& hit) const
{
    hit.specular = hit.glossy = reflectionColor.fetch(data, mask);
    hit.transmitted = transmissionColor.fetch(data, mask);
    fetchShared(data, mask, hit);
    hit.isInside = useIor ? ~hit.dg.frontFacing : znFloatType<2>::noLanes();
    if (absorbs)
        hit.way = data.hit.t & hit.isInside;
    if (!isPerLane)
        return;
    znRTLobeParameters& lanes = hit.useLanes()[0];
    if (glossiness.isActive()) {
        glossiness.prepare(roughReflection1, data, mask, lanes);
        return;
    }
    const znFloatType<2> width = roughness.fetch(data, mask);
    lanes.setExponents(roughReflection1.convertExponent(maximum(width, leastRoughness)), mask);
}

void znRTGlassMaterial::buildFrame(Hit& hit) const
{
    // Seen from behind its interpolated normal a surface still has a side that the ray is on.
    const znFloatType<2> isFacing = dot(hit.wo, hit.dg.shadingNormal) > znFloatType<2>(0.0f);
    hit.dg.shadingNormal.setMasked(hit.dg.geometricNormal, ~isFacing);
    hit.onb = surfaceStructure->getFrameAt(hit.dg, znFloatType<2>::allLanes());
}

void znRTGlassMaterial::addLobes(Hit& hit, const znFloatType<2>& lanes) const
{
    const znRTColorPacket one(1.0f);
    const znFloatType<2> cosine = clamp01(dot(hit.wo, hit.onb.n));
    const znFloatType<2> fromOutside = andNot(hit.isInside, znFloatType<2>::allLanes());
    znRTColorPacket reflected = evaluateFresnel(cosine, fromOutside);
    if (!useIor) {
        // Both faces and all reflections between them: F + (1 - F)^2 F / (1 - F^2).
        const auto both = [](const znFloatType<2>& f) {
            return (f + f) * reciprocalOrZero(f + znFloatType<2>(1.0f));
        };
        const znRTColorPacket rise(both(reflected.r), both(reflected.g), both(reflected.b), 1.0f);
        if (frosted)
            for (int i = 0; i < 3; ++i)
                hit.glossy[i] *= znFloatType<2>(2.0f) * reciprocalOrZero(reflected[i] + one[i]);
        reflected = rise;
    }
    hit.transmitted *= one - reflected;
    hit.transmitted.a = 1.0f;
    hit.specular *= reflected;
    // The record answers for the way to the hit; a shade for the ways from it, which it follows.
    const znRTColorPacket left = absorbs ? getTransmittance(hit.way) : one;
    const znRTColorPacket mirrored = hit.specular * left, refracted = hit.transmitted * left;
    if (!frosted) {
        hit.glossy = znRTColorPacket(0.0f);
        hit.lobes.add(mirrorReflection, hit.onb, mirrored, lanes);
        hit.lobes.add(mirrorRefraction, hit.onb, refracted, lanes);
        return;
    }
    // Inside, light arrives by rays alone.
    const znFloatType<2> outside = lanes & fromOutside, inside = lanes & hit.isInside;
    hit.specular.maskedClear(outside);
    hit.glossy.maskedClear(inside);
    hit.lobes.add(getRoughReflection(), hit.onb, hit.glossy, outside);
    hit.lobes.add(getRoughRefraction(), hit.onb, refracted, lanes);
    if (anyLane(inside))
        hit.lobes.add(mirrorReflection, hit.onb, mirrored, inside);
}

znRTColorPacket znRTGlassMaterial::getTransparency(const znRTRayDifferentialPacket& ray,
                                                   znRTDataBlockPacket& data,
                                                   const znFloatType<2>& mask,
                                                   znRTShadingState&) const
{
    znRTColorPacket passed = evaluateTransparencyColor(data, mask);
    if (!opaqueShadow) {
        // What the surface mirrors does not pass, or the light that it mirrors elsewhere would be
        // gained. The ray goes straight on where light would bend, so both ways through a surface
        // count as from outside.
        const znFloatType<2> cosine = clamp01(absolute(dot(ray.direction, data.shadingNormal())));
        const znRTColorPacket reflected = evaluateFresnel(cosine, znFloatType<2>::allLanes());
        znRTColorPacket through = transmissionColor.fetch(data, mask);
        for (int i = 0; i < 3; ++i) {
            const znFloatType<2> f = reflected[i];
            through[i] *=
                useIor ? znFloatType<2>(1.0f) - f
                       : (znFloatType<2>(1.0f) - f) * reciprocalOrZero(znFloatType<2>(1.0f) + f);
        }
        if (absorbs) {
            const znFloatType<2> way = data.hit.t - data.volumeEntry;
            through *= select(data.dg.frontFacing, znRTColorPacket(1.0f), getTransmittance(way));
        }
        passed = {passed.r + through.r * passed.a, passed.g + through.g * passed.a,
                  passed.b + through.b * passed.a, passed.a};
    }
    passed &= mask;
    passed.a = 1.0f;
    return passed;
}

void znRTGlassMaterial::evaluateMaterial(znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                         znRTSurfaceProperties& surface, const znFloatType<2>& mask,
                                         znRTShadingState&, int group, EvaluationType type) const
{
    evaluateByPipeline(*this, ray, data, surface, mask, group, type);
}
