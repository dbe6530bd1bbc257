#include "render/integrators/stripes.h"

#include "host/znRTSurfaceAnalysisSettings.h"

#include <limits>
#include <numbers>

namespace {

constexpr float invPi = std::numbers::inv_pi_v<float>;

znFloatType<2> angleAbout(const znRTVector3f& axis, const znRTVector3f& tangent,
                          const znRTVector3fPacket& direction)
{
    const znRTVector3f side = cross(axis, tangent), front = cross(side, axis);
    const znFloatType<2> x = dot(direction, znRTVector3fPacket(front));
    const znFloatType<2> y = dot(direction, znRTVector3fPacket(side));
    return atan2(y, x);
}

/// Place along U, -1 to 1, where rays meet a parallelogram; NaN where they do not.
znFloatType<2> placeOnPlane(const znRTSurfaceAnalysisSettings& settings,
                            const znRTVector3fPacket& position, const znRTVector3fPacket& direction)
{
    const znRTVector3f u = settings.getLightPlaneAxisU(), v = settings.getLightPlaneAxisV();
    const znRTVector3f n = cross(u, v);
    const znRTVector3fPacket toPlane =
        znRTVector3fPacket(settings.getLightPlaneOrigin()) - position;
    const znFloatType<2> one(1.0f);
    const znFloatType<2> slope = dot(direction, znRTVector3fPacket(n));
    const znFloatType<2> distance = dot(toPlane, znRTVector3fPacket(n)) / slope;
    const znRTVector3fPacket q = direction * distance - toPlane;
    // Coordinates along U and V that need no right angle between them.
    const float area = dot(n, n);
    const znFloatType<2> a = dot(q, znRTVector3fPacket(cross(v, n))) * (1.0f / area);
    const znFloatType<2> b = dot(q, znRTVector3fPacket(cross(n, u))) * (1.0f / area);
    const znFloatType<2> isMet =
        (distance > znFloatType<2>(0.0f)) & (absolute(a) <= one) & (absolute(b) <= one);
    return select(isMet, a, std::numeric_limits<float>::quiet_NaN());
}

} // namespace

znFloatType<2> stripePlace(const znRTSurfaceAnalysisSettings& settings,
                           const znRTVector3fPacket& position, const znRTVector3fPacket& direction)
{
    const float count = settings.getStripeCount();
    switch (settings.getMode()) {
    case znRTSurfaceAnalysisSettings::linear:
        return acos(dot(direction, znRTVector3fPacket(settings.getLinearLightDirection()))) *
               (invPi * count);
    case znRTSurfaceAnalysisSettings::sphere:
        return angleAbout(settings.getLightSphereAxis(), settings.getLightSphereAxisUTangent(),
                          direction) *
               (0.5f * invPi * count);
    case znRTSurfaceAnalysisSettings::plane:
        return (placeOnPlane(settings, position, direction) * 0.5f + 0.5f) * count;
    default:
        return std::numeric_limits<float>::quiet_NaN();
    }
}

znFloatType<2> isInStripe(const znRTSurfaceAnalysisSettings& settings,
                          const znFloatType<2>& stripePlace)
{
    return stripePlace - floor(stripePlace) < znFloatType<2>(settings.getStripeWidth());
}
