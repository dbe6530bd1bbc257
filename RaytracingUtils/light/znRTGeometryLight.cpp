#include "light/znRTGeometryLight.h"

#include "core/rayTypes.h"
#include "geometry/znRTGeometryNode.h"
#include "host/osg/Materials.h"
#include "host/znRTLensFlare.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTTextureAttributes.h"
#include "host/znRTTextureSampler.h"
#include "light/textureLookup.h"
#include "light/znRTGeometryShape.h"
#include "material/znRTMaterial.h"

const znRTTypeId znRTGeometryLight::id("znRTGeometryLight");

namespace {

/// Points per illuminated point: meshes have no fields of quality, so these are those that area
/// lights begin with.
constexpr unsigned interactiveSamples = 1, stillSamples = 4;

znRTColor scaled(const osg::Spectrum* spectrum, float intensity, const znRTVector3f& color)
{
    return znRTLight::calculateLightSpectrum(spectrum, intensity, color.x, color.y, color.z);
}

} // namespace

znRTGeometryLight::znRTGeometryLight(const znRTTypeId& typeId, znRTGeometryNode* newGeometryNode)
    : znRTUAreaLight(typeId, newGeometryNode ? newGeometryNode->getNode() : osg::NodePtr(),
                     newGeometryNode ? newGeometryNode->getCore() : osg::NodeCorePtr()),
      geometryNode(newGeometryNode)
{
}

bool znRTGeometryLight::update()
{
    const bool changed = znRTLight::update();
    if (m_lensFlare)
        m_lensFlare->setEnabled(false);
    if (!m_node || !m_core || !geometryNode || !readEmission()) {
        m_isOn = false;
        return changed;
    }
    updatePhotometry();
    numQualitySamples = znRTRaytracingSettings::isStillFrame() ? stillSamples : interactiveSamples;
    if (!shape)
        shape = std::make_unique<znRTGeometryShape>(geometryNode);
    const znRTMaterial* const material = geometryNode->getActiveMaterial();
    static_cast<znRTGeometryShape&>(*shape).update(material->getState().sideness,
                                                   usesMean ? nullptr : emissionSampler);
    // Through a surface that lets light pass, or casts no shadow, points farther along a direction
    // shine, too.
    drawnByArea = true;
    // Directions are tested with all triangles.
    constexpr std::size_t mostTested = 96;
    metByRays = static_cast<const znRTGeometryShape&>(*shape).getTriangleCount() <= mostTested &&
                !material->isTransparent() && !material->hasTransparencyTexture() &&
                geometryNode->getClippingShapes().size == 0 &&
                (geometryNode->getVisibilityFlags() & rayType::lightShadow) == rayType::lightShadow;
    if (!shape->isValid())
        m_isOn = false;
    return changed;
}

bool znRTGeometryLight::readEmission()
{
    const znRTMaterial* material = geometryNode->getActiveMaterial();
    material = material ? material->getFirstActiveMaterial() : nullptr;
    if (!material || !material->getHostMaterial())
        return false;
    const osg::MaterialPtr& host = material->getHostMaterial();
    if (const auto lamp = osg::FCPtr<osg::ULightMaterial>::dcast(host)) {
        const auto& record = lamp->getRaytracingAttributes();
        setEmission(
            scaled(record.emissiveComponentSpectrum, record.intensity, record.emissiveComponent),
            record.emissiveComponentActive ? record.emissiveComponentSampler : nullptr,
            record.emissiveComponentAttributes);
        return true;
    }
    const auto lit = osg::FCPtr<osg::UBRDFMaterial>::dcast(host);
    if (!lit || !lit->getIncandescenceActive())
        return false;
    const auto& record = lit->getRaytracingAttributes();
    setEmission(
        scaled(record.incandescenceSpectrum, record.incandescenceIntensity,
               {record.incandescenceUnitA, record.incandescenceUnitB, record.incandescenceUnitC}),
        record.incandescenceSampler, record.incandescenceAttributes);
    return true;
}

void znRTGeometryLight::setEmission(const znRTColor& color, const znRTTextureSampler* sampler,
                                    const znRTTextureAttributes* attributes)
{
    diffuseColor = glossyColor = color;
    emissionSampler = sampler && sampler->isValid() ? sampler : nullptr;
    usesMean = attributes && (attributes->hasTextureProjection || attributes->uvSet != 0);
}

znRTColorPacket znRTGeometryLight::evaluateTexture(const znRTVector3fPacket&,
                                                   const znRTVector2fPacket& uv,
                                                   const znFloatType<2>& mask) const
{
    if (!emissionSampler)
        return znRTColorPacket(1.0f);
    if (!usesMean)
        return lookUpTexture(*emissionSampler, uv, mask);
    const znRTVector4f& mean = emissionSampler->averageColor;
    return znRTColorPacket(znRTColor(mean.x, mean.y, mean.z, mean.w)) & mask;
}
