#include "accel/walk/triangleBundle.h"

#include "accel/walk/leafTests.h"
#include "accel/walk/packetWalk.h"

namespace {
constexpr unsigned s_slots = znRTRayPacketBundle::s_maxPackets;
constexpr float s_infinity = std::numeric_limits<float>::infinity();

/// Registers of the pyramid: one with the quarters, four with blocks, sixteen with packets. The
/// register of member l of register r is 4 r + 1 + l; what follows the last are the packets.
constexpr unsigned s_registers = 21;
constexpr unsigned s_firstPacketRegister = 5; ///< of those whose members are packets
constexpr unsigned s_slotsPerBlock = 16;      ///< packets below one of the four blocks

/// Slots of the packets of a square in Z order, so that neighbours in the image are neighbours in
/// the pyramid.
unsigned slotOf(unsigned packet, unsigned count)
{
    const unsigned width = count == 64 ? 8 : count == 16 ? 4 : 0;
    if (width == 0)
        return packet;
    const unsigned x = packet % width, y = packet / width;
    unsigned slot = 0;
    for (unsigned bit = 0; bit < 3; ++bit)
        slot |= ((x >> bit) & 1) << (2 * bit) | ((y >> bit) & 1) << (2 * bit + 1);
    return slot;
}

/// Lane i: the smallest (largest) of the lanes of the i-th.
znFloatType<2> minimumOfEach(const znFloatType<2>* v)
{
    __m128 a = v[0].v, b = v[1].v, c = v[2].v, d = v[3].v;
    _MM_TRANSPOSE4_PS(a, b, c, d);
    return _mm_min_ps(_mm_min_ps(a, b), _mm_min_ps(c, d));
}

znFloatType<2> maximumOfEach(const znFloatType<2>* v)
{
    __m128 a = v[0].v, b = v[1].v, c = v[2].v, d = v[3].v;
    _MM_TRANSPOSE4_PS(a, b, c, d);
    return _mm_max_ps(_mm_max_ps(a, b), _mm_max_ps(c, d));
}

alignas(16) constexpr u32 s_oneLane[4][4] = {
    {~0u, 0, 0, 0}, {0, ~0u, 0, 0}, {0, 0, ~0u, 0}, {0, 0, 0, ~0u}};

znFloatType<2> oneLane(unsigned lane)
{
    return znFloatType<2>::load(reinterpret_cast<const float*>(s_oneLane[lane]));
}

/// Four members of the pyramid.
struct Members
{
    znFloatType<2> low[3], high[3]; ///< of the inverse directions
    znFloatType<2> near, far;       ///< smallest tMin, largest t; far is -infinity without rays
    int active;                     ///< members with rays
};

/// Distances from the origin of the planes of two children: near left, near right, far left, far
/// right.
struct NodePlanes
{
    znFloatType<2> v[3];
};

/// The same of one box, in all lanes.
struct BoxPlanes
{
    znFloatType<2> near[3], far[3];
};

/// The leaf that is being visited.
struct LeafVisit
{
    const BoxPlanes& planes;
    const znRTTriangleGroup& triangles;
    const znRTVector3fPacket& toA;
    const znFloatType<2> height;
    const u32 first;
};

template <int Sides>
class Pyramid
{
public:
    Pyramid(const znRTSharedTree& sharedTree, const znRTLeafIntersector& leafObject,
            const znFloatType<2>* rayTMin, znRTHitInfoPacketBundle& results)
        : tree(sharedTree), leaf(leafObject), tMin(rayTMin), hits(results)
    {
    }

    /// @return false if the packets have no common origin
    bool set(const znRTRayPacketBundle& bundle, const znMatrix4x4* transform, const int* masks,
             unsigned first);
    void run();

private:
    struct Entry
    {
        znFloatType<2> near;
        u64 child; ///< address of the parent; bit 0 for the right child
        u32 group; ///< register, or s_registers + slot
        int mask;
    };

    void addPacket(unsigned slot, const znRTRayPacketBundle& bundle, unsigned packet,
                   const znMatrix4x4* transform, int mask);
    void finishPackets(unsigned group);
    void finishMembers(unsigned group);
    void start(unsigned group);
    bool isUniform(const Members& m, int mask, int* nearPlanes) const;
    void walk(unsigned group, int mask);
    void prefetch(u64 reference) const { prefetchChild(tree.leafPositions.data, reference); }
    NodePlanes getPlanes(const znRTBVHNodeLayout& node) const;
    BoxPlanes getPlanes(const znRTBVHNodeLayout& node, int side) const;
    int testMembers(const Members& m, const NodePlanes& planes, int mask, int& right,
                    znRTChildIntervals& v) const;
    int testPacket(unsigned slot, const NodePlanes& planes, int mask, int& right,
                   znRTChildIntervals& v) const;
    int testMembers(const Members& m, const BoxPlanes& planes) const;
    int testPacket(unsigned slot, const BoxPlanes& planes) const;
    void walkLane(u64 reference, unsigned slot, int lane);
    void visitLeaf(unsigned group, int mask, const znRTBVHNodeLayout& node, int side);
    bool visitMembers(unsigned group, int mask, const LeafVisit& at);
    bool testTriangles(unsigned slot, int mask, const znRTTriangleGroup& triangles,
                       const znRTVector3fPacket& toA, znFloatType<2> height, u32 firstPrimitive);
    void narrow(unsigned group);
    znFloatType<2> getFar(unsigned group) const
    {
        return group < s_registers ? members[group].far : far[group - s_registers];
    }

    const znRTSharedTree& tree;
    const znRTLeafIntersector& leaf;
    const znFloatType<2>* const tMin;
    znRTHitInfoPacketBundle& hits;

    znRTVector3fPacket origin;
    unsigned top; ///< register of all packets: that of the first block if there is no other
    Members members[s_registers];
    znRTVector3fPacket inverse[s_slots], direction[s_slots];
    znFloatType<2> near[s_slots], far[s_slots]; ///< far is -infinity in lanes without ray
    u8 packetOf[s_slots];
    int lanesOf[s_slots];
    int nearPlane[3]; ///< place of the near planes in a node's four values, in this walk
};

template <int Sides>
void Pyramid<Sides>::addPacket(unsigned slot, const znRTRayPacketBundle& bundle, unsigned packet,
                               const znMatrix4x4* transform, int mask)
{
    const znRTRayPacket& ray = bundle.rays[packet];
    packetOf[slot] = u8(packet);
    lanesOf[slot] = mask;
    if (transform) {
        direction[slot] = znRTVectorMath::transformAsDirection(ray.direction, *transform);
        inverse[slot] = {reciprocalOrInfinity(direction[slot].x),
                         reciprocalOrInfinity(direction[slot].y),
                         reciprocalOrInfinity(direction[slot].z)};
    } else {
        direction[slot] = ray.direction;
        inverse[slot] = ray.invDirection;
    }
    near[slot] = tMin[packet];
    far[slot] = select(expandLanes(mask), hits.hits[packet].t, -s_infinity);
}

/// Makes a register of the four packets that are its members.
template <int Sides>
void Pyramid<Sides>::finishPackets(unsigned group)
{
    Members& m = members[group];
    const unsigned slot = 4 * group + 1 - s_registers;
    znFloatType<2> hasRay[4], rows[4];
    const auto gather = [&](const auto& value) {
        for (unsigned i = 0; i < 4; ++i)
            rows[i] = value(i);
        return rows;
    };
    for (unsigned i = 0; i < 4; ++i)
        hasRay[i] = far[slot + i] > -s_infinity;
    for (int axis = 0; axis < 3; ++axis) {
        m.low[axis] = minimumOfEach(gather(
            [&](unsigned i) { return select(hasRay[i], inverse[slot + i][axis], s_infinity); }));
        m.high[axis] = maximumOfEach(gather(
            [&](unsigned i) { return select(hasRay[i], inverse[slot + i][axis], -s_infinity); }));
    }
    m.near = minimumOfEach(
        gather([&](unsigned i) { return select(hasRay[i], near[slot + i], s_infinity); }));
    m.far = maximumOfEach(far + slot);
    m.active = moveMask(m.far > -s_infinity);
}

/// The same of four registers.
template <int Sides>
void Pyramid<Sides>::finishMembers(unsigned group)
{
    Members& m = members[group];
    const Members* const child = members + 4 * group + 1;
    znFloatType<2> rows[4];
    const auto gather = [&](const auto& value) {
        for (unsigned i = 0; i < 4; ++i)
            rows[i] = value(child[i]);
        return rows;
    };
    for (int axis = 0; axis < 3; ++axis) {
        m.low[axis] = minimumOfEach(gather([&](const Members& c) { return c.low[axis]; }));
        m.high[axis] = maximumOfEach(gather([&](const Members& c) { return c.high[axis]; }));
    }
    m.near = minimumOfEach(gather([&](const Members& c) { return c.near; }));
    m.far = maximumOfEach(gather([&](const Members& c) { return c.far; }));
    m.active = moveMask(m.far > -s_infinity);
}

template <int Sides>
bool Pyramid<Sides>::set(const znRTRayPacketBundle& bundle, const znMatrix4x4* transform,
                         const int* masks, unsigned first)
{
    const bool isOneBlock = bundle.count <= s_slotsPerBlock;
    const unsigned slots = isOneBlock ? s_slotsPerBlock : s_slots;
    top = isOneBlock ? 1 : 0;
    for (unsigned slot = 0; slot < slots; ++slot) {
        near[slot] = 0.0f;
        far[slot] = -s_infinity;
        lanesOf[slot] = 0;
    }
    members[top].active = 0;
    bool isFirst = true;
    znRTVector3fPacket common(0.0f, 0.0f, 0.0f);
    for (unsigned i = first; i < bundle.count; ++i) {
        if (!masks[i])
            continue;
        const znRTVector3fPacket& o = bundle.rays[i].origin;
        if (isFirst) {
            const int lane = std::countr_zero(unsigned(masks[i]));
            common = {broadcast(o.x, lane), broadcast(o.y, lane), broadcast(o.z, lane)};
            isFirst = false;
        }
        const znFloatType<2> same = (o.x == common.x) & (o.y == common.y) & (o.z == common.z);
        if (masks[i] & ~moveMask(same))
            return false;
        addPacket(slotOf(i, bundle.count), bundle, i, transform, masks[i]);
    }
    if (isFirst)
        return true;
    origin = transform ? znRTVectorMath::transformAsLocation(common, *transform) : common;
    for (unsigned i = 0; i < slots / 4; ++i)
        finishPackets(s_firstPacketRegister + i);
    for (unsigned i = 0; i < slots / s_slotsPerBlock; ++i)
        finishMembers(1 + i);
    if (!isOneBlock)
        finishMembers(0);
    return true;
}

/// Whether members' inverse directions are finite and of one sign per axis.
/// @param nearPlanes  receives the place of the near planes
template <int Sides>
bool Pyramid<Sides>::isUniform(const Members& m, int mask, int* nearPlanes) const
{
    const znFloatType<2> limit(FLT_MAX);
    for (int axis = 0; axis < 3; ++axis) {
        const int finite =
            moveMask((absolute(m.low[axis]) <= limit) & (absolute(m.high[axis]) <= limit));
        const int negative = moveMask(m.low[axis]) & mask;
        if ((mask & ~finite) || negative != (moveMask(m.high[axis]) & mask) ||
            (negative != 0 && negative != mask))
            return false;
        nearPlanes[axis] = negative ? 2 : 0;
    }
    return true;
}

template <int Sides>
void Pyramid<Sides>::run()
{
    if (members[top].active)
        start(top);
}

/// Walks the members of a register together, or, where their signs differ, one by one.
template <int Sides>
void Pyramid<Sides>::start(unsigned group)
{
    if (group >= s_registers) {
        const unsigned slot = group - s_registers;
        const unsigned packet = packetOf[slot];
        znRTTriangleLeafTest<Sides, false> test(tree.leafPositions.data, origin, direction[slot],
                                                tMin[packet], leaf, hits.hits[packet]);
        walkPacket<false>(znRTBVHNode::encodeNode(tree.nodes.data), inverse[slot], origin,
                          direction[slot], tMin[packet], lanesOf[slot], test);
        return;
    }
    const Members& m = members[group];
    if (isUniform(m, m.active, nearPlane))
        return walk(group, m.active);
    for (int mask = m.active; mask; mask &= mask - 1)
        start(4 * group + 1 + unsigned(std::countr_zero(unsigned(mask))));
}

template <int Sides>
NodePlanes Pyramid<Sides>::getPlanes(const znRTBVHNodeLayout& node) const
{
    const float* const axes[3] = {node.x, node.y, node.z};
    NodePlanes planes;
    for (int axis = 0; axis < 3; ++axis)
        planes.v[axis] =
            loadHalves(axes[axis] + nearPlane[axis], axes[axis] + (nearPlane[axis] ^ 2)) -
            origin[axis];
    return planes;
}

template <int Sides>
BoxPlanes Pyramid<Sides>::getPlanes(const znRTBVHNodeLayout& node, int side) const
{
    const float* const axes[3] = {node.x, node.y, node.z};
    BoxPlanes planes;
    for (int axis = 0; axis < 3; ++axis) {
        const float* const p = axes[axis] + side;
        planes.near[axis] = znFloatType<2>(p[nearPlane[axis]]) - origin[axis];
        planes.far[axis] = znFloatType<2>(p[nearPlane[axis] ^ 2]) - origin[axis];
    }
    return planes;
}

/// Members that meet the left child; those that meet the right one go to right.
template <int Sides>
int Pyramid<Sides>::testMembers(const Members& m, const NodePlanes& planes, int mask, int& right,
                                znRTChildIntervals& v) const
{
    v = {m.near, m.near, m.far, m.far};
    for (int axis = 0; axis < 3; ++axis) {
        const znFloatType<2> low = m.low[axis], high = m.high[axis];
        const znFloatType<2> p = planes.v[axis];
        const znFloatType<2> a = broadcast<0>(p), b = broadcast<1>(p), c = broadcast<2>(p),
                             d = broadcast<3>(p);
        v.nearLeft = maximum(minimum(a * low, a * high), v.nearLeft);
        v.nearRight = maximum(minimum(b * low, b * high), v.nearRight);
        v.farLeft = minimum(maximum(c * low, c * high), v.farLeft);
        v.farRight = minimum(maximum(d * low, d * high), v.farRight);
    }
    right = moveMask(v.nearRight <= v.farRight) & mask;
    return moveMask(v.nearLeft <= v.farLeft) & mask;
}

template <int Sides>
int Pyramid<Sides>::testPacket(unsigned slot, const NodePlanes& planes, int mask, int& right,
                               znRTChildIntervals& v) const
{
    v = {near[slot], near[slot], far[slot], far[slot]};
    for (int axis = 0; axis < 3; ++axis) {
        const znFloatType<2> inv = inverse[slot][axis];
        const znFloatType<2> p = planes.v[axis];
        v.nearLeft = maximum(broadcast<0>(p) * inv, v.nearLeft);
        v.nearRight = maximum(broadcast<1>(p) * inv, v.nearRight);
        v.farLeft = minimum(broadcast<2>(p) * inv, v.farLeft);
        v.farRight = minimum(broadcast<3>(p) * inv, v.farRight);
    }
    right = moveMask(v.nearRight <= v.farRight) & mask;
    return moveMask(v.nearLeft <= v.farLeft) & mask;
}

template <int Sides>
int Pyramid<Sides>::testMembers(const Members& m, const BoxPlanes& planes) const
{
    znFloatType<2> in = m.near, out = m.far;
    for (int axis = 0; axis < 3; ++axis) {
        const znFloatType<2> low = m.low[axis], high = m.high[axis];
        in = maximum(minimum(planes.near[axis] * low, planes.near[axis] * high), in);
        out = minimum(maximum(planes.far[axis] * low, planes.far[axis] * high), out);
    }
    return moveMask(in <= out);
}

template <int Sides>
int Pyramid<Sides>::testPacket(unsigned slot, const BoxPlanes& planes) const
{
    znFloatType<2> in = near[slot], out = far[slot];
    for (int axis = 0; axis < 3; ++axis) {
        in = maximum(planes.near[axis] * inverse[slot][axis], in);
        out = minimum(planes.far[axis] * inverse[slot][axis], out);
    }
    return moveMask(in <= out);
}

template <int Sides>
void Pyramid<Sides>::walk(unsigned group, int mask)
{
    Entry stack[s_walkStackSize];
    int depth = 0;
    u64 reference = znRTBVHNode::encodeNode(tree.nodes.data);
    while (true) {
        // A single member goes on by itself: its own members take the four lanes.
        while ((mask & (mask - 1)) == 0 && group < s_registers) {
            group = 4 * group + 1 + unsigned(std::countr_zero(unsigned(mask)));
            mask = group < s_registers ? members[group].active : lanesOf[group - s_registers];
        }
        if (group >= s_registers && (mask & (mask - 1)) == 0) {
            walkLane(reference, group - s_registers, std::countr_zero(unsigned(mask)));
        } else {
            const auto& node = *reinterpret_cast<const znRTBVHNodeLayout*>(reference);
            prefetch(node.left);
            prefetch(node.right);
            const NodePlanes planes = getPlanes(node);
            znRTChildIntervals v;
            int right;
            const int left = group < s_registers
                                 ? testMembers(members[group], planes, mask, right, v)
                                 : testPacket(group - s_registers, planes, mask, right, v);
            if (left || right) {
                const bool both = left && right;
                const bool leftFirst =
                    both ? (moveMask(v.nearLeft <= v.nearRight) & left) != 0 : left != 0;
                if (both)
                    stack[depth++] = leftFirst ? Entry{v.nearRight, reference | 1, group, right}
                                               : Entry{v.nearLeft, reference, group, left};
                mask = leftFirst ? left : right;
                reference = leftFirst ? node.left : node.right;
                if (!znRTBVHNodeLayout::isLeaf(reference))
                    continue;
                visitLeaf(group, mask, node, leftFirst ? 0 : 1);
            }
        }
        do {
            if (depth == 0)
                return;
            const Entry& entry = stack[--depth];
            group = entry.group;
            mask = moveMask(entry.near < getFar(group)) & entry.mask;
            if (!mask)
                continue;
            const auto& parent = *reinterpret_cast<const znRTBVHNodeLayout*>(entry.child & ~u64(1));
            const int side = int(entry.child & 1);
            reference = side ? parent.right : parent.left;
            if (znRTBVHNodeLayout::isLeaf(reference)) {
                visitLeaf(group, mask, parent, side);
                mask = 0;
            }
        } while (mask == 0);
    }
}

/// Walks one ray of a packet from a node on.
template <int Sides>
void Pyramid<Sides>::walkLane(u64 reference, unsigned slot, int lane)
{
    const unsigned packet = packetOf[slot];
    znRTTriangleLeafTest<Sides, false> test(tree.leafPositions.data, origin, direction[slot],
                                            tMin[packet], leaf, hits.hits[packet]);
    ::walkLane<false>(reference, lane, inverse[slot], origin, direction[slot], tMin[packet], test);
    const float t = hits.hits[packet].t[lane];
    if (t < far[slot][lane]) {
        far[slot] = select(oneLane(unsigned(lane)), t, far[slot]);
        narrow((slot + s_registers - 1) / 4);
    }
}

/// Tests a leaf's triangles with the rays of all members that meet its box.
template <int Sides>
void Pyramid<Sides>::visitLeaf(unsigned group, int mask, const znRTBVHNodeLayout& node, int side)
{
    const u64 reference = side ? node.right : node.left;
    const u32 first = znRTBVHNode::getFirst(reference), count = znRTBVHNode::getCount(reference);
    if (count == 0)
        return;
    const BoxPlanes planes = getPlanes(node, side);
    const znRTTriangleGroup triangles =
        loadLeafOrder<Sides>(tree.leafPositions.data + 9 * u64(first), count);
    const znRTVector3fPacket toA = triangles.a - origin;
    const znFloatType<2> height = dot(triangles.normal, toA);

    if (group >= s_registers) {
        const unsigned slot = group - s_registers;
        const int lanes = testPacket(slot, planes) & mask;
        if (testTriangles(slot, lanes, triangles, toA, height, first))
            narrow((group - 1) / 4);
        return;
    }
    const LeafVisit at{planes, triangles, toA, height, first};
    if (visitMembers(group, mask, at) && group > top)
        narrow((group - 1) / 4);
}

/// Tests a leaf with the members of a register. All four are tested at once, whether they take
/// part or not: one after the other they would wait for each other's branches.
/// @return whether a distance became shorter
template <int Sides>
bool Pyramid<Sides>::visitMembers(unsigned group, int mask, const LeafVisit& at)
{
    const unsigned child = 4 * group + 1;
    bool changed = false;
    int inside[4];
    if (child >= s_registers) {
        const unsigned slot = child - s_registers;
        for (unsigned i = 0; i < 4; ++i)
            inside[i] = testPacket(slot + i, at.planes);
        for (; mask; mask &= mask - 1) {
            const unsigned i = unsigned(std::countr_zero(unsigned(mask)));
            if (inside[i])
                changed |=
                    testTriangles(slot + i, inside[i], at.triangles, at.toA, at.height, at.first);
        }
    } else {
        for (unsigned i = 0; i < 4; ++i)
            inside[i] = testMembers(members[child + i], at.planes) & members[child + i].active;
        for (; mask; mask &= mask - 1) {
            const unsigned i = unsigned(std::countr_zero(unsigned(mask)));
            if (inside[i])
                changed |= visitMembers(child + i, inside[i], at);
        }
    }
    if (changed) {
        znFloatType<2> rows[4];
        for (unsigned i = 0; i < 4; ++i)
            rows[i] = getFar(child + i);
        members[group].far = maximumOfEach(rows);
    }
    return changed;
}

/// @return whether a distance became shorter
template <int Sides>
bool Pyramid<Sides>::testTriangles(unsigned slot, int mask, const znRTTriangleGroup& triangles,
                                   const znRTVector3fPacket& toA, znFloatType<2> height,
                                   u32 firstPrimitive)
{
    znRTHitInfoPacket& hit = hits.hits[packetOf[slot]];
    const znRTVector3fPacket& d = direction[slot];
    znFloatType<2> shortened = far[slot];
    bool changed = false;
    for (; mask; mask &= mask - 1) {
        const int lane = std::countr_zero(unsigned(mask));
        znRTGroupHit found;
        if (!findNearest<Sides>(
                triangles, toA, [&] { return height; },
                {broadcast(d.x, lane), broadcast(d.y, lane), broadcast(d.z, lane)},
                broadcast(near[slot], lane), broadcast(far[slot], lane), found))
            continue;
        writeHit(hit, lane, found, firstPrimitive + found.lane, leaf.getGeometryIndex(),
                 leaf.isTransparent());
        shortened = select(oneLane(unsigned(lane)), found.t, shortened);
        changed = true;
    }
    // Not from the hit packet: reading whole what was just written by lanes would stall.
    far[slot] = shortened;
    return changed;
}

/// Takes shorter distances over into a register and those above it.
template <int Sides>
void Pyramid<Sides>::narrow(unsigned group)
{
    while (true) {
        znFloatType<2> rows[4];
        for (unsigned i = 0; i < 4; ++i)
            rows[i] = getFar(4 * group + 1 + i);
        members[group].far = maximumOfEach(rows);
        if (group == top)
            return;
        group = (group - 1) / 4;
    }
}

/// @return false if the packets have no common origin
template <int Sides>
bool walkPyramid(const znRTSharedTree& tree, const znRTLeafIntersector& leaf,
                 const znMatrix4x4* transform, const znRTRayPacketBundle& bundle,
                 const znFloatType<2>* tMin, znRTHitInfoPacketBundle& hits, const int* masks,
                 unsigned first)
{
    Pyramid<Sides> pyramid(tree, leaf, tMin, hits);
    if (!pyramid.set(bundle, transform, masks, first))
        return false;
    pyramid.run();
    return true;
}
} // namespace

bool walkTriangleBundle(const znRTSharedTree& tree, const znRTLeafIntersector& leaf,
                        const znMatrix4x4* transform, const znRTRayPacketBundle& bundle,
                        const znFloatType<2>* tMin, znRTHitInfoPacketBundle& hits, const int* masks,
                        unsigned first)
{
    const int sides = leaf.getSideness();
    const auto walk = sides == 1 ? walkPyramid<1> : sides == 2 ? walkPyramid<2> : walkPyramid<3>;
    return walk(tree, leaf, transform, bundle, tMin, hits, masks, first);
}
