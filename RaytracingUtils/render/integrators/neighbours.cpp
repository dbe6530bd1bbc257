#include "render/integrators/neighbours.h"

#include "geometry/znRTGeometryNode.h"

znRTRayPacket neighbourRay(const znRTRayDifferentialPacket& ray, int neighbour)
{
    const bool isAlongX = neighbour == neighbourRight || neighbour == neighbourLeft;
    const bool isForward = neighbour == neighbourRight || neighbour == neighbourAbove;
    const znRTVector3fPacket& origin = isAlongX ? ray.rxOrigin : ray.ryOrigin;
    const znRTVector3fPacket& direction = isAlongX ? ray.rxDirection : ray.ryDirection;
    // Backward by as much as the differential goes forward.
    const auto mirrored = [](const znRTVector3fPacket& from, const znRTVector3fPacket& to) {
        return from + from - to;
    };
    znRTRayPacket result = ray;
    result.setOriginDir(isForward ? origin : mirrored(ray.origin, origin),
                        isForward ? direction : mirrored(ray.direction, direction));
    return result;
}

znRTDiscontinuity& znRTDiscontinuity::operator|=(const znRTDiscontinuity& other)
{
    depth |= other.depth;
    node |= other.node;
    material |= other.material;
    crease |= other.crease;
    return *this;
}

znRTDiscontinuity& znRTDiscontinuity::operator&=(const znFloatType<2>& mask)
{
    depth &= mask;
    node &= mask;
    material &= mask;
    crease &= mask;
    return *this;
}

namespace {

/// Lanes whose value of a member function of the node differs.
template <class Value>
znFloatType<2> differs(const znRTDataBlockPacket& a, const znRTDataBlockPacket& b, Value&& valueOf)
{
    int lanes = 0;
    for (int lane = 0; lane < 4; ++lane)
        if (a.nodes[lane] && b.nodes[lane] && valueOf(*a.nodes[lane]) != valueOf(*b.nodes[lane]))
            lanes |= 1 << lane;
    return expandLanes(lanes);
}

/// Lanes whose neighbour sees a point off the tangent plane, by more than smooth surfaces curve
/// between two pixels.
znFloatType<2> leavesPlane(const znRTDataBlockPacket& block, const znRTDataBlockPacket& beside,
                           const znFloatType<2>& pixelWidth)
{
    const znFloatType<2> distance =
        absolute(dot(beside.position() - block.position(), block.geometricNormal()));
    return distance > pixelWidth * 1.5f;
}

/// How far a surface goes away from the viewer within a pixel, in pixels. Where it is seen edge-on
/// the number says little, and is cut.
znFloatType<2> slope(const znRTRayPacket& ray, const znRTDataBlockPacket& block)
{
    const znFloatType<2> cosine = dot(ray.direction, block.geometricNormal());
    const znFloatType<2> square = maximum(cosine * cosine, 1e-6f);
    return minimum(squareRoot(maximum(0.0f, (1.0f - square) / square)), 16.0f);
}

/// Lanes with a step between surfaces: their distances are further apart than the slopes of both
/// explain, and one is not in the plane of the other. The first alone would draw lines on planes
/// that go to the horizon, the second at edges of faces that are seen at a slant.
znFloatType<2> isStep(const znRTRayPacket& ray, const znRTDataBlockPacket& block,
                      const znRTRayPacket& toward, const znRTDataBlockPacket& beside)
{
    const znFloatType<2> pixelWidth =
        (toward.pointAt(block.hit.t) - ray.pointAt(block.hit.t)).getLength();
    const znFloatType<2> explained = slope(ray, block) + slope(toward, beside) + 1.5f;
    const znFloatType<2> isApart = absolute(beside.hit.t - block.hit.t) > pixelWidth * explained;
    return isApart &
           (leavesPlane(block, beside, pixelWidth) | leavesPlane(beside, block, pixelWidth));
}

} // namespace

znRTDiscontinuity compareViews(const znRTRayPacket& ray, const znRTDataBlockPacket& block,
                               const znRTRayPacket& toward, const znRTDataBlockPacket& beside)
{
    constexpr float creaseCosine = 0.9063f; // 25 degrees
    const znFloatType<2> zero(0.0f);
    const znFloatType<2> isHit = block.coverage > zero, isHitBeside = beside.coverage > zero;
    const znFloatType<2> both = isHit & isHitBeside;
    const znFloatType<2> cosine = dot(block.shadingNormal(), beside.shadingNormal());

    znRTDiscontinuity result;
    result.depth = (isHit ^ isHitBeside) | (both & isStep(ray, block, toward, beside));
    // One kind a border: what a step separates differs in other ways, too.
    const znFloatType<2> joined = andNot(result.depth, both);
    result.node = joined & differs(block, beside, [](const znRTGeometryNode& node) {
                      return static_cast<const void*>(&node);
                  });
    result.material = joined & differs(block, beside, [](const znRTGeometryNode& node) {
                          return static_cast<const void*>(node.getActiveMaterial());
                      });
    result.crease = joined & (cosine < znFloatType<2>(creaseCosine));
    return result;
}
