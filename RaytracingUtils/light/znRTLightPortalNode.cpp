#include "light/znRTLightPortalNode.h"

#include "geometry/znRTGeometryNode.h"
#include "material/znRTMaterial.h"

#include <algorithm>

float znRTLightPortalNode::getPower() const
{
    const znRTMaterial* const material = geometryNode->getActiveMaterial();
    const znRTBoundingBox& box = geometryNode->getWorldVolume();
    if (!material || !(box.xmin <= box.xmax))
        return 0.0f;
    const float x = box.xmax - box.xmin, y = box.ymax - box.ymin, z = box.zmax - box.zmin;
    return material->getPhotonImportance() * (x * y + y * z + z * x);
}
