#include "light/znRTPortalGuide.h"

#include "light/sphericalRectangle.h"

#include <algorithm>

namespace {

/// Solid angle below which openings are drawn by area: the angle has few digits there.
constexpr float leastAngle = 0.02f;
/// Heights over an opening's plane, over its size, from which on it is in sight.
constexpr float leastHeight = 1e-5f;

/// About the solid angle of an opening, and its strength: near it the square of its size keeps the
/// quotient finite, and points in its plane still get a little.
znFloatType<2> choiceWeight(const znRTPortalOpening& opening, const znRTVector3fPacket& position)
{
    const float area = opening.getArea(), size = std::sqrt(area);
    const znRTVector3fPacket toCenter = znRTVector3fPacket(opening.center) - position;
    const znFloatType<2> height = absolute(dot(toCenter, znRTVector3fPacket(opening.normal)));
    const znFloatType<2> square = toCenter.getSquareLength() + area;
    const znFloatType<2> inverse = reciprocalSquareRoot(square);
    return (height + 0.1f * size) * inverse * inverse * inverse * (area * opening.strength);
}

/// An opening for each lane, as the illuminated points see it.
struct Sight : znAlignedBase16
{
    /// The same one in all lanes.
    Sight(const znRTPortalOpening& opening, const znRTVector3fPacket& position)
        : center(opening.center), axisU(opening.axisU), axisV(opening.axisV),
          normal(opening.normal), halfU(opening.halfU), halfV(opening.halfV)
    {
        look(position);
    }
    Sight(const std::vector<znRTPortalOpening>& openings, const znFloatType<2>& chosen,
          const znRTVector3fPacket& position)
    {
        for (int lane = 0; lane < 4; ++lane) {
            const znRTPortalOpening& opening = openings[std::size_t(chosen[lane])];
            center.setLane(lane, opening.center);
            axisU.setLane(lane, opening.axisU);
            axisV.setLane(lane, opening.axisV);
            normal.setLane(lane, opening.normal);
            halfU.set(lane, opening.halfU);
            halfV.set(lane, opening.halfV);
        }
        look(position);
    }

    void look(const znRTVector3fPacket& position)
    {
        const znRTVector3fPacket toCenter = center - position;
        x = dot(toCenter, axisU);
        y = dot(toCenter, axisV);
        height = dot(toCenter, normal);
        inSight = absolute(height) > (halfU + halfV) * leastHeight;
    }
    znRTSphericalRectangle asSphericalRectangle() const
    {
        return {x - halfU, x + halfU, y - halfV, y + halfV, maximum(absolute(height), 1e-18f)};
    }
    /// Density per steradian of a direction through the opening.
    /// @param place  where it passes the opening, from the illuminated point along the axes
    znFloatType<2> pdf(const znRTSphericalRectangle& rectangle,
                       const znRTVector2fPacket& place) const
    {
        const znFloatType<2> square = place.x * place.x + place.y * place.y + height * height;
        const znFloatType<2> area = halfU * halfV * 4.0f;
        const znFloatType<2> byArea =
            square * squareRoot(square) * reciprocalOrZero(absolute(height) * area);
        const znFloatType<2> angle = rectangle.getSolidAngle();
        return select(angle > znFloatType<2>(leastAngle), reciprocalOrZero(angle), byArea) &
               inSight;
    }

    znRTVector3fPacket center, axisU, axisV, normal;
    znFloatType<2> halfU, halfV;
    znFloatType<2> x, y, height; ///< of the centre, from the point along the axes
    znFloatType<2> inSight;
};

} // namespace

void znRTPortalGuide::set(std::vector<znRTPortalOpening> newOpenings)
{
    openings = std::move(newOpenings);
    const auto rank = [](const znRTPortalOpening& o) { return o.getArea() * o.strength; };
    std::erase_if(openings, [&](const auto& o) { return !(rank(o) > 0.0f); });
    std::stable_sort(openings.begin(), openings.end(),
                     [&](const auto& a, const auto& b) { return rank(a) > rank(b); });
    if (openings.size() > s_mostOpenings)
        openings.resize(s_mostOpenings);
    totalRank = 0.0f;
    for (const znRTPortalOpening& opening : openings)
        totalRank += rank(opening);
}

znFloatType<2> znRTPortalGuide::sample(const znRTVector3fPacket& position,
                                       const znRTVector2fPacket& u, const znFloatType<2>& mask,
                                       znRTVector3fPacket& direction) const
{
    const znFloatType<2> zero(0.0f);
    direction = {zero, zero, znFloatType<2>(1.0f)};
    if (openings.empty())
        return zero;
    znFloatType<2> total(0.0f);
    for (const znRTPortalOpening& opening : openings)
        total += choiceWeight(opening, position);
    // The last opening whose interval begins below the number, and the number's place in it.
    const znFloatType<2> target = u.x * total;
    znFloatType<2> chosen(0.0f), begin(0.0f), own(0.0f), sum(0.0f);
    for (std::size_t i = 0; i < openings.size(); ++i) {
        const znFloatType<2> weight = choiceWeight(openings[i], position);
        const znFloatType<2> isReached = target >= sum;
        chosen = select(isReached, znFloatType<2>(float(i)), chosen);
        begin = select(isReached, sum, begin);
        own = select(isReached, weight, own);
        sum += weight;
    }
    const znFloatType<2> rest = clamp01((target - begin) * reciprocalOrZero(own));

    const Sight sight(openings, chosen, position);
    const znRTSphericalRectangle rectangle = sight.asSphericalRectangle();
    const znFloatType<2> byAngle = rectangle.getSolidAngle() > znFloatType<2>(leastAngle);
    znRTVector2fPacket place(sight.x + (rest + rest - 1.0f) * sight.halfU,
                             sight.y + (u.y + u.y - 1.0f) * sight.halfV);
    place.setMasked(rectangle.draw({rest, u.y}), byAngle);
    const znRTVector3fPacket through =
        (sight.axisU * place.x + sight.axisV * place.y + sight.normal * sight.height)
            .getNormalized();
    const znFloatType<2> drawn = mask & sight.inSight;
    direction.setMasked(through, drawn);
    return density(position, direction, drawn, chosen);
}

znFloatType<2> znRTPortalGuide::density(const znRTVector3fPacket& position,
                                        const znRTVector3fPacket& direction,
                                        const znFloatType<2>& mask,
                                        const znFloatType<2>& drawn) const
{
    znFloatType<2> total(0.0f), sum(0.0f);
    const znFloatType<2> zero(0.0f);
    for (std::size_t i = 0; i < openings.size(); ++i) {
        const znRTPortalOpening& opening = openings[i];
        const znFloatType<2> weight = choiceWeight(opening, position);
        total += weight;
        const Sight sight(opening, position);
        const znFloatType<2> t =
            sight.height * reciprocalOrZero(dot(direction, znRTVector3fPacket(opening.normal)));
        const znRTVector2fPacket place(dot(direction, znRTVector3fPacket(opening.axisU)) * t,
                                       dot(direction, znRTVector3fPacket(opening.axisV)) * t);
        const znFloatType<2> isInside = (absolute(place.x - sight.x) <= sight.halfU) &
                                        (absolute(place.y - sight.y) <= sight.halfV);
        const znFloatType<2> passes =
            mask & sight.inSight & (t > zero) & (isInside | (drawn == znFloatType<2>(float(i))));
        if (anyLane(passes))
            sum += weight * sight.pdf(sight.asSphericalRectangle(), place) & passes;
    }
    return sum * reciprocalOrZero(total);
}

znFloatType<2> znRTPortalGuide::sampleRays(const znRTVector3fPacket& direction,
                                           const znRTVector2fPacket& u, const znFloatType<2>& mask,
                                           znRTVector3fPacket& point) const
{
    point = znRTVector3fPacket(0.0f, 0.0f, 0.0f);
    if (openings.empty())
        return 0.0f;
    // Whole cells of the first number belong to openings; its place in the cell serves again.
    znFloatType<2> chosen(0.0f), begin(0.0f), own(openings[0].getArea() * openings[0].strength);
    const znFloatType<2> target = u.x * totalRank;
    float sum = 0.0f;
    for (std::size_t i = 0; i < openings.size(); ++i) {
        const float rank = openings[i].getArea() * openings[i].strength;
        const znFloatType<2> isReached = target >= znFloatType<2>(sum);
        chosen = select(isReached, znFloatType<2>(float(i)), chosen);
        begin = select(isReached, znFloatType<2>(sum), begin);
        own = select(isReached, znFloatType<2>(rank), own);
        sum += rank;
    }
    const znFloatType<2> rest = clamp01((target - begin) * reciprocalOrZero(own));
    for (int lane = 0; lane < 4; ++lane) {
        const znRTPortalOpening& opening = openings[std::size_t(chosen[lane])];
        const float alongU = (rest[lane] + rest[lane] - 1.0f) * opening.halfU;
        const float alongV = (u.y[lane] + u.y[lane] - 1.0f) * opening.halfV;
        point.setLane(lane, opening.center + opening.axisU * alongU + opening.axisV * alongV);
    }
    return rayDensity(point, direction, mask, chosen);
}

znFloatType<2> znRTPortalGuide::rayDensity(const znRTVector3fPacket& point,
                                           const znRTVector3fPacket& direction,
                                           const znFloatType<2>& mask,
                                           const znFloatType<2>& drawn) const
{
    constexpr float leastCosine = 1e-4f;
    znFloatType<2> sum(0.0f);
    for (std::size_t i = 0; i < openings.size(); ++i) {
        const znRTPortalOpening& opening = openings[i];
        const znRTVector3fPacket normal(opening.normal);
        const znRTVector3fPacket toCenter = znRTVector3fPacket(opening.center) - point;
        const znFloatType<2> cosine = dot(direction, normal);
        const znFloatType<2> t = dot(toCenter, normal) * reciprocalOrZero(cosine);
        const znRTVector3fPacket offset = direction * t - toCenter;
        const znFloatType<2> isInside =
            (absolute(dot(offset, znRTVector3fPacket(opening.axisU))) <= opening.halfU) &
            (absolute(dot(offset, znRTVector3fPacket(opening.axisV))) <= opening.halfV);
        const znFloatType<2> passes = mask & (absolute(cosine) > znFloatType<2>(leastCosine)) &
                                      (isInside | (drawn == znFloatType<2>(float(i))));
        // The choice, over the area as the direction sees it: the area itself cancels.
        sum += reciprocalOrZero(absolute(cosine)) * (opening.strength / totalRank) & passes;
    }
    return sum;
}
