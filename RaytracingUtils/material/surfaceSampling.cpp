// Directions drawn from all lobes of a surface.

#include "material/znRTDirectionalImportance.h"
#include "material/znRTSurfaceProperties.h"

namespace {

using Surface = znRTSurfaceProperties;
using Slot = Surface::Slot;
using Group = Surface::Group;

constexpr unsigned reflectionBits = lobeType::diffuse | lobeType::glossy;

const znFloatType<2> one(1.0f);

/// Number of the group's lobes in each lane.
znFloatType<2> lobesIn(const Group& group)
{
    znFloatType<2> count(0.0f);
    for (u32 i = 0; i < group.count; ++i)
        count += group.slots[i].mask & one;
    return count;
}

/// Probability of each lobe of a group in the lanes that have it: the group's share of the light,
/// evenly over its lobes.
struct Choice
{
    znFloatType<2> group[Surface::groupCount]; ///< 0 where nothing can be chosen
    znFloatType<2> lobes[Surface::groupCount]; ///< number of lobes

    Choice(const Surface& surface, unsigned flags, const znFloatType<2>& mask)
    {
        znFloatType<2> total(0.0f);
        for (int g = 0; g < Surface::groupCount; ++g) {
            const int bit = Surface::BxDFTypeSelector[g][0];
            group[g] = lobes[g] = znFloatType<2>(0.0f);
            if (!(flags & unsigned(bit)) || surface.groups[g].count == 0)
                continue;
            const znIntType<2> allowed = surface.samplingFlags & znIntType<2>(bit);
            const znFloatType<2> isAllowed = asFloat(allowed == znIntType<2>(bit));
            lobes[g] = lobesIn(surface.groups[g]);
            group[g] = surface.selection[g] & isAllowed & mask & (lobes[g] > 0.0f);
            total += group[g];
        }
        const znFloatType<2> scale = reciprocalOrZero(total);
        for (znFloatType<2>& p : group)
            p *= scale;
    }
    znFloatType<2> ofLobe(int g) const { return group[g] * reciprocalOrZero(lobes[g]); }
};

/// value * |cosine| * colour * weight of one lobe, and its density.
znRTColorPacket weigh(const Group& group, const Slot& slot, const znRTVector3fPacket& wo,
                      const znRTVector3fPacket& wi, const znRTDifferentialGeometry& dg,
                      znFloatType<2>& pdf)
{
    const znRTVector3fPacket localWi = group.onb.toLocal(wi);
    const znRTColorPacket value =
        slot.lobe->evaluate(group.onb.toLocal(wo), localWi, dg, pdf) * slot.color;
    return value * (slot.weight * absolute(localWi.z));
}

class Draw
{
public:
    Draw(const Surface& newSurface, const znRTVector3fPacket& newWo,
         const znRTDifferentialGeometry& newDg)
        : surface(newSurface), wo(newWo), dg(newDg), wi(newDg.shadingNormal), reflectance(0.0f),
          pdf(0.0f), valid(znFloatType<2>::noLanes()), delta(znFloatType<2>::noLanes()), group(-1),
          rayMask(0)
    {
    }

    /// One lobe per lane by the choice, and its direction.
    void chooseLobes(const Choice& choice, const znFloatType<2>& uChoice,
                     const znRTVector2fPacket& u)
    {
        znFloatType<2> lower(0.0f), open = znFloatType<2>::allLanes();
        for (int g = 0; g < Surface::groupCount; ++g) {
            const znFloatType<2> p = choice.group[g], upper = lower + p;
            const znFloatType<2> later = laterGroups(choice, g);
            // The last one takes what rounding leaves over.
            const znFloatType<2> chosen =
                open & (p > 0.0f) & ((uChoice < upper) | (later == znFloatType<2>(0.0f)));
            if (anyLane(chosen))
                chooseLobe(g, choice, (uChoice - lower) * reciprocalOrZero(p), chosen, u);
            open = andNot(chosen, open);
            lower = upper;
        }
    }
    /// The sum over all lobes that could have drawn the directions, and their mean density.
    void sumLobes(const Choice& choice)
    {
        const znFloatType<2> lanes = andNot(delta, valid);
        if (!anyLane(lanes))
            return;
        for (int g = 0; g < Surface::groupCount; ++g)
            if (anyLane(choice.group[g] > 0.0f))
                sumGroup(g, choice.ofLobe(g), lanes);
    }
    /// The sum over the diffuse and glossy lobes alone; the density stays.
    void sumReflection()
    {
        const znFloatType<2> density = pdf;
        sumGroup(0, 0.0f, valid);
        sumGroup(1, 0.0f, valid);
        pdf = density;
    }

    const Surface& surface;
    const znRTVector3fPacket& wo;
    const znRTDifferentialGeometry& dg;
    znRTVector3fPacket wi;
    znRTColorPacket reflectance;
    znFloatType<2> pdf, valid;
    znFloatType<2> delta; ///< lanes whose direction only the lobe that drew it answers for
    znIntType<2> group, rayMask;

private:
    static znFloatType<2> laterGroups(const Choice& choice, int g)
    {
        znFloatType<2> sum(0.0f);
        for (int later = g + 1; later < Surface::groupCount; ++later)
            sum += choice.group[later];
        return sum;
    }

    void chooseLobe(int g, const Choice& choice, const znFloatType<2>& v,
                    const znFloatType<2>& lanes, const znRTVector2fPacket& u)
    {
        const znFloatType<2> count = choice.lobes[g];
        const znFloatType<2> place =
            minimum(toFloat(toInt(v * count)), count - one); // of the lobe in its lane
        znFloatType<2> before(0.0f);
        for (u32 i = 0; i < surface.groups[g].count; ++i) {
            const Slot& slot = surface.groups[g].slots[i];
            const znFloatType<2> chosen = lanes & slot.mask & (before == place);
            if (anyLane(chosen))
                drawFrom(g, slot, choice.ofLobe(g), chosen, u);
            before += slot.mask & one;
        }
    }

    void drawFrom(int g, const Slot& slot, const znFloatType<2>& probability,
                  const znFloatType<2>& lanes, const znRTVector2fPacket& u)
    {
        const znRTONB& onb = surface.groups[g].onb;
        znRTVector3fPacket local;
        const znFloatType<2> drawn = slot.lobe->sample(u, onb.toLocal(wo), dg, local) & lanes;
        wi.setMasked(onb.toWorld(local), drawn);
        valid |= drawn;
        Surface::updateInt(group, znIntType<2>(g), drawn);
        Surface::updateInt(rayMask, znIntType<2>(int(slot.lobe->getOutRayMask())), drawn);
        const znFloatType<2> alone = drawn & slot.deltaMask;
        if (!anyLane(alone))
            return;
        delta |= alone;
        znFloatType<2> density;
        reflectance.maskedUpdate(weigh(surface.groups[g], slot, wo, wi, dg, density), alone);
        pdf = select(alone, density * probability, pdf);
    }

    void sumGroup(int g, const znFloatType<2>& probability, const znFloatType<2>& lanes)
    {
        const Group& lobes = surface.groups[g];
        for (u32 i = 0; i < lobes.count; ++i) {
            const znFloatType<2> active =
                andNot(lobes.slots[i].deltaMask, lanes) & lobes.slots[i].mask;
            if (!anyLane(active))
                continue;
            znFloatType<2> density;
            reflectance += weigh(lobes, lobes.slots[i], wo, wi, dg, density) & active;
            pdf += (density * probability) & active;
        }
    }
};

} // namespace

znRTVector3fPacket znRTSurfaceProperties::sampleBRDF(
    unsigned flags, const znFloatType<2>& uChoice, const znRTVector2fPacket& u,
    const znRTVector3fPacket& wo, const znRTDifferentialGeometry& dg, const znFloatType<2>& mask,
    znRTColorPacket& reflectanceOut, znFloatType<2>& pdfOut, znFloatType<2>& validOut,
    znIntType<2>& groupOut, znIntType<2>& rayMaskOut) const
{
    const znFloatType<2> lanes = mask & activeMask;
    Draw draw(*this, wo, dg);
    if (importance && !(flags & reflectionBits)) {
        const Group& frame = groups[groups[0].count > 0 ? 0 : 1];
        const znFloatType<2> framed = lanes & frame.onbMask;
        znRTVector3fPacket local = frame.onb.toLocal(wo);
        draw.pdf = importance->importanceSample(u, frame.onb, framed, local) & framed;
        draw.valid = framed & (draw.pdf > 0.0f);
        draw.wi.setMasked(frame.onb.toWorld(local), draw.valid);
        const int drawnAs = frame.count > 0 ? int(&frame - groups) : -1;
        updateInt(draw.group, znIntType<2>(drawnAs), draw.valid);
        if (drawnAs >= 0)
            updateInt(draw.rayMask, znIntType<2>(BxDFOutRayType[drawnAs]), draw.valid);
        draw.sumReflection();
    } else {
        const Choice choice(*this, flags, lanes);
        draw.chooseLobes(choice, uChoice, u);
        draw.sumLobes(choice);
    }
    validOut = draw.valid & (draw.pdf > 0.0f);
    pdfOut = draw.pdf & validOut;
    reflectanceOut = draw.reflectance & validOut;
    updateInt(draw.group, znIntType<2>(-1), ~validOut);
    groupOut = draw.group;
    rayMaskOut = asInt(asFloat(draw.rayMask) & validOut);
    return select(validOut, draw.wi, dg.shadingNormal);
}
