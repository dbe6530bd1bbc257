#include "material/lightSample.h"

#include "core/surfaceOffset.h"
#include "light/znRTUAreaLight.h"
#include "light/znRTUDeltaLight.h"

namespace {

/// Lights farther away are at infinity: squares of distances have to be floats.
constexpr float farAway = 1e18f;

/// Where a light is, seen from the points.
struct Sight
{
    znRTVector3fPacket wi;
    znFloatType<2> distance;
    znRTColorPacket intensity;
    znFloatType<2> pdf;
};

Sight sightOf(const znRTUDeltaLight& light, const znRTDifferentialGeometry& dg,
              const znFloatType<2>& lanes)
{
    const znRTVector3fPacket wi = light.getLightVector(dg.position);
    return {wi, light.getDistance(dg.position), light.getIntensity(dg.position, wi, dg.uv, lanes),
            light.getPDF(dg.position, wi, lanes)};
}

Sight sightOf(const znRTUAreaLight& light, const znRTDifferentialGeometry& dg,
              const znRTVector2fPacket& u, const znFloatType<2>& lanes)
{
    znRTShapePoint point;
    const znFloatType<2> pdf =
        light.getPointOnLightAndPdf(dg.position, dg.shadingNormal, u, lanes, point);
    const znRTVector3fPacket toward = point.position - dg.position;
    const znFloatType<2> distance = toward.getLength();
    const znRTVector3fPacket wi = toward * reciprocalOrZero(distance);
    return {wi, distance, light.getIntensity(dg.position, wi, point.position, point.uv, lanes),
            pdf};
}

/// Red, green and blue of a light's colour times what arrives.
znRTColorPacket arriving(const znRTColor& color, const Sight& sight, const znFloatType<2>& factor)
{
    return {sight.intensity.r * factor * color.r, sight.intensity.g * factor * color.g,
            sight.intensity.b * factor * color.b, 1.0f};
}

} // namespace

const znRTUAreaLight* areaOf(const znRTLight& light)
{
    return light.isAreaLight() ? static_cast<const znRTUAreaLight*>(&light) : nullptr;
}

void LightEvalSample::take(const znRTLight& light, const znRTUAreaLight* area,
                           const znRTDifferentialGeometry& dg, const znRTVector2fPacket& u,
                           const znFloatType<2>& weight, const znFloatType<2>& lanes)
{
    const Sight sight = area ? sightOf(*area, dg, u, lanes)
                             : sightOf(static_cast<const znRTUDeltaLight&>(light), dg, lanes);
    const znFloatType<2> reached = lanes & (sight.pdf > znFloatType<2>(0.0f));
    const znFloatType<2> factor = weight * reciprocalOrZero(sight.pdf);
    wi.setMasked(sight.wi, reached);
    distance = select(reached, sight.distance, distance);
    diffuse.maskedUpdate(arriving(light.getDiffuseColor(), sight, factor), reached);
    glossy.maskedUpdate(arriving(light.getGlossyColor(), sight, factor), reached);
    shadowIntensity = select(reached, light.getShadowIntensity(), shadowIntensity);
    groundShadowIntensity =
        select(reached, light.getGroundShadowIntensity(), groundShadowIntensity);
    mask |= reached;
}

znRTVector3fPacket LightEvalSample::wayFrom(const znRTVector3fPacket& origin,
                                            const znRTVector3fPacket& position,
                                            znFloatType<2>& end) const
{
    const znFloatType<2> isNear = distance < znFloatType<2>(farAway);
    const znRTVector3fPacket fromPosition = wi * (distance & isNear);
    const znRTVector3fPacket way = fromPosition - (origin - position);
    const znFloatType<2> length = way.getLength();
    // The light may have a surface in the scene, which does not shade it.
    end = select(isNear, length - surfaceOffset(position + fromPosition, length), distance);
    return select(isNear, way, wi);
}
