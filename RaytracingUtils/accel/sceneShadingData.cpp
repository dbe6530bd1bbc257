// From hits to shading data: each lane is filled by its own node.

#include "accel/sceneLamps.h"
#include "accel/znRTDynamicAccelerator.h"
#include "core/shadingRequirements.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "geometry/znRTGeometryNode.h"
#include "material/znRTDummyMaterial.h"
#include "material/znRTLampMaterial.h"

#include <bit>

namespace {

bool showsEdges(const znRTGeometryNode& node)
{
    return znRTGeometryNode::s_wireframeRenderMode || node.hasAnyWireframeSelection();
}

znRTMaterial* materialOf(const znRTGeometryNode& node)
{
    if (node.getSelectionMaterial() && showsEdges(node))
        return node.getSelectionMaterial();
    return node.getActiveMaterial() ? node.getActiveMaterial() : znRTDummyMaterial::getShared();
}

/// What a node says about its lanes by itself, whatever the hits.
void enterNode(znRTDataBlockPacket& data, int lanes, znRTGeometryNode& node)
{
    const bool hasLocalLights = node.getLocalLights().size > 0;
    for (int rest = lanes; rest; rest &= rest - 1) {
        const int lane = std::countr_zero(unsigned(rest));
        data.nodes[lane] = &node;
        if (hasLocalLights)
            data.localLights[lane] = &node.getLocalLights();
    }
    data.hasNodeTransforms |= node.hasTransform();
    data.hasLocalLights |= hasLocalLights;
    const znFloatType<2> mask = expandLanes(lanes);
    for (int i = 0; i < 3; ++i)
        data.ambientOcclusion[i] =
            select(mask, node.getAmbientOcclusionColor()[i], data.ambientOcclusion[i]);
}

struct Wanted
{
    u32 requirements, attributes;
};

Wanted wantedBy(const znRTMaterial& material, bool shadow, u32 extraAttributes,
                u32 extraRequirements)
{
    return {extraRequirements | (shadow ? material.getShadowShadingRequirements()
                                        : material.getShadingRequirements()),
            extraAttributes |
                (shadow ? material.getTransparencyAttributes() : material.getMaterialAttributes())};
}

} // namespace

void znRTDynamicAccelerator::getShadingData(const znRTRayDifferentialPacket& ray,
                                            znRTDataBlockPacket& data, bool shadow,
                                            u32 extraAttributes, u32 extraRequirements) const
{
    data.clearMaterials();
    data.uvValid = 0;
    data.hasNodeTransforms = 0;
    data.coverage = znFloatType<2>(0.0f);
    data.objectLanes = znFloatType<2>::noLanes();
    data.layerMask = znFloatType<2>(0.0f);
    data.dg.tangentMask = znFloatType<2>::noLanes();
    data.dg.parameters = nullptr;
    data.b0 = znFloatType<2>(1.0f) - data.hit.u - data.hit.v;

    data.requirements = 0;
    const auto enterMaterial = [&](const znRTGeometryNode& node, u32 lanes) {
        znRTMaterial* const material = materialOf(node);
        Wanted wanted = wantedBy(*material, shadow, extraAttributes, extraRequirements);
        if (!shadow && showsEdges(node))
            wanted.requirements |= shadingRequirement::edgeData | shadingRequirement::footprint;
        const u32 place = data.addMaterial(material, lanes);
        data.materialRequirements[place] |= wanted.requirements;
        data.requirements |= wanted.requirements;
        return wanted;
    };

    const auto enterLamps = [&](int lanes) {
        for (; lanes; lanes &= lanes - 1) {
            const int lane = std::countr_zero(unsigned(lanes));
            if (znRTMaterial* const material = getLamps().getShadingData(ray, data, lane)) {
                const u32 place = data.addMaterial(material, 1u << lane);
                data.materialRequirements[place] |= extraRequirements;
                data.requirements |= extraRequirements;
            }
        }
    };
    for (int rest = int(data.hit.hitMask & 15), own; rest; rest &= ~own) {
        const int index = data.hit.geometry[std::countr_zero(unsigned(rest))];
        own = moveMask(asFloat(data.hit.geometry == znIntType<2>(index))) & rest;
        znRTGeometryNode* const node = getSceneNode(u32(index));
        if (!node) {
            enterLamps(own);
            continue;
        }
        enterNode(data, own, *node);
        const Wanted wanted = enterMaterial(*node, u32(own));
        if (own == 15)
            node->getShadingDataFull(ray, data, wanted.requirements, wanted.attributes);
        else
            node->getShadingDataLanes(ray, data, own, wanted.requirements, wanted.attributes);
    }
    data.saveSurface();
}

void znRTDynamicAccelerator::getAmbientOcclusionData(znRTDataBlockPacket& data) const
{
    data.clearMaterials();
    data.uvValid = 0;
    const znRTVector3fPacket zero(0.0f, 0.0f, 0.0f), up(0.0f, 0.0f, 1.0f);
    data.dg.position = zero;
    data.dg.geometricNormal = data.dg.shadingNormal = data.facedNormal = up;
    data.dg.tangent = zero;
    data.dg.tangentMask = znFloatType<2>::noLanes();
    for (int lane = 0; lane < 4; ++lane) {
        if (!((data.hit.hitMask >> lane) & 1))
            continue;
        znRTGeometryNode* const node = getSceneNode(u32(data.hit.geometry[lane]));
        if (!node)
            continue;
        enterNode(data, 1 << lane, *node);
        node->getAmbientOcclusionData(data, lane);
    }
}
