// What the choice among the scene's lights reads: their powers as tables.

#include "accel/znRTAccelerator.h"
#include "host/znSceneDataManager.h"
#include "light/znRTLight.h"

void znRTAccelerator::updateLightDistribution(bool)
{
    const std::lock_guard lock(getLock());
    const float unit = znSceneDataManager::getUnitsPerMetre();
    const float scale = 1.0f / (unit * unit);
    lightPowers.size = 0;
    lightPowers.reserve(lights.size + 1, false);
    for (const znRTLight* light : lights)
        lightPowers[lightPowers.size++] =
            light->getPower() * scale * light->getImportanceMultiplier();
    const int count = int(lightPowers.size);
    lightDistribution.setFunction(lightPowers.data, count, nullptr, nullptr);
    // The environment comes last, so that both tables have the same indices.
    if (environmentLight)
        lightPowers[lightPowers.size++] = scale * environmentLight->getPower();
    lightDistributionWithEnv.setFunction(lightPowers.data, int(lightPowers.size), nullptr, nullptr);
}
