#include "light/znRTLightPortalNode.h"

#include "geometry/znRTMesh.h"
#include "material/znRTMaterial.h"

znRTLightPortalNode::znRTLightPortalNode(znRTGeometryNode* newGeometryNode)
    : geometryNode(newGeometryNode)
{
    const znRTMaterial* const material = geometryNode->getActiveMaterial();
    if (material && geometryNode->isOfType(znRTMesh::id))
        openings = findOpenings(static_cast<const znRTMesh&>(*geometryNode),
                                material->getPhotonImportance());
}

float znRTLightPortalNode::getPower() const
{
    float power = 0.0f;
    for (const znRTPortalOpening& opening : openings)
        power += opening.strength * opening.getArea();
    return power;
}
