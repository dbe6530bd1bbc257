// What is seen in glass: its traced rays.

#include "core/rayTypes.h"
#include "gi/randomDecisions.h"
#include "material/mirrorLight.h"
#include "material/refraction.h"
#include "material/spawnedRays.h"
#include "material/tracedLight.h"
#include "material/znRTGlassMaterial.h"
#include "render/znRTFragment.h"

#include <algorithm>

namespace {

const znFloatType<2> zero(0.0f), one(1.0f);

/// Lanes of rays that gather the light of surfaces, light sources and surroundings left out.
znFloatType<2> gatheringLanes(const znRTRayPacket& ray)
{
    constexpr u32 gathering = rayType::diffuseScatter | rayType::glossyReflection;
    return ~asFloat((ray.type & znIntType<2>(int(gathering))) == znIntType<2>(0));
}

/// Directions about an axis with the density of a power of the cosine to it; the axis in lanes
/// whose direction would be below the surface.
znRTVector3fPacket spreadAbout(const znRTVector3fPacket& axis, const znRTVector2fPacket& u,
                               const znFloatType<2>& invExponentPlusOne,
                               const znRTVector3fPacket& geometric)
{
    znRTONB onb;
    onb.set(axis);
    const znRTVector3fPacket direction =
        onb.toWorld(lobeSampling::powerCosine(u, invExponentPlusOne));
    return select(dot(direction, geometric) > zero, direction, axis);
}

/// One channel of a colour.
znRTColorPacket channelOf(const znRTColorPacket& color, int channel)
{
    znRTColorPacket alone(zero);
    alone[channel] = color[channel];
    return alone;
}

} // namespace

int znRTGlassMaterial::getDepthLimit() const
{
    return std::min(getTraceDepth(), depthLimit);
}

// Rays that gather are many: each follows one of the two ways, so that their paths do not branch.
znRTGlassMaterial::Branches znRTGlassMaterial::chooseBranches(const znRTLitHit& lit,
                                                              const Hit& hit) const
{
    const znFloatType<2> decides = lit.mask & gatheringLanes(lit.ray);
    if (!anyLane(decides))
        return {lit.mask, lit.mask, one, one};
    const znFloatType<2> r = luminance(hit.specular), t = luminance(hit.transmitted);
    const znFloatType<2> p = r * reciprocalOrZero(r + t);
    const znFloatType<2> u =
        drawPair(lit.state, RandomDecision::lobeChoice, 1, 0, moveMask(decides)).x;
    const znFloatType<2> isReflected = decides & (u < p);
    const znFloatType<2> isRefracted = andNot(isReflected, decides);
    return {andNot(isRefracted, lit.mask), andNot(isReflected, lit.mask),
            select(isReflected, reciprocalOrZero(p), one),
            select(isRefracted, reciprocalOrZero(one - p), one)};
}

znRTColorPacket znRTGlassMaterial::traceReflection(const znRTLitHit& lit, const Hit& hit,
                                                   const znRTColorPacket& share,
                                                   const znFloatType<2>& lanes,
                                                   const znRTVector2fPacket& u) const
{
    znRTLightPath path(lit, share, lanes);
    if (path.isEmpty())
        return znRTColorPacket(0.0f);
    const znRTVector3fPacket& geometric = hit.dg.geometricNormal;
    znRTVector3fPacket mirrored = mirrorAboveSurface(lit.ray.direction, hit.onb.n, geometric);
    if (frosted)
        mirrored = spreadAbout(mirrored, u, getInvExponentPlusOne(hit), geometric);
    path.start(mirrored, rayType::mirrorReflection);
    if (!frosted)
        mirrorDifferentials(lit, hit.onb.n, path.rays);
    znRTColorPacket light = path.follow(deeperState(lit.state), getDepthLimit());
    if (absorbs)
        light *= getTransmittance(path.distance & hit.isInside);
    return light;
}

znRTColorPacket znRTGlassMaterial::traceRefraction(const znRTLitHit& lit, const Hit& hit,
                                                   const znRTColorPacket& share,
                                                   const znFloatType<2>& lanes, int channel,
                                                   int ray, int rays) const
{
    znRTLightPath path(lit, share, lanes);
    if (path.isEmpty())
        return {0.0f, 0.0f, 0.0f, 1.0f};
    constexpr int green = 1;
    const int index = channel < 0 ? green : channel;
    const znRTVector3fPacket& geometric = hit.dg.geometricNormal;
    const znFloatType<2> eta = mirrorRefraction.getRatios().get(hit.dg.frontFacing, index);
    znRTRefraction refraction;
    if (frosted) {
        const znRTVector2fPacket u =
            drawPair(lit.state, RandomDecision::lobeSample, rays, ray, moveMask(lanes));
        znRTVector3fPacket local;
        refraction.mask = getRoughRefraction().sample(u, hit.onb.toLocal(hit.wo), hit.dg, local);
        refraction.direction = hit.onb.toWorld(local);
        refraction.mask &= dot(refraction.direction, geometric) < zero;
    } else
        refraction = refractBelowSurface(lit, hit.onb, eta);

    // What cannot pass, as the spread of frosted glass wants it, is mirrored.
    const znFloatType<2> passes = refraction.mask;
    const znRTVector3fPacket direction = select(
        passes, refraction.direction, mirrorAboveSurface(lit.ray.direction, hit.onb.n, geometric));
    path.start(direction, rayType::specularRefraction);
    // Shadow rays have brought the light of sources and surroundings through the glass.
    const znFloatType<2> staysGathering =
        opaqueShadow ? znFloatType<2>::noLanes() : gatheringLanes(lit.ray);
    path.rays.type =
        select(asInt(passes),
               select(asInt(staysGathering),
                      lit.ray.type & znIntType<2>(int(~rayType::passThrough)), path.rays.type),
               spawnedTypes(lit.ray.type, rayType::mirrorReflection, 0));
    path.seesSurroundings = ~(staysGathering & passes);
    if (channel >= 0)
        path.rays.setMonochromatic(znFloatType<2>(float(channel + 1)));
    if (!frosted)
        refractDifferentials(lit, hit.onb.n, eta, path.rays);

    constexpr int branch = 1;
    znRTColorPacket light = path.follow(splitState(lit.state, rays, ray, branch), getDepthLimit());
    if (absorbs) {
        const znFloatType<2> endsInside = asFloat(asInt(passes) ^ asInt(hit.isInside));
        light *= getTransmittance(path.distance & endsInside);
    }
    // Lanes that nobody follows hide what is behind.
    light.a = select(path.lanes, light.a, one);
    return light;
}

znRTGlassMaterial::Seen znRTGlassMaterial::trace(const znRTLitHit& lit, const Hit& hit,
                                                 const znFloatType<2>& share) const
{
    const Branches branches = chooseBranches(lit, hit);
    Seen seen;
    const znRTColorPacket reflected = hit.specular * branches.reflectedScale;
    if (anyLane(branches.reflects & (hit.specular.getMax() > zero))) {
        const znRTVector2fPacket u =
            frosted ? drawPair(lit.state, RandomDecision::gather, 1, 0, moveMask(lit.mask))
                    : znRTVector2fPacket(0.0f, 0.0f);
        seen.color +=
            (reflected * traceReflection(lit, hit, reflected * share, branches.reflects, u)) &
            branches.reflects;
    }

    const znRTColorPacket refracted = hit.transmitted * branches.refractedScale;
    const znFloatType<2> lanes = branches.refracts & (hit.transmitted.getMax() > zero);
    if (!anyLane(lanes))
        return seen;
    const auto add = [&](const znRTColorPacket& part, const znFloatType<2>& partLanes, int channel,
                         int ray, int rays) {
        const znRTColorPacket weight = part * (1.0f / float(rays));
        const znRTColorPacket light =
            traceRefraction(lit, hit, part * share, partLanes, channel, ray, rays);
        seen.color += (weight * light) & partLanes;
        seen.open += luminance(weight) * (one - light.a) & partLanes;
    };
    if (!splitsColors) {
        constexpr int fewestSamples = 4;
        const int quality = getIndirectQuality();
        const bool isSplit = frosted && useMultipleSamples && lit.state.counterC == 0;
        const int rays = isSplit && quality >= fewestSamples ? quality : 1;
        for (int ray = 0; ray < rays; ++ray)
            add(refracted, lanes, -1, ray, rays);
        return seen;
    }
    for (int channel = 0; channel < 3; ++channel) {
        // A ray of one colour stays one.
        const znFloatType<2> only = lit.ray.getMonochromatic();
        const znFloatType<2> own =
            lanes & ((only == zero) | (only == znFloatType<2>(float(channel + 1))));
        if (anyLane(own))
            add(channelOf(refracted, channel), own, channel, 0, 1);
    }
    return seen;
}

void znRTGlassMaterial::shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                              znRTFragment& fragment, const znFloatType<2>& mask,
                              znRTShadingState& state) const
{
    Hit hit(ray, data);
    znRTAlphaSplit split;
    if (!prepareHit(*this, ray, data, hit, split, fragment, mask, state))
        return;
    const znRTLitHit lit{ray, data, hit.dg, hit.lobes, hit.wo, split.shaded, *this, state};
    const Seen seen = trace(lit, hit, split.surfaceAlpha);

    // The light by its colour, as layers show it.
    znRTGlassTerms terms;
    terms.tracedColor = hit.specular + hit.transmitted;
    for (int i = 0; i < 3; ++i)
        terms.traced[i] = seen.color[i] * reciprocalOrZero(terms.tracedColor[i]);
    terms.traced.a = terms.tracedColor.a = clamp01(one - seen.open);
    terms.glossyColor = hit.glossy;
    terms.direct = terms.environment = znRTColorPacket(0.0f);
    if (frosted && anyLane(split.shaded & ~hit.isInside)) {
        znRTLobeLight light;
        gatherLight(lit, *this, hit, light);
        terms.direct = light.direct[surfaceGlossy];
        terms.environment = light.ibl[surfaceGlossy] + light.indirect[surfaceGlossy];
    }
    terms.emission = emissionOf(*this, ray, data, hit, split.shaded);

    const znRTThroughput throughput = throughputOf(*this, hit, split);
    const auto update = frosted ? &znRTFragment::updateFrostedGlass : &znRTFragment::updateGlass;
    (fragment.*update)(ray, data, terms, hit.transparency, state, throughput, mask);
}
