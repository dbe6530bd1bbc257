#pragma once

// Parameters of the surface analysis image: stripes from a linear, spherical or planar light.

#include "host/znRTVector.h"

namespace osg {
class SurfaceAnalysisAttachment;
}

class znRTSurfaceAnalysisSettings
{
public:
    enum Mode { off = 0, linear = 1, sphere = 2, plane = 3 };

    /// Copies the attachment's fields; directions are normalised, and fall back to their defaults
    /// when they have no length. Null leaves all as it is.
    /// @return true when a value changed
    bool updateSettings(const osg::SurfaceAnalysisAttachment* attachment);

    const znRTVector3f& getBaseColor() const { return m_baseColor; }
    const znRTVector3f& getGlossyColor() const { return m_glossyColor; }
    const znRTVector3f& getStripeColor() const { return m_stripeColor; }
    const znRTVector3f& getLinearLightDirection() const { return m_linearLightDirection; }
    const znRTVector3f& getLightSphereAxis() const { return m_lightSphereAxis; }
    const znRTVector3f& getLightSphereAxisUTangent() const { return m_lightSphereAxisUTangent; }
    const znRTVector3f& getLightPlaneOrigin() const { return m_lightPlaneOrigin; } ///< scene units
    const znRTVector3f& getLightPlaneAxisU() const { return m_lightPlaneAxisU; }   ///< scene units
    const znRTVector3f& getLightPlaneAxisV() const { return m_lightPlaneAxisV; }   ///< scene units
    int getMode() const { return m_mode; }
    float getStripeCount() const { return m_stripeCount; }
    float getStripeWidth() const { return m_stripeWidth; } ///< share of a period, (0, 1)
    bool getIsophotes() const { return m_isophotes; }

    bool operator==(const znRTSurfaceAnalysisSettings&) const = default;

private:
    znRTVector3f m_baseColor{0.1f, 0.1f, 0.1f};
    znRTVector3f m_glossyColor{0.5f, 0.5f, 0.5f};
    znRTVector3f m_stripeColor{1.0f, 1.0f, 1.0f};
    znRTVector3f m_linearLightDirection{0.0f, 0.0f, 1.0f};
    znRTVector3f m_lightSphereAxis{0.0f, 0.0f, 1.0f};
    znRTVector3f m_lightSphereAxisUTangent{1.0f, 0.0f, 0.0f};
    znRTVector3f m_lightPlaneOrigin{0.0f, 0.0f, 1.0f};
    znRTVector3f m_lightPlaneAxisU{1.0f, 0.0f, 0.0f};
    znRTVector3f m_lightPlaneAxisV{0.0f, 1.0f, 0.0f};
    int m_mode = off;
    float m_stripeCount = 10.0f;
    float m_stripeWidth = 0.5f;
    bool m_isophotes = false;
};
