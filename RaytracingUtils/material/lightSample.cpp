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
znRTColorPacket arriving(const znRTColor& color, const znRTColorPacket& intensity,
                         const znFloatType<2>& factor)
{
    return {intensity.r * factor * color.r, intensity.g * factor * color.g,
            intensity.b * factor * color.b, 1.0f};
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
    enter(light, sight.wi, sight.distance, sight.intensity, factor, reached);
    const bool isMet = area && area->isMetByRays();
    const znFloatType<2> perSteradian = isMet ? sight.pdf * reciprocalOrZero(weight) : 0.0f;
    density = select(reached, perSteradian, density);
    byArea = isMet && area->isDrawnByArea() ? byArea | reached : andNot(reached, byArea);
}

void LightEvalSample::enter(const znRTLight& light, const znRTVector3fPacket& direction,
                            const znFloatType<2>& way, const znRTColorPacket& intensity,
                            const znFloatType<2>& factor, const znFloatType<2>& lanes)
{
    wi.setMasked(direction, lanes);
    distance = select(lanes, way, distance);
    diffuse.maskedUpdate(arriving(light.getDiffuseColor(), intensity, factor), lanes);
    glossy.maskedUpdate(arriving(light.getGlossyColor(), intensity, factor), lanes);
    shadowIntensity = select(lanes, light.getShadowIntensity(), shadowIntensity);
    groundShadowIntensity = select(lanes, light.getGroundShadowIntensity(), groundShadowIntensity);
    mask |= lanes;
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
