#include "material/gatherRays.h"

#include "core/shadingRequirements.h"
#include "core/znRTDataBlockPacket.h"
#include "material/spawnedRays.h"

namespace {

const znFloatType<2> one(1.0f);

/// Half the angle between neighbouring rays, in radians, as differentials see it: at most this, and
/// this part of the radius of what a ray stands for. A quarter keeps the pattern of a floor in the
/// light that it casts onto a wall.
constexpr float widestSpread = 0.25f;

/// Number of lobes of a kind in each lane.
znFloatType<2> lobesOf(const znRTLobeSet& lobes, znRTLobeKind kind)
{
    znFloatType<2> count(0.0f);
    for (const znRTLobeSet::Entry& entry : lobes)
        if (kindOf(entry) == kind && !entry.lobe->isDelta())
            count += entry.mask & one;
    return count;
}

void setDifferentials(znRTRayDifferentialPacket& rays, const znRTLitHit& hit,
                      const znFloatType<2>& spread)
{
    znRTONB across;
    across.set(rays.direction);
    rays.rxDirection = rays.direction + across.u * spread;
    rays.ryDirection = rays.direction + across.v * spread;
    rays.rxOrigin = rays.ryOrigin = rays.origin;
    if (hit.data.requirements & shadingRequirement::footprint) {
        rays.rxOrigin += hit.dg.dPdx;
        rays.ryOrigin += hit.dg.dPdy;
    }
    rays.hasDifferentials = 1;
}

} // namespace

void znRTGatherDirections::take(const znRTGatherDirections& other)
{
    wi.setMasked(other.wi, other.mask);
    weight.maskedUpdate(other.weight, other.mask);
    pdf = select(other.mask, other.pdf, pdf);
    mask |= other.mask;
}

znRTColorPacket evaluateKind(const znRTLitHit& hit, znRTLobeKind kind, const znRTVector3fPacket& wi,
                             const znFloatType<2>& mask, znFloatType<2>& pdf)
{
    pdf = 0.0f;
    znRTColorPacket value(0.0f);
    const znFloatType<2> above = mask & (dot(wi, hit.dg.geometricNormal) > znFloatType<2>(0.0f));
    if (!anyLane(above))
        return value;
    znFloatType<2> count(0.0f);
    for (const znRTLobeSet::Entry& entry : hit.lobes) {
        const znFloatType<2> lanes = above & entry.mask;
        if (kindOf(entry) != kind || entry.lobe->isDelta() || !anyLane(lanes))
            continue;
        const znRTVector3fPacket local = entry.onb->toLocal(wi);
        znFloatType<2> lobePdf;
        value += (entry.lobe->evaluate(entry.onb->toLocal(hit.wo), local, hit.dg, lobePdf) *
                  maximum(local.z, 0.0f)) &
                 lanes;
        pdf += lobePdf & lanes;
        count += lanes & one;
    }
    pdf *= reciprocalOrZero(count);
    return value;
}

znRTGatherDirections drawDirections(const znRTLitHit& hit, znRTLobeKind kind,
                                    const znRTVector2fPacket& u, const znFloatType<2>& mask)
{
    const znFloatType<2> none = znFloatType<2>::noLanes();
    znRTGatherDirections drawn{hit.dg.shadingNormal, znRTColorPacket(0.0f), 0.0f, none};
    const znFloatType<2> count = lobesOf(hit.lobes, kind);
    const znFloatType<2> scaled = u.x * count, place = toFloat(toInt(scaled));
    const znRTVector2fPacket within(scaled - place, u.y);

    znFloatType<2> before(0.0f);
    for (const znRTLobeSet::Entry& entry : hit.lobes) {
        if (kindOf(entry) != kind || entry.lobe->isDelta())
            continue;
        const znFloatType<2> chosen = mask & entry.mask & (before == place);
        if (anyLane(chosen)) {
            znRTVector3fPacket local;
            const znFloatType<2> valid =
                entry.lobe->sample(within, entry.onb->toLocal(hit.wo), hit.dg, local) & chosen;
            drawn.wi.setMasked(entry.onb->toWorld(local), valid);
            drawn.mask |= valid;
        }
        before += entry.mask & one;
    }
    const znRTColorPacket value = evaluateKind(hit, kind, drawn.wi, drawn.mask, drawn.pdf);
    drawn.mask &= drawn.pdf > znFloatType<2>(0.0f);
    drawn.weight = (value * reciprocalOrZero(drawn.pdf)) & drawn.mask;
    return drawn;
}

znRTRayDifferentialPacket gatherRays(const znRTLitHit& hit, const znRTGatherDirections& directions,
                                     const znRTColorPacket& weight, const znFloatType<2>& isGlossy,
                                     int samples)
{
    const u32 flags = rayType::stochasticBounce;
    znRTRayDifferentialPacket rays =
        spawnRays(hit.ray, hit.data, hit.dg, directions.wi, weight, rayType::diffuseScatter, flags);
    rays.type = select(asInt(isGlossy),
                       spawnedTypes(hit.ray.type, rayType::glossyReflection, flags), rays.type);
    const znFloatType<2> share = reciprocalSquareRoot(
        maximum(directions.pdf * float(samples), 1.0f)); // of a unit sphere, as a radius
    setDifferentials(rays, hit, share * widestSpread);
    return rays;
}
