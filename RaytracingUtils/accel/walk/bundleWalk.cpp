#include "accel/walk/bundleWalk.h"

#include "accel/walk/objectTests.h"
#include "accel/walk/packetWalk.h"

#include <cmath>

namespace {
constexpr unsigned s_maxPackets = znRTRayPacketBundle::s_maxPackets;

/// Rays per primitive of an object below which its walks share too little to pay for a bundle:
/// bundles and packets are equally fast between 0.15 and 0.5 (scans and mechanical parts of 7e4 to
/// 1.1e6 triangles seen from a distance).
constexpr float s_minRaysPerPrimitive = 0.25f;

/// Solid angle per ray, in steradians, from the quadrilateral of the corner directions.
float getSolidAnglePerRay(const znRTRayPacketBundle& bundle)
{
    const znRTVector3fPacket& corners = bundle.getRepresentative().direction;
    const znRTVector3f a = corners.getLane(0), b = corners.getLane(1), c = corners.getLane(2),
                       d = corners.getLane(3);
    const znRTVector3f area = 0.5f * cross(d - a, c - b);
    return std::sqrt(dot(area, area)) / (dot(a, a) * 4.0f * float(bundle.count));
}

class BundleWalk
{
public:
    BundleWalk(const znRTRayPacketBundle& rays, const znFloatType<2>* near,
               const znFloatType<2>* far, znRTHitInfoPacketBundle& results, const int* laneMasks,
               bool clip)
        : bundle(rays), tMin(near), tMax(far), hits(results), masks(laneMasks), clipping(clip),
          corners(rays.getRepresentative().invDirection), origin(rays.getRepresentative().origin),
          solidAnglePerRay(getSolidAnglePerRay(rays))
    {
        // Signs as the corners have them; a zero's sign counts.
        for (int axis = 0; axis < 3; ++axis)
            nearPlane[axis] = moveMask(corners[axis]) ? 2 : 0;
    }

    void run(u64 root);

private:
    struct Child
    {
        unsigned first; ///< first active packet; count of packets when the child is missed
        int lanes;
        /// Where its surfaces begin: the near end, or the far one around the origin. What stands
        /// inside of a dome or a room comes before it.
        znFloatType<2> start;
    };

    int testPacket(unsigned packet, const float* const* planes, int side,
                   znFloatType<2>& start) const;
    bool isOutside(const float* const* planes, int side) const;
    Child testChild(const znRTBVHNodeLayout& node, int side, unsigned first) const;
    bool isSparse(const znRTIntersector& object, const float* const* planes, int side) const;
    void visit(u64 reference, const znRTBVHNodeLayout* parent, int side, unsigned first);

    const znRTRayPacketBundle& bundle;
    const znFloatType<2>* const tMin;
    const znFloatType<2>* const tMax;
    znRTHitInfoPacketBundle& hits;
    const int* const masks;
    const bool clipping;
    const znRTVector3fPacket& corners;
    const znRTVector3fPacket& origin;
    const float solidAnglePerRay;
    int nearPlane[3]; ///< place of the near planes in a node's four values
};

/// Lanes of a packet that meet a child's box.
int BundleWalk::testPacket(unsigned packet, const float* const* planes, int side,
                           znFloatType<2>& start) const
{
    const znRTRayPacket& ray = bundle.rays[packet];
    znFloatType<2> near = tMin[packet];
    znFloatType<2> far = hits.hits[packet].t;
    // The running value is the second operand: the NaN of a ray inside a plane is dropped.
    for (int axis = 0; axis < 3; ++axis) {
        const znFloatType<2> a(planes[axis][side + nearPlane[axis]]);
        const znFloatType<2> b(planes[axis][side + (nearPlane[axis] ^ 2)]);
        near = maximum((a - ray.origin[axis]) * ray.invDirection[axis], near);
        far = minimum((b - ray.origin[axis]) * ray.invDirection[axis], far);
    }
    start = select(near > tMin[packet], near, far);
    return moveMask(near <= far) & masks[packet];
}

/// Whether a box lies outside of the frustum of the corner rays.
bool BundleWalk::isOutside(const float* const* planes, int side) const
{
    float near[3], far[3];
    for (int axis = 0; axis < 3; ++axis) {
        const znFloatType<2> a =
            znFloatType<2>(planes[axis][side + nearPlane[axis]]) - origin[axis];
        const znFloatType<2> b =
            znFloatType<2>(planes[axis][side + (nearPlane[axis] ^ 2)]) - origin[axis];
        near[axis] = firstLane(minimumOfLanes(a * corners[axis]));
        far[axis] = firstLane(maximumOfLanes(b * corners[axis]));
    }
    return near[2] > far[1] || near[1] > far[2] || near[2] > far[0] || near[1] > far[0] ||
           near[0] > far[1] || near[0] > far[2];
}

BundleWalk::Child BundleWalk::testChild(const znRTBVHNodeLayout& node, int side,
                                        unsigned first) const
{
    const float* const planes[3] = {node.x, node.y, node.z};
    Child child;
    child.first = first;
    child.lanes = testPacket(first, planes, side, child.start);
    if (child.lanes)
        return child;
    if (!isOutside(planes, side))
        for (++child.first; child.first < bundle.count; ++child.first) {
            if (!masks[child.first])
                continue;
            child.lanes = testPacket(child.first, planes, side, child.start);
            if (child.lanes)
                return child;
        }
    child.first = bundle.count;
    return child;
}

/// Whether an object has so many primitives for the rays of this spacing that hardly two of them
/// meet the same ones. A convex body of surface S is seen as S / 4 on average (A. Cauchy, 1841);
/// the object's box stands for it.
bool BundleWalk::isSparse(const znRTIntersector& object, const float* const* planes, int side) const
{
    float extent[3], squareDistance = 0.0f;
    for (int axis = 0; axis < 3; ++axis) {
        const float low = planes[axis][side], high = planes[axis][side + 2];
        const float offset = 0.5f * (low + high) - firstLane(origin[axis]);
        extent[axis] = high - low;
        squareDistance += offset * offset;
    }
    const float quarterSurface =
        0.5f * (extent[0] * extent[1] + extent[1] * extent[2] + extent[2] * extent[0]);
    const float minRays = s_minRaysPerPrimitive * float(object.getCount());
    return quarterSurface < minRays * solidAnglePerRay * squareDistance;
}

/// Hands the packets that meet an object's box to the object.
void BundleWalk::visit(u64 reference, const znRTBVHNodeLayout* parent, int side, unsigned first)
{
    const znRTIntersector* const object = znRTDynamicBVHNode::getLeafNode(reference);
    if (!object || !bundle.getRepresentative().applyFilter(object, 15))
        return;
    const float* const planes[3] = {parent->x, parent->y, parent->z};
    const bool isClipped = clipping && object->isClippingEnable();
    const bool isSplit = isClipped || isSparse(*object, planes, side);
    int narrowed[s_maxPackets] = {};
    for (unsigned i = first; i < bundle.count; ++i) {
        if (!masks[i])
            continue;
        znFloatType<2> start;
        narrowed[i] = testPacket(i, planes, side, start);
        if (!narrowed[i] || !isSplit)
            continue;
        const znRTRayPacket& ray = bundle.rays[i];
        if (isClipped) {
            const znRTClippedInterval interval(*object, ray, tMin[i], hits.hits[i]);
            object->intersect(ray, interval.tMin, tMax[i], hits.hits[i], narrowed[i]);
        } else
            object->intersect(ray, tMin[i], tMax[i], hits.hits[i], narrowed[i]);
    }
    if (!isSplit)
        object->intersect(bundle, tMin, tMax, hits, narrowed, first);
}

void BundleWalk::run(u64 root)
{
    // An entry names a child by its parent, so that the child's box is at hand when it is visited.
    struct Entry
    {
        const znRTBVHNodeLayout* parent;
        int side;
        unsigned first;
    };
    Entry stack[s_walkStackSize];
    int depth = 0;
    unsigned first = 0;
    while (first < bundle.count && !masks[first])
        ++first;
    if (first == bundle.count || znRTBVHNodeLayout::isLeaf(root))
        return;
    u64 reference = root;
    while (true) {
        const auto& node = *reinterpret_cast<const znRTBVHNodeLayout*>(reference);
        _mm_prefetch(reinterpret_cast<const char*>(node.left & ~u64(1)), _MM_HINT_T0);
        _mm_prefetch(reinterpret_cast<const char*>(node.right & ~u64(1)), _MM_HINT_T0);
        const Child left = testChild(node, 0, first), right = testChild(node, 1, first);
        const Entry entries[2] = {{&node, 0, left.first}, {&node, 1, right.first}};
        if (left.lanes && right.lanes) {
            // With different first packets the earlier one leads: the distances of different
            // packets say nothing about each other.
            const bool leftFirst = left.first != right.first
                                       ? left.first < right.first
                                       : (moveMask(left.start <= right.start) & left.lanes) != 0;
            stack[depth++] = entries[leftFirst ? 1 : 0];
            stack[depth++] = entries[leftFirst ? 0 : 1];
        } else if (left.lanes)
            stack[depth++] = entries[0];
        else if (right.lanes)
            stack[depth++] = entries[1];
        while (true) {
            if (depth == 0)
                return;
            const Entry entry = stack[--depth];
            reference = entry.side ? entry.parent->right : entry.parent->left;
            first = entry.first;
            if (!znRTBVHNodeLayout::isLeaf(reference))
                break;
            visit(reference, entry.parent, entry.side, first);
        }
    }
}
} // namespace

void walkBundle(u64 root, const znRTRayPacketBundle& bundle, const znFloatType<2>* tMin,
                const znFloatType<2>* tMax, znRTHitInfoPacketBundle& hits, const int* masks,
                bool clipping)
{
    BundleWalk(bundle, tMin, tMax, hits, masks, clipping).run(root);
}
