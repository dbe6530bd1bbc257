#include "render/activeViewport.h"

#include "host/znRaytracingManager.h"
#include "host/znRaytracingUtilsBase.h"

const osg::Viewport* activeViewport()
{
    znRaytracingUtilsBase* const instance = znRaytracingManager::getRaytracingUtils();
    return instance ? instance->getActiveViewport() : nullptr;
}
