// What the shading block asks of the nodes of its hits.

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "geometry/znRTGeometryNode.h"

void znRTDataBlockPacket::computeMatrices()
{
    const znMatrix4x4 identity = znMatrix4x4::identity();
    nodeToWorld = znMatrix4x4Packet(identity);
    worldToNode = znMatrix4x4Packet(identity);
    if (!hasNodeTransforms)
        return;
    for (int lane = 0; lane < 4; ++lane) {
        if (!(hit.hitMask & (1u << lane)) || !nodes[lane])
            continue;
        if (!nodes[lane]->hasTransform())
            continue;
        nodeToWorld.setLane(lane, nodes[lane]->getToWorldMatrix());
        worldToNode.setLane(lane, nodes[lane]->getToObjectMatrix());
    }
}

void znRTDataBlockPacket::computeShadingData(const znRTRayDifferentialPacket&)
{
    if (!(requirements & shadingRequirement::objectSpace))
        return;
    computeMatrices();
    if (!hasNodeTransforms) {
        objectPosition = dg.position;
        objectNormal = dg.shadingNormal;
        return;
    }
    objectPosition = znRTVectorMath::transformAsLocation(dg.position, worldToNode);
    objectNormal = znRTVectorMath::transformAsNormal(dg.shadingNormal, nodeToWorld).getNormalized();
}

znIntType<2> znRTDataBlockPacket::resolveToNodeId(int level) const
{
    znIntType<2> ids(0);
    for (int lane = 0; lane < 4; ++lane)
        if ((hit.hitMask & (1u << lane)) && nodes[lane])
            ids.set(lane, int(nodes[lane]->resolveToObjectNodeId(level)));
    return ids;
}
