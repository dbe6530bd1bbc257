// From hits to shading data: each lane is filled by its own node.

#include "accel/znRTDynamicAccelerator.h"
#include "core/shadingRequirements.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "geometry/znRTGeometryNode.h"
#include "material/znRTDummyMaterial.h"

namespace {

znRTMaterial* materialOf(const znRTGeometryNode& node)
{
    const bool showsSelection =
        znRTGeometryNode::s_wireframeRenderMode || node.hasAnyWireframeSelection();
    if (node.getSelectionMaterial() && showsSelection)
        return node.getSelectionMaterial();
    return node.getActiveMaterial() ? node.getActiveMaterial() : znRTDummyMaterial::getShared();
}

/// What a node says about a lane by itself, whatever the hit.
void enterNode(znRTDataBlockPacket& data, int lane, znRTGeometryNode& node)
{
    data.nodes[lane] = &node;
    data.hasNodeTransforms |= node.hasTransform();
    if (node.getLocalLights().size > 0) {
        data.localLights[lane] = &node.getLocalLights();
        data.hasLocalLights = 1;
    }
    for (int i = 0; i < 3; ++i)
        data.ambientOcclusion[i].set(lane, node.getAmbientOcclusionColor()[i]);
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

bool hasOneGeometry(const znRTHitInfoPacket& hit)
{
    return hit.hitMask == 15 && moveMask(hit.geometry == znIntType<2>(hit.geometry[0])) == 15;
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

    u32 requirements = 0;
    const auto enterMaterial = [&](znRTMaterial* material, u32 lanes) {
        const Wanted wanted = wantedBy(*material, shadow, extraAttributes, extraRequirements);
        const u32 place = data.addMaterial(material, lanes);
        data.materialRequirements[place] = wanted.requirements;
        requirements |= wanted.requirements;
        return wanted;
    };

    znRTGeometryNode* const common =
        hasOneGeometry(data.hit) ? getSceneNode(u32(data.hit.geometry[0])) : nullptr;
    if (common) {
        for (int lane = 0; lane < 4; ++lane)
            enterNode(data, lane, *common);
        const Wanted wanted = enterMaterial(materialOf(*common), 15);
        common->getShadingDataFull(ray, data, wanted.requirements, wanted.attributes);
    } else
        for (int lane = 0; lane < 4; ++lane) {
            if (!((data.hit.hitMask >> lane) & 1))
                continue;
            znRTGeometryNode* const node = getSceneNode(u32(data.hit.geometry[lane]));
            if (!node)
                continue;
            enterNode(data, lane, *node);
            const Wanted wanted = enterMaterial(materialOf(*node), 1u << lane);
            node->getShadingData(ray, data, lane, wanted.requirements, wanted.attributes);
        }
    if (requirements & (shadingRequirement::spawnData | shadingRequirement::footprint))
        data.computeShadingData(ray);
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
        enterNode(data, lane, *node);
        node->getAmbientOcclusionData(data, lane);
    }
}
