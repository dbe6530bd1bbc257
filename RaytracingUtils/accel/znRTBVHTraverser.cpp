#include "accel/znRTBVHTraverser.h"

#include "accel/walk/objectTests.h"
#include "accel/walk/packetWalk.h"
#include "accel/znRTDynamicBVHBuilder.h"
#include "core/znRTBoundingBox.h"
#include "core/znRTRayPacketBundle.h"
#include "geometry/znRTGeometryNode.h"

namespace {
/// Rays in the space of the shell. The filter has spoken for the shell, and pieces are filtered by
/// their visibility alone.
class ShellRays
{
public:
    ShellRays(const znRTIntersector* owner, const znRTRayPacket& ray)
    {
        const znRTGeometryNode* const node = owner->getNode();
        if (node && node->hasTransform())
            rays = &(transformed = ray.getTransformedPacket(node->getToObjectMatrix()));
        else
            rays = &ray;
    }
    const znRTRayPacket& get() const { return *rays; }

private:
    znRTRayPacket transformed;
    const znRTRayPacket* rays;
};

u64 getRoot(const znDynArray<znRTDynamicBVHNode>& nodes)
{
    return znRTDynamicBVHNode::encodeNode(nodes.data);
}

template <bool Shadow>
void walkChildren(const znDynArray<znRTDynamicBVHNode>& nodes, const znRTRayPacket& ray,
                  const znFloatType<2>& tMin, znRTHitInfoPacket& hit, int mask)
{
    if (!mask || nodes.size == 0)
        return;
    znRTObjectTest<Shadow, false> test(ray, tMin, hit, false);
    walkPacket<Shadow>(getRoot(nodes), ray.invDirection, ray.origin, ray.direction, tMin, mask,
                       test);
}

template <bool Shadow>
void walkChildrenLane(const znDynArray<znRTDynamicBVHNode>& nodes, const znRTRayPacket& ray,
                      int lane, const znFloatType<2>& tMin, znRTHitInfoPacket& hit)
{
    if (nodes.size == 0)
        return;
    znRTObjectTest<Shadow, false> test(ray, tMin, hit, false);
    walkLane<Shadow>(getRoot(nodes), lane, ray.invDirection, ray.origin, ray.direction, tMin, test);
}
} // namespace

void znRTBVHTraverser::clear(unsigned long long)
{
    // A shell's tree is its own: there is no key to give up.
    nodes.clear();
    childCount = 0;
}

u64 znRTBVHTraverser::getMemoryUsage() const
{
    return sizeof(*this) + nodes.capacity * sizeof(znRTDynamicBVHNode);
}

void znRTBVHTraverser::build(const znRTIntersector*, znRTGeometryNode*, znRTBoundingBox& box,
                             znDynArray<znRTDynamicAcceleratorNode>& objects)
{
    childCount = objects.size;
    znRTDynamicBVHBuilder builder(objects.data, objects.size, nodes);
    float all[6];
    builder.run(all);
    if (childCount > 0)
        box = znRTBoundingBox({all[0], all[2], all[4]}, {all[1], all[3], all[5]});
}

void znRTBVHTraverser::build(const znRTIntersector*, znRTGeometryNode*, void*, znRTBoundingBox&,
                             znDynArray<znRTBoundingBox>&, GeometryType, unsigned int)
{
    // Trees over primitives are the other traverser's.
}

bool znRTBVHTraverser::isValid() const
{
    return childCount > 0 && nodes.size > 0;
}

void znRTBVHTraverser::intersectNoTransform(const znRTIntersector*,
                                            const znRTRayPacketBundle& bundle,
                                            const znFloatType<2>* tMin, const znFloatType<2>*,
                                            znRTHitInfoPacketBundle& hits, const int* masks,
                                            unsigned int first) const
{
    for (unsigned i = first; i < bundle.count; ++i)
        walkChildren<false>(nodes, bundle.rays[i], tMin[i], hits.hits[i], masks[i]);
}

void znRTBVHTraverser::intersectNoTransform(const znRTIntersector*, const znRTRayPacket& ray,
                                            const znFloatType<2>& tMin, const znFloatType<2>&,
                                            znRTHitInfoPacket& hit, int mask) const
{
    walkChildren<false>(nodes, ray, tMin, hit, mask);
}

void znRTBVHTraverser::intersectNoTransform(const znRTIntersector*, const znRTRayPacket& ray,
                                            int lane, const znFloatType<2>& tMin,
                                            const znFloatType<2>&, znRTHitInfoPacket& hit) const
{
    walkChildrenLane<false>(nodes, ray, lane, tMin, hit);
}

void znRTBVHTraverser::intersect(const znRTIntersector* owner, const znRTRayPacketBundle& bundle,
                                 const znFloatType<2>* tMin, const znFloatType<2>*,
                                 znRTHitInfoPacketBundle& hits, const int* masks,
                                 unsigned int first) const
{
    for (unsigned i = first; i < bundle.count; ++i)
        if (masks[i])
            walkChildren<false>(nodes, ShellRays(owner, bundle.rays[i]).get(), tMin[i],
                                hits.hits[i], masks[i]);
}

void znRTBVHTraverser::intersect(const znRTIntersector* owner, const znRTRayPacket& ray, int lane,
                                 const znFloatType<2>& tMin, const znFloatType<2>&,
                                 znRTHitInfoPacket& hit) const
{
    walkChildrenLane<false>(nodes, ShellRays(owner, ray).get(), lane, tMin, hit);
}

void znRTBVHTraverser::intersect(const znRTIntersector* owner, const znRTRayPacket& ray,
                                 const znFloatType<2>& tMin, const znFloatType<2>&,
                                 znRTHitInfoPacket& hit, int mask) const
{
    walkChildren<false>(nodes, ShellRays(owner, ray).get(), tMin, hit, mask);
}

void znRTBVHTraverser::intersectShadow(const znRTIntersector* owner, const znRTRayPacket& ray,
                                       int lane, const znFloatType<2>& tMin, const znFloatType<2>&,
                                       znRTHitInfoPacket& hit) const
{
    walkChildrenLane<true>(nodes, ShellRays(owner, ray).get(), lane, tMin, hit);
}

void znRTBVHTraverser::intersectShadow(const znRTIntersector* owner, const znRTRayPacket& ray,
                                       const znFloatType<2>& tMin, const znFloatType<2>&,
                                       znRTHitInfoPacket& hit, int mask) const
{
    walkChildren<true>(nodes, ShellRays(owner, ray).get(), tMin, hit, mask);
}

void znRTBVHTraverser::intersectShadowNoTransform(const znRTIntersector*, const znRTRayPacket& ray,
                                                  int lane, const znFloatType<2>& tMin,
                                                  const znFloatType<2>&,
                                                  znRTHitInfoPacket& hit) const
{
    walkChildrenLane<true>(nodes, ray, lane, tMin, hit);
}

void znRTBVHTraverser::intersectShadowNoTransform(const znRTIntersector*, const znRTRayPacket& ray,
                                                  const znFloatType<2>& tMin, const znFloatType<2>&,
                                                  znRTHitInfoPacket& hit, int mask) const
{
    walkChildren<true>(nodes, ray, tMin, hit, mask);
}
