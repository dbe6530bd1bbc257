#include "light/znRTLight.h"

#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "host/osg/UberLight.h"
#include "host/znDistribution2D.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTTextureSampler.h"
#include "light/imageStamp.h"
#include "light/lightProblems.h"
#include "light/znRTLightProfile.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

const znRTTypeId znRTLight::id("znRTLight");

namespace {

/// Luminance, with the weights of all shading.
float photometricValue(const znRTColor& color)
{
    return 0.2125f * color.r + 0.7154f * color.g + 0.0721f * color.b;
}

/// Light that can be: neither negative nor without end.
bool isLight(float value)
{
    return value >= 0.0f && value <= std::numeric_limits<float>::max();
}

znRTColor colorOf(const znRTLight& light, const osg::ColorComponent& component)
{
    const osg::Vec3f& rgb = component.getColor();
    const float intensity = component.getIntensity();
    float usable[3];
    for (int i = 0; i < 3; ++i) {
        usable[i] = rgb[i];
        if (isLight(intensity * rgb[i]))
            continue;
        usable[i] = 0.0f;
        tellOfLightProblem(light, "its colour times its intensity is negative or no number, which "
                                  "counts as 0.");
    }
    return znRTLight::calculateLightSpectrum(component.getSpectrum(),
                                             isLight(intensity) ? intensity : 0.0f, usable[0],
                                             usable[1], usable[2]);
}

bool isFinite(const osg::TransformationMatrix<float>& matrix)
{
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 4; ++row)
            if (!std::isfinite(matrix[column][row]))
                return false;
    return true;
}

} // namespace

znRTLight::znRTLight(const znRTTypeId& typeId, const osg::NodePtr& node,
                     const osg::NodeCorePtr& core)
    : znRTLightBase(typeId, node, core)
{
}

znRTLight::~znRTLight() = default;

bool znRTLight::update()
{
    const bool changed = znRTLightBase::update();
    updateAttachmentSettings();
    // A light that stands nowhere does not shine.
    if (m_transforms.empty())
        m_isOn = false;
    if (!m_node || !m_node->getCore() || m_transforms.empty())
        return changed;
    if (!isFinite(m_transforms.front())) {
        tellOfLightProblem(*this, "its place is no number: it is off.");
        m_isOn = false;
        m_transforms.clear();
        return changed;
    }

    if (const auto light = osg::FCPtr<osg::UberLight>::dcast(m_core)) {
        diffuseColor = colorOf(*this, light->getDiffuse());
        glossyColor = znRTRaytracingSettings::s_pbParameters ? diffuseColor
                                                             : colorOf(*this, light->getGlossy());
    } else
        diffuseColor = glossyColor = znRTColor(1.0f, 1.0f, 1.0f);
    updatePhotometry();
    updateEmissionTexture();
    return changed;
}

void znRTLight::updatePhotometry()
{
    diffusePhotometric = photometricValue(diffuseColor);
    glossyPhotometric = photometricValue(glossyColor);
    maxIntensity = std::max(diffuseColor.getMax(), glossyColor.getMax());
}

void znRTLight::updateAttachmentSettings()
{
    const osg::RaytracingLightAttachment* const attachment = getLightAttachment();
    shadowIntensity = attachment ? attachment->getShadowIntensity() : 1.0f;
    groundShadowIntensity = attachment ? attachment->getGroundShadowIntensity() : 1.0f;
    importanceMultiplier = attachment ? attachment->getImportanceMultiplier() : 1.0f;
    castShadowOnShadowMaterial = !attachment || attachment->getCastShadowOnShadowMaterial();
    illuminateShadowMaterial = attachment && attachment->getIlluminateShadowMaterial();
}

void znRTLight::updateEmissionTexture()
{
    const auto light = osg::FCPtr<osg::UberLight>::dcast(m_core);
    const osg::ImagePtr image =
        light && light->getEmissionTextureActive() ? light->getEmissionTexture() : osg::ImagePtr();
    const u64 stamp = imageStamp(image);
    if (stamp != textureStamp) {
        ownTexture = image ? std::make_unique<znRTSampler2D>() : nullptr;
        if (ownTexture) {
            ownTexture->setWrap(znRTSampler2D::clamp, znRTSampler2D::clamp);
            ownTexture->setGamma(image->getColorSpaceGamma() > 0.0f ? image->getColorSpaceGamma()
                                                                    : 1.0f,
                                 false, true);
            ownTexture->setImage(image);
        }
        textureImage = osg::ImagePtr(); // the distribution belongs to other pixels
        textureStamp = stamp;
    }
    const bool hasTexture = ownTexture && ownTexture->prepareData();
    setupTexture(hasTexture ? ownTexture.get() : nullptr,
                 hasTexture && light->getEmissionTextureImportanceSampling());
}

void znRTLight::setupTexture(znRTSampler2D* sampler, bool useImportance)
{
    texture = sampler;
    const osg::ImagePtr image = sampler ? sampler->getOSGImage() : osg::ImagePtr();
    if (!sampler || !useImportance) {
        textureDistribution.reset();
        textureImage = osg::ImagePtr();
        return;
    }
    if (textureDistribution && image && textureImage.get() == image)
        return;
    textureDistribution.reset(new (std::nothrow) znDistribution2D);
    if (textureDistribution)
        textureDistribution->calculateDistributions(*sampler);
    if (textureDistribution && !textureDistribution->isValid())
        textureDistribution.reset();
    textureImage = image;
}

float znRTLight::getCdfAverage() const
{
    return texture && textureDistribution ? textureDistribution->getAverage() : 1.0f;
}

bool znRTLight::setupIESProfile(const osg::LightProfileAttachment* attachment,
                                const znRTVector3f& origin, const znRTVector3f& axisX,
                                const znRTVector3f& axisY, const znRTVector3f& axisZ,
                                std::unique_ptr<znRTLightProfile>& profile) const
{
    if (!attachment || !attachment->getUseLightProfile())
        return false;
    if (!profile || profile->getAttachment() != attachment) {
        void* const block = zn_aligned_malloc(sizeof(znRTLightProfile), alignof(znRTLightProfile));
        profile.reset(block ? new (block) znRTLightProfile(attachment) : nullptr);
    }
    if (!profile)
        return false;
    profile->setTransform(origin, axisX, axisY, axisZ);
    profile->update();
    return true;
}

bool znRTLight::getDirectWithPhotons() const
{
    return znRTLightBase::getDirectWithPhotons();
}

bool znRTLight::emitsCausticPhotons() const
{
    return znRTLightBase::emitsCausticPhotons();
}

znFloatType<2> znRTLight::getMISWeight(const znFloatType<2>& pdfA, const znFloatType<2>& pdfB) const
{
    return reciprocalOrZero(pdfA + pdfB);
}

float znRTLight::getProfilePower() const
{
    return 1.0f;
}

float znRTLight::getPDF(const znRTVector3f&, const znRTVector3f&, const znRTVector3f&) const
{
    return s_constantPdf;
}

znFloatType<2> znRTLight::getPDF(const znRTVector3fPacket&, const znRTVector3fPacket&,
                                 const znFloatType<2>&) const
{
    return s_constantPdf;
}

znFloatType<2> znRTLight::getPDF(const znRTVector3fPacket&, const znRTVector3fPacket&,
                                 const znRTVector3fPacket&, const znRTVector3fPacket&,
                                 const znFloatType<2>&, const znFloatType<2>&) const
{
    return s_constantPdf;
}

znRTColorPacket znRTLight::getIntensity(const znRTRayDifferentialPacket& ray,
                                        znRTDataBlockPacket& data, const znFloatType<2>& mask) const
{
    return getIntensity(ray.origin, ray.direction, data.position(), data.dg.uv, mask);
}

znRTColorPacket znRTLight::getIntensity(const znRTVector3fPacket& position,
                                        const znRTVector3fPacket& direction,
                                        const znRTVector3fPacket&, const znRTVector2fPacket& uv,
                                        const znFloatType<2>& mask) const
{
    return getIntensity(position, direction, uv, mask);
}

znRTColorPacket znRTLight::getIntensity(const znRTVector3fPacket&, const znRTVector3fPacket&,
                                        const znRTVector2fPacket&, const znFloatType<2>& mask) const
{
    return znRTColorPacket(1.0f, 1.0f, 1.0f, 0.0f) & mask;
}

float znRTLight::getPower() const
{
    return 0.0f;
}

float znRTLight::getLuminousIntensity() const
{
    return 0.0f;
}

znRTBoundingBox znRTLight::getBoundingBox() const
{
    return {};
}

znFloatType<2> znRTLight::cullLight(const znRTVector3fPacket&, const znRTVector3fPacket&,
                                    const znFloatType<2>& mask) const
{
    return mask;
}

znFloatType<2> znRTLight::getDistance(const znRTVector3fPacket&) const
{
    return std::numeric_limits<float>::max();
}
