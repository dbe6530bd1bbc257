#include "host/znRTSurfaceAnalysisSettings.h"

#include "host/osg/SurfaceAnalysisAttachment.h"

namespace {

znRTVector3f directionOr(const znRTVector3f& value, const znRTVector3f& standard)
{
    return value.getSquareLength() > 1e-20f ? value.getNormalized() : standard;
}

} // namespace

bool znRTSurfaceAnalysisSettings::updateSettings(const osg::SurfaceAnalysisAttachment* attachment)
{
    if (!attachment)
        return false;
    const znRTSurfaceAnalysisSettings before = *this;
    const znRTVector3f x(1.0f, 0.0f, 0.0f), z(0.0f, 0.0f, 1.0f);
    m_mode = attachment->getMode();
    m_baseColor = attachment->getBaseColor();
    m_glossyColor = attachment->getGlossyColor();
    m_stripeColor = attachment->getStripeColor();
    m_linearLightDirection = directionOr(attachment->getLinearLightDirection(), z);
    m_lightSphereAxis = directionOr(attachment->getLightSphereAxis(), z);
    m_lightSphereAxisUTangent = directionOr(attachment->getLightSphereAxisUTangent(), x);
    m_lightPlaneOrigin = attachment->getLightPlaneOrigin();
    m_lightPlaneAxisU = attachment->getLightPlaneAxisU();
    m_lightPlaneAxisV = attachment->getLightPlaneAxisV();
    m_stripeCount = attachment->getStripeCount();
    m_stripeWidth = attachment->getStripeWidth();
    m_isophotes = attachment->getIsophotes();
    return !(*this == before);
}
