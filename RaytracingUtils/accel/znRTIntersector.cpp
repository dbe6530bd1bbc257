#include "accel/znRTIntersector.h"

#include "accel/znRTBVHIntersector.h"
#include "accel/znRTBVHTraverser.h"
#include "geometry/znRTGeometryNode.h"

znRTIntersector::znRTIntersector(znRTGeometryNode* owner, int index,
                                 AcceleratorType acceleratorType, GeometryType geometryType)
    : node(owner), geometryIndex(index)
{
    init(acceleratorType, geometryType);
}

bool znRTIntersector::isValid() const
{
    return traverser && traverser->isValid();
}

znRTIntersector::~znRTIntersector()
{
    delete leaf;
    delete traverser;
}

void znRTIntersector::init(AcceleratorType acceleratorType, GeometryType)
{
    // A traverser knows its own key and gives it up as it goes; the node may hold another by now.
    delete traverser;
    traverser = nullptr;
    if (acceleratorType == AcceleratorType::intersectors)
        traverser = new znRTBVHTraverser;
    else
        traverser = new znRTBVHIntersector(node ? node->getSharingKey() : 0);
}

u64 znRTIntersector::getMemoryUsage() const
{
    return sizeof(*this) + (traverser ? traverser->getMemoryUsage() : 0);
}

void znRTIntersector::getSample(const znFloatType<2>&, const znIntType<2>&,
                                const znRTVector2fPacket&, znRTVector3fPacket& position,
                                znRTVector3fPacket& normal, znRTVector2fPacket& uv,
                                znFloatType<2>& area) const
{
    position = znRTVector3fPacket(0.0f, 0.0f, 0.0f);
    normal = znRTVector3fPacket(0.0f, 0.0f, 1.0f);
    uv.x = uv.y = 0.5f;
    area = 0.0f;
}

void znRTIntersector::getPositionAndNormal(const znFloatType<2>& laneMask, znRTHitInfoPacket& hit,
                                           znRTVector3fPacket& position, znRTVector3fPacket& normal,
                                           znRTVector2fPacket& uv, znFloatType<2>& area) const
{
    getSample(laneMask, hit.primitive, uv, position, normal, uv, area);
}

void znRTIntersector::getUVs(unsigned int, znRTHitInfoPacket&, znRTVector2fPacket& uv) const
{
    uv.x = uv.y = 0.0f;
}

void znRTIntersector::setTransparent(bool isTransparent)
{
    transparent = isTransparent;
    if (leaf)
        leaf->setTransparent(isTransparent);
}

void znRTIntersector::setGeometryIndex(int index)
{
    geometryIndex = index;
    if (leaf)
        leaf->setGeometryIndex(u32(index));
}

bool znRTIntersector::isClipped() const
{
    return node && node->isClipped();
}

bool znRTIntersector::isClippingEnable() const
{
    return isClipped() && node->getClippingShapes().size > 0;
}

const znDynArray<const znRTClippingShape*>& znRTIntersector::getClippingShapes() const
{
    return node->getClippingShapes();
}

u32 znRTIntersector::getVisibilityFlags() const
{
    return node ? node->getActiveVisibilityFlags() : ~0u;
}

void znRTIntersector::setLeaf(znRTLeafIntersector* newLeaf)
{
    if (newLeaf != leaf)
        delete leaf;
    leaf = newLeaf;
    setTransparent(transparent);
    setGeometryIndex(geometryIndex);
}
