// Rounded edges by probing: short rays across the neighbourhood of a hit find the faces around it,
// and the mean of their normals is that of a fillet as wide as the neighbourhood.
//
// Places on surfaces inside a ball are drawn as in A. King, C. Kulla, A. Conty, M. Fajardo, "BSSRDF
// Importance Sampling", SIGGRAPH Talks 2013: rays through discs across the normal and across two
// tangents, two of four along the normal, with weights by all three discs.

#include "brdf/znRTONB.h"
#include "core/rayTypes.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "geometry/znRTGeometryNode.h"
#include "gi/randomDecisions.h"
#include "material/znRTMaterial.h"
#include "material/znRTRoundedEdgeFilter.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>

namespace {

using F = znFloatType<2>;

/// Radii from which edges look round.
constexpr float leastRadius = 1e-8f;
/// Rays of a round: along the normal, again, and along either tangent.
constexpr int raysPerRound = 4;
/// Steps from a node up to the object that it is a part of.
constexpr int objectLevel = 1;

/// Radius of the fillet of each lane's object; 0 in lanes off the mask.
F radiiOf(const znRTDataBlockPacket& data, const F& mask)
{
    F radii(0.0f);
    for (int lane = 0; lane < 4; ++lane)
        if (data.nodes[lane] && ((data.hit.hitMask >> lane) & 1u))
            radii.set(lane, data.nodes[lane]->getRoundedEdgeRadius());
    return radii & mask & (radii > F(leastRadius));
}

/// The frame about the normal, turned by a share of a turn.
znRTONB turnedFrame(const znRTVector3fPacket& normal, const F& turns)
{
    F sine, cosine;
    sincos(turns * 6.2831853f, sine, cosine);
    znRTONB frame, turned;
    frame.set(normal);
    turned.u = (frame.u * cosine + frame.v * sine).getNormalized();
    turned.v = cross(normal, turned.u);
    turned.n = normal;
    return turned;
}

} // namespace

znRTVector3fPacket znRTMaterial::evaluateNormalContribution(
    const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data, const znRTONB& frame,
    const znRTVector2fPacket& numbers, int axis, const F& radius, const znRTRayFilter& filter,
    const F& mask) const
{
    const F zero(0.0f), one(1.0f);
    // The second number chooses the side that a ray along a tangent comes from, and the direction.
    const F doubled = numbers.y + numbers.y, isSecond = doubled >= one;
    F sine, cosine;
    sincos((doubled - (isSecond & one)) * 6.2831853f, sine, cosine);
    const znRTVector3fPacket &along = axis == 0   ? frame.n
                                      : axis == 1 ? frame.u
                                                  : frame.v,
                             &a = axis == 0   ? frame.u
                                  : axis == 1 ? frame.v
                                              : frame.n,
                             &b = axis == 0   ? frame.v
                                  : axis == 1 ? frame.n
                                              : frame.u;
    const F side = axis == 0 ? one : select(isSecond, F(-1.0f), one);

    const F r = squareRoot(numbers.x) * radius;
    const F height = squareRoot(maximum(radius * radius - r * r, zero));
    znRTRayDifferentialPacket probe;
    static_cast<znRTRayPacket&>(probe) =
        znRTRayPacket(data.dg.position + (a * cosine + b * sine) * r + along * (side * height),
                      along * -side, ray.pixelX, ray.pixelY, ray.weight,
                      znIntType<2>(int(rayType::defaultVisibility)), ray.alpha);
    probe.hasDifferentials = 0;
    probe.auxiliary = &filter;

    const F end = height + height;
    znRTDataBlockPacket found(end);
    znRTRenderUtils::getIntersection(probe, zero, end, found.hit, moveMask(mask));
    F seen = mask & expandLanes(int(found.hit.hitMask));
    if (!anyLane(seen))
        return {zero, zero, zero};
    znRTRenderUtils::getShadingData(probe, found, true);
    seen &= found.coverage > zero;

    const znRTVector3fPacket& n = found.facedNormal;
    const F pdf = absolute(dot(n, frame.n)) * 0.5f +
                  (absolute(dot(n, frame.u)) + absolute(dot(n, frame.v))) * 0.25f;
    const F distance = (found.dg.position - data.dg.position).getLength();
    const F weight = maximum(one - distance * reciprocalOrZero(radius), zero);
    return n * (weight * reciprocalOrZero(pdf)) & seen;
}

F znRTMaterial::calculateRoundedEdges(const znRTRayDifferentialPacket& ray,
                                      znRTDataBlockPacket& data, const F& mask,
                                      const znRTShadingState& state) const
{
    if (!roundedEdges.isActive || state.counterC > roundedEdges.maxDepth)
        return F::noLanes();
    const F radius = radiiOf(data, mask), lanes = radius > F(0.0f);
    if (!anyLane(lanes))
        return F::noLanes();

    const znRTRoundedEdgeFilter filter(
        roundedEdges.mode, data.resolveToNodeId(objectLevel), objectLevel,
        {data.nodes[0], data.nodes[1], data.nodes[2], data.nodes[3]}, getMaterialId());
    const int rounds = state.counterC == 0 ? std::max(1, roundedEdges.rounds) : 1;
    const int laneBits = moveMask(lanes);
    znRTVector3fPacket sum(0.0f, 0.0f, 0.0f);
    for (int round = 0; round < rounds; ++round) {
        const znRTONB frame = turnedFrame(
            data.facedNormal,
            drawPair(state, RandomDecision::roundedEdgeFrame, rounds, round, laneBits).x);
        for (int i = 0; i < raysPerRound; ++i) {
            const znRTVector2fPacket numbers =
                drawPair(state, RandomDecision::roundedEdge, rounds * raysPerRound,
                         round * raysPerRound + i, laneBits);
            sum += evaluateNormalContribution(ray, data, frame, numbers, std::max(0, i - 1), radius,
                                              filter, lanes);
        }
    }
    const F squareLength = sum.getSquareLength();
    const F isFound = lanes & (squareLength > F(0.0f));
    const znRTVector3fPacket mean = sum * reciprocalSquareRoot(squareLength);
    const znRTVector3fPacket mixed =
        data.facedNormal + (mean - data.facedNormal) * F(roundedEdges.smoothing);
    const F mixedLength = mixed.getSquareLength();
    const F isBent = isFound & (mixedLength > F(1e-6f));
    data.facedNormal.setMasked(mixed * reciprocalSquareRoot(mixedLength), isBent);
    return isBent;
}
