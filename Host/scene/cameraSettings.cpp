#include "host/osg/FogSettings.h"
#include "host/osg/RaytracingPBARSettings.h"
#include "host/osg/TonemappingSettings.h"
#include "host/znSceneDataManager.h"

namespace osg {

ZN_CONTAINER_BODY(FogSettings)
ZN_CONTAINER_BODY(TonemappingSettings)
ZN_CONTAINER_BODY(RaytracingPBARSettings)

namespace {

float unitsPerMillimetre()
{
    return 0.001f * znSceneDataManager::getUnitsPerMetre();
}

} // namespace

float FogSettings::getFogDensityDistance() const
{
    return getStoredFogDensityDistance() / unitsPerMillimetre();
}

float FogSettings::getFogDensityHeight() const
{
    return getStoredFogDensityHeight() / unitsPerMillimetre();
}

float TonemappingSettings::getStereoEyeSeparation() const
{
    return getStoredStereoEyeSeparation() * unitsPerMillimetre();
}

Vec3f RaytracingPBARSettings::getObserverLeftEyeOffset() const
{
    return getStoredObserverLeftEyeOffset() * unitsPerMillimetre();
}

Vec3f RaytracingPBARSettings::getObserverRightEyeOffset() const
{
    return getStoredObserverRightEyeOffset() * unitsPerMillimetre();
}

} // namespace osg
