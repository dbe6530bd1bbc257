#include "light/znRTURectangularLight.h"

#include "host/osg/UAreaLight.h"
#include "light/znRTPlaneShape.h"

const znRTTypeId znRTURectangularLight::id("znRTURectangularLight");

bool znRTURectangularLight::update()
{
    const bool changed = znRTUAreaLight::update();
    const auto light = osg::FCPtr<osg::URectangularLight>::dcast(m_core);
    if (light && !m_transforms.empty()) {
        auto plane = std::make_unique<znRTPlaneShape>(light->getSizeX(), light->getSizeY());
        plane->setDrawnByAngle(lightKind == physicalKind);
        replaceShape(std::move(plane));
    }
    return changed;
}
