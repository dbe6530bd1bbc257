#include "material/indirectLight.h"

#include "core/znRTDataBlockPacket.h"
#include "gi/randomDecisions.h"
#include "host/znRTRaytracingSettings.h"
#include "material/gatherRays.h"
#include "material/pathContinuation.h"
#include "material/spawnedRays.h"
#include "material/znRTMaterial.h"

namespace {

const znFloatType<2> zero(0.0f), one(1.0f);

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

/// Rays per point and kind of lobe of a quality; small qualities are steps of other effects.
int rayCount(int quality)
{
    return quality < 4 ? 1 : quality;
}

class Gather
{
public:
    Gather(const znRTLitHit& newHit, const znRTColorPacket& newDiffuseColor,
           const znRTColorPacket& newGlossyColor)
        : hit(newHit), diffuseColor(newDiffuseColor), glossyColor(newGlossyColor), diffuse(0.0f),
          glossy(0.0f)
    {
    }

    /// Several rays for each kind of lobes: the point is seen.
    void split(int samples)
    {
        const znFloatType<2> ofDiffuse = hit.mask & (diffuseColor.getMax() > zero);
        const znFloatType<2> ofGlossy = hit.mask & (glossyColor.getMax() > zero);
        const znFloatType<2> none = znFloatType<2>::noLanes(), share(1.0f / float(samples));
        for (int i = 0; i < samples; ++i) {
            const znRTVector2fPacket survival =
                drawPair(hit.state, RandomDecision::roulette, samples, i, moveMask(hit.mask));
            if (anyLane(ofDiffuse))
                follow(ofDiffuse, none, draw(RandomDecision::gather, samples, i, ofDiffuse),
                       survival.x, share, splitState(hit.state, samples, i, 0), samples);
            if (anyLane(ofGlossy))
                follow(none, ofGlossy, draw(RandomDecision::gatherGlossy, samples, i, ofGlossy),
                       survival.y, share, splitState(hit.state, samples, i, 1), samples);
        }
    }

    /// One ray, for the diffuse or the glossy lobes by what they reflect: paths do not branch.
    void goOn()
    {
        const int lanes = moveMask(hit.mask);
        const znFloatType<2> fromDiffuse = luminance(diffuseColor),
                             fromGlossy = luminance(glossyColor);
        const znFloatType<2> total = fromDiffuse + fromGlossy;
        const znFloatType<2> ofGlossy = fromGlossy * reciprocalOrZero(total);
        const znFloatType<2> isGlossy =
            drawPair(hit.state, RandomDecision::lobeChoice, 1, 0, lanes).x < ofGlossy;
        const znFloatType<2> active = hit.mask & (total > zero);
        if (!anyLane(active))
            return;
        const znFloatType<2> probability = select(isGlossy, ofGlossy, one - ofGlossy);
        const znFloatType<2> survival =
            drawPair(hit.state, RandomDecision::roulette, 1, 0, lanes).x;
        follow(andNot(isGlossy, active), active & isGlossy,
               draw(RandomDecision::gather, 1, 0, active), survival, reciprocalOrZero(probability),
               deeperState(hit.state), 1);
    }

    const znRTLitHit& hit;
    const znRTColorPacket &diffuseColor, &glossyColor;
    znRTColorPacket diffuse, glossy;

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
    /// @param share     of the light that a ray counts for
    void follow(const znFloatType<2>& ofDiffuse, const znFloatType<2>& ofGlossy,
                const znRTVector2fPacket& u, const znFloatType<2>& survival,
                const znFloatType<2>& share, const znRTShadingState& state, int samples)
    {
        const znRTGatherDirections directions = directionsFor(ofDiffuse, ofGlossy, u);
        if (!anyLane(directions.mask))
            return;
        const znRTColorPacket before(hit.ray.weight.x, hit.ray.weight.y, hit.ray.weight.z, one);
        znRTColorPacket after = before * directions.weight *
                                select(ofGlossy, glossyColor, diffuseColor) *
                                (share * float(samples));
        const znFloatType<2> p = survivalOf(before, after);
        const znFloatType<2> alive = directions.mask & (survival < p);
        if (!anyLane(alive))
            return;
        const znFloatType<2> compensation = reciprocalOrZero(p);
        after *= compensation;
        const znRTRayDifferentialPacket rays =
            gatherRays(hit, directions, after, ofGlossy, samples);
        znFloatType<2> missed;
        const znRTColorPacket light =
            filtered(shadeAlong(rays, alive, state, missed) * directions.weight * compensation) *
            share;
        diffuse += light & alive & ofDiffuse;
        glossy += light & alive & ofGlossy;
    }
};

} // namespace

void evaluateIndirect(const znRTLitHit& hit, const znRTColorPacket& diffuseColor,
                      const znRTColorPacket& glossyColor, const znRTColorPacket& ambient,
                      znRTColorPacket& diffuse, znRTColorPacket& glossy)
{
    diffuse = glossy = znRTColorPacket(0.0f);
    const znRTMaterialState& quality = hit.material.getState();
    if (!quality.usesIndirectTerm)
        return;
    if (!quality.traceIndirect) {
        // Lanes with a baked colour have their light already.
        diffuse = hit.material.useBaking(bakedIrradiance(hit.data, ambient), znRTColorPacket(0.0f),
                                         hit.data) &
                  hit.mask;
        return;
    }
    // The light sources that light the last surface of a path have been counted by its own shade.
    if (hit.state.counterC >= hit.material.getTraceDepth())
        return;
    Gather gather(hit, diffuseColor, glossyColor);
    if (hit.state.counterC == 0)
        gather.split(rayCount(hit.material.getIndirectQuality()));
    else
        gather.goOn();
    diffuse = gather.diffuse;
    glossy = gather.glossy;
}
