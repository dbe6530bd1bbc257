#include "material/indirectLight.h"

#include "core/znRTDataBlockPacket.h"
#include "gi/randomDecisions.h"
#include "host/znRTRaytracingSettings.h"
#include "light/znRTInfiniteAreaLight.h"
#include "material/gatherRays.h"
#include "material/openSky.h"
#include "material/pathContinuation.h"
#include "material/spawnedRays.h"
#include "material/znRTMaterial.h"
#include "render/znRTRenderUtils.h"

#include <limits>

namespace {

const znFloatType<2> zero(0.0f), one(1.0f);
constexpr float unlimited = std::numeric_limits<float>::max();

/// Light baked into the vertices; alpha 0.
znRTColorPacket bakedIrradiance(const znRTDataBlockPacket& data, const znRTColorPacket& tint)
{
    znRTColorPacket light = data.bakedIrradiance * tint;
    light.a = 0.0f;
    return light;
}

/// A single value of light: nothing undefined, nothing negative, and with the clamp of the settings
/// nothing that would stay visible as a spot for long.
znRTColorPacket filtered(znRTColorPacket light)
{
    const znFloatType<2> isBad = light.hasNaN();
    light = {andNot(isBad, light.r), andNot(isBad, light.g), andNot(isBad, light.b), zero};
    if (znRTRaytracingSettings::s_clamping)
        light.clampRGB(znRTRaytracingSettings::s_reflectionClampValue);
    light.clampRGBMin(zero);
    return light;
}

class Gather
{
public:
    Gather(const znRTLitHit& newHit, const znRTGatherPlan& newPlan,
           const znRTColorPacket& newDiffuseColor, const znRTColorPacket& newGlossyColor)
        : hit(newHit), plan(newPlan), diffuseColor(newDiffuseColor), glossyColor(newGlossyColor)
    {
    }

    /// Several rays for each kind of lobes: the point is seen.
    void split()
    {
        const int samples = plan.samples;
        const znFloatType<2> ofDiffuse = plan.diffuse > zero, ofGlossy = plan.glossy > zero;
        const znFloatType<2> none = znFloatType<2>::noLanes();
        for (int i = 0; i < samples; ++i) {
            const znRTVector2fPacket survival =
                drawPair(hit.state, RandomDecision::roulette, samples, i, moveMask(hit.mask));
            if (anyLane(ofDiffuse))
                follow(ofDiffuse, none, draw(RandomDecision::gather, samples, i, ofDiffuse),
                       survival.x, splitState(hit.state, samples, i, 0));
            if (anyLane(ofGlossy))
                follow(none, ofGlossy, draw(RandomDecision::gatherGlossy, samples, i, ofGlossy),
                       survival.y, splitState(hit.state, samples, i, 1));
        }
    }

    /// One ray, for the diffuse or the glossy lobes by what they reflect: paths do not branch.
    void goOn()
    {
        const int lanes = moveMask(hit.mask);
        const znFloatType<2> isGlossy =
            drawPair(hit.state, RandomDecision::lobeChoice, 1, 0, lanes).x < plan.glossy;
        const znFloatType<2> active = select(isGlossy, plan.glossy, plan.diffuse) > zero;
        if (!anyLane(active))
            return;
        const znFloatType<2> survival =
            drawPair(hit.state, RandomDecision::roulette, 1, 0, lanes).x;
        follow(andNot(isGlossy, active), active & isGlossy,
               draw(RandomDecision::gather, 1, 0, active), survival, deeperState(hit.state));
    }

    znRTGatheredLight light;

private:
    znRTVector2fPacket draw(RandomDecision decision, int samples, int i,
                            const znFloatType<2>& lanes) const
    {
        return drawPair(hit.state, decision, samples, i, moveMask(lanes));
    }

    /// Directions of both kinds; each lane is of one at most.
    znRTGatherDirections directionsFor(const znFloatType<2>& ofDiffuse,
                                       const znFloatType<2>& ofGlossy,
                                       const znRTVector2fPacket& u) const
    {
        if (!anyLane(ofGlossy))
            return drawDirections(hit, znRTLobeKind::diffuse, u, ofDiffuse);
        znRTGatherDirections directions = drawDirections(hit, znRTLobeKind::glossy, u, ofGlossy);
        if (anyLane(ofDiffuse))
            directions.take(drawDirections(hit, znRTLobeKind::diffuse, u, ofDiffuse));
        return directions;
    }

    /// Traces one ray per lane and adds what it brings.
    /// @param u         for the directions
    /// @param survival  for the end of paths
    void follow(const znFloatType<2>& ofDiffuse, const znFloatType<2>& ofGlossy,
                const znRTVector2fPacket& u, const znFloatType<2>& survival,
                const znRTShadingState& state)
    {
        const znRTGatherDirections directions = directionsFor(ofDiffuse, ofGlossy, u);
        if (!anyLane(directions.mask))
            return;
        const znFloatType<2> rayCount = select(ofGlossy, plan.glossy, plan.diffuse);
        const znFloatType<2> share = reciprocalOrZero(rayCount);
        const znRTColorPacket before(hit.ray.weight.x, hit.ray.weight.y, hit.ray.weight.z, one);
        znRTColorPacket after = before * directions.weight *
                                select(ofGlossy, glossyColor, diffuseColor) *
                                (share * float(plan.samples));
        // Rays from points that are seen count twice: all go on where half of the light is
        // reflected. Of 1, 2, 4 and certainty, the factor with the least variance times seconds in
        // a lit room.
        const float worth = hit.state.counterC == 0 ? 2.0f : 1.0f;
        const znFloatType<2> p = survivalOf(before, after * worth);
        const znFloatType<2> alive = directions.mask & (survival < p);
        if (!anyLane(alive))
            return;
        const znFloatType<2> compensation = reciprocalOrZero(p);
        after *= compensation;
        znRTRayDifferentialPacket rays = gatherRays(hit, directions, after, ofGlossy, plan.samples);
        znRTDataBlockPacket block(unlimited);
        znRTColorPacket open(0.0f);
        if (plan.sky)
            open = meetSurfaces(hit, *plan.sky, rays, alive, block);
        else
            znRTRenderUtils::getIntersection(rays, zero, znFloatType<2>(unlimited), block.hit,
                                             moveMask(alive));
        const znFloatType<2> hasHit = alive & expandLanes(int(block.hit.hitMask));
        if (anyLane(hasHit)) {
            const znRTColorPacket arriving = shadeHits(rays, block, hasHit, state);
            const znRTColorPacket found =
                filtered(arriving * directions.weight * compensation) * share;
            light.diffuse += found & hasHit & ofDiffuse;
            light.glossy += found & hasHit & ofGlossy;
        }
        if (plan.sky)
            addSky(open & alive, directions, rayCount, compensation, ofDiffuse, ofGlossy);
    }

    /// Light of the environment, beside directions that are drawn by it.
    /// @param open      share of the light that comes along the directions
    /// @param rayCount  of the kind that a lane's direction is of
    void addSky(const znRTColorPacket& open, const znRTGatherDirections& directions,
                const znFloatType<2>& rayCount, const znFloatType<2>& compensation,
                const znFloatType<2>& ofDiffuse, const znFloatType<2>& ofGlossy)
    {
        const znFloatType<2> lanes = directions.mask & (open.getMax() > zero);
        if (!anyLane(lanes))
            return;
        znFloatType<2> skyPdf;
        const znRTColorPacket radiance =
            radianceWithPdf(*plan.sky, hit.dg.position, directions.wi, lanes, skyPdf);
        // The density of the direction cancels: value * cosine over the densities of both ways.
        const znFloatType<2> factor =
            directions.pdf * compensation *
            plan.sky->getMISWeight(directions.pdf * rayCount, skyPdf * float(plan.skySamples()));
        znRTColorPacket seen = (radiance * open * directions.weight * factor) & lanes;
        seen.a = zero;
        light.skyDiffuse += seen & ofDiffuse;
        light.skyGlossy += seen & ofGlossy;
    }

    const znRTLitHit& hit;
    const znRTGatherPlan& plan;
    const znRTColorPacket &diffuseColor, &glossyColor;
};

} // namespace

znRTGatheredLight evaluateIndirect(const znRTLitHit& hit, const znRTGatherPlan& plan,
                                   const znRTColorPacket& diffuseColor,
                                   const znRTColorPacket& glossyColor,
                                   const znRTColorPacket& ambient)
{
    const znRTMaterialState& quality = hit.material.getState();
    if (quality.usesIndirectTerm && !quality.traceIndirect) {
        // Lanes with a baked colour have their light already.
        znRTGatheredLight baked;
        baked.diffuse = hit.material.useBaking(bakedIrradiance(hit.data, ambient),
                                               znRTColorPacket(0.0f), hit.data) &
                        hit.mask;
        return baked;
    }
    if (plan.isEmpty())
        return {};
    Gather gather(hit, plan, diffuseColor, glossyColor);
    if (plan.choosesKind)
        gather.goOn();
    else
        gather.split();
    return gather.light;
}
