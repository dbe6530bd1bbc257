#include "light/znRTUDiskLight.h"

#include "host/osg/UAreaLight.h"
#include "light/znRTDiskShape.h"

const znRTTypeId znRTUDiskLight::id("znRTUDiskLight");

bool znRTUDiskLight::update()
{
    const bool changed = znRTUAreaLight::update();
    const auto light = osg::FCPtr<osg::UDiskLight>::dcast(m_core);
    if (light && !m_transforms.empty())
        replaceShape(std::make_unique<znRTDiskShape>(light->getSizeX(), light->getSizeY()));
    return changed;
}
