#include "material/znRTRoundedEdgeFilter.h"

#include "accel/znRTIntersector.h"
#include "geometry/znRTGeometryNode.h"
#include "material/znRTMaterial.h"

int znRTRoundedEdgeFilter::filter(const znRTIntersector* const object, int laneMask) const
{
    const znRTGeometryNode* const node = object ? object->getNode() : nullptr;
    if (!node)
        return 0;
    switch (mode) {
    case allGeometry:
        return laneMask;
    case sameObject:
        return laneMask &
               moveMask(objectIds == znIntType<2>(int(node->resolveToObjectNodeId(objectLevel))));
    case sameGeometry:
        return laneMask & lanesOn(node);
    default: {
        const znRTMaterial* const material = node->getActiveMaterial();
        const bool isSame = material && material->getMaterialId() == materialId;
        return materialId == 0 || isSame ? laneMask : 0;
    }
    }
}

bool znRTRoundedEdgeFilter::filterSingle(const znRTIntersector* const object, int lane) const
{
    return filter(object, int(1u << (lane & 31))) != 0;
}

int znRTRoundedEdgeFilter::lanesOn(const znRTGeometryNode* node) const
{
    int lanes = 0;
    for (int lane = 0; lane < 4; ++lane)
        lanes |= int(nodes[std::size_t(lane)] == node) << lane;
    return lanes;
}
