#include "host/osg/CameraDecorator.h"
#include "host/osg/Viewport.h"
#include "host/znColor.h"
#include "host/znRTNurbsUtil.h"
#include "host/znUberCameraUtils.h"
#include "host/znViewportUtils.h"

#include <algorithm>

znRTVector3f znColor::curvatureToRGB(float curvature)
{
    const float k = std::clamp(curvature, -1.0f, 1.0f);
    return {std::max(k, 0.0f), 1.0f - std::abs(k), std::max(-k, 0.0f)};
}

znRTNurbsUtil& znRTNurbsUtil::instance()
{
    static znRTNurbsUtil util;
    return util;
}

void znRTNurbsUtil::setNormalCriterionThreshold(float threshold, EGeomType type)
{
    thresholds[type] = threshold;
}

osg::FCPtr<osg::TonemappingSettings>
znUberCameraUtils::getTonemappingSettings(const osg::Camera* camera)
{
    const osg::UberCameraPtr uber =
        osg::getUndecorated(osg::FCHandle(const_cast<osg::Camera*>(camera)));
    return uber ? uber->getTonemappingSettings() : osg::FCPtr<osg::TonemappingSettings>();
}

bool znUberCameraUtils::isOrthographicCamera(const osg::Camera* camera)
{
    const osg::UberCameraPtr uber =
        osg::getUndecorated(osg::FCHandle(const_cast<osg::Camera*>(camera)));
    return uber && uber->getProjectionMode() == osg::UberCamera::orthographic;
}

znViewportProperties znViewportUtils::getViewportProperties(const osg::Viewport* viewport)
{
    znViewportProperties properties;
    const auto settings =
        viewport ? znUberCameraUtils::getTonemappingSettings(viewport->getCamera().get())
                 : osg::FCPtr<osg::TonemappingSettings>();
    if (!settings)
        return properties;
    properties.useTonemapping = settings->getUseTonemapping();
    properties.gamma = settings->getDisplayGamma();
    return properties;
}
