#include "material/subsurface.h"

#include "core/rayTypes.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "gi/randomDecisions.h"
#include "material/directLighting.h"
#include "material/indirectLight.h"
#include "material/shadePipeline.h"
#include "material/znRTRoundedEdgeFilter.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>

namespace {

using F = znFloatType<2>;
using V = znRTVector3fPacket;

const F zero(0.0f), one(1.0f);

/// Share of the probing rays along the normal; either tangent takes half of the others, which find
/// what stands steep nearby and miss flat surroundings.
constexpr float alongNormal = 0.8f;
constexpr float alongTangent = 0.1f;
/// Probes of a point that is seen, at least: with one, most of what a few samples show is chance.
constexpr int leastProbes = 4;
/// Walls of a body that one ray looks at; those behind count as not there.
constexpr int mostWalls = 4;
/// Steps from a node up to the object that it is a part of.
constexpr int objectLevel = 1;
/// Rays of one point for different purposes have samples of their own; 0 and 1 gather light.
constexpr int branchOfProbes = 2;
/// Mean of 1 - (1 - c)^5 over the directions of a hemisphere, by their cosine c.
constexpr float meanRise = 20.0f / 21.0f;

/// The profile between two points, as a lobe at the one where light enters. A direction counts by
/// the density that the point was drawn with, so that values are those of a surface.
class EntryLobe final : public znRTBRDF
{
public:
    /// @param newWeight  1 / density of the point, area
    EntryLobe(const znRTBSSRDF& newBody, const F& newWeight)
        : znRTBRDF(newBody.getTypeId(), newBody.getTypeFlags(), newBody.getOutRayMask()),
          body(newBody), weight(newWeight)
    {
    }
    void setup(const znRTBxDFAttributes&, unsigned) override {}
    F convertExponent(const F& x) const override { return x; }

    using znRTBRDF::evaluate;
    using znRTBRDF::pdf;
    using znRTBRDF::sample;
    void sample(const znRTVector2fPacket& u, const V& wo, const znRTDifferentialGeometry& dg, V& wi,
                F& mask) const override
    {
        body.sample(u, wo, dg, wi, mask);
    }
    F pdf(const V& wo, const V& wi, const znRTDifferentialGeometry& dg) const override
    {
        return body.pdf(wo, wi, dg);
    }
    znRTColorPacket evaluate(const V& wo, const V& wi, const znRTDifferentialGeometry& dg,
                             F& pdfOut) const override
    {
        return body.evaluate(wo, wi, dg, pdfOut) * weight;
    }
    /// Of light that comes from everywhere alike, the share that leaves; the profile's angles are
    /// taken straight down.
    F getWhite(const V& wo, const znRTDifferentialGeometry& dg) const
    {
        F density;
        return evaluate(wo, {zero, zero, one}, dg, density).r * (lobeMath::pi * meanRise);
    }

private:
    const znRTBSSRDF& body;
    F weight;
};

/// Replaces the hits of some lanes.
void take(znRTHitInfoPacket& hit, const znRTHitInfoPacket& other, const F& mask)
{
    const unsigned lanes = unsigned(moveMask(mask));
    hit.t = select(mask, other.t, hit.t);
    hit.primitive = select(asInt(mask), other.primitive, hit.primitive);
    hit.geometry = select(asInt(mask), other.geometry, hit.geometry);
    hit.u = select(mask, other.u, hit.u);
    hit.v = select(mask, other.v, hit.v);
    for (V znRTHitInfoPacket::*const member :
         {&znRTHitInfoPacket::position, &znRTHitInfoPacket::dPdu, &znRTHitInfoPacket::dPdv,
          &znRTHitInfoPacket::d2Pduu, &znRTHitInfoPacket::d2Pduv, &znRTHitInfoPacket::d2Pdvv})
        (hit.*member).setMasked(other.*member, mask);
    hit.hitMask = (hit.hitMask & ~lanes) | (other.hitMask & lanes);
    hit.hitFlags = (hit.hitFlags & ~lanes) | (other.hitFlags & lanes);
}

/// Points where light enters, one per lane.
struct EntryPoints : znAlignedBase16
{
    znRTRayDifferentialPacket ray;
    znRTDataBlockPacket block;
    F walls{0.0f}; ///< that the ray could have stopped at
    F mask = F::noLanes();
};

class Subsurface
{
public:
    Subsurface(const znRTLitHit& newHit, const znRTBRDFMaterial& newMaterial,
               const znRTHitSurface& newSurface, const znRTBSSRDF& newBody)
        : hit(newHit), material(newMaterial), surface(newSurface), body(newBody),
          filter(znRTRoundedEdgeFilter::sameObject, hit.data.resolveToNodeId(objectLevel),
                 objectLevel,
                 {hit.data.nodes[0], hit.data.nodes[1], hit.data.nodes[2], hit.data.nodes[3]}, 0),
          frame(*newSurface.backLobes.begin()->onb),
          color(newSurface.translucent * newSurface.alpha)
    {
    }

    void addSample(int samples, int i)
    {
        const int lanes = moveMask(hit.mask);
        const znRTVector2fPacket place = draw(RandomDecision::subsurface, samples, i, lanes);
        const znRTVector2fPacket choice = draw(RandomDecision::subsurfaceWay, samples, i, lanes);
        EntryPoints entry;
        findEntry(place, choice, entry);
        if (!anyLane(entry.mask))
            return;
        znRTShadingState state = splitState(hit.state, samples, i, branchOfProbes);
        addLight(entry, state, 1.0f / float(samples));
    }

    znRTColorPacket direct{0.0f}, ibl{0.0f}, indirect{0.0f};

private:
    znRTVector2fPacket draw(RandomDecision decision, int samples, int i, int lanes) const
    {
        return drawPair(hit.state, decision, samples, i, lanes);
    }

    /// A ray through the body's surface near the hit, and one of the walls that it meets.
    /// @param choice  numbers for the way of the ray, and for the wall
    void findEntry(const znRTVector2fPacket& place, const znRTVector2fPacket& choice,
                   EntryPoints& entry) const
    {
        const F isAlongU = choice.x >= F(alongNormal),
                isAlongV = choice.x >= F(alongNormal + alongTangent);
        const auto pick = [&](const V& n, const V& u, const V& v) {
            return select(isAlongV, v, select(isAlongU, u, n));
        };
        const V axis = pick(frame.n, frame.u, frame.v), a = pick(frame.u, frame.v, frame.n),
                b = pick(frame.v, frame.n, frame.u);
        const znRTSubsurfaceProbe probe = body.sampleProbe(place);
        const V& from = probe.origin;
        static_cast<znRTRayPacket&>(entry.ray) =
            znRTRayPacket(hit.dg.position + a * from.x + b * from.y + axis * from.z, -axis,
                          hit.ray.pixelX, hit.ray.pixelY, hit.ray.weight,
                          znIntType<2>(int(rayType::defaultVisibility)), hit.ray.alpha);
        entry.ray.hasDifferentials = 0;
        entry.ray.auxiliary = &filter;
        stopAtWall(probe.length, choice.y, entry);
        if (!anyLane(entry.mask))
            return;
        znRTRenderUtils::getShadingData(entry.ray, entry.block, false);
        entry.mask &= entry.block.coverage > zero;
        entry.block.computeShadingData(entry.ray);
        keepOwnMaterial(entry);
        entry.ray.auxiliary = nullptr;
        entry.ray.type = hit.ray.type;
        entry.ray.setMonochromatic(hit.ray.getMonochromatic());
    }

    /// Each wall with the same chance: the n-th one takes the place of an earlier one with 1 / n.
    void stopAtWall(const F& length, F number, EntryPoints& entry) const
    {
        F open = hit.mask, begin = zero;
        entry.block.reset(length);
        for (int wall = 0; wall < mostWalls && anyLane(open); ++wall) {
            znRTHitInfoPacket found;
            found.reset(length);
            znRTRenderUtils::getIntersection(entry.ray, begin, length, found, moveMask(open));
            open &= expandLanes(int(found.hitMask));
            entry.walls += open & one;
            // The number that was below a chance is below it evenly.
            const F chance = reciprocalOrZero(entry.walls), isTaken = open & (number < chance);
            if (anyLane(isTaken))
                take(entry.block.hit, found, isTaken);
            number = select(isTaken, number * entry.walls,
                            (number - chance) * reciprocalOrZero(one - chance));
            entry.mask |= open;
            begin = select(open, nextBegin(found.t), begin);
        }
    }

    static F nextBegin(const F& t) { return t * 1.00001f + 1e-7f; }

    /// What is of another material is another body.
    void keepOwnMaterial(EntryPoints& entry) const
    {
        F own = F::noLanes();
        for (u32 i = 0; i < entry.block.materialCount; ++i)
            if (entry.block.materials[i]->getFirstActiveMaterial() == &material)
                own |= entry.block.materialLanes[i];
        entry.mask &= own;
    }

    /// The side of the body that its own hit shows.
    znRTDifferentialGeometry outside(const EntryPoints& entry) const
    {
        znRTDifferentialGeometry dg = entry.block.dg;
        const F isInside = dg.frontFacing ^ hit.dg.frontFacing;
        for (V* normal : {&dg.geometricNormal, &dg.shadingNormal})
            normal->setMasked(-*normal, isInside);
        dg.frontFacing = hit.dg.frontFacing;
        return dg;
    }

    /// 1 / density of a point per area, by all ways that could have led there.
    F weightOf(const znRTDifferentialGeometry& dg) const
    {
        const V way = frame.toLocal(dg.position - hit.dg.position),
                normal = frame.toLocal(dg.geometricNormal);
        const float nearest = 1e-5f * body.getMeanFreePath();
        const auto density = [&](const F& x, const F& y, const F& cosine) {
            return body.getPointPdf(maximum(squareRoot(x * x + y * y), nearest)) * absolute(cosine);
        };
        return reciprocalOrZero(
            density(way.x, way.y, normal.z) * alongNormal +
            (density(way.y, way.z, normal.x) + density(way.z, way.x, normal.y)) * alongTangent);
    }

    void addLight(const EntryPoints& entry, znRTShadingState& state, float share)
    {
        znRTDifferentialGeometry dg = outside(entry);
        znRTLobeParameters points[2];
        points[0].clear();
        points[1].clear();
        // The lobe asks for a distance: from here to where the light leaves.
        points[0].entryMask = entry.mask;
        points[0].entryPoint = hit.dg.position;
        dg.parameters = points;

        znRTONB onb;
        onb.set(dg.shadingNormal, frame.u, entry.mask);
        const V wo = onb.toWorld(frame.toLocal(hit.wo));
        const EntryLobe lobe(body, (weightOf(dg) * entry.walls) & entry.mask);
        znRTLobeSet lobes;
        lobes.add(lobe, onb, surface.translucent, entry.mask);
        const znRTLitHit lit{entry.ray, entry.block, dg, lobes, wo, entry.mask, material, state};
        const F white = lobe.getWhite(onb.toLocal(wo), dg);
        addDirect(lit, share);
        addSurroundings(lit, white, share);
    }

    void addDirect(const znRTLitHit& lit, float share)
    {
        if (!lit.material.getState().usesDirectLights)
            return;
        znRTColorPacket diffuse, glossy;
        evaluateDirectLighting(lit.ray, lit.data, lit.dg, lit.lobes, lit.wo, lit.mask, material,
                               lit.state, diffuse, glossy);
        direct += diffuse * share;
    }

    /// @param white  of what is looked up and not drawn
    void addSurroundings(const znRTLitHit& lit, const F& white, float share)
    {
        const znRTMaterialState& quality = lit.material.getState();
        const znRTColorPacket none(0.0f);
        const znRTGatherPlan plan = planGather(lit, color, none);
        znRTColorPacket sky, ignored;
        evaluateEnvironmentIllumination(lit, environmentShare(lit, material), plan, sky, ignored);
        if (!quality.sampleEnvironment)
            sky *= white;
        evaluateEnvironmentLights(lit, sky, ignored);
        znRTGatheredLight gathered = evaluateIndirect(lit, plan, color, none, surface.ambient);
        if (!quality.traceIndirect)
            gathered.diffuse *= white;
        ibl += (sky + gathered.skyDiffuse) * share;
        indirect += gathered.diffuse * share;
    }

    const znRTLitHit& hit;
    const znRTBRDFMaterial& material;
    const znRTHitSurface& surface;
    const znRTBSSRDF& body;
    const znRTRoundedEdgeFilter filter;
    const znRTONB& frame; ///< where the light leaves
    const znRTColorPacket color;
};

} // namespace

bool scattersBelow(const znRTLobeSet& lobes)
{
    return lobes.count > 0 && lobes.begin()->lobe->isSelected(lobeType::subsurface);
}

void evaluateSubsurface(const znRTLitHit& hit, const znRTBRDFMaterial& material,
                        const znRTHitSurface& surface, znRTColorPacket& direct,
                        znRTColorPacket& ibl, znRTColorPacket& indirect)
{
    const auto& body = static_cast<const znRTBSSRDF&>(*surface.backLobes.begin()->lobe);
    Subsurface below(hit, material, surface, body);
    // Points that light comes from by way of a ray are many: each is a part of a mean.
    const int samples =
        hit.state.counterC == 0 ? std::max(leastProbes, int(body.getSampleCount())) : 1;
    for (int i = 0; i < samples; ++i)
        below.addSample(samples, i);
    direct = below.direct;
    ibl = below.ibl;
    indirect = below.indirect;
}
