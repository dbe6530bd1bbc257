#include "light/znRTInfiniteAreaLight.h"

#include "brdf/lobeMath.h"
#include "brdf/znRTONB.h"
#include "host/osg/Materials.h"
#include "light/parallelLight.h"
#include "light/znRTInfiniteHemisphereShape.h"
#include "light/znRTInfiniteSunSkyShape.h"
#include "light/znRTPortalGuide.h"
#include "light/znRTUEnvironmentLight.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>
#include <limits>

const znRTTypeId znRTInfiniteAreaLight::id("znRTInfiniteAreaLight");

namespace {

/// Where photons of a direction begin: on the disk that covers the scene. With portals, half of
/// them go through an opening.
/// @param frame  n is the direction of travel
/// @param pdf    per area across the direction
void samplePhotonOrigin(const znRTONB& frame, const znRTVector2fPacket& v,
                        const znFloatType<2>& mask, znRTVector3fPacket& position,
                        znFloatType<2>& pdf)
{
    const znRTPortalGuide* const portals = znRTRenderUtils::getPortalGuide();
    if (!portals) {
        parallelLight::samplePosition(frame.n, frame.u, frame.v, v, mask, position, pdf);
        return;
    }
    const znFloatType<2> half(0.5f), isGuided = v.x < half;
    const znFloatType<2> rest = clamp01(v.x + v.x - andNot(isGuided, znFloatType<2>(1.0f)));
    parallelLight::samplePosition(frame.n, frame.u, frame.v, {rest, v.y}, mask, position, pdf);
    znRTVector3fPacket point;
    const znFloatType<2> guidedPdf =
        portals->sampleRays(frame.n, {rest, v.y}, mask & isGuided, point);
    // Back to the disk's plane; beside the disk there are no photons.
    const znRTBoundingSphere& target = parallelLight::getTarget();
    const znRTVector3fPacket center(target.center);
    const znFloatType<2> height = dot(point - center, frame.n) + target.radius;
    const znRTVector3fPacket start = point - frame.n * height;
    const znRTVector3fPacket middle = center - frame.n * znFloatType<2>(target.radius);
    const znFloatType<2> isOnDisk =
        (start - middle).getSquareLength() <= znFloatType<2>(target.radius * target.radius);
    position.setMasked(start, isGuided);
    const znFloatType<2> byPortals =
        select(isGuided, guidedPdf, portals->rayPdf(position, frame.n, mask));
    const znFloatType<2> isDrawn =
        select(isGuided, isOnDisk & (guidedPdf > znFloatType<2>(0.0f)), mask);
    pdf = (pdf * half + byPortals * half) & isDrawn & mask;
}

/// Share of directions that go through portals, in scenes that have some.
float guidedShare(bool isEven)
{
    return isEven ? 1.0f : 0.5f;
}

} // namespace

znRTInfiniteAreaLight::znRTInfiniteAreaLight(const osg::MaterialPtr& material)
    : znRTUAreaLight(id, nullptr, nullptr), environmentMaterial(material)
{
    m_id = material ? material->getId() : 0;
    m_isOn = false;
}

znRTInfiniteAreaLight::~znRTInfiniteAreaLight() = default;

void znRTInfiniteAreaLight::chooseShape()
{
    const bool isSky = bool(osg::FCPtr<osg::USkylightMaterial>::dcast(environmentMaterial));
    const znRTTypeId& wanted =
        isSky ? znRTInfiniteSunSkyShape::id : znRTInfiniteHemisphereShape::id;
    if (infiniteShape && infiniteShape->isOfType(wanted))
        return;
    infiniteShape = nullptr;
    if (isSky)
        infiniteShape = new znRTInfiniteSunSkyShape;
    else
        infiniteShape = new znRTInfiniteHemisphereShape;
    shape.reset(infiniteShape);
}

bool znRTInfiniteAreaLight::update()
{
    const bool wasOn = m_isOn;
    znRTLight::update();
    m_isOn = false;
    const auto material = osg::FCPtr<osg::UEnvironmentMaterial>::dcast(environmentMaterial);
    if (!material) {
        updateLights();
        return wasOn;
    }
    const znRTEnvironmentAttributes& record = material->getRaytracingAttributes();
    shadowIntensity = record.shadowIntensity;
    importanceMultiplier = record.importanceMultiplier;
    visibleInReflections = record.visibleInReflections;
    primaryVisibility = record.primaryVisible;
    chooseShape();
    if (infiniteShape) {
        const bool isRead = infiniteShape->setAttributes(environmentMaterial);
        m_isOn = infiniteShape->isValid() && isRead;
        numQualitySamples = infiniteShape->getNumSamples();
        const znRTColor mean = infiniteShape->getAverageColor();
        maxIntensity = std::max({mean.r, mean.g, mean.b});
    }
    updateLights();
    return wasOn != m_isOn;
}

void znRTInfiniteAreaLight::updateLights()
{
    const auto material = osg::FCPtr<osg::UEnvironmentMaterial>::dcast(environmentMaterial);
    const bool hasLights =
        m_isOn && material && material->getUseExtractedLights() && material->getChunk();
    lights.size = 0;
    std::vector<std::unique_ptr<znRTUEnvironmentLight>> before;
    before.swap(ownLights);
    if (!hasLights)
        return;
    for (const auto& container : material->getChunk()->getLights()) {
        const auto known = std::find_if(before.begin(), before.end(), [&](const auto& light) {
            return light && light->getContainer() == container;
        });
        ownLights.push_back(known != before.end() ? std::move(*known)
                                                  : std::make_unique<znRTUEnvironmentLight>(
                                                        material->getChunk(), container));
        znRTUEnvironmentLight& light = *ownLights.back();
        light.update();
        const znRTVector3fPacket world =
            infiniteShape->toWorld(znRTVector3fPacket(light.getLocalDirection()));
        light.setWorldDirection({world.x[0], world.y[0], world.z[0]});
    }
    lights.reserve(ownLights.size(), false);
    for (const auto& light : ownLights)
        lights[lights.size++] = light.get();
}

znRTVector3fPacket znRTInfiniteAreaLight::getLocalLightDir(const znRTVector3fPacket& d) const
{
    return infiniteShape ? infiniteShape->toEnvironment(d) : d;
}

znRTVector3fPacket znRTInfiniteAreaLight::getLightVector(const znRTVector3fPacket& position,
                                                         const znRTVector3fPacket& lightPoint,
                                                         const znFloatType<2>&) const
{
    return (lightPoint - position).getNormalized();
}

znRTVector3fPacket znRTInfiniteAreaLight::getSample(const znRTVector2fPacket& u,
                                                    znFloatType<2>& pdf,
                                                    const znFloatType<2>& mask) const
{
    znRTVector3fPacket direction(0.0f, 0.0f, 1.0f);
    znRTVector2fPacket uv;
    pdf = 0.0f;
    if (m_isOn)
        pdf = infiniteShape->sample(u, mask, true, direction, uv);
    return direction;
}

znRTVector3fPacket znRTInfiniteAreaLight::getFullSphereSample(const znRTVector2fPacket& u,
                                                              znFloatType<2>& pdf,
                                                              znRTVector2fPacket& uv,
                                                              const znFloatType<2>& mask) const
{
    znRTVector3fPacket direction(0.0f, 0.0f, 1.0f);
    pdf = 0.0f;
    uv = {0.0f, 0.0f};
    if (m_isOn)
        pdf = infiniteShape->sample(u, mask, false, direction, uv);
    return direction;
}

znRTVector3fPacket znRTInfiniteAreaLight::getGroundSample(const znRTVector2fPacket& u,
                                                          const znFloatType<2>& mask) const
{
    return m_isOn ? infiniteShape->sampleOnGround(u, mask) : znRTVector3fPacket(0.0f, 0.0f, 1.0f);
}

bool znRTInfiniteAreaLight::isDrawnFrom() const
{
    return !isEven() || znRTRenderUtils::getPortalGuide();
}

znRTVector3fPacket znRTInfiniteAreaLight::getGuidedSample(const znRTVector3fPacket& position,
                                                          const znRTVector2fPacket& u,
                                                          znFloatType<2>& pdf,
                                                          znRTVector2fPacket& uv,
                                                          const znFloatType<2>& mask) const
{
    const znRTPortalGuide* const portals = znRTRenderUtils::getPortalGuide();
    if (!portals || !m_isOn)
        return getFullSphereSample(u, pdf, uv, mask);
    // The number that chooses is stretched over the interval it fell into, and serves again.
    const float share = guidedShare(infiniteShape->isEven());
    const float others = 1.0f - share;
    const znFloatType<2> isGuided = u.x <= znFloatType<2>(share);
    const znFloatType<2> guidedLanes = mask & isGuided, otherLanes = andNot(isGuided, mask);
    znRTVector3fPacket through;
    const znFloatType<2> throughPdf =
        portals->sample(position, {clamp01(u.x * (1.0f / share)), u.y}, guidedLanes, through);
    if (others <= 0.0f) {
        pdf = throughPdf;
        uv = infiniteShape->getCoordinates(through);
        return through;
    }
    const znFloatType<2> rest = clamp01((u.x - share) * (1.0f / others));
    znRTVector3fPacket direction = getFullSphereSample({rest, u.y}, pdf, uv, otherLanes);
    direction.setMasked(through, guidedLanes);
    uv.setMasked(infiniteShape->getCoordinates(through), guidedLanes);
    const znFloatType<2> bySky = select(guidedLanes, infiniteShape->pdf(through, guidedLanes), pdf);
    const znFloatType<2> byPortals =
        select(guidedLanes, throughPdf, portals->pdf(position, direction, otherLanes));
    const znFloatType<2> isDrawn = select(guidedLanes, throughPdf, pdf) > znFloatType<2>(0.0f);
    pdf = (byPortals * share + bySky * others) & isDrawn & mask;
    return direction;
}

znFloatType<2> znRTInfiniteAreaLight::getPDF(const znRTVector3fPacket& position,
                                             const znRTVector3fPacket& direction,
                                             const znFloatType<2>& mask) const
{
    return m_isOn ? withPortals(infiniteShape->pdf(direction, mask), position, direction, mask)
                  : znFloatType<2>(0.0f);
}

znFloatType<2> znRTInfiniteAreaLight::withPortals(const znFloatType<2>& skyPdf,
                                                  const znRTVector3fPacket& position,
                                                  const znRTVector3fPacket& direction,
                                                  const znFloatType<2>& mask) const
{
    const znRTPortalGuide* const portals = znRTRenderUtils::getPortalGuide();
    if (!portals)
        return skyPdf;
    const float share = guidedShare(infiniteShape->isEven());
    return portals->pdf(position, direction, mask) * share + skyPdf * (1.0f - share);
}

float znRTInfiniteAreaLight::getPDF(const znRTVector3f& position, const znRTVector3f&,
                                    const znRTVector3f& direction) const
{
    return getPDF(znRTVector3fPacket(position), znRTVector3fPacket(direction),
                  znFloatType<2>::allLanes())[0];
}

znFloatType<2> znRTInfiniteAreaLight::getPDF(const znRTVector3fPacket& position,
                                             const znRTVector3fPacket&,
                                             const znRTVector3fPacket& lightPoint,
                                             const znRTVector3fPacket&, const znFloatType<2>& mask,
                                             const znFloatType<2>&) const
{
    return getPDF(position, getLightVector(position, lightPoint, mask), mask);
}

znRTColorPacket znRTInfiniteAreaLight::getIntensity(const znRTVector2fPacket& uv,
                                                    const znFloatType<2>& mask) const
{
    return m_isOn ? infiniteShape->evaluateAt(uv, mask) : znRTColorPacket(0.0f);
}

znRTColorPacket znRTInfiniteAreaLight::getIntensity(const znRTVector3fPacket&,
                                                    const znRTVector3fPacket& direction,
                                                    const znRTVector2fPacket&,
                                                    const znFloatType<2>& mask) const
{
    return m_isOn ? infiniteShape->evaluate(direction, mask) : znRTColorPacket(0.0f);
}

znRTColorPacket znRTInfiniteAreaLight::getIntensity(const znRTVector3fPacket& position,
                                                    const znRTVector3fPacket& direction,
                                                    const znRTVector3fPacket&,
                                                    const znRTVector2fPacket& uv,
                                                    const znFloatType<2>& mask) const
{
    return getIntensity(position, direction, uv, mask);
}

znRTColorPacket znRTInfiniteAreaLight::getIntensity(const znRTVector3fPacket& position,
                                                    const znRTVector3fPacket& direction,
                                                    const znFloatType<2>& mask,
                                                    znFloatType<2>& pdf) const
{
    pdf = 0.0f;
    if (!m_isOn)
        return znRTColorPacket(0.0f);
    const znRTColorPacket radiance = infiniteShape->evaluateWithPdf(direction, mask, pdf);
    pdf = withPortals(pdf, position, direction, mask);
    return radiance;
}

znRTColorPacket znRTInfiniteAreaLight::getDrawnIntensity(const znRTVector3fPacket& direction,
                                                         const znRTVector2fPacket& uv,
                                                         const znFloatType<2>& mask) const
{
    return m_isOn ? infiniteShape->evaluateDrawn(direction, uv, mask) : znRTColorPacket(0.0f);
}

znRTColorPacket znRTInfiniteAreaLight::getSeenIntensity(const znRTVector3fPacket& direction,
                                                        const znFloatType<2>& mask) const
{
    return m_isOn ? infiniteShape->evaluateSeen(direction, mask) : znRTColorPacket(0.0f);
}

znRTColorPacket znRTInfiniteAreaLight::getFilteredIntensity(const znRTVector3fPacket& direction,
                                                            const znFloatType<2>& level,
                                                            const znFloatType<2>& mask) const
{
    return m_isOn ? infiniteShape->evaluateFiltered(direction, level, mask) : znRTColorPacket(0.0f);
}

void znRTInfiniteAreaLight::makeFiltered()
{
    if (m_isOn)
        infiniteShape->makeFiltered();
}

float znRTInfiniteAreaLight::getPower() const
{
    return m_isOn ? parallelLight::getPower(infiniteShape->getPower()) : 0.0f;
}

znFloatType<2> znRTInfiniteAreaLight::cullLight(const znRTVector3fPacket&,
                                                const znRTVector3fPacket&,
                                                const znFloatType<2>& mask) const
{
    return mask;
}

znFloatType<2> znRTInfiniteAreaLight::getDistance(const znRTVector3fPacket&) const
{
    return std::numeric_limits<float>::max();
}

znRTColorPacket
znRTInfiniteAreaLight::sample_L_Out(const znRTVector2fPacket& u, const znRTVector2fPacket& v,
                                    const znFloatType<2>& mask, znRTVector3fPacket& position,
                                    znRTVector3fPacket& direction, znRTVector3fPacket& normal,
                                    znFloatType<2>& pdf) const
{
    znFloatType<2> directionPdf, diskPdf;
    znRTVector2fPacket uv;
    const znRTVector3fPacket toLight = getFullSphereSample(u, directionPdf, uv, mask);
    znRTONB frame;
    frame.set(-toLight);
    samplePhotonOrigin(frame, v, mask, position, diskPdf);
    direction = normal = frame.n;
    pdf = directionPdf * diskPdf;
    return getIntensity(position, toLight, uv, mask & (pdf > znFloatType<2>(0.0f)));
}

znFloatType<2> znRTInfiniteAreaLight::getPointOnLightAndPdf(const znRTVector3fPacket& origin,
                                                            const znRTVector3fPacket&,
                                                            const znRTVector2fPacket& u,
                                                            const znFloatType<2>& mask,
                                                            znRTShapePoint& point) const
{
    constexpr float radii = 1e4f; // parallel as seen from inside the scene
    znFloatType<2> pdf;
    const znRTVector3fPacket toLight = getGuidedSample(origin, u, pdf, point.uv, mask);
    const float distance = std::max(parallelLight::getTarget().radius, 1.0f) * radii;
    point.position = origin + toLight * znFloatType<2>(distance);
    point.normal = -toLight;
    point.pdf = 0.0f;
    return pdf;
}

znRTColorPacket znRTInfiniteAreaLight::getAverageIntensity(const znRTVector3fPacket&,
                                                           const znFloatType<2>& mask) const
{
    return m_isOn ? znRTColorPacket(infiniteShape->getAverageColor()) & mask
                  : znRTColorPacket(0.0f);
}

znRTColorPacket znRTInfiniteAreaLight::evaluateTexture(const znRTVector3fPacket& lightPoint,
                                                       const znRTVector2fPacket& uv,
                                                       const znFloatType<2>& mask) const
{
    const znRTVector3fPacket centre(parallelLight::getTarget().center);
    return getIntensity(centre, (lightPoint - centre).getNormalized(), uv, mask);
}
