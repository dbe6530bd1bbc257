#include "host/osg/LightProfileAttachment.h"
#include "host/osg/RayFileAttachment.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "host/osg/UberLight.h"
#include "host/znSceneDataManager.h"

#include <algorithm>
#include <cmath>

namespace osg {

ZN_ABSTRACT_CONTAINER_BODY(UberLight)
ZN_CONTAINER_BODY(UPointLight)
ZN_CONTAINER_BODY(USpotLight)
ZN_CONTAINER_BODY(UDirectionalLight)
ZN_CONTAINER_BODY(UHeadLight)
ZN_ABSTRACT_CONTAINER_BODY(UAreaLight)
ZN_CONTAINER_BODY(UDiskLight)
ZN_CONTAINER_BODY(URectangularLight)
ZN_CONTAINER_BODY(USphericalLight)
ZN_CONTAINER_BODY(URayLight)
ZN_CONTAINER_BODY(UEnvironmentLight)
ZN_CONTAINER_BODY(UEnvironmentChunk)
ZN_CONTAINER_BODY(RaytracingLightAttachment)
ZN_CONTAINER_BODY(LightProfileAttachment)
ZN_CONTAINER_BODY(RayFileAttachment)

ColorComponent UberLight::scaled(ColorComponent component) const
{
    component.intensity *= getIntensity() * getSceneScale();
    return component;
}

float UPointLight::getSceneScale() const
{
    const float unitsPerMetre = znSceneDataManager::getUnitsPerMetre();
    return getAttenuationType() >= 2 ? unitsPerMetre * unitsPerMetre : 1.0f;
}

u64 RayFileAttachment::getNumRays() const
{
    return std::min({getStoredPositions().size() / 3, getStoredDirections().size() / 3,
                     getStoredFluxes().size() / getFluxesPerRay()});
}

void RayFileAttachment::setRays(std::vector<float> newPositions, std::vector<float> newDirections,
                                std::vector<float> newFluxes)
{
    const EditScope edit{Ptr(this)};
    setPositions(newPositions);
    setDirections(newDirections);
    setFluxes(newFluxes);
}

u32 RayFileAttachment::getGridSizeU() const
{
    if (getGridU() > 0)
        return getGridU();
    u64 side = u64(std::sqrt(double(getNumRays())));
    while (side * side < getNumRays())
        ++side;
    return u32(std::max<u64>(side, 1));
}

u32 RayFileAttachment::getGridSizeV() const
{
    if (getGridV() > 0)
        return getGridV();
    const u64 sizeU = getGridSizeU();
    return u32(std::max<u64>((getNumRays() + sizeU - 1) / sizeU, 1));
}

float RayFileAttachment::getDirectEvaluationRadius() const
{
    return getStoredDirectEvaluationRadius() * 0.001f * znSceneDataManager::getUnitsPerMetre();
}

void RayFileAttachment::setRayMap(void* map, void (*release)(void*))
{
    if (rayMap && rayMap != map && releaseRayMap)
        releaseRayMap(rayMap);
    rayMap = map;
    releaseRayMap = release;
}

void RayFileAttachment::changed(u64 mask)
{
    Inherited::changed(mask);
    if (mask &
        (PositionsFieldMask | DirectionsFieldMask | FluxesFieldMask | SpectralInformationFieldMask))
        setRayMap(nullptr);
}

} // namespace osg
