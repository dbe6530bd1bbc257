#include "material/znRTSurfaceProperties.h"

const int znRTSurfaceProperties::BxDFTypeSelector[groupCount][2] = {
    {lobeType::diffuse, 0},
    {lobeType::glossy, 1},
    {lobeType::specular, 2},
    {lobeType::transmission, 3},
    {lobeType::specularTransmission, 4},
    {lobeType::subsurface, 5}};

const int znRTSurfaceProperties::BxDFOutRayType[groupCount] = {0x33,   0xC3,    0x300,
                                                               0x3000, 0x30000, 0x33};

namespace {

bool isGroup(int group)
{
    return group >= 0 && group < znRTSurfaceProperties::groupCount;
}

bool isSlot(int group, int slot)
{
    return isGroup(group) && slot >= 0 && slot < znRTSurfaceProperties::slotCount;
}

void assign(znRTONB& target, const znRTONB& onb, const znFloatType<2>& mask)
{
    target.u.setMasked(onb.u, mask);
    target.v.setMasked(onb.v, mask);
    target.n.setMasked(onb.n, mask);
}

/// Light that a slot adds to the choice of its group.
znFloatType<2> lightOf(const znRTSurfaceProperties::Slot& slot)
{
    return maximum(luminance(slot.color) * slot.weight * slot.rho, 0.0f) & slot.mask;
}

/// Rounding leaves nothing below 0, which would spoil the choice.
void addLight(znFloatType<2>& sum, const znFloatType<2>& change)
{
    sum = maximum(sum + change, 0.0f);
}

} // namespace

int znRTSurfaceProperties::getGroup(unsigned typeFlags)
{
    // Transmission first: its lobes carry a bit of reflection that says whether they are rough.
    for (int group : {3, 4, 5, 2, 1, 0})
        if (typeFlags & unsigned(BxDFTypeSelector[group][0]))
            return group;
    return -1;
}

void znRTSurfaceProperties::reset()
{
    for (int i = 0; i < groupCount; ++i) {
        groups[i].count = 0;
        groups[i].onbMask = groups[i].sampleMask = znFloatType<2>::noLanes();
        selection[i] = znFloatType<2>(0.0f);
    }
    activeMask = znFloatType<2>::noLanes();
    samplingFlags = znIntType<2>(-1);
    importance = nullptr;
    for (int i = 0; i < 2; ++i) {
        if (parametersInUse[i])
            parameters[i].clear();
        parametersInUse[i] = false;
    }
}

void znRTSurfaceProperties::enter(Group& group, int groupIndex, int slot, const znRTBRDF& lobe,
                                  const znRTColorPacket& color, const znFloatType<2>& mask,
                                  const znFloatType<2>& weight, const znFloatType<2>& rho,
                                  const znFloatType<2>& pdfFlag)
{
    // Slots that nobody entered yet have no lanes.
    const znFloatType<2> none = znFloatType<2>::noLanes();
    for (; group.count <= u32(slot); ++group.count)
        group.slots[group.count] = {nullptr, none, none, znRTColorPacket(0.0f), 0.0f, 0.0f};
    Slot& target = group.slots[slot];
    const znFloatType<2> before = lightOf(target);
    const znFloatType<2> replaced = target.lobe == &lobe ? mask : znFloatType<2>::allLanes();
    const znFloatType<2> isDelta = (pdfFlag == znFloatType<2>(0.0f)) & mask;
    target.lobe = &lobe;
    target.mask = andNot(replaced, target.mask) | mask;
    target.deltaMask = andNot(replaced, target.deltaMask) | isDelta;
    target.color.maskedUpdate(color, mask);
    updateFloat(target.weight, weight, mask);
    updateFloat(target.rho, rho, mask);
    addLight(selection[groupIndex], lightOf(target) - before);
    activeMask |= mask;
    group.sampleMask = znFloatType<2>::noLanes();
    for (u32 i = 0; i < group.count; ++i)
        group.sampleMask |= group.slots[i].deltaMask;
}

void znRTSurfaceProperties::setComponent(int group, int slot, const znRTBRDF& lobe,
                                         const znRTColorPacket& color, const znRTONB& onb,
                                         const znFloatType<2>& mask, const znFloatType<2>& weight,
                                         const znFloatType<2>& roughness, const znFloatType<2>& rho,
                                         const znFloatType<2>& pdfFlag)
{
    if (!isSlot(group, slot))
        return;
    Group& target = groups[group];
    target.count = 0;
    target.sampleMask = znFloatType<2>::noLanes();
    selection[group] = znFloatType<2>(0.0f);
    setONB(group, onb, mask);
    target.roughness = roughness;
    enter(target, group, slot, lobe, color, mask, weight, rho, pdfFlag);
}

void znRTSurfaceProperties::updateComponent(
    int group, int slot, const znRTBRDF& lobe, const znRTColorPacket& color, const znRTONB& onb,
    const znFloatType<2>& mask, const znFloatType<2>& weight, const znFloatType<2>& roughness,
    const znFloatType<2>& rho, const znFloatType<2>& pdfFlag)
{
    if (!isSlot(group, slot))
        return;
    updateONB(group, onb, mask);
    updateFloat(groups[group].roughness, roughness, mask);
    updateComponent(group, slot, lobe, color, mask, weight, rho, pdfFlag);
}

void znRTSurfaceProperties::updateComponent(int group, int slot, const znRTBRDF& lobe,
                                            const znRTColorPacket& color,
                                            const znFloatType<2>& mask,
                                            const znFloatType<2>& weight, const znFloatType<2>& rho,
                                            const znFloatType<2>& pdfFlag)
{
    if (!isSlot(group, slot))
        return;
    enter(groups[group], group, slot, lobe, color, mask, weight, rho, pdfFlag);
}

void znRTSurfaceProperties::addComponent(const znRTBRDF& lobe, const znRTColorPacket& color,
                                         const znRTONB& onb, const znFloatType<2>& mask,
                                         const znFloatType<2>& weight,
                                         const znFloatType<2>& roughness, const znFloatType<2>& rho)
{
    const int group = getGroup(lobe.getTypeFlags());
    if (!isGroup(group))
        return;
    const znFloatType<2> pdfFlag(lobe.isDelta() ? 0.0f : 1.0f);
    const int slot = int(groups[group].count);
    if (slot == 0)
        setComponent(group, slot, lobe, color, onb, mask, weight, roughness, rho, pdfFlag);
    else
        updateComponent(group, slot, lobe, color, onb, mask, weight, roughness, rho, pdfFlag);
}

void znRTSurfaceProperties::setColor(int group, int slot, const znRTColorPacket& color)
{
    updateColor(group, slot, color, znFloatType<2>::allLanes());
}

void znRTSurfaceProperties::updateColor(int group, int slot, const znRTColorPacket& color,
                                        const znFloatType<2>& mask)
{
    if (!isSlot(group, slot) || u32(slot) >= groups[group].count)
        return;
    Slot& target = groups[group].slots[slot];
    // The light that the group scatters follows the colour.
    const znFloatType<2> before = lightOf(target);
    target.color.maskedUpdate(color, mask);
    addLight(selection[group], lightOf(target) - before);
}

void znRTSurfaceProperties::setONB(int group, const znRTONB& onb, const znFloatType<2>& valid)
{
    groups[group].onb = onb;
    groups[group].onbMask = valid;
}

void znRTSurfaceProperties::updateONB(int group, const znRTONB& onb, const znFloatType<2>& mask)
{
    assign(groups[group].onb, onb, mask);
    groups[group].onbMask |= mask;
}

void znRTSurfaceProperties::updateFloat(znFloatType<2>& target, const znFloatType<2>& value,
                                        const znFloatType<2>& mask)
{
    target = select(mask, value, target);
}

void znRTSurfaceProperties::updateInt(znIntType<2>& target, const znIntType<2>& value,
                                      const znFloatType<2>& mask)
{
    target = asInt(select(mask, asFloat(value), asFloat(target)));
}

void znRTSurfaceProperties::updateVec2f(znRTVector2fPacket& target, const znRTVector2fPacket& value,
                                        const znFloatType<2>& mask)
{
    target.setMasked(value, mask);
}

void znRTSurfaceProperties::updateVec3f(znRTVector3fPacket& target, const znRTVector3fPacket& value,
                                        const znFloatType<2>& mask)
{
    target.setMasked(value, mask);
}

void znRTSurfaceProperties::setSamplingFlags(unsigned flags)
{
    samplingFlags = znIntType<2>(int(flags));
}

void znRTSurfaceProperties::updateSamplingFlags(unsigned flags, const znFloatType<2>& mask)
{
    updateInt(samplingFlags, znIntType<2>(int(flags)), mask);
}

znRTLobeParameters& znRTSurfaceProperties::useParameters(int which)
{
    if (!parametersInUse[which])
        parameters[which].clear();
    parametersInUse[which] = true;
    return parameters[which];
}

void znRTSurfaceProperties::evaluate_Rho(const znRTDifferentialGeometry& dg,
                                         const znFloatType<2>& mask, znRTColorPacket* colorsOut,
                                         int n) const
{
    const znRTVector2fPacket middle(0.5f, 0.5f);
    for (int g = 0; g < n; ++g) {
        colorsOut[g] = znRTColorPacket(0.0f);
        for (u32 i = 0; g < 2 && i < groups[g].count; ++i) {
            const Slot& slot = groups[g].slots[i];
            const znFloatType<2> lanes = slot.mask & mask;
            if (anyLane(lanes))
                colorsOut[g] +=
                    (slot.lobe->rho(dg, middle, lanes) * slot.color * slot.weight) & lanes;
        }
    }
}
