#include "texture/structures/brushStructures.h"

#include "texture/procedural/simplexNoise.h"

#include <cmath>

const znRTTypeId znRTBrushed3DStructure::id("znRTBrushed3DStructure");
const znRTTypeId znRTPlanar3DStructure::id("znRTPlanar3DStructure");
const znRTTypeId znRTRadial3DStructure::id("znRTRadial3DStructure");

namespace {

/// How much longer scratches are than wide.
constexpr float stretch = 0.02f;

znRTVector3f unit(const znRTVector3f& v)
{
    const float length = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
    return length > 0.0f ? znRTVector3f(v.x / length, v.y / length, v.z / length)
                         : znRTVector3f(0.0f, 0.0f, 1.0f);
}

znRTVector3f crossOf(const znRTVector3f& a, const znRTVector3f& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

} // namespace

znRTBrushed3DStructure::znRTBrushed3DStructure(const znRTTypeId& typeId, const Brush& newBrush)
    : znRTSpatialStructure(typeId, givesDirections |
                                       (newBrush.amount != 0.0f ? unsigned(bendsNormals) : 0)),
      brush(newBrush), axis(unit(newBrush.axis))
{
    const bool isAlongZ = std::fabs(axis.z) > 0.9f;
    sideA = unit(
        crossOf(isAlongZ ? znRTVector3f(0.0f, 1.0f, 0.0f) : znRTVector3f(0.0f, 0.0f, 1.0f), axis));
    sideB = crossOf(axis, sideA);
}

znFloatType<2> znRTBrushed3DStructure::alongAxis(const znRTVector3fPacket& position) const
{
    return dot(position - znRTVector3fPacket(brush.origin), znRTVector3fPacket(axis));
}

znRTVector3fPacket znRTBrushed3DStructure::offAxis(const znRTVector3fPacket& position) const
{
    return position - znRTVector3fPacket(brush.origin) -
           znRTVector3fPacket(axis) * alongAxis(position);
}

/// Scratches are a noise that is stretched along the strokes. They tilt the normal across, by the
/// noise as it is: what a slope of heights would do, without a direction that heights prefer.
znRTVector3fPacket znRTBrushed3DStructure::tiltAt(const Place& place,
                                                  const znFloatType<2>& mask) const
{
    const znFloatType<2> f = place.getFootprint() * brush.scale;
    const znFloatType<2> fade = reciprocalSquareRoot(maximum(f * f, 1.0f)) * brush.amount;
    const znRTVector3fPacket across = cross(place.normal, directionAt(place, mask));
    const znFloatType<2> squareLength = across.getSquareLength();
    const znFloatType<2> lanes = mask & (squareLength > znFloatType<2>(0.0f));
    if (!anyLane(lanes))
        return {0.0f, 0.0f, 0.0f};
    znRTVector3fPacket p = coordinatesOf(place.position) * znFloatType<2>(brush.scale);
    p.x *= stretch;
    return across * (simplexNoise(p).value * fade * reciprocalSquareRoot(squareLength)) & lanes;
}

znRTVector3fPacket znRTBrushed3DStructure::directionAt(const Place&, const znFloatType<2>&) const
{
    return znRTVector3fPacket(axis);
}

znRTVector3fPacket znRTBrushed3DStructure::coordinatesOf(const znRTVector3fPacket& position) const
{
    const znRTVector3fPacket off = position - znRTVector3fPacket(brush.origin);
    return {dot(off, znRTVector3fPacket(axis)), dot(off, znRTVector3fPacket(sideA)),
            dot(off, znRTVector3fPacket(sideB))};
}

znRTVector3fPacket znRTPlanar3DStructure::directionAt(const Place& place,
                                                      const znFloatType<2>&) const
{
    return cross(znRTVector3fPacket(axis), place.normal);
}

/// All places of a plane lie on few strokes: only the height of the plane tells them apart, and,
/// slowly, where they are in it.
znRTVector3fPacket znRTPlanar3DStructure::coordinatesOf(const znRTVector3fPacket& position) const
{
    const znRTVector3fPacket off = position - znRTVector3fPacket(brush.origin);
    return {dot(off, znRTVector3fPacket(sideA)), alongAxis(position),
            dot(off, znRTVector3fPacket(sideB)) * stretch};
}

znRTVector3fPacket znRTRadial3DStructure::directionAt(const Place& place,
                                                      const znFloatType<2>&) const
{
    return cross(znRTVector3fPacket(axis), offAxis(place.position));
}

/// By radius and height; around the circle, slowly, by a place on it that has no seam.
znRTVector3fPacket znRTRadial3DStructure::coordinatesOf(const znRTVector3fPacket& position) const
{
    const znRTVector3fPacket off = offAxis(position);
    const znFloatType<2> radius = squareRoot(off.getSquareLength());
    return {dot(off, znRTVector3fPacket(sideA)) + dot(off, znRTVector3fPacket(sideB)) * 1.618f,
            radius, alongAxis(position)};
}
